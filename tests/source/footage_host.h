#pragma once

#include <filesystem>
#include <fstream>

#include "platform/class_ids.h"
#include "platform/unique_handle.h"
#include "tests/support/material.h"
#include "tests/support/rig.h"
#include "tests/support/settings.h"

#include <winioctl.h>

namespace nyx::test {

inline const bool isChosen = (moduleFile = L"nyxsource.dll", true);

inline std::string ReadAll(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A file of tests/source/make_material.sh.
inline std::wstring Material(const std::string& name) {
    return MaterialFile("source/" + name).wstring();
}

/// Waits for a condition; a deadlock ends the program.
template <class Condition>
void WaitFor(Condition condition) {
    for (const DWORD begin = GetTickCount(); !condition(); Sleep(1)) {
        if (GetTickCount() - begin > 4 * 60 * 1000) {
            std::abort();
        }
    }
}

/// The source filter, or a splitter behind the system's reader, with a sink on each pin, in a
/// stand-in graph.
struct FootageHost {
    explicit FootageHost(const std::wstring& path, const LoadedModule& module = Module(),
                         const CLSID& clsid = CLSID_NyxFootageSource)
        : filter(module.Create(clsid)), loaded(Load(path)) {
        filter->JoinFilterGraph(graph.Get(), L"footage");
        ComPtr<IEnumPins> all;
        filter->EnumPins(&all);
        for (ComPtr<IPin> pin; all->Next(1, &pin, nullptr) == S_OK; pin.Reset()) {
            if (pin.Get() == feed[1].Get()) {
                continue;
            }
            pins.push_back(pin);
            sinks.push_back(Make<End>(PINDIR_INPUT));
            EXPECT_EQ(pin->Connect(&sinks.back()->pin, nullptr), S_OK);
        }
    }
    ~FootageHost() {
        filter->Stop();
        for (std::size_t i = 0; i < pins.size(); ++i) {
            pins[i]->Disconnect();
            sinks[i]->pin.Disconnect();
        }
        for (const auto& pin : feed) {
            EXPECT_TRUE(!pin || pin->Disconnect() == S_OK);
        }
        filter->JoinFilterGraph(nullptr, nullptr);
    }

    /// Runs until every sink has seen the end, then stops; the samples of the first.
    std::vector<Sample> Play() const {
        for (const auto& sink : sinks) {
            sink->pin.Forget();
        }
        EXPECT_EQ(filter->Run(0), S_OK);
        for (const auto& sink : sinks) {
            WaitFor([&] { return sink->pin.Seen().endOfStream > 0; });
        }
        EXPECT_EQ(filter->Stop(), S_OK);
        return sinks[0]->pin.Samples();
    }
    /// All that a sink has received.
    std::string Received(std::size_t sink) const {
        std::string all;
        for (const Sample& sample : sinks[sink]->pin.Samples()) {
            all.append(sample.bytes.begin(), sample.bytes.end());
        }
        return all;
    }
    HRESULT Seek(LONGLONG from, LONGLONG to, std::size_t pin = 0) const {
        return As<IMediaSeeking>(pins[pin])->SetPositions(&from, AM_SEEKING_AbsolutePositioning,
                                                          &to, AM_SEEKING_AbsolutePositioning);
    }

    HRESULT Load(const std::wstring& path) {
        if (const auto file = As<IFileSourceFilter>(filter)) {
            return file->Load(path.c_str(), nullptr);
        }
        ComPtr<IFileSourceFilter> reader;
        CoCreateInstance(CLSID_AsyncReader, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&reader));
        ComPtr<IEnumPins> all;
        reader->Load(path.c_str(), nullptr);
        As<IBaseFilter>(reader)->EnumPins(&all);
        all->Next(1, &feed[0], nullptr);
        filter->FindPin(L"In", &feed[1]);
        return feed[0]->Connect(feed[1].Get(), nullptr);
    }

    const ComPtr<Graph> graph = Make<Graph>();
    ComPtr<IPin> feed[2];  ///< of a splitter: the reader's pin and its own
    const ComPtr<IBaseFilter> filter;
    const HRESULT loaded;
    std::vector<ComPtr<IPin>> pins;
    std::vector<ComPtr<End>> sinks;
};

/// Makes files out of the material.
class FootageTest : public ComTest {
  protected:
    const TemporaryFolder folder{L"footage \u00E9\u3042"};

    std::wstring Write(const std::wstring& name, const std::string& bytes) const {
        std::ofstream(folder.path / name, std::ios::binary) << bytes;
        return folder.PathOf(name);
    }
    /// A file of two parts with nothing between them, which takes up no room where that is
    /// possible.
    std::wstring Write(const std::wstring& name, const std::string& first, LONGLONG gap,
                       const std::string& rest) const {
        const UniqueHandle file = AdoptFile(CreateFileW(Write(name, first).c_str(), GENERIC_WRITE,
                                                        0, nullptr, OPEN_EXISTING, 0, nullptr));
        DWORD done = 0;
        LARGE_INTEGER by;
        by.QuadPart = gap;
        DeviceIoControl(file.get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &done, nullptr);
        EXPECT_TRUE(
            SetFilePointerEx(file.get(), by, nullptr, FILE_END) &&
            WriteFile(file.get(), rest.data(), static_cast<DWORD>(rest.size()), &done, nullptr) &&
            SetEndOfFile(file.get()));
        return folder.PathOf(name);
    }
    /// More than is read ahead: 14 seconds.
    static std::string LongDv() {
        std::string all;
        for (int i = 0; i < 14; ++i) {
            all += ReadAll(Material("dv25.dv"));
        }
        return all;
    }
    std::wstring Cut(const std::string& name, double part) const {
        const std::string all = ReadAll(Material(name));
        return Write(L"cut", all.substr(0, static_cast<std::size_t>(double(all.size()) * part)));
    }
};

}  // namespace nyx::test
