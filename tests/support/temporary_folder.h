#pragma once

#include <string>

namespace nyx::test {

/// A new empty folder below the system's temporary one, removed with its files at the end.
class TemporaryFolder {
  public:
    /// `name` becomes part of the folder's name and may hold any letters. Throws
    /// std::runtime_error when the folder cannot be made.
    explicit TemporaryFolder(const std::wstring& name);
    ~TemporaryFolder();

    /// The full path of a file in it.
    std::wstring PathOf(const std::wstring& file) const { return path_ + L"\\" + file; }

    /// Copies a file here under another name.
    void CopyHere(const std::wstring& from, const std::wstring& name) const;

  private:
    std::wstring path_;
};

/// Starts a program and waits for it; its exit code, or the number of the error that kept it from
/// starting, negated. `folder` is its current folder.
int RunProgram(const std::wstring& commandLine, const std::wstring& folder = L"");

}  // namespace nyx::test
