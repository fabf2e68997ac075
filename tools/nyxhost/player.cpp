#include "player.h"

#include <shlobj.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <tuple>

#include "console.h"
#include "graph_description.h"
#include "graph_tools.h"
#include "output_file.h"
#include "picture.h"
#include "platform/footage_info.h"
#include "platform/system.h"
#include "progress.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr wchar_t kWindowClass[] = L"nyxhost player";
constexpr DWORD kWindowStyle = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;
constexpr LONG kStripHeight = 28;
constexpr DWORD kTickMs = 40;
constexpr REFERENCE_TIME kSecond = 10000000;

/// Connects a stream to the platform's decoder and renderer. Warns and returns false on failure.
bool Render(IGraphBuilder* graph, const SourceStream& stream, const char* what) {
    const HRESULT result = graph->Render(stream.pin.Get());
    if (FAILED(result)) {
        PrintWarning(std::string(what) + " is not played: " + ResultText(result));
    }
    return SUCCEEDED(result);
}

std::string PicturesFolder() {
    wchar_t path[MAX_PATH] = {};
    Check(SHGetFolderPathW(nullptr, CSIDL_MYPICTURES | CSIDL_FLAG_CREATE, nullptr, 0, path),
          "cannot find the folder of pictures", ExitCode::kOutput);
    return Utf8(path);
}

/// The size at which a picture is shown: its lines, with as many columns as its aspect asks for.
SIZE ShownSize(const MediaType& type) {
    return {static_cast<LONG>(SquareWidth(type)), std::abs(type.Header().biHeight)};
}

/// The largest rectangle of `aspect` in the middle of `area`.
RECT Fitted(SIZE aspect, const RECT& area) {
    const LONG width = area.right - area.left;
    const LONG height = area.bottom - area.top;
    const double scale = std::min(1.0 * width / aspect.cx, 1.0 * height / aspect.cy);
    const LONG shownWidth = std::lround(aspect.cx * scale);
    const LONG shownHeight = std::lround(aspect.cy * scale);
    const LONG left = area.left + (width - shownWidth) / 2;
    const LONG top = area.top + (height - shownHeight) / 2;
    return {left, top, left + shownWidth, top + shownHeight};
}

}  // namespace

const Player::Key Player::kKeys[] = {
    {VK_SPACE, "Space", "pause, go on", &Player::TogglePause, 0},
    {VK_LEFT, "Left", "a second back", &Player::SkipSeconds, -1},
    {VK_RIGHT, "Right", "a second on", &Player::SkipSeconds, 1},
    {VK_OEM_COMMA, ",", "a frame back", &Player::StepFrames, -1},
    {VK_OEM_PERIOD, ".", "a frame on", &Player::StepFrames, 1},
    {VK_HOME, "Home", "the first frame", &Player::SeekTo, 0},
    {VK_END, "End", "the last frame", &Player::ShowLast, 0},
    {'F', "F", "full screen", &Player::ToggleFullScreen, 0},
    {'T', "T", "show timecode", &Player::ToggleTimecode, 0},
    {'S', "S", "save a snapshot", &Player::SaveSnapshot, 0},
    {VK_ESCAPE, "Esc", "leave full screen, close", &Player::LeaveOrClose, 0},
};

std::string PlayerKeys() {
    std::string text;
    for (const Player::Key& key : Player::kKeys) {
        text += std::string(text.empty() ? "" : "; ") + key.name + ": " + key.effect;
    }
    return text;
}

Player::Player(const ClipOptions& options, const std::string& folder)
    : options_(options),
      folder_(folder),
      title_(std::filesystem::path(Wide(options.path)).filename().wstring()),
      graph_(CreateGraph()),
      clip_(graph_.Get(), options.path),
      control_(Query<IMediaControl>(graph_, "the graph lacks IMediaControl")),
      seeking_(Query<IMediaSeeking>(graph_, "the graph lacks IMediaSeeking")),
      info_(As<INyxFootageInfo>(FilterOf(clip_.Video().pin.Get()))) {
    first_ = clip_.FrameAt(options.graph.from);
    last_ = first_ + std::min(options.graph.frames, clip_.FrameCount() - first_) - 1;
    ReadPicture(first_, "");
    BuildGraph();
    OpenWindow();
}

Player::~Player() {
    control_->Stop();
    if (video_) {
        video_->put_Visible(OAFALSE);
        video_->put_Owner(0);
    }
    if (window_ != nullptr) {
        DestroyWindow(window_);
    }
}

void Player::BuildGraph() {
    if (IsWine()) {  // whose other renderers crash without 3D
        const auto renderer =
            CreateObject<IBaseFilter>(CLSID_VideoRenderer, "cannot create the video renderer");
        Check(graph_->AddFilter(renderer.Get(), L"Video Renderer"),
              "cannot add the video renderer to the graph");
    }
    Print(options_.path + ": " + DescribeVideo(clip_) + "\n");
    if (!Render(graph_.Get(), clip_.Video(), "the picture")) {
        ExplainFailedConnection(clip_.Video().type, "a picture on the screen", VFW_E_CANNOT_RENDER);
    }
    for (const SourceStream& stream : clip_.Audio()) {
        Print("audio: " + DescribeAudio(stream.type) + "\n");
        Render(graph_.Get(), stream, "the audio");
    }
    PrintGraph(graph_.Get());
    clip_.Select(first_, options_.graph.frames);
}

void Player::OpenWindow() {
    WNDCLASSW description{};
    description.lpfnWndProc = OnMessage;
    description.hInstance = GetModuleHandleW(nullptr);
    description.hIcon = LoadIconW(description.hInstance, MAKEINTRESOURCEW(1));
    description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    description.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    description.lpszClassName = kWindowClass;
    RegisterClassW(&description);  // a second player finds it registered

    // Nine tenths of the screen suffice for any picture, with its frame.
    RECT area{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    const RECT most{0, 0, std::min(shown_.cx, (area.right - area.left) * 9 / 10),
                    std::min(shown_.cy, (area.bottom - area.top) * 9 / 10)};
    RECT frame = Fitted(shown_, most);
    AdjustWindowRect(&frame, kWindowStyle, FALSE);
    window_ = CreateWindowExW(0, kWindowClass, title_.c_str(), kWindowStyle, CW_USEDEFAULT,
                              CW_USEDEFAULT, frame.right - frame.left, frame.bottom - frame.top,
                              nullptr, nullptr, description.hInstance, nullptr);
    Check(window_ != nullptr ? S_OK : LastError(), "cannot create a window");
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    video_ = Query<IVideoWindow>(graph_, "the graph lacks IVideoWindow", IID_IVideoWindow);
    const auto owner = reinterpret_cast<OAHWND>(window_);
    Check(video_->put_Owner(owner), "the renderer refuses the window");
    Check(video_->put_WindowStyle(WS_CHILD | WS_CLIPSIBLINGS), "the renderer refuses its style");
    Check(video_->put_MessageDrain(owner), "the renderer keeps its keys");
    ShowWindow(window_, SW_SHOWNORMAL);
    SetForegroundWindow(window_);
    Layout();
    video_->put_Visible(OATRUE);
}

LRESULT CALLBACK Player::OnMessage(HWND window, UINT message, WPARAM first, LPARAM second) {
    auto* const player = reinterpret_cast<Player*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (player == nullptr) {
        return DefWindowProcW(window, message, first, second);
    }
    switch (message) {
        case WM_KEYDOWN:
            player->OnKey(first);
            return 0;
        case WM_SIZE:
            player->Layout();
            return 0;
        case WM_PAINT:
            player->Paint();
            return 0;
        case WM_CLOSE:
            player->closed_ = true;
            return 0;
        default:
            return DefWindowProcW(window, message, first, second);
    }
}

// No exception leaves the window's procedure: a key that fails is reported, and the clip goes on.
void Player::OnKey(WPARAM code) {
    for (const Key& key : kKeys) {
        if (key.code == code) {
            stay_ = true;
            try {
                (this->*key.act)(key.amount);
            } catch (const std::exception& failure) {
                PrintWarning(failure.what());
                SetWindowTextW(window_, (title_ + L": " + Wide(failure.what())).c_str());
            }
        }
    }
}

RECT Player::StripRect() const {
    RECT strip{};
    GetClientRect(window_, &strip);
    strip.top = showTimecode_ ? std::max(strip.bottom - kStripHeight, 0L) : strip.bottom;
    return strip;
}

void Player::Layout() {
    RECT area{};
    GetClientRect(window_, &area);
    area.bottom = StripRect().top;
    const RECT picture = Fitted(shown_, area);
    if (video_) {
        video_->SetWindowPosition(picture.left, picture.top, picture.right - picture.left,
                                  picture.bottom - picture.top);
    }
    InvalidateRect(window_, nullptr, TRUE);
    resized_ = true;
}

void Player::Paint() {
    PAINTSTRUCT paint{};
    const HDC context = BeginPaint(window_, &paint);
    RECT strip = StripRect();
    SelectObject(context, GetStockObject(ANSI_FIXED_FONT));
    SetTextColor(context, RGB(255, 255, 255));
    SetBkMode(context, TRANSPARENT);
    DrawTextW(context, strip_.c_str(), -1, &strip, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    EndPaint(window_, &paint);
}

void Player::Refresh() {
    if (!showTimecode_) {
        return;
    }
    const LONG frame = Frame();
    const std::wstring text =
        Wide(TimecodeText(info_.Get(), clip_.TimeOf(frame)) + Format("   frame %ld", frame));
    if (text != strip_) {
        strip_ = text;
        const RECT strip = StripRect();
        InvalidateRect(window_, &strip, TRUE);
    }
}

LONG Player::Frame() const {
    LONGLONG position = 0;
    Check(seeking_->GetCurrentPosition(&position), "cannot query the position");
    return std::clamp(clip_.FrameAt(position), first_, std::max(first_, last_));
}

void Player::SeekTo(LONG frame) {
    LONGLONG time = clip_.TimeOf(std::clamp(frame, first_, std::max(first_, last_)));
    Check(seeking_->SetPositions(&time, AM_SEEKING_AbsolutePositioning, nullptr,
                                 AM_SEEKING_NoPositioning),
          "cannot seek");
}

void Player::SetPlaying(bool playing) {
    Check(playing ? control_->Run() : control_->Pause(), "the graph does not follow");
    playing_ = playing;
}

void Player::TogglePause(LONG) {
    if (!playing_ && Frame() == last_) {
        SeekTo(first_);
    }
    SetPlaying(!playing_);
    if (!playing_) {
        SeekTo(Frame());  // so that the picture is the frame whose number is shown
    }
}

void Player::SkipSeconds(LONG count) {
    SeekTo(clip_.FrameAt(std::max<REFERENCE_TIME>(clip_.TimeOf(Frame()) + count * kSecond, 0)));
}

void Player::StepFrames(LONG count) {
    SetPlaying(false);
    SeekTo(Frame() + count);
}

void Player::ShowLast(LONG) {
    SetPlaying(false);
    SeekTo(last_);
}

void Player::ToggleFullScreen(LONG) {
    fullScreen_ = !fullScreen_;
    if (fullScreen_) {
        placement_.length = sizeof(placement_);
        GetWindowPlacement(window_, &placement_);
        MONITORINFO monitor{};
        monitor.cbSize = sizeof(monitor);
        GetMonitorInfoW(MonitorFromWindow(window_, MONITOR_DEFAULTTONEAREST), &monitor);
        const RECT& all = monitor.rcMonitor;
        SetWindowLongPtrW(window_, GWL_STYLE,
                          static_cast<LONG>(WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN));
        SetWindowPos(window_, HWND_TOP, all.left, all.top, all.right - all.left,
                     all.bottom - all.top, SWP_FRAMECHANGED);
    } else {
        SetWindowLongPtrW(window_, GWL_STYLE, static_cast<LONG>(kWindowStyle | WS_VISIBLE));
        SetWindowPlacement(window_, &placement_);
        SetWindowPos(window_, nullptr, 0, 0, 0, 0,
                     SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
    }
}

void Player::ToggleTimecode(LONG) {
    showTimecode_ = !showTimecode_;
    Refresh();
    Layout();
}

void Player::SaveSnapshot(LONG) {
    const LONG frame = Frame();
    const std::string folder = folder_.empty() ? PicturesFolder() : folder_;
    const std::string name =
        Utf8(std::filesystem::path(title_).stem().wstring()) + Format("-%05ld.png", frame);
    MakeFolder(folder);
    ReadPicture(frame, folder + "\\" + name);
    Print("snapshot: " + folder + "\\" + name + "\n");
    SetWindowTextW(window_, (title_ + L": saved " + Wide(name)).c_str());
}

void Player::LeaveOrClose(LONG) {
    if (fullScreen_) {
        ToggleFullScreen(0);
    } else {
        closed_ = true;
    }
}

/// Decodes a frame in a graph of its own, for its aspect, which DV and Q210 state in the frame, and
/// for a file if `snapshot` names one.
void Player::ReadPicture(LONG frame, const std::string& snapshot) {
    ClipGraph graph(options_.path,
                    {.format = FindPictureFormat("rgb24"), .from = {.frame = frame}, .frames = 1},
                    [&](const ArrivedFrame& arrived) {
                        shown_ = ShownSize(arrived.type);
                        if (!snapshot.empty()) {
                            PngWriter().Write(
                                snapshot, arrived.type, DataOf(arrived.sample),
                                static_cast<std::size_t>(arrived.sample.GetActualDataLength()),
                                static_cast<UINT>(shown_.cx));
                        }
                    });
    shown_ = ShownSize(graph.ConnectedType());
    graph.Play();
}

void Player::OnEnd() {
    if (!stay_) {
        closed_ = true;
        return;
    }
    ShowLast(0);
}

void Player::Run(bool stay) {
    stay_ = stay;
    SetPlaying(true);
    const auto events = Query<IMediaEvent>(graph_, "the graph lacks IMediaEvent", IID_IMediaEvent);
    const auto seconds = [this](LONG frame) {
        return static_cast<long>(clip_.TimeOf(frame) / kSecond);
    };
    Progress progress("playing", seconds(last_ + 1), "s");
    while (!closed_) {
        MSG message{};
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
        if (TakeEvent(events.Get(), 0, [](HRESULT) {})) {
            OnEnd();
        }
        if (std::exchange(resized_, false) && !playing_) {
            SeekTo(Frame());  // some renderers draw a new frame only
        }
        progress.Show(seconds(Frame()));
        Refresh();
        MsgWaitForMultipleObjects(0, nullptr, FALSE, kTickMs, QS_ALLINPUT);
    }
}

}  // namespace nyx::host
