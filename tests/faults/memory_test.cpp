/// Each allocation of the module fails in turn: the call reports it, nothing leaks, no picture is
/// touched, and the same call succeeds once there is memory again. And buffers in memory of every
/// kind.

#include <functional>

#include "platform/class_ids.h"
#include "tests/faults/starved_memory.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

Starved& starved =
    *(moduleFile = L"nyxcodecs_starved.dll", Export<Starved*>(Module().handle, "starved"));

/// Runs `call` with its first allocation failing, then its second, and so on up to the last, after
/// more than `least`. It returns E_OUTOFMEMORY or one of `others` and keeps at most `kept` blocks.
void FailEach(long least, const std::function<HRESULT()>& call, std::vector<HRESULT> others = {},
              long kept = 0) {
    others.push_back(E_OUTOFMEMORY);
    long number = 0;
    do {
        const long alive = starved.alive;
        starved.asked = 0;
        starved.failing = ++number;
        const HRESULT result = call();
        starved.failing = 0;
        EXPECT_TRUE(starved.asked < number ? result == S_OK
                                           : std::count(others.begin(), others.end(), result) == 1)
            << number << ": " << result;
        EXPECT_TRUE(SUCCEEDED(result) || starved.alive <= alive + kept) << "lost by " << number;
    } while (starved.asked >= number);
    EXPECT_GT(number, least);
}

class WithoutMemory : public RowTest {};
NYX_FOR_ROWS(WithoutMemory, Catalogue());

TEST_P(WithoutMemory, ObjectsPinsAndConnectionsAreMadeOrRefusedWhole) {
    ComPtr<IUnknown> object;
    for (const CLSID& clsid : {row().clsid, CLSID_NyxZetaPropertyPage}) {
        // A setting that there is no memory to read takes its default.
        const auto create = [&] {
            const HRESULT result = Module().Create(clsid, nullptr, IID_IUnknown, &object);
            EXPECT_EQ(SUCCEEDED(result), object.Get() != nullptr);
            object.Reset();
            return result;
        };
        FailEach(2, create, {S_OK});
    }
    const auto bare = Module().Create(row().clsid);
    ComPtr<IPin> pin;
    FailEach(2, [&] { return bare->FindPin(L"Out", pin.ReleaseAndGetAddressOf()); });
    Rig rig(row());
    FailEach(1, [&] {
        rig.Disconnect();
        return rig.ConnectInput();
    });
    // Without memory a pin proposes no types and refuses a type that it cannot copy; the filter's
    // own allocator is its second choice.
    const MediaType type = row().OutputType();
    for (const AM_MEDIA_TYPE* const as : {static_cast<const AM_MEDIA_TYPE*>(&type), {}}) {
        const auto call = [&] {
            rig.DisconnectOutput();
            return rig.output->Connect(&rig.sink, as);
        };
        FailEach(1, call, {S_OK, E_UNEXPECTED, HRESULT{VFW_E_NO_ACCEPTABLE_TYPES}});
    }
    ComPtr<IEnumPins> pins, clone;
    FailEach(1, [&] { return rig.filter->EnumPins(&pins); });
    FailEach(1, [&] { return pins->Clone(&clone); });
    ComPtr<IEnumMediaTypes> types;
    FailEach(1, [&] { return rig.output->EnumMediaTypes(&types); });
    AM_MEDIA_TYPE* offered = nullptr;
    const auto first = [&] {
        types->Reset();
        return types->Next(1, &offered, nullptr);
    };
    FailEach(2, first, {S_FALSE});
    MediaType::Adopt(offered);
    LPWSTR id = nullptr;
    FailEach(1, [&] { return rig.output->QueryId(&id); });
    CoTaskMemFree(id);
    MediaType connection;
    FailEach(1, [&] { return rig.output->ConnectionMediaType(&connection); });
}

TEST_P(WithoutMemory, AFrameIsDeliveredOrItsPictureUntouchedInMemoryOfEveryKind) {
    // Wider than the stream: this DV picture is stretched, all but DV leave the rest of each row.
    const std::string code = row().fourcc;
    const LONG rest = row().IsEncoder() || code.compare(0, 3, "QDV") == 0 ? 0 : 32;
    const Stream wide = {row().stream.width + rest, row().stream.height};
    // Of their 32-bit pictures these two leave out more.
    const std::size_t formats = code == "QDVC" || code == "QMIC" ? 2 : row().Outputs().size();
    const auto largest = static_cast<LONG>(row().OutputType(formats - 1, wide).lSampleSize);
    std::vector<std::vector<BYTE>> pictures(formats);
    for (std::size_t i = 0; i < 4 * formats; ++i) {
        Rig rig(row(), code == "QDVC" ? row().other : row().stream);
        HostileAllocator& buffers = rig.OwnAllocator();
        buffers.granted = ALLOCATOR_PROPERTIES{1, largest, 1, 0};
        ASSERT_EQ(rig.ConnectInput(), S_OK);
        ASSERT_EQ(rig.ConnectOutput(row().OutputType(i % formats, wide)), S_OK);
        rig.filter->Pause();
        starved.answer = static_cast<Answer>(i / formats);
        std::vector<BYTE>& picture = pictures[i % formats];
        const auto push = [&] {
            const HRESULT result = rig.Push();
            picture = picture.empty() && SUCCEEDED(result) ? buffers.Buffer() : picture;
            EXPECT_TRUE(FAILED(result) ? buffers.IsUntouched() : buffers.Buffer() == picture);
            return result;
        };
        FailEach(0, push, {}, 1);  // a codec keeps the memory that it got
        starved.queries = 0;
        starved.asked = 0;
        EXPECT_EQ(push(), S_OK);
        EXPECT_LE(starved.queries, 2) << "once a picture is enough";
        const long bounces = starved.answer == Answer::kWriteCombined && !row().IsEncoder() ? 1 : 0;
        EXPECT_EQ(starved.asked, bounces) << "no allocation but the bounce buffer";
        FailEach(bounces, push);
        EXPECT_TRUE(buffers.MarginsAreUntouched());
        starved.answer = Answer::kTruth;
        Sample typed = rig.Frame();
        typed.type = row().InputType(rig.stream);
        const MediaType last = row().OutputType(formats - 1);
        const auto change = [&] {
            const int ended = rig.graph->Count(EC_ERRORABORT);
            buffers.nextType = last;
            const HRESULT result = rig.Push(typed);
            EXPECT_EQ(rig.graph->Count(EC_ERRORABORT) - ended, result == S_OK ? 0 : 1);
            rig.input->EndFlush();
            return result;
        };
        FailEach(2, change, {S_OK, HRESULT{VFW_E_INVALIDMEDIATYPE}});
    }
}

}  // namespace
}  // namespace nyx::test
