#include <gtest/gtest.h>

#include "baseclasses/streams.h"

namespace {

/// COM and the library's own entry point for the whole program.
class Environment : public ::testing::Environment {
  public:
    void SetUp() override {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        ASSERT_TRUE(DllEntryPoint(GetModuleHandleW(nullptr), DLL_PROCESS_ATTACH, nullptr));
    }
    void TearDown() override {
        EXPECT_TRUE(DllEntryPoint(g_hInst, DLL_PROCESS_DETACH, nullptr));
        CoUninitialize();
    }
};

[[maybe_unused]] const auto* const environment =
    ::testing::AddGlobalTestEnvironment(new Environment);

}  // namespace
