// The module under test is the source filter's.

#include <gtest/gtest.h>

#include "tests/support/module.h"

int main(int count, char** arguments) {
    nyx::test::moduleFile = L"nyxsource.dll";
    ::testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
