/// Samples that refer to DV25 frames in files.

#include "tests/dv/dv_codecs.h"
#include "tests/support/leaks.h"

namespace nyx::test {
namespace {

/// Samples that refer to a frame in a file.
class DvReference : public DvCodec {
  protected:
    ~DvReference() override { codecs_.clear(); }  // and with them the file that one keeps open

    /// A sample that refers to the chunk at `offset` of a file of the folder.
    DvFrame Reference(DWORD offset, const std::string& file) const {
        const std::string path = file.empty() ? file : folder_ + file;
        DvFrame sample(Chunk("REF ", {0xEEEEEEEE, 0xEEEEEEEE}) + Bytes(path.begin(), path.end()) +
                       Bytes{0});
        std::memcpy(&sample[4], &offset, 4);
        return sample;
    }
    HRESULT Decode(DWORD offset, const std::string& file) {
        return DecodePal(Reference(offset, file), picture_);
    }

    /// Writes `gap` bytes and a chunk that claims `length` bytes of `frame`.
    void Write(const char* name, std::size_t gap, DWORD length, const DvFrame& frame) const {
        std::ofstream(folder_ + name, std::ios::binary)
            << std::string(gap, 'x') << "00dc"
            << std::string(reinterpret_cast<const char*>(&length), 4)
            << std::string(frame.data(), frame.data() + frame.size());
    }
    bool Delete(const char* name) const { return DeleteFileA((folder_ + name).c_str()) != FALSE; }

    const TemporaryFolder temporary_{L"dv references"};
    const std::wstring wide_ = temporary_.PathOf(L"");
    const std::string folder_{wide_.begin(), wide_.end()};
    const Picture picture_{16, 720, 576};
};

TEST_F(DvReference, RefersToAFrameInAFileThatStaysOpenUntilTheNext) {
    Write("clip.avi", 1000, 144000, pal_);
    ASSERT_EQ(Decode(1000, "clip.avi") | Decode(1000, "clip.avi"), S_OK);
    EXPECT_TRUE(ShowsFrame(picture_.Row(100), 720, 100, pal_));
    EXPECT_FALSE(Delete("clip.avi")) << "open, shared for reading only";
    const DvFrame sample = Reference(1000, "clip.avi");
    const BITMAPINFOHEADER input = MakeHeader(kDv25, 24, 720, 576, sample.size());
    FrameInfo info;
    ASSERT_EQ(Codec().GetFrameInfo(&input, sample.data(), 400000, &info), S_OK);
    EXPECT_EQ(info.rdrtA, 0x0405C6FF);
    const Picture other{16, 720, 576};
    EXPECT_EQ(DvCodec::Decode(kDv50, 720, 576, sample, other), E_FAIL);
    EXPECT_TRUE(other.IsBlack()) << "a frame to other variants";

    // A frame that is itself a reference is followed, unless the chain is endless.
    for (const DvFrame& inner : {sample, Reference(0, "frame.avi")}) {
        DvFrame frame = DvFrame::Blank(144000);
        std::copy(inner.data(), inner.data() + inner.size(), &frame[0]);
        Write("frame.avi", 0, 144000, frame);
        EXPECT_EQ(Decode(0, "frame.avi"), inner.size() == sample.size() ? S_OK : E_FAIL);
        EXPECT_EQ(Decode(1000, "clip.avi"), S_OK);
    }
    EXPECT_TRUE(Delete("frame.avi"));
    EXPECT_EQ(Decode(0, "frame.avi"), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_TRUE(Delete("clip.avi")) << "closed although the next one did not open";
    Write("last.avi", 0, 144000, pal_);
    ASSERT_EQ(Decode(0, "last.avi"), S_OK);
    codecs_.clear();
    EXPECT_TRUE(Delete("last.avi")) << "closed with its codec";
}

TEST_F(DvReference, ToAnUnreadableFrameIsRefusedWithoutALeak) {
    Write("clip.avi", 0, 144000, pal_);
    Write("cut.avi", 0, 144000, pal_.Cut(143999));
    for (const DWORD length : {0u, 119999u, 240000u, 288000u}) {
        Write(std::to_string(length).c_str(), 0, length, pal_);
        EXPECT_EQ(Decode(0, std::to_string(length)), E_FAIL);
    }
    const std::tuple<DWORD, std::string, HRESULT> cases[] = {
        {0, "no.avi", HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {0, "", HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {0, std::string(MAX_PATH - 1 - folder_.size(), 'x'),
         HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {0, std::string(MAX_PATH - folder_.size(), 'x'),
         HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE)},
        {0, "cut.avi", HRESULT_FROM_WIN32(ERROR_HANDLE_EOF)},
        {144006, "cut.avi", HRESULT_FROM_WIN32(ERROR_HANDLE_EOF)},
        {0xFFFFFFFF, "cut.avi", HRESULT_FROM_WIN32(ERROR_HANDLE_EOF)},
    };
    ExpectNothingKept([&] {
        for (const auto& [offset, file, result] : cases) {
            EXPECT_EQ(Decode(offset, file), result) << file << ' ' << offset;
        }
    });
    const DvFrame whole = Reference(0, "clip.avi");
    for (std::size_t size = 4; size < whole.size(); ++size) {
        const std::size_t claimed = size % 2 * (whole.size() + 200);
        EXPECT_EQ(DvCodec::Decode(kDv25, 720, 576, whole.Cut(size), picture_, 0, claimed), E_FAIL);
    }
    EXPECT_TRUE(picture_.IsUntouched());
    EXPECT_EQ(Decode(0, "clip.avi"), S_OK);
}

}  // namespace
}  // namespace nyx::test
