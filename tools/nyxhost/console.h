#pragma once

#include <string>
#include <string_view>

namespace nyx::host {

/// Writes UTF-8 text to the standard output: as characters to a console, as bytes to a pipe or
/// file.
void Print(std::string_view text);

/// "error: <message>" or "warning: <message>" and a line end on the standard error, coloured when
/// that is a console.
void PrintError(std::string_view message);
void PrintWarning(std::string_view message);

/// A progress bar that redraws itself in one line of the standard error; shows nothing unless that
/// is a console. The line is cleared on destruction. For one thread.
class Progress {
  public:
    /// `label` stands left of the bar; `total` is the number of steps.
    Progress(std::string label, long total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(long done);

  private:
    std::string label_;
    long total_;
    long shown_ = -1;
    bool active_;
};

}  // namespace nyx::host
