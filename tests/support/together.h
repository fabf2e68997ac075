#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

#include "tests/support/frames.h"

namespace nyx::test {

/// Runs works 1 and 2 of `make` repeatedly on a thread each, at the same time. Each writes its
/// result into the bytes that it gets, always the same as when it runs alone.
template <class Make>
void ExpectSameTogether(Make make) {
    std::atomic<int> wrong{0};
    std::latch start(2);
    std::vector<std::jthread> threads;
    for (const int number : {1, 2}) {
        const auto work = make(number);
        Bytes alone;
        work(&alone);
        threads.emplace_back([&, work, alone] {
            start.arrive_and_wait();
            Bytes result;
            for (int round = 0; round < 200; ++round) {
                work(&result);
                wrong += result == alone ? 0 : 1;
            }
        });
    }
    threads.clear();
    EXPECT_EQ(wrong, 0);
}

}  // namespace nyx::test
