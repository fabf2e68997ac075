#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/loaded_module.h"
#include "tests/support/misaligned_call.h"

namespace nyx::test {
namespace {

// Slots of the methods that are called, in the order of the interfaces' declarations.
constexpr unsigned kCreateInstance = 3;   // IClassFactory
constexpr unsigned kStop = 4;             // IMediaFilter
constexpr unsigned kPause = 5;            // IMediaFilter
constexpr unsigned kConnect = 3;          // IPin
constexpr unsigned kQueryAccept = 11;     // IPin
constexpr unsigned kEnumMediaTypes = 12;  // IPin
constexpr unsigned kEndOfStream = 14;     // IPin
constexpr unsigned kReceive = 6;          // IMemInputPin
constexpr unsigned kNext = 3;             // IEnumMediaTypes

constexpr DWORD kOffsets[] = {4, 8, 12};

class MisalignedStack : public FilterTest {};
NYX_FOR_EVERY_FILTER(MisalignedStack);

TEST(MisalignedCall, CallsFromTheStackItSays) {
    for (const DWORD offset : {0u, 4u, 8u, 12u}) {
        const auto stack = static_cast<DWORD>(
            CallMisaligned(offset, reinterpret_cast<const void*>(&nyx_stack_pointer), 1, 2, 3));
        EXPECT_EQ(stack % 16, (16 - offset) % 16);
    }
}

TEST_P(MisalignedStack, AFilterIsMadeConnectedAndDecodesToEveryFormat) {
    const auto entry =
        reinterpret_cast<const void*>(GetProcAddress(Module().handle(), "DllGetClassObject"));
    for (const DWORD offset : kOffsets) {
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(
            CallMisaligned(offset, entry, &row().clsid, &IID_IClassFactory, factory.PutVoid()),
            S_OK);
        ComPtr<IBaseFilter> filter;
        ASSERT_EQ(CallMethodMisaligned(offset, factory.get(), kCreateInstance, nullptr,
                                       &IID_IBaseFilter, filter.PutVoid()),
                  S_OK);
        for (std::size_t i = 0; i < row().outputs.size(); ++i) {
            FilterRig rig(row());
            const MediaType type = row().InputType();
            EXPECT_EQ(CallMethodMisaligned(offset, rig.input.get(), kQueryAccept, type.get()),
                      S_OK);
            ASSERT_EQ(rig.ConnectInput(), S_OK);
            ComPtr<IEnumMediaTypes> types;
            ASSERT_EQ(CallMethodMisaligned(offset, rig.output.get(), kEnumMediaTypes, types.Put()),
                      S_OK);
            AM_MEDIA_TYPE* offered = nullptr;
            ASSERT_EQ(CallMethodMisaligned(offset, types.get(), kNext, 1, &offered, nullptr), S_OK);
            DeleteType(offered);
            const MediaType output = row().OutputType(i);
            ASSERT_EQ(CallMethodMisaligned(offset, rig.output.get(), kConnect, rig.sink->pin(),
                                           output.get()),
                      S_OK);
            ASSERT_EQ(CallMethodMisaligned(offset, rig.filter.get(), kPause), S_OK);
            ASSERT_EQ(rig.Push(), S_OK);
            const auto sample = MakeCom<TestSample>(rig.Frame());
            EXPECT_EQ(CallMethodMisaligned(offset, rig.transport.get(), kReceive, sample.get()),
                      S_OK);
            const auto arrived = rig.sink->in.samples();
            ASSERT_EQ(arrived.size(), 2u);
            EXPECT_EQ(arrived[1].bytes, arrived[0].bytes);
            EXPECT_EQ(CallMethodMisaligned(offset, rig.input.get(), kEndOfStream), S_OK);
            EXPECT_EQ(CallMethodMisaligned(offset, rig.filter.get(), kStop), S_OK);
        }
    }
}

}  // namespace
}  // namespace nyx::test
