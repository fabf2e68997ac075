#pragma once

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/rig.h"

namespace nyx::test {

constexpr CLSID kFootageSource = {
    0x5F2C1E6A, 0x8B0D, 0x4C57, {0x9D, 0x3E, 0x7A, 0x41, 0xB6, 0xC9, 0xE2, 0x10}};

/// A file of make_material.sh's folder.
inline std::wstring Material(const std::string& name) {
    const char* folder = std::getenv("NYX_MATERIAL");
    std::wstring path = L"Z:";
    for (const char letter : (folder ? folder : "") + ("/" + name)) {
        path += letter == '/' ? L'\\' : static_cast<wchar_t>(letter);
    }
    return path;
}

/// The source filter with a sink on each pin, in a stand-in graph.
struct FootageHost {
    explicit FootageHost(const std::wstring& path)
        : filter(Module().Create(kFootageSource)),
          loaded(As<IFileSourceFilter>(filter)->Load(path.c_str(), nullptr)) {
        filter->JoinFilterGraph(graph.Get(), L"footage");
        ComPtr<IEnumPins> all;
        filter->EnumPins(&all);
        for (ComPtr<IPin> pin; all->Next(1, &pin, nullptr) == S_OK; pin.Reset()) {
            pins.push_back(pin);
            sinks.push_back(Make<End>(PINDIR_INPUT));
            EXPECT_EQ(pin->Connect(&sinks.back()->pin, nullptr), S_OK);
        }
    }
    ~FootageHost() {
        filter->Stop();
        for (const auto& pin : pins) {
            pin->Disconnect();
        }
        for (const auto& sink : sinks) {
            sink->pin.Disconnect();
        }
        filter->JoinFilterGraph(nullptr, nullptr);
    }

    /// Runs until every sink has seen the end, then stops.
    void Play() {
        for (const auto& sink : sinks) {
            sink->pin.Forget();
        }
        EXPECT_EQ(filter->Run(0), S_OK);
        for (const auto& sink : sinks) {
            WaitFor([&] { return sink->pin.Seen().endOfStream > 0; });
        }
        EXPECT_EQ(filter->Stop(), S_OK);
    }
    /// Waits until it is so; a deadlock ends the program.
    template <class Condition>
    static void WaitFor(Condition condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(4);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) {
                std::abort();
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    HRESULT Seek(LONGLONG from, LONGLONG to, std::size_t pin = 0) const {
        return As<IMediaSeeking>(pins[pin])->SetPositions(&from, AM_SEEKING_AbsolutePositioning,
                                                          &to, AM_SEEKING_AbsolutePositioning);
    }
    /// What a sink was given, in one piece.
    std::vector<BYTE> Bytes(std::size_t pin) const {
        std::vector<BYTE> bytes;
        for (const Sample& sample : sinks[pin]->pin.Samples()) {
            bytes.insert(bytes.end(), sample.bytes.begin(), sample.bytes.end());
        }
        return bytes;
    }

    ComPtr<Graph> graph = Make<Graph>();
    ComPtr<IBaseFilter> filter;
    HRESULT loaded;
    std::vector<ComPtr<IPin>> pins;
    std::vector<ComPtr<End>> sinks;
};

}  // namespace nyx::test
