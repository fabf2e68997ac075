#include "tests/support/com_test.h"
#include "tests/support/loaded_module.h"
#include "tests/support/module_classes.h"
#include "tests/support/narrow.h"

namespace nyx::test {
namespace {

/// Runs where no engine lies beside the module.
using Catalogue = ComTest;

TEST_F(Catalogue, EveryClassHasAFactoryWithAndWithoutItsEngine) {
    for (const ModuleClass& entry : ModuleClasses()) {
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(Module().GetClassObject(entry.clsid, IID_IClassFactory, factory.PutVoid()), S_OK)
            << Narrow(entry.name);
    }
}

TEST_F(Catalogue, AFilterWithoutItsEngineCannotBeMadeAndLeavesNothingBehind) {
    for (const ModuleClass& entry : ModuleClasses()) {
        if (!entry.needsEngine) {
            continue;
        }
        for (const IID& iid : {IID_IBaseFilter, IID_IUnknown}) {
            auto* made = reinterpret_cast<IUnknown*>(1);
            EXPECT_EQ(
                Module().CreateInstance(entry.clsid, nullptr, iid, reinterpret_cast<void**>(&made)),
                E_OUTOFMEMORY)
                << Narrow(entry.name);
            EXPECT_EQ(made, nullptr) << Narrow(entry.name);
        }
    }
}

TEST_F(Catalogue, WhatNeedsNoEngineIsMade) {
    for (const ModuleClass& entry : ModuleClasses()) {
        if (entry.needsEngine) {
            continue;
        }
        ComPtr<IUnknown> made;
        EXPECT_EQ(Module().CreateInstance(entry.clsid, nullptr, IID_IUnknown, made.PutVoid()), S_OK)
            << Narrow(entry.name);
    }
}

}  // namespace
}  // namespace nyx::test
