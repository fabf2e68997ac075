#pragma once

#include "tests/support/com_test.h"
#include "tests/support/loaded_module.h"

namespace nyx::test {

/// Leaves the prefix without the module, whatever it held before.
class RegistrationTest : public ComTest {
  protected:
    void SetUp() override {
        TaskMemoryIsTheSystems();
        // The system makes the keys of its categories with the first filter and keeps them.
        Module().RegisterServer();
        Module().UnregisterServer();
    }
    void TearDown() override { Module().UnregisterServer(); }
};

}  // namespace nyx::test
