#include "codecs/engine_library.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "codecs/engine_records.h"
#include "tests/support/engines.h"

namespace nyx {
namespace {

using test::EngineSearch;
using test::IsLoaded;

constexpr wchar_t kCore[] = L"rkzcore.dll";
constexpr wchar_t kAlpha[] = L"rkzalpha.dll";

template <typename Body>
void OnThreads(int count, Body body) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back(body);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(SpinLock, LetsOneThreadInAtATime) {
    SpinLock lock;
    int counter = 0;
    OnThreads(4, [&] {
        for (int i = 0; i < 5000; ++i) {
            const std::lock_guard<SpinLock> hold(lock);
            const int seen = counter;
            if (i % 64 == 0) {
                Sleep(0);  // while others wait
            }
            counter = seen + 1;
        }
    });
    EXPECT_EQ(counter, 4 * 5000);
}

TEST(EngineFamily, LoadsWithTheFirstUserAndFreesWithTheLast) {
    ASSERT_FALSE(IsLoaded(kCore));
    std::optional<EngineUse> first;
    {
        const EngineSearch search;
        first.emplace(ZetaEngines());
    }
    EXPECT_TRUE(ZetaEngines().IsComplete());
    EXPECT_TRUE(IsLoaded(kCore) && IsLoaded(kAlpha));
    {
        const EngineSearch nowhere(L"none");  // a second load would now find nothing
        EngineUse second(ZetaEngines());
        EXPECT_TRUE(ZetaEngines().IsComplete());
        first.reset();
        EXPECT_TRUE(ZetaEngines().IsComplete());
        EXPECT_TRUE(IsLoaded(kCore) && IsLoaded(kAlpha));
    }
    EXPECT_FALSE(ZetaEngines().IsComplete());
    EXPECT_FALSE(IsLoaded(kCore) || IsLoaded(kAlpha));
    EXPECT_EQ(ZetaEngines()[kZetaCoreEngine].Decode<ZetaEntry>(), nullptr);
    EXPECT_EQ(ZetaEngines()[kZetaCoreEngine].Encode<ZetaEntry>(), nullptr);
}

TEST(EngineFamily, BindsEachEngineByItself) {
    struct Case {
        const wchar_t* folder;
        bool core;
        bool alpha;
    };
    const Case cases[] = {
        {L"", true, true},
        {L"none", false, false},
        {L"old", false, false},          // 1.31 and 1.19, the low version words at their highest
        {L"unversioned", false, false},  // no alpha engine there
        {L"no_encode", false, false},
        {L"no_decode", false, false},
    };
    for (const Case& c : cases) {
        const EngineSearch search(c.folder);
        EngineUse use(ZetaEngines());
        EXPECT_EQ(use[kZetaCoreEngine].Decode<ZetaEntry>() != nullptr, c.core);
        EXPECT_EQ(use[kZetaCoreEngine].Encode<ZetaEntry>() != nullptr, c.core);
        EXPECT_EQ(use[kZetaAlphaEngine].Decode<ZetaEntry>() != nullptr, c.alpha);
        EXPECT_EQ(ZetaEngines().IsComplete(), c.core && c.alpha);
        // What is refused is freed at once.
        EXPECT_EQ(IsLoaded(kCore), c.core);
        EXPECT_EQ(IsLoaded(kAlpha), c.alpha);
    }
}

TEST(EngineFamily, KeepsOneEngineWhenTheOtherIsRefused) {
    const HMODULE old = LoadLibraryW((test::EngineFolder(L"old") + L"\\" + kCore).c_str());
    ASSERT_NE(old, nullptr);
    {
        // A library that the process has already is found before the folders are searched.
        const EngineSearch search;
        EngineUse use(ZetaEngines());
        EXPECT_EQ(use[kZetaCoreEngine].Decode<ZetaEntry>(), nullptr);
        EXPECT_NE(use[kZetaAlphaEngine].Decode<ZetaEntry>(), nullptr);
        EXPECT_FALSE(ZetaEngines().IsComplete());
    }
    EXPECT_TRUE(IsLoaded(kCore));  // the process's own reference is still there
    FreeLibrary(old);
    EXPECT_FALSE(IsLoaded(kCore));
}

TEST(EngineFamily, StaysCorrectWhenManyThreadsComeAndGo) {
    const EngineSearch search;
    std::atomic<int> missing{0};
    OnThreads(8, [&] {
        for (int i = 0; i < 60; ++i) {
            EngineUse use(ZetaEngines());
            const bool complete = ZetaEngines().IsComplete() && IsLoaded(kCore) &&
                                  IsLoaded(kAlpha) && use[kZetaCoreEngine].Decode<ZetaEntry>();
            missing += complete ? 0 : 1;
        }
    });
    EXPECT_EQ(missing, 0);
    EXPECT_FALSE(ZetaEngines().IsComplete());
    EXPECT_FALSE(IsLoaded(kCore) || IsLoaded(kAlpha));
}

}  // namespace
}  // namespace nyx
