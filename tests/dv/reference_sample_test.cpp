#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "dv/dv25_codec.h"
#include "dv/dv50_codec.h"
#include "tests/dv/dv_codec_rig.h"
#include "tests/support/heap_blocks.h"
#include "tests/support/open_handles.h"
#include "tests/support/temporary_folder.h"

namespace nyx {
namespace {

using test::Decode;
using test::DvFrame;
using test::DvPicture;
using test::EngineSearch;
using test::LoadFrame;

std::string Ansi(const std::wstring& path) {
    return std::string(path.begin(), path.end());
}

/// A tag and a little-endian word.
std::vector<BYTE> TaggedWord(const char* tag, DWORD value) {
    std::vector<BYTE> bytes(tag, tag + 4);
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<BYTE>(value >> shift));
    }
    return bytes;
}

/// A sample that stands for the chunk at `offset` of `path`.
DvFrame Reference(DWORD offset, const std::string& path) {
    std::vector<BYTE> sample = TaggedWord("REF ", offset);
    sample.resize(16, 0xEE);
    sample.insert(sample.end(), path.begin(), path.end());
    sample.push_back(0);
    return DvFrame(sample);
}

class ReferenceSample : public testing::Test {
  protected:
    /// Writes `gap` bytes and a chunk of `length`, holding as much of `frame` as there is.
    std::string WriteFile(const std::wstring& name, std::size_t gap, DWORD length,
                          const DvFrame& frame) {
        std::vector<BYTE> bytes(gap, 0x11);
        const std::vector<BYTE> chunk = TaggedWord("00dc", length);
        bytes.insert(bytes.end(), chunk.begin(), chunk.end());
        bytes.insert(bytes.end(), frame.data(), frame.data() + frame.size());
        const std::string path = Ansi(folder_.PathOf(name));
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        EXPECT_TRUE(file) << path;
        return path;
    }

    HRESULT DecodeReference(const DvFrame& sample) {
        return Decode(codec_, 720, 576, sample, &picture_);
    }

    test::TemporaryFolder folder_{L"dv references"};
    EngineSearch search_;
    CDv25Codec codec_;
    DvFrame frame_ = LoadFrame("dv25_625_16x9", 144000);
    DvPicture picture_{16, 720, 576};
};

TEST_F(ReferenceSample, StandsForTheFrameInItsFile) {
    const std::string path = WriteFile(L"clip.avi", 1000, 144000, frame_);
    DvPicture direct(16, 720, 576);
    ASSERT_EQ(Decode(codec_, 720, 576, frame_, &direct), S_OK);
    ASSERT_EQ(DecodeReference(Reference(1000, path)), S_OK);
    EXPECT_TRUE(std::equal(direct.data(), direct.data() + 720 * 576 * 2, picture_.data()));

    BITMAPINFOHEADER input = test::DvHeader(FourCC("QDVC"), 720, 576);
    const DvFrame sample = Reference(1000, path);
    input.biSizeImage = static_cast<DWORD>(sample.size());
    FrameInfo info;
    ASSERT_EQ(codec_.GetFrameInfo(&input, sample.data(), 400000, &info), S_OK);
    EXPECT_EQ(info.pixelAspectX, 1024);
    EXPECT_EQ(info.rdrtA, 0x0405C6FF);
}

TEST_F(ReferenceSample, KeepsTheFileOpenUntilAnotherPathComesOrTheCodecGoes) {
    const std::string first = WriteFile(L"first.avi", 0, 144000, frame_);
    const std::string second = WriteFile(L"second.avi", 8, 144000, frame_);
    ASSERT_EQ(DecodeReference(Reference(0, first)), S_OK);
    ASSERT_EQ(DecodeReference(Reference(0, first)), S_OK);
    EXPECT_FALSE(DeleteFileA(first.c_str())) << "open, shared for reading only";
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    ASSERT_EQ(DecodeReference(Reference(8, second)), S_OK);
    EXPECT_TRUE(DeleteFileA(first.c_str()));
    EXPECT_FALSE(DeleteFileA(second.c_str()));
    EXPECT_EQ(DecodeReference(Reference(0, first)), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_TRUE(DeleteFileA(second.c_str())) << "closed although the next one did not open";
    const std::string last = WriteFile(L"last.avi", 0, 144000, frame_);
    {
        CDv25Codec codec;
        ASSERT_EQ(Decode(codec, 720, 576, Reference(0, last), &picture_), S_OK);
    }
    EXPECT_TRUE(DeleteFileA(last.c_str())) << "closed with its codec";
}

TEST_F(ReferenceSample, AMissingOrLockedFileIsItsWin32Error) {
    EXPECT_EQ(DecodeReference(Reference(0, Ansi(folder_.PathOf(L"no.avi")))),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(DecodeReference(Reference(0, "")), HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
    const std::string path = WriteFile(L"clip.avi", 0, 144000, frame_);
    const HANDLE lock = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_EQ(DecodeReference(Reference(0, path)), HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION));
    CloseHandle(lock);
    EXPECT_TRUE(picture_.IsUntouched());
    EXPECT_EQ(DecodeReference(Reference(0, path)), S_OK);
}

TEST_F(ReferenceSample, AFileThatEndsTooEarlyIsAFailedRead) {
    const std::string path = WriteFile(
        L"cut.avi", 0, 144000, DvFrame(std::vector<BYTE>(frame_.data(), frame_.data() + 143999)));
    for (const DWORD offset : {0u, 144006u, 200000u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(DecodeReference(Reference(offset, path)), HRESULT_FROM_WIN32(ERROR_HANDLE_EOF))
            << offset;
    }
    EXPECT_TRUE(picture_.IsUntouched());
}

TEST_F(ReferenceSample, OnlyFramesOfDv25LengthAreRead) {
    for (const DWORD length : {0u, 119999u, 240000u, 0xFFFFFFFFu}) {
        const std::string path = WriteFile(L"other.avi", 0, length, frame_);
        CDv25Codec codec;
        EXPECT_EQ(Decode(codec, 720, 576, Reference(0, path), &picture_), E_FAIL) << length;
    }
    EXPECT_TRUE(picture_.IsUntouched());
}

TEST_F(ReferenceSample, ASampleThatEndsTooEarlyIsRefused) {
    const std::string path = WriteFile(L"clip.avi", 0, 144000, frame_);
    const DvFrame whole = Reference(0, path);
    for (std::size_t size = 4; size < whole.size(); ++size) {
        const DvFrame cut(std::vector<BYTE>(whole.data(), whole.data() + size));
        EXPECT_EQ(DecodeReference(cut), E_FAIL) << size;
    }
    EXPECT_TRUE(picture_.IsUntouched());
    EXPECT_EQ(DecodeReference(Reference(0, std::string(300, 'x'))),
              HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE));
}

TEST_F(ReferenceSample, AFrameThatIsItselfAReferenceIsFollowedUnlessThereIsNoEnd) {
    const auto fileOfReference = [this](const wchar_t* name, const DvFrame& reference) {
        DvFrame frame = DvFrame::Blank(144000);
        std::copy(reference.data(), reference.data() + reference.size(), &frame[0]);
        WriteFile(name, 0, 144000, frame);
    };
    const DvFrame self = Reference(0, Ansi(folder_.PathOf(L"self.avi")));
    fileOfReference(L"self.avi", self);
    EXPECT_EQ(DecodeReference(self), E_FAIL);
    EXPECT_TRUE(picture_.IsUntouched());

    fileOfReference(L"first.avi", Reference(0, WriteFile(L"second.avi", 0, 144000, frame_)));
    EXPECT_EQ(DecodeReference(Reference(0, Ansi(folder_.PathOf(L"first.avi")))), S_OK);
}

TEST_F(ReferenceSample, OtherVariantsTakeItForAFrame) {
    const std::string path = WriteFile(L"clip.avi", 0, 144000, frame_);
    CDv50Codec codec;
    EXPECT_EQ(Decode(codec, 720, 576, Reference(0, path), &picture_), E_FAIL);
    EXPECT_TRUE(picture_.IsFilled(0x10, 0x80));
    EXPECT_TRUE(DeleteFileA(path.c_str()));
}

TEST_F(ReferenceSample, SuccessAndFailureLeaveNothingBehind) {
    const std::string path = WriteFile(L"clip.avi", 0, 144000, frame_);
    const DvFrame present = Reference(0, path);
    const DvFrame missing = Reference(0, path + "x");
    const DvFrame beyond = Reference(500000, path);
    DvPicture wide(16, 1024, 576);
    ASSERT_EQ(Decode(codec_, 1024, 576, present, &wide), S_OK);
    const ULONG handles = test::OpenHandles();
    ASSERT_GT(handles, 0u) << "handles are not counted";
    const std::size_t blocks = test::LiveHeapBlocks();
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(FAILED(Decode(codec_, 1024, 576, missing, &wide)));
        EXPECT_TRUE(FAILED(Decode(codec_, 1024, 576, beyond, &wide)));
        EXPECT_EQ(Decode(codec_, 1024, 576, present, &wide), S_OK);
    }
    EXPECT_EQ(test::OpenHandles(), handles);
    EXPECT_EQ(test::LiveHeapBlocks(), blocks);
}

}  // namespace
}  // namespace nyx
