#include "dv_clip.h"

#include <algorithm>
#include <cstring>

#include "dv/dif_parser.h"
#include "platform/fourcc.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr const char* kOurs[] = {"QDVC", "QDV5", "QDVH"};

// In AVI and QuickTime files of other programs; compared without regard to case. The last
// characters tell of system and tape speed, which each frame tells better.
constexpr const char* kPublished[] = {
    "dvsd", "dvsl", "dv25", "dvcp", "dvcs", "dvpp", "dvc ", "cdvc", "dvis",  // 25 Mbit/s
    "dv50", "dv5n", "dv5p",                                                  // 50
    "dvhd", "dvh1", "dvh2", "dvh3", "dvh4", "dvh5", "dvh6", "dvhp", "dvhq",  // 100
};

template <std::size_t kCount>
bool IsAmong(const char* const (&codes)[kCount], DWORD code) {
    char text[5] = {};
    std::memcpy(text, &code, 4);
    return std::any_of(std::begin(codes), std::end(codes), [&text](const char* known) {
        return CompareStringA(LOCALE_INVARIANT, NORM_IGNORECASE, text, 4, known, 4) == CSTR_EQUAL;
    });
}

void Append(std::string& text, const std::string& part, const char* separator = ", ") {
    if (!part.empty()) {
        text += (text.empty() ? "" : separator) + part;
    }
}

}  // namespace

bool IsDv(const ClipReader& clip) {
    return IsAmong(kOurs, clip.Header().biCompression);
}

void PlayDvAsOurs(ClipReader& clip) {
    if (clip.FrameCount() == 0 || !IsAmong(kPublished, clip.Header().biCompression)) {
        return;
    }
    const std::vector<BYTE> frame = clip.ReadFrame(0);
    CLvtDifParser parser;
    if (SUCCEEDED(parser.Parse(frame.data(), frame.size()))) {
        const FormatRecord& format = parser.State().format;
        clip.PlayAs(static_cast<DWORD>(format.fourCC), format.codedWidth, format.codedHeight);
    }
}

std::string DvFrameText(const DvFrameDescription& frame) {
    std::string text = frame.recognised ? "" : "not recognised";
    Append(text, frame.variant);
    Append(text, frame.system);
    if (frame.width > 0) {
        Append(text, Format("%ldx%ld", frame.width, frame.height));
        Append(text, frame.frameRate);
        Append(text, frame.fieldOrder);
        Append(text, frame.pictureAspect + " (pixels " + frame.pixelAspect + ")");
    }
    Append(text, frame.audio, "; ");
    Append(text, frame.timecode.empty() ? "" : "timecode " + frame.timecode, "; ");
    if (!frame.recordingDate.empty() || !frame.recordingTime.empty()) {
        std::string recorded = "recorded";
        Append(recorded, frame.recordingDate, " ");
        Append(recorded, frame.recordingTime, " ");
        Append(text, recorded, "; ");
    }
    return text;
}

}  // namespace nyx::host
