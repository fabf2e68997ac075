// The data of containers and frames, and the decoder's VIDEOINFOHEADER2 and sample flags for each
// frame.

#include "tests/nyxhost/nyxhost.h"

namespace nyx::test {
namespace {

TEST_F(RegisteredNyxHost, DescribesFilesAndFrames) {
    // Rows of the table, whatever its spaces.
    const auto rows = [this](const Texts& expected) {
        said.erase(std::unique(said.begin(), said.end(),
                               [](char a, char b) { return a == ' ' && b == ' '; }),
                   said.end());
        Says(expected);
    };
    // Without chunks the tables of sizes and rates apply; with chunks, each frame's own data.
    Run(0, "info clip.avi --frames 3",
        {"Q210, 720x486, 20 bits, 29.970 frames per second, 3 frames",
         "decoder: Rokka Q210 Decoder"});
    rows({"\n 2 933120 yes top first 0xA5 4:3 set"});
    Run(0, "info info.avi --frames 3");
    rows({"\n 0 933156 yes bottom first 0xA1 320:243 clear",
          "\n 1 933156 yes top first 0xA5 40:27 set", "\n 2 933144 yes top first 0xA5 0:0 set"});

    // Without a decoder the file and its frames are still described.
    Run(11, "info tape.dv --from 4f",
        {"QDVC, 720x480, 24 bits", "5 frames", "audio: 2 channels, 48000 Hz, 16 bits",
         "bottom first, 4:3 (pixels 648:720)", "1602 samples, unlocked", "timecode 01:02:03;08",
         "recorded 2074-05-06 07:08:09",
         "Rokka DV Decoder cannot be created: engine missing or too old, rkdvh.dll (not found)"});
    Run(11, "info old.dv", {"recorded 1975-12-31 23:59:58"});
    Run(0, "info reel.dv --summary",
        {"1  damage     frames: 2, blocks: 3", "5  timecode   01:03:00;03 -> 01:02:03;04",
         "16:9 (pixels 864:720) -> DVCPRO25"});
}

TEST_F(RegisteredNyxHost, ReadsDatesOfBothCenturiesButNoInvalidOnes) {
    // Day, month and year of a pack, in BCD below flags.
    const std::pair<std::string, std::string> rows[] = {
        {{'\xc1', '\xe1', 0}, "2000-01-01 "},
        {"\xf1\xf2\x74", "2074-12-31 "},
        {"\xc6\xe5\x75", "1975-05-06 "},
        {"\x09\x10\x99", "1999-10-09 "},
        {"\xf2\xe5\x04", ""},
        {"\xc0\xe5\x04", ""},
        {"\xc6\xf3\x04", ""},
        {"\xc6\xe0\x04", ""},
        {"\xc6\xe5\x0a", ""},
        {"\xc6\xe5\xa0", ""},
    };
    for (const auto& [bytes, text] : rows) {
        std::string tape = Bytes("tape.dv");
        for (std::size_t at = 0;
             (at = tape.find("\x62\xff\xc6\x05\x74", at)) != std::string::npos;) {
            tape.replace(at + 2, 3, bytes);
        }
        Write("dated.dv", tape);
        Run(11, "info dated.dv", {"recorded " + text + "07:08:09"});
    }
}

}  // namespace
}  // namespace nyx::test
