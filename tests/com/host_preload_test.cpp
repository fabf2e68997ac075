// Which siblings the module keeps loaded in which host: a small host and a small sibling that logs
// when it comes and goes, under the names that count.

#include "tests/support/host.h"
#include "tests/support/programs.h"

namespace nyx::test {
namespace {

struct Row {
    std::string host;
    std::vector<std::string> siblings;
    std::vector<std::string> loaded;  ///< and freed in the opposite order
    bool stays;                       ///< just ends
};
const std::vector<std::string> kAll = {"rkdv5codc", "rkllccodc", "rkzcodc",  "rkdvccodc",
                                       "rkdvhcodc", "rkz2codc",  "rk210codc"};
const Row kRows[] = {
    {"pCEMAVREl", kAll, kAll, false},
    {"PceMavrel2", kAll, {}, false},
    // A missing one is passed over.
    {"PceMavrel", {"rkdvhcodc", "rkllccodc"}, {"rkllccodc", "rkdvhcodc"}, false},
    // A host that just ends ends well.
    {"PceMavrel", kAll, kAll, true},
};

TEST(HostPreload, KeepsTheSiblingsLoadedInItsHost) {
    namespace fs = std::filesystem;
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.host + (row.stays ? " stay" : ""));
        const TemporaryFolder folder(L"preload");
        const fs::path built = ProgramFolder();
        fs::copy_file(built / "nyxcodecs.dll", folder.path / "nyxcodecs.dll");
        fs::copy_file(built / "preload_host.exe", folder.path / (row.host + ".exe"));
        std::string expected, freed;
        for (const std::string& sibling : row.siblings) {
            fs::copy_file(built / "preload_sibling.dll", folder.path / (sibling + ".dll"));
        }
        for (const std::string& name : row.loaded) {
            expected += "+" + name + ".dll\n";
            freed = "-" + name + ".dll\n" + freed;
        }
        expected += row.stays ? "" : freed;
        const std::wstring line = L'"' + folder.PathOf(checks::Widen(row.host)) + L".exe\"";
        EXPECT_EQ(
            RunIn(folder.path, line + (row.stays ? L" stay" : L""), {{L"NYX_PRELOAD_LOG", L"log"}})
                .code,
            0u);
        std::string log = checks::ReadText(folder.path / "log");
        std::erase(log, '\r');
        std::transform(log.begin(), log.end(), log.begin(),
                       [](char c) { return static_cast<char>(std::tolower(c)); });
        EXPECT_EQ(row.stays ? log.substr(0, expected.size()) : log, expected);
    }
}

}  // namespace
}  // namespace nyx::test
