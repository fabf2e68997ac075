#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/loaded_module.h"
#include "tests/support/temporary_folder.h"

namespace nyx::test {
namespace {

/// The sibling modules in the order in which they are loaded.
const std::vector<std::string> kSiblings = {"rkdv5codc.dll", "rkllccodc.dll", "rkzcodc.dll",
                                            "rkdvccodc.dll", "rkdvhcodc.dll", "rkz2codc.dll",
                                            "rk210codc.dll"};

/// Runs the small host under a name of the test's choice, with the siblings beside it.
class HostPreload : public ::testing::Test {
  protected:
    void SetUp() override {
        folder.CopyHere(ModulePath(), L"nyxcodecs.dll");
        for (const std::string& sibling : kSiblings) {
            folder.CopyHere(ProgramFolder() + L"preload_sibling.dll",
                            std::wstring(sibling.begin(), sibling.end()));
        }
        SetEnvironmentVariableW(L"NYX_PRELOAD_LOG", folder.PathOf(L"log.txt").c_str());
    }
    /// What the siblings logged, lower case, one entry a line, while a host of this name ran.
    std::vector<std::string> LogOfHost(const std::wstring& name, const wchar_t* arguments = L"") {
        DeleteFileW(folder.PathOf(L"log.txt").c_str());
        folder.CopyHere(ProgramFolder() + L"preload_host.exe", name);
        EXPECT_EQ(RunProgram(L"\"" + folder.PathOf(name) + L"\" " + arguments), 0);
        return ReadLog();
    }
    /// The log of a load of these siblings followed by a free in reverse order.
    static std::vector<std::string> LoadAndFree(const std::vector<std::string>& siblings) {
        std::vector<std::string> log;
        for (const std::string& sibling : siblings) {
            log.push_back("+" + sibling);
        }
        for (auto at = siblings.rbegin(); at != siblings.rend(); ++at) {
            log.push_back("-" + *at);
        }
        return log;
    }
    TemporaryFolder folder{L"host"};

  private:
    std::vector<std::string> ReadLog() const {
        const std::wstring path = folder.PathOf(L"log.txt");
        std::ifstream log(std::string(path.begin(), path.end()));
        std::vector<std::string> lines;
        for (std::string line; std::getline(log, line);) {
            std::transform(line.begin(), line.end(), line.begin(),
                           [](char c) { return static_cast<char>(std::tolower(c)); });
            lines.push_back(line);
        }
        return lines;
    }
};

TEST_F(HostPreload, TheNamedHostKeepsTheSiblingsLoadedAndFreesThemInReverse) {
    EXPECT_EQ(LogOfHost(L"PceMavrel.exe"), LoadAndFree(kSiblings));
    EXPECT_EQ(LogOfHost(L"pCEMAVREl.exe"), LoadAndFree(kSiblings)) << "in any letter case";
}

TEST_F(HostPreload, AHostWhoseNameMerelyBeginsLikeItLoadsNothing) {
    EXPECT_EQ(LogOfHost(L"PceMavrel2.exe"), std::vector<std::string>{});
}

TEST_F(HostPreload, AMissingSiblingIsPassedOver) {
    std::vector<std::string> rest = kSiblings;
    rest.erase(rest.begin() + 2);
    rest.erase(rest.begin());
    DeleteFileW(folder.PathOf(L"rkdv5codc.dll").c_str());
    DeleteFileW(folder.PathOf(L"rkzcodc.dll").c_str());
    EXPECT_EQ(LogOfHost(L"PceMavrel.exe"), LoadAndFree(rest));
}

TEST_F(HostPreload, AHostThatJustEndsEndsWell) {
    const auto log = LogOfHost(L"PceMavrel.exe", L"stay");
    ASSERT_GE(log.size(), kSiblings.size());
    EXPECT_EQ(log[6], "+rk210codc.dll");
}

}  // namespace
}  // namespace nyx::test
