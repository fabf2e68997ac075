#include <gtest/gtest.h>

#include "baseclasses/streams.h"

namespace nyx::test {
namespace {

/// Takes and gives back a reference to itself when it goes.
class Object : public CUnknown {
  public:
    Object() : CUnknown(NAME("Object"), nullptr) {}
    ~Object() override {
        NonDelegatingAddRef();
        NonDelegatingRelease();
    }
};

TEST(UnknownClass, TheLastReleaseDeletesOnceEvenWhenTheDestructorCountsAgain) {
    auto* const object = new Object;
    EXPECT_EQ(CBaseObject::ObjectsActive(), 1);
    EXPECT_EQ(object->NonDelegatingAddRef(), 1u) << "born without a reference";
    EXPECT_EQ(object->NonDelegatingAddRef(), 2u);
    EXPECT_EQ(object->NonDelegatingRelease(), 1u);
    EXPECT_EQ(object->NonDelegatingRelease(), 0u);
    EXPECT_EQ(CBaseObject::ObjectsActive(), 0);
}

}  // namespace
}  // namespace nyx::test
