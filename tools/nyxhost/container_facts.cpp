#include "container_facts.h"

#include "graph_tools.h"
#include "platform/com.h"
#include "text.h"

namespace nyx::host {
namespace {

std::string AskText(INyxFootageInfo* info,
                    HRESULT (STDMETHODCALLTYPE INyxFootageInfo::*get)(BSTR*)) {
    BSTR text = nullptr;
    if (FAILED((info->*get)(&text)) || text == nullptr) {
        return {};
    }
    const std::string out = Utf8(std::wstring_view(text, SysStringLen(text)));
    SysFreeString(text);
    return out;
}

}  // namespace

ContainerFacts ReadContainerFacts(IPin* pin) {
    ContainerFacts facts;
    const auto info = As<INyxFootageInfo>(FilterOf(pin));
    if (!info) {
        return facts;
    }
    facts.container = AskText(info.Get(), &INyxFootageInfo::GetContainer);
    facts.reel = AskText(info.Get(), &INyxFootageInfo::GetReelName);
    facts.clip = AskText(info.Get(), &INyxFootageInfo::GetClipName);
    NyxTimecode start{};
    NyxTimecodeOrigin origin = NyxTimecodeNone;
    if (info->GetTimecode(0, &start, &origin) == S_OK) {
        facts.start = start;
        facts.startFromFrame = origin == NyxTimecodeFrame;
    }
    DWORD count = 0;
    NyxStreamInfo stream{};
    if (SUCCEEDED(info->GetStreamCount(&count))) {
        for (DWORD i = 0; i < count && SUCCEEDED(info->GetStream(i, &stream)); ++i) {
            facts.streams.push_back(stream);
        }
    }
    return facts;
}

}  // namespace nyx::host
