/// Every allocation that the module makes, failing in turn: the call says so, nothing is lost, no
/// picture is touched, and the same call works once there is memory again.

#include <ocidl.h>

#include <algorithm>
#include <functional>

#include "tests/faults/starved_memory.h"
#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/loaded_module.h"
#include "tests/support/module_classes.h"

namespace nyx::test {
namespace {

[[maybe_unused]] const bool usesStarvedModule = UseModule(L"nyxcodecs_starved.dll");

template <class Entry>
Entry StarvedEntry(const char* name) {
    return reinterpret_cast<Entry>(
        reinterpret_cast<void*>(GetProcAddress(Module().handle(), name)));
}

MemoryCount CountMemory() {
    static const auto entry = StarvedEntry<StarvedCount>("starved_count");
    return entry();
}

/// Lets the module's allocations fail from construction on, from number `number` alone.
class Starvation {
  public:
    explicit Starvation(long number) { Fail(number); }
    ~Starvation() { Fail(0); }
    Starvation(const Starvation&) = delete;
    Starvation& operator=(const Starvation&) = delete;

  private:
    static void Fail(long number) {
        static const auto entry = StarvedEntry<StarvedFail>("starved_fail");
        entry(number);
    }
};

using Answers = std::vector<HRESULT>;

/// Runs `call` with its first allocation failing, then its second, and so on until it makes no
/// more. A call that failed says one of `failures` and may be one of those that carry on
/// without: then `S_OK` is among them. Returns how many allocations the call makes.
long FailEach(const std::function<HRESULT()>& call, const Answers& failures = {E_OUTOFMEMORY}) {
    for (long number = 1;; ++number) {
        const long alive = CountMemory().alive;
        HRESULT result = S_OK;
        long asked = 0;
        {
            const Starvation starvation(number);
            result = call();
            asked = CountMemory().asked;
        }
        if (asked < number) {
            EXPECT_EQ(result, S_OK) << "nothing failed";
            return number - 1;
        }
        EXPECT_TRUE(std::count(failures.begin(), failures.end(), result))
            << "allocation " << number << ": " << std::hex << result;
        if (FAILED(result)) {
            EXPECT_EQ(CountMemory().alive, alive) << "lost memory after allocation " << number;
        }
    }
}

class AllocationFailure : public FilterTest {};
NYX_FOR_EVERY_FILTER(AllocationFailure);

using PageAllocationFailure = ComTest;

TEST_P(AllocationFailure, OfCreation) {
    // A setting that cannot be read for want of memory takes its default, as any other would.
    const long made = FailEach(
        [&] {
            ComPtr<IBaseFilter> filter;
            const HRESULT result =
                Module().CreateInstance(row().clsid, nullptr, IID_IBaseFilter, filter.PutVoid());
            EXPECT_EQ(SUCCEEDED(result), static_cast<bool>(filter));
            return result;
        },
        {E_OUTOFMEMORY, S_OK});
    EXPECT_GE(made, 2) << "the factory and the filter";
}

TEST_F(PageAllocationFailure, OfCreation) {
    const CLSID& clsid = ModuleClasses().back().clsid;  // the page closes the catalogue
    ASSERT_FALSE(ModuleClasses().back().isFilter);
    const long made = FailEach(
        [&] {
            ComPtr<IPropertyPage> page;
            return Module().CreateInstance(clsid, nullptr, IID_IPropertyPage, page.PutVoid());
        },
        {E_OUTOFMEMORY, S_OK});
    EXPECT_GE(made, 2) << "the factory and the page";
}

TEST_P(AllocationFailure, OfThePins) {
    // They are made on first use, both or none.
    ComPtr<IBaseFilter> filter = Module().CreateFilter(row().clsid);
    FailEach([&] {
        ComPtr<IPin> pin;
        return filter->FindPin(L"Out", pin.Put());
    });
}

TEST_P(AllocationFailure, OfEnumeratorsAndNames) {
    FilterRig rig(row());
    rig.Connect();
    FailEach([&] {
        ComPtr<IEnumPins> pins;
        const HRESULT result = rig.filter->EnumPins(pins.Put());
        ComPtr<IEnumPins> clone;
        return FAILED(result) ? result : pins->Clone(clone.Put());
    });
    FailEach(
        [&] {
            ComPtr<IEnumMediaTypes> types;
            HRESULT result = rig.output->EnumMediaTypes(types.Put());
            AM_MEDIA_TYPE* type = nullptr;
            if (SUCCEEDED(result)) {
                result = types->Next(1, &type, nullptr);
            }
            if (result == S_OK) {
                DeleteType(type);
            }
            return result;
        },
        {E_OUTOFMEMORY, S_FALSE});
    FailEach([&] {
        LPWSTR id = nullptr;
        const HRESULT result = rig.output->QueryId(&id);
        CoTaskMemFree(id);
        return result;
    });
    FailEach([&] {
        AM_MEDIA_TYPE type{};
        const HRESULT result = rig.output->ConnectionMediaType(&type);
        CoTaskMemFree(type.pbFormat);
        return result;
    });
}

TEST_P(AllocationFailure, OfConnecting) {
    FilterRig rig(row());
    const auto disconnect = [&] {
        rig.output->Disconnect();
        rig.sink->in.Disconnect();
        rig.input->Disconnect();
        rig.source->out.Disconnect();
    };
    FailEach([&] {
        disconnect();
        return rig.ConnectInput();
    });
    // A pin that cannot make its list of types has none to propose.
    FailEach(
        [&] {
            rig.output->Disconnect();
            rig.sink->in.Disconnect();
            return rig.ConnectOutput();
        },
        {E_OUTOFMEMORY, S_OK});
    FailEach([&] {
        rig.output->Disconnect();
        rig.sink->in.Disconnect();
        return rig.ConnectOutput(row().OutputType(0));
    });
}

TEST_P(AllocationFailure, OfStreaming) {
    for (std::size_t output = 0; output < row().outputs.size(); ++output) {
        FilterRig rig(row());
        rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
        rig.Start(output);
        FailEach([&] {
            const std::size_t before = rig.sink->in.sampleCount();
            const HRESULT result = rig.Push();
            EXPECT_EQ(rig.sink->in.sampleCount(), before + (result == S_OK ? 1 : 0));
            if (FAILED(result) && rig.sink->in.ownAllocator->last()) {
                const GuardedMemory& picture = rig.sink->in.ownAllocator->last()->memory();
                EXPECT_TRUE(std::all_of(picture.data(), picture.data() + picture.size(),
                                        [](BYTE b) { return b == TestAllocator::kUnwritten; }));
            }
            return result;
        });
    }
}

TEST_P(AllocationFailure, OfTypesThatChangeMidStream) {
    FilterRig rig(row());
    rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
    rig.sink->in.ownAllocator->granted = ALLOCATOR_PROPERTIES{1, 16 << 20, 1, 0};
    rig.Start();
    SampleProperties sample = rig.Frame();
    sample.type = row().InputType(rig.picture);
    TestAllocator* allocator = rig.sink->in.ownAllocator.get();
    allocator->onBuffer = [&](TestSample& buffer) {
        buffer.properties().type = row().OutputType(row().outputs.size() - 1);
    };
    FailEach([&] { return rig.source->Push(sample); }, {E_OUTOFMEMORY, S_OK});
}

}  // namespace
}  // namespace nyx::test
