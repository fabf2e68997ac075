#pragma once

#include <string>

#include "clip_options.h"

struct IMediaEvent;
struct IVideoWindow;
struct INyxFootageInfo;

namespace nyx::host {

/// A window that plays a clip at its display aspect and obeys the keys of PlayerKeys(). All calls
/// from one thread of a single-threaded apartment, which dispatches the window's messages in Run().
class Player {
  public:
    /// Opens the clip and its window. Snapshots go to `folder`, if empty to the user's pictures.
    /// Failures of ClipGraph, kPastEnd included.
    Player(const ClipOptions& options, const std::string& folder);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /// Plays until the window is closed, or until the clip's end unless `stay` or a key was used.
    /// Failure kInterrupted, or kPlatform when the graph aborts.
    void Run(bool stay);

  private:
    friend std::string PlayerKeys();
    struct Key {
        WPARAM code;
        const char* name;
        const char* effect;
        void (Player::*act)(LONG amount);
        LONG amount;
    };
    static const Key kKeys[];

    // What keys do.
    void TogglePause(LONG);
    void SkipSeconds(LONG count);
    void StepFrames(LONG count);
    void ShowLast(LONG);
    void ToggleFullScreen(LONG);
    void ToggleTimecode(LONG);
    void SaveSnapshot(LONG);
    void LeaveOrClose(LONG);

    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM first, LPARAM second);
    void OnKey(WPARAM code);
    void BuildGraph();
    void OpenWindow();
    void Layout();
    void Paint();
    void Refresh();
    void OnEnd();
    RECT StripRect() const;
    void ReadPicture(LONG frame, const std::string& snapshot);
    LONG Frame() const;
    void SeekTo(LONG frame);
    void SetPlaying(bool playing);

    const ClipOptions options_;
    const std::string folder_;
    const std::wstring title_;
    const ComPtr<IGraphBuilder> graph_;
    const Footage clip_;
    const ComPtr<IMediaControl> control_;
    const ComPtr<IMediaSeeking> seeking_;
    const ComPtr<INyxFootageInfo> info_;  ///< null with a source that has none
    ComPtr<IVideoWindow> video_;
    LONG first_ = 0;  ///< of the frames that are played
    LONG last_ = 0;
    SIZE shown_{};  ///< a picture's size at the display aspect, in its own lines
    HWND window_ = nullptr;
    WINDOWPLACEMENT placement_{};  ///< outside full screen
    std::wstring strip_;           ///< the text below the picture
    bool playing_ = true;
    bool resized_ = false;  ///< since the last frame was drawn
    bool stay_ = false;
    bool closed_ = false;
    bool fullScreen_ = false;
    bool showTimecode_ = false;
};

/// The player's keys and what they do, for the help text.
std::string PlayerKeys();

}  // namespace nyx::host
