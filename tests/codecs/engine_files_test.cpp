/// What lies under an engine's name on disk: damaged, taken, replaced. The family then does
/// without, lets go of what it refused, and looks again with its next first user.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "codecs/engine_library.h"
#include "codecs/engine_records.h"
#include "tests/support/engines.h"
#include "tests/support/temporary_folder.h"

namespace nyx {
namespace {

using test::EngineFolder;
using test::IsLoaded;

constexpr wchar_t kEngine[] = L"rkz2core.dll";

std::vector<char> ReadFile(const std::wstring& path) {
    std::ifstream file(path.c_str(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class EngineFiles : public testing::Test {
  protected:
    EngineFiles() { SetDllDirectoryW(folder_.PathOf(L"").c_str()); }
    ~EngineFiles() override { SetDllDirectoryW(nullptr); }

    void Put(const std::vector<char>& bytes) const {
        std::ofstream file(Path().c_str(), std::ios::binary | std::ios::trunc);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    std::wstring Path() const { return folder_.PathOf(kEngine); }

    /// Joins and leaves the family; whether its engine was bound in between.
    static bool Binds() {
        bool bound = false;
        {
            EngineUse use(Zeta2Engines());
            bound = use[0].Decode<Zeta2Entry>() != nullptr;
            EXPECT_EQ(bound, Zeta2Engines().IsComplete());
            EXPECT_EQ(bound, IsLoaded(kEngine));
        }
        EXPECT_FALSE(IsLoaded(kEngine));
        return bound;
    }

    test::TemporaryFolder folder_{L"engines"};
    std::vector<char> whole_ = ReadFile(EngineFolder() + L"\\" + kEngine);
};

TEST_F(EngineFiles, OnlyAWholeOneForThisMachineIsBound) {
    ASSERT_GT(whole_.size(), 4096u);
    EXPECT_FALSE(Binds()) << "nothing there yet";
    for (const std::ptrdiff_t size : {0, 1, 63, 512, 1024, 4096}) {
        Put({whole_.begin(), whole_.begin() + size});
        EXPECT_FALSE(Binds()) << "cut to " << size;
    }
    // The machine's number stands behind the signature whose place is at 0x3C of the file.
    std::vector<char> foreign = whole_;
    const auto header = static_cast<std::size_t>(static_cast<unsigned char>(foreign.at(0x3C)));
    foreign.at(header + 4) = 0x64;
    foreign.at(header + 5) = static_cast<char>(0x86);
    Put(foreign);
    EXPECT_FALSE(Binds()) << "of another machine";
    ASSERT_TRUE(DeleteFileW(Path().c_str()));
    ASSERT_TRUE(CreateDirectoryW(Path().c_str(), nullptr));
    EXPECT_FALSE(Binds()) << "a directory";
    ASSERT_TRUE(RemoveDirectoryW(Path().c_str()));
    Put(whole_);
    EXPECT_TRUE(Binds());
}

TEST_F(EngineFiles, ALockedOneIsNotUntilItIsLetGo) {
    Put(whole_);
    const HANDLE lock = CreateFileW(Path().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(lock, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(Binds());
    CloseHandle(lock);
    EXPECT_TRUE(Binds());
}

TEST_F(EngineFiles, OneThatIsReplacedInUseStaysUntilTheLastUserGoes) {
    Put(whole_);
    {
        EngineUse use(Zeta2Engines());
        ASSERT_TRUE(Zeta2Engines().IsComplete());
        ASSERT_TRUE(MoveFileW(Path().c_str(), folder_.PathOf(L"away.dll").c_str()));
        folder_.CopyHere(EngineFolder(L"old") + L"\\" + kEngine, kEngine);
        EngineUse second(Zeta2Engines());
        Zeta2DecodeRecord record = {};
        const BYTE noFrame[64] = {};
        record.frame = noFrame;
        second[0].Decode<Zeta2Entry>()(&record);
        EXPECT_EQ(record.codedLength, 0xFFFFFFFFu) << "the loaded engine still answers";
    }
    EXPECT_FALSE(Binds()) << "what lies there now is too old";
}

}  // namespace
}  // namespace nyx
