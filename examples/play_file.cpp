/// @file
/// Plays a file's pictures in a window without registering anything: play_file FILE. nyxsource.dll
/// and nyxcodecs.dll lie beside the program; each filter comes from its DLL's DllGetClassObject.

#include "platform/class_ids.h"
#define NO_DSHOW_STRSAFE
#include <dshow.h>
#include <wrl/client.h>

#include <cstdio>

using Microsoft::WRL::ComPtr;

namespace {

constexpr CLSID kDecoders[] = {
    CLSID_NyxDv25Decoder,   CLSID_NyxDv50Decoder, CLSID_NyxDvHdDecoder,  CLSID_NyxMpegIntraDecoder,
    CLSID_NyxTenBitDecoder, CLSID_NyxZetaDecoder, CLSID_NyxZeta2Decoder, CLSID_NyxLosslessDecoder};

/// Ends the program with the name of a step that failed.
void Check(HRESULT result, const char* step) {
    if (result != S_OK) {
        std::fprintf(stderr, "%s: error 0x%08lX\n", step, static_cast<unsigned long>(result));
        ExitProcess(1);
    }
}

/// A filter of an unregistered DLL; none where a DLL or the engine of a decoder is missing.
ComPtr<IBaseFilter> Create(const wchar_t* library, const CLSID& clsid) {
    const auto getClassObject = reinterpret_cast<decltype(&DllGetClassObject)>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(library), "DllGetClassObject")));
    ComPtr<IClassFactory> factory;
    ComPtr<IBaseFilter> filter;
    if (getClassObject && SUCCEEDED(getClassObject(clsid, IID_PPV_ARGS(factory.GetAddressOf())))) {
        factory->CreateInstance(nullptr, IID_PPV_ARGS(filter.GetAddressOf()));
    }
    return filter;
}

/// Adds `filter` to the graph and connects `output` with its input.
HRESULT Append(IGraphBuilder* graph, IPin* output, IBaseFilter* filter) {
    ComPtr<IPin> input;
    if (!filter || FAILED(graph->AddFilter(filter, nullptr)) ||
        FAILED(filter->FindPin(L"In", input.GetAddressOf()))) {
        return E_FAIL;
    }
    return graph->ConnectDirect(output, input.Get(), nullptr);
}

/// Source, decoder and the system's video renderer.
void Build(IGraphBuilder* graph, const wchar_t* path) {
    const auto source = Create(L"nyxsource.dll", CLSID_NyxFootageSource);
    Check(source ? graph->AddFilter(source.Get(), nullptr) : E_FAIL, "load nyxsource.dll");
    ComPtr<IFileSourceFilter> file;
    ComPtr<IEnumPins> pins;
    ComPtr<IPin> video, pictures;
    Check(source.As(&file), "ask the source for its loader");
    Check(file->Load(path, nullptr), "open the file");
    Check(source->EnumPins(pins.GetAddressOf()), "list the file's streams");
    Check(pins->Next(1, video.GetAddressOf(), nullptr), "find the pictures");  // come first
    for (const CLSID& clsid : kDecoders) {
        const auto decoder = Create(L"nyxcodecs.dll", clsid);
        if (Append(graph, video.Get(), decoder.Get()) == S_OK) {
            Check(decoder->FindPin(L"Out", pictures.GetAddressOf()), "find the decoder's output");
            break;
        }
    }
    ComPtr<IBaseFilter> renderer;
    Check(CoCreateInstance(CLSID_VideoRenderer, nullptr, CLSCTX_INPROC,
                           IID_PPV_ARGS(renderer.GetAddressOf())),
          "create the renderer");
    Check(pictures ? Append(graph, pictures.Get(), renderer.Get()) : E_FAIL, "decode the pictures");
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    Check(count == 2 ? S_OK : E_INVALIDARG, "usage: play_file FILE");
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "start COM");
    ComPtr<IGraphBuilder> graph;
    Check(CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC,
                           IID_PPV_ARGS(graph.GetAddressOf())),
          "create the filter graph");
    Build(graph.Get(), arguments[1]);
    ComPtr<IMediaControl> control;
    ComPtr<IMediaEvent> events;
    ComPtr<IBasicVideo> picture;
    long code = 0, width = 0, height = 0;
    graph->QueryInterface(IID_IMediaControl, reinterpret_cast<void**>(control.GetAddressOf()));
    graph->QueryInterface(IID_IMediaEvent, reinterpret_cast<void**>(events.GetAddressOf()));
    graph->QueryInterface(IID_IBasicVideo, reinterpret_cast<void**>(picture.GetAddressOf()));
    Check(FAILED(control->Run()) ? E_FAIL : S_OK, "run");
    Check(events->WaitForCompletion(-1, &code), "play to the end");  // no time limit
    Check(picture->GetVideoSize(&width, &height), "ask for the picture size");
    std::printf("%ls: %ldx%ld, %s\n", arguments[1], width, height,
                code == EC_COMPLETE ? "played" : "broken off");
    control->Stop();
    return code == EC_COMPLETE ? 0 : 1;
}
