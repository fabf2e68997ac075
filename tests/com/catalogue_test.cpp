#include "tests/support/com_test.h"
#include "tests/support/loaded_module.h"
#include "tests/support/module_classes.h"
#include "tests/support/narrow.h"

namespace nyx::test {
namespace {

/// Runs where no engine lies beside the module.
using Catalogue = ComTest;

TEST_F(Catalogue, WithoutItsEngineAClassHasAFactoryThatMakesNothing) {
    for (const ModuleClass& entry : ModuleClasses()) {
        SCOPED_TRACE(Narrow(entry.name));
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(Module().GetClassObject(entry.clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
        auto* made = reinterpret_cast<IUnknown*>(1);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&made)),
                  entry.needsEngine ? E_OUTOFMEMORY : S_OK);
        ASSERT_EQ(made == nullptr, entry.needsEngine);
        ComPtr<IUnknown>::Adopt(made);
    }
}

}  // namespace
}  // namespace nyx::test
