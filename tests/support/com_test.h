#pragma once

#include <gtest/gtest.h>

#include "tests/support/catalogue_under_test.h"
#include "tests/support/engines.h"

namespace nyx::test {

/// A test that uses the module in this process. When it and its members are gone, every object of
/// the module and of the suite must be too, the module must be ready to unload and no task memory
/// may be lost.
class ComTest : public ::testing::Test {
  protected:
    ComTest();
    ~ComTest() override;

    /// For tests that use parts of the system which keep task memory of their own.
    void TaskMemoryIsTheSystems() { watchesTaskMemory_ = false; }

  private:
    long taskMemoryBefore_;
    bool watchesTaskMemory_ = true;
};

/// The same, once for every filter of the module, with the stand-in engines on the search path.
class FilterTest : public ComTest, public ::testing::WithParamInterface<FilterUnderTest> {
  protected:
    const FilterUnderTest& row() const { return GetParam(); }

  private:
    EngineSearch engines_;
};

}  // namespace nyx::test
