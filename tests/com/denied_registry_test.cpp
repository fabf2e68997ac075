#include "tests/support/denied_registry.h"

#include "tests/com/registration_fixture.h"
#include "tests/com/zeta_encoder_fixture.h"
#include "tests/support/registry_snapshot.h"

namespace nyx::test {
namespace {

using DeniedUnregistration = RegistrationTest;

/// With one of the functions that write refused.
class DeniedRegistration : public RegistrationTest,
                           public ::testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Writing, DeniedRegistration,
                         ::testing::Values("RegCreateKeyExW", "RegSetValueExW"),
                         [](const auto& function) { return std::string(function.param); });

TEST_P(DeniedRegistration, IsReportedAndCanBeUndone) {
    const RegistrySnapshot before = SnapshotOfClasses();
    {
        const DeniedRegistry denied(Module().handle(), {GetParam()});
        EXPECT_EQ(Module().RegisterServer(), E_ACCESSDENIED);
    }
    // Reports that no compressor was entered, after everything else is gone.
    Module().UnregisterServer();
    EXPECT_EQ(Difference(before, SnapshotOfClasses()), "");
}

TEST_F(DeniedUnregistration, IsReportedAndCanBeTriedAgain) {
    const RegistrySnapshot before = SnapshotOfClasses();
    ASSERT_EQ(Module().RegisterServer(), S_OK);
    {
        const DeniedRegistry denied(Module().handle(), {"RegDeleteTreeW"});
        EXPECT_EQ(Module().UnregisterServer(), E_ACCESSDENIED);
    }
    EXPECT_EQ(Module().UnregisterServer(), S_OK);
    EXPECT_EQ(Difference(before, SnapshotOfClasses()), "");
}

/// The current user's settings out of reach: keys that cannot be opened, or values that cannot be
/// read or written.
const std::vector<const char*> kDenials[] = {
    {"RegOpenKeyExW", "RegCreateKeyExW"},
    {"RegQueryValueExW", "RegSetValueExW"},
};

class DeniedSettings : public ZetaEncoderTest,
                       public ::testing::WithParamInterface<std::vector<const char*>> {};
INSTANTIATE_TEST_SUITE_P(Denied, DeniedSettings, ::testing::ValuesIn(kDenials),
                         [](const auto& denied) { return std::string(denied.param.front()); });

TEST_P(DeniedSettings, TheEncoderStartsWithDefaultsAndKeepsWhatItIsTold) {
    user_.Store(kKey, L"color_space", 1);
    user_.Store(kKey, L"quant_scale", 12);
    user_.Store(kKey, L"preset", 4);
    const EncodeParameterBlock told = {1, 11, 70, 4};
    EncodeParameterBlock block = {};
    {
        const DeniedRegistry denied(Module().handle(), GetParam());
        const auto encoder = NewEncoder();
        ASSERT_TRUE(encoder);
        const EncodeParameterBlock defaults = {0, 5, 30, 2};
        EXPECT_EQ(encoder->GetParameter(&block, FALSE), S_OK);
        EXPECT_EQ(block, defaults);
        EXPECT_EQ(encoder->SetParameter(&told, TRUE), S_OK) << "a failed save is not reported";
        EXPECT_EQ(encoder->GetParameter(&block, FALSE), S_OK);
        EXPECT_EQ(block, told);
        EXPECT_EQ(encoder->GetParameter(&block, TRUE), S_OK);
        EXPECT_EQ(block, defaults);
    }
    EXPECT_EQ(user_.Stored(kKey, L"quant_scale"), 12) << "what was stored stays";
    EXPECT_EQ(user_.Stored(kKey, L"preset"), 4);
}

TEST_P(DeniedSettings, EveryFilterIsMadeAndPassesFrames) {
    const DeniedRegistry denied(Module().handle(), GetParam());
    for (const FilterUnderTest& row : CatalogueUnderTest()) {
        FilterRig rig(row);
        rig.Start();
        EXPECT_EQ(rig.Push(), S_OK) << row.name;
        EXPECT_EQ(rig.sink->in.sampleCount(), 1u) << row.name;
    }
}

}  // namespace
}  // namespace nyx::test
