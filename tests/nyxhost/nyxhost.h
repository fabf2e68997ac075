#pragma once

/// @file
/// nyxhost as a user runs it, beside the clips of make_clips.sh.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>

#include "tests/support/engines.h"
#include "tests/support/material.h"
#include "tests/support/programs.h"

namespace nyx::test {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

/// Runs nyxhost in a folder of its own that has the clips.
class NyxHost : public ::testing::Test {
  protected:
    NyxHost() {
        for (const auto& clip : fs::directory_iterator(MaterialFile("nyxhost"))) {
            fs::copy_file(clip.path(), folder.path / clip.path().filename());
        }
    }
    ~NyxHost() override {
        Register(L"nyxcodecs", L"/u ");
        Register(L"nyxsource", L"/u ");
    }

    /// It exits with this code, and prints all of the texts.
    void Run(DWORD code, const std::string& arguments, const Texts& says = {}) {
        SCOPED_TRACE("nyxhost " + arguments);
        const std::wstring program = L'"' + (place / "nyxhost.exe").wstring() + L"\" ";
        const Ended ended = RunIn(folder.path, program + checks::Widen(arguments), variables);
        EXPECT_EQ(ended.code, code) << ended.said;
        said = ended.said;
        Says(says);
    }
    void Says(const Texts& texts) const {
        for (const std::string& text : texts) {
            EXPECT_NE(said.find(text), std::string::npos) << "not '" << text << "' but: " << said;
        }
    }
    /// Lets it find the engines of these folders first, in this order.
    void Use(const std::vector<std::wstring>& folders) {
        std::wstring path;
        for (const std::wstring& one : folders) {
            path += one + L";";
        }
        variables[L"PATH"] = path + _wgetenv(L"PATH");
    }
    /// regsvr32's exit code for a module, named as a file of the programs' folder without
    /// extension.
    DWORD Register(const std::wstring& module, const std::wstring& option = L"") const {
        return RunIn(folder.path, L"regsvr32 /s " + option + L'"' + ModuleFile(module) + L'"').code;
    }
    static std::wstring ModuleFile(const std::wstring& module) {
        return fs::path(ProgramFolder()) / (module + L".dll");
    }
    /// The folder of the engines "standin", "standin\old" or "open".
    static std::wstring Engines(const wchar_t* kind) {
        return (fs::path(ProgramFolder()) / L".." / L"engines" / kind).lexically_normal().wstring();
    }

    /// For 64-bit suites: the module of 32-bit programs.
    static constexpr wchar_t kNarrow[] = L"..\\..\\win32\\bin\\nyxcodecs";

    std::string Bytes(const std::string& file) const {
        return checks::ReadText(folder.PathOf(checks::Widen(file)));
    }
    void Write(const std::string& file, const std::string& bytes) const {
        std::ofstream(folder.path / checks::Widen(file), std::ios::binary) << bytes;
    }
    bool Exists(const std::string& file) const {
        return fs::exists(folder.path / checks::Widen(file));
    }

    const TemporaryFolder folder{L"nyxhost"};
    fs::path place = ProgramFolder();  ///< of nyxhost.exe
    checks::Variables variables;
    std::string said;
};

/// With both modules registered.
class RegisteredNyxHost : public NyxHost {
  protected:
    RegisteredNyxHost() { EXPECT_EQ(Register(L"nyxcodecs") + Register(L"nyxsource"), 0u); }
};

/// The PSNR in dB of two pictures' bytes, infinite when they are equal; of four bytes those count
/// that have a 1.
inline double Psnr(const std::string& a, const std::string& b, const char* channels = "1111") {
    double sum = 0, count = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        if (channels[i % 4] == '1') {
            const double difference = static_cast<BYTE>(a[i]) - static_cast<BYTE>(b[i]);
            sum += difference * difference;
            ++count;
        }
    }
    return a.size() == b.size() ? 10 * std::log10(255 * 255 * count / sum) : -1;
}

constexpr double kEqual = std::numeric_limits<double>::infinity();

/// The same pictures with their rows in the other order.
inline std::string Turned(const std::string& pictures, std::size_t rowBytes, std::size_t rows) {
    std::string turned;
    for (std::size_t first = 0; first < pictures.size(); first += rowBytes * rows) {
        for (std::size_t row = rows; row > 0; --row) {
            turned += pictures.substr(first + (row - 1) * rowBytes, rowBytes);
        }
    }
    return turned;
}

}  // namespace nyx::test
