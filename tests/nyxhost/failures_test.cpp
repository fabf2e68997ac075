// Every failure has its exit code and its message and leaves no file.

#include "tests/nyxhost/nyxhost.h"

namespace nyx::test {
namespace {

struct Failure {
    DWORD code;
    std::string arguments, says;
};
const std::string kRaw = " --size 720x480 --rate 25/1";
const Failure kFailures[] = {
    {0, "help decode", "12 --from past the clip's end"},
    {1, "", "Subcommands:"},
    {1, "decod clip.avi", "unknown command \"decod\"; did you mean decode?"},
    {1, "decode clip.avi --frmaes 2", "unknown option --frmaes; did you mean --frames?"},
    {1, "decode clip.avi --format yv12", "yv12"},
    {1, "decode clip.avi --from soon", "--from"},
    {1, "decode clip.avi --raw - --hash", "only one of"},
    {1, "encode pictures.raw none.avi --rgb24 --size 720x480", "need"},
    {1, "settings Q210 color_space=2", "color_space=2"},
    {1, "encode pictures.raw none.avi --rgb24 --size 720x480 --rate 25/0", "--rate"},
    {1, "encode pictures.raw none.avi --rgb24 --quant 3" + kRaw, "--quant"},
    {1, "encode clip.avi none.avi --preset 1 --quant 5", "the custom one"},
    {2, "decode missing.avi", "cannot open missing.avi"},
    {2, "render missing.avi", "cannot open missing.avi"},
    {2, "info NUL", "not a file on a disk"},
    {2, "encode missing.avi none.avi", "missing.avi"},
    {2, "encode pictures.raw none.avi --rgb24 --size 721x480 --rate 25/1",
     "not a whole number of pictures"},
    {3, "decode text.avi", "neither AVI,"},
    {3, "info audio.avi", "no video"},
    {3, "decode empty.mxf", "empty file"},
    {3, "decode mpeg4.avi", "MPEG-4 part 2 video"},
    {3, "render group.mxf", "long-GOP MPEG-2; intra frames only"},
    {5, "decode clip.avi --format argb32", "accepts the clip but does not deliver argb32"},
    {5, "decode odd.avi --raw none.avi", "Rokka Q210 Decoder refuses the clip's format"},
    {5, "decode clip.avi --audio none.avi", "no audio"},
    {5, "encode pictures.raw none.avi --rgb32" + kRaw,
     "accepts 32-bit pictures only with alpha: --argb"},
    {5, "encode pictures.raw none.avi --rgb24 --size 240x480 --rate 25/1",
     "refuses rgb24 pictures of 240x480"},
    {6, "decode tall.avi --raw tall.raw", "has no complete frame"},
    {6, "decode broken.avi --format yuy2 --raw out.raw", "frame 1 could not be decoded: E_FAIL"},
    {6, "info broken.avi --frames 3", "could not be decoded: E_FAIL (0x80004005)"},
    {7, "decode clip.avi --out text.avi", "text.avi"},
    {7, "decode clip.avi --raw missing/out.raw", "cannot create missing/out.raw"},
    {7, "decode clip.avi --format rgb32 --out taken", "cannot create"},
    {7, "encode clip.avi missing/out.avi", "cannot create missing/out.avi"},
    {7, "encode same.avi same.avi", "same.avi is also the input"},
    {7, "decode same.avi --raw same.avi", "same.avi"},
    {12, "decode clip.avi --from 3f", "has 3 frames and ends before --from"},
    {12, "play clip.avi --from 0:09", "ends before --from"},
    {12, "encode pictures.raw none.avi --rgb24" + kRaw + " --from 4f", "has 4 frames"},
};

TEST_F(RegisteredNyxHost, EveryFailureHasItsCodeAndItsMessage) {
    const std::string clip = Bytes("clip.avi");
    const auto patched = [](std::string bytes, std::size_t at, const std::string& by) {
        return bytes.replace(at, by.size(), by);
    };
    Write("odd.avi", patched(clip, 176, {'\xCF', 2}));   // the width in the stream's format: 719
    Write("tall.avi", patched(clip, 180, {'\xE8', 1}));  // its height, beyond what the frames hold
    Write("same.avi", clip);
    const std::string chunks = Bytes("info.avi");
    const std::size_t last = chunks.rfind("INFO");
    Write("broken.avi", patched(chunks, chunks.rfind("INFO", last - 1) + 4, "\xff\xff\xff\xff"));
    Write("text.avi", "no film\n");
    Write("empty.mxf", "");
    fs::create_directories(folder.path / "taken" / "clip-rgb32-00001.png");
    Write("pictures.raw", std::string(720 * 480 * 12, '\0'));
    Use({Engines(L"standin")});
    for (const Failure& row : kFailures) {
        Run(row.code, row.arguments, {row.says});
    }
    // The frames around a broken one are decoded; pictures before the failing one are kept.
    EXPECT_EQ(Bytes("out.raw").size(), 720 * 486 * 2 * 2u);
    EXPECT_TRUE(Bytes("same.avi") == clip) << "a clip is not replaced by itself";
    EXPECT_FALSE(Bytes("taken/clip-rgb32-00000.png").empty());
    EXPECT_FALSE(Exists("none.avi") || Exists("tall.raw"));
}

TEST_F(RegisteredNyxHost, NamesTheMissingEngineOrEncoder) {
    for (const char* arguments :
         {"encode clip.avi none.avi", "properties", "decode tape.dv", "render tape.mxf"}) {
        Run(11, arguments,
            {"cannot be created: engine missing or too old, rk", ".dll (not found)"});
    }
    EXPECT_EQ(Register(L"nyxcodecs", L"/u "), 0u);
    Run(4, "encode clip.avi none.avi",
        {"no video compressor \"Rokka Zeta Encoder\" is registered"});
    EXPECT_FALSE(Exists("none.avi"));
}

}  // namespace
}  // namespace nyx::test
