#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/support/frames.h"

namespace nyx::test {

/// Runs works 1 and 2 of `make` repeatedly on a thread each, at the same time. Each writes its
/// result into the bytes that it gets, always the same as when it runs alone.
template <class Make>
void ExpectSameTogether(Make make) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    std::atomic<int> waiting{2};
    for (const int number : {1, 2}) {
        const auto work = make(number);
        Bytes alone;
        work(&alone);
        threads.emplace_back([&, work, alone] {
            --waiting;
            while (waiting > 0) {
                std::this_thread::yield();
            }
            Bytes result;
            for (int round = 0; round < 200; ++round) {
                work(&result);
                wrong += result == alone ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace nyx::test
