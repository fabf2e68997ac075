// Real files through both modules and the open engines, against ffmpeg. In exact mode both use the
// same inverse transform: 4:2:2 pictures and the audio are equal bit by bit.

#include "tests/nyxhost/nyxhost.h"

namespace nyx::test {
namespace {

class Footage : public RegisteredNyxHost {
  protected:
    Footage() {
        Use({Engines(L"open")});
        variables[L"NYX_OPEN_ENGINES"] = L"exact";
    }
    /// The last field of each picture's line of a framemd5 document.
    std::string Hashes() const {
        std::string hashes;
        std::istringstream lines(said);
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind("0, ", 0) == 0) {
                hashes += line.substr(line.rfind(' ') + 1) + "\n";
            }
        }
        return hashes;
    }
    static unsigned Word(const std::string& bytes, std::size_t at) {
        unsigned word = 0;
        bytes.copy(reinterpret_cast<char*>(&word), 4, at);
        return word;
    }
};

TEST_F(Footage, PicturesAndAudioAreFfmpegs) {
    for (const std::string file :
         {"DV25-625.avi", "DV25-525.mov", "DVCPRO25-625.dv", "DVCPRO50-525.mxf", "DVCPRO50-625.dv",
          "DVCPROHD-1080i60.mov", "DVCPROHD-1080i50.dif", "DVCPROHD-720p50.mxf",
          "DVCPROHD-720p60.mov", "D10-525.gxf", "MPEG2-1080.mxf", "MPEG2-420.mxf",
          "MPEG2-progressive.mxf", "v210-720.avi"}) {
        Run(0, "decode " + file + " --format yuy2 --hash");
        EXPECT_EQ(Hashes(), Bytes(file + ".md5")) << file;
        Run(0, "decode " + file + " --audio sound.wav");
        const std::string wav = Bytes("sound.wav");
        const std::size_t data = wav.find("data") + 8;
        EXPECT_TRUE(wav.substr(data) == Bytes(file + ".pcm")) << file;
        EXPECT_EQ(Word(wav, 4), wav.size() - 8);
        EXPECT_EQ(Word(wav, 24), 48000u);
        EXPECT_EQ(Word(wav, data - 4), wav.size() - data);
    }
    Run(0, "decode DVCPRO50-525.mxf --audio sound.wav");
    Run(0, "decode two.mxf --audio two.wav");
    EXPECT_TRUE(Bytes("two.wav") == Bytes("two-2.wav")) << "each audio stream has its file";
}

TEST_F(Footage, TheSystemFindsTheSplitters) {
    const std::pair<std::string, std::string> rows[] = {
        {"DV25-625.avi", "AVI"},         {"v210-720.avi", "AVI"},    {"DV25-525.mov", "MOV"},
        {"DVCPROHD-1080i60.mov", "MOV"}, {"DVCPRO25-625.dv", "Raw"}, {"intra.m2v", "Raw"}};
    for (const auto& [file, splitter] : rows) {
        Run(0, "render " + file, {"filter: Nyx " + splitter + " Footage Splitter", "2 pictures"});
    }
}

}  // namespace
}  // namespace nyx::test
