/// Every allocation that the module makes, failing in turn: the call says so, nothing is lost, no
/// picture is touched, and the same call works once there is memory again. And memory of every
/// kind that a host may hand out.

#include <ocidl.h>

#include <functional>

#include "tests/faults/starved_memory.h"
#include "tests/support/rig.h"

namespace nyx::test {
namespace {

[[maybe_unused]] const bool usesStarvedModule = (moduleFile = L"nyxcodecs_starved.dll", true);

Starved& TheStarved() {
    static auto* const starved = reinterpret_cast<Starved*>(
        reinterpret_cast<void*>(GetProcAddress(Module().handle, "starved")));
    return *starved;
}

/// Runs `call` with its first allocation failing, then its second, and so on until it makes no
/// more, `least` at least. It says that memory failed, or one of `others`.
void FailEach(long least, const std::function<HRESULT()>& call, std::vector<HRESULT> others = {}) {
    Starved& starved = TheStarved();
    others.push_back(E_OUTOFMEMORY);
    for (long number = 1;; ++number) {
        const long alive = starved.alive;
        starved.asked = 0;
        starved.failing = number;
        const HRESULT result = call();
        starved.failing = 0;
        if (starved.asked < number) {
            EXPECT_EQ(result, S_OK) << "nothing failed";
            EXPECT_GE(number - 1, least);
            return;
        }
        EXPECT_TRUE(std::count(others.begin(), others.end(), result)) << number << ": " << result;
        EXPECT_TRUE(SUCCEEDED(result) || starved.alive == alive) << "lost by " << number;
    }
}

class WithoutMemory : public RowTest {};
NYX_FOR_ROWS(WithoutMemory, Catalogue());

TEST_P(WithoutMemory, ObjectsPinsAndConnectionsAreMadeOrRefusedWhole) {
    for (const CLSID& clsid : {row().clsid, kPropertyPage}) {
        // A setting that cannot be read for want of memory takes its default, as any other would.
        const auto create = [&] {
            ComPtr<IUnknown> object;
            const HRESULT result = Module().Create(clsid, nullptr, IID_IUnknown, &object);
            EXPECT_EQ(SUCCEEDED(result), object.Get() != nullptr);
            return result;
        };
        FailEach(2, create, {S_OK});
    }
    const auto bare = Module().Create(row().clsid);
    ComPtr<IPin> pin;
    FailEach(2, [&] { return bare->FindPin(L"Out", pin.ReleaseAndGetAddressOf()); });
    Rig rig(row());
    FailEach(1, [&] { return rig.Disconnect(), rig.ConnectInput(); });
    // A pin that cannot make its list of types has none to propose; a type that cannot be looked at
    // is one that was not expected; the filter's own allocator is its second choice.
    const std::vector<HRESULT> others = {S_OK, E_UNEXPECTED, HRESULT{VFW_E_NO_ACCEPTABLE_TYPES}};
    FailEach(
        1, [&] { return rig.DisconnectOutput(), rig.ConnectOutput(); }, others);
    const MediaType type = row().OutputType();
    FailEach(
        1, [&] { return rig.DisconnectOutput(), rig.ConnectOutput(type); }, others);
    ComPtr<IEnumPins> pins, clone;
    FailEach(1, [&] { return rig.filter->EnumPins(&pins); });
    FailEach(1, [&] { return pins->Clone(&clone); });
    ComPtr<IEnumMediaTypes> types;
    FailEach(1, [&] { return rig.output->EnumMediaTypes(&types); });
    AM_MEDIA_TYPE* offered = nullptr;
    FailEach(2, [&] { return types->Reset(), types->Next(1, &offered, nullptr); }, {S_FALSE});
    MediaType::Adopt(offered);
    LPWSTR id = nullptr;
    FailEach(1, [&] { return rig.output->QueryId(&id); });
    CoTaskMemFree(id);
    MediaType connection;
    FailEach(1, [&] { return rig.output->ConnectionMediaType(&connection); });
}

TEST_P(WithoutMemory, AFrameIsDeliveredOrItsPictureUntouched) {
    const std::size_t formats = row().Outputs().size();
    for (std::size_t i = 0; i < 2 * formats; ++i) {
        const Answer answer = i < formats ? Answer::kTruth : Answer::kWriteCombined;
        Rig rig(row());
        HostileAllocator& buffers = rig.OwnAllocator();
        buffers.granted = ALLOCATOR_PROPERTIES{1, 4 << 20, 1, 0};
        rig.Start(i % formats);
        TheStarved().answer = answer;
        rig.Push();
        const auto picture = buffers.Buffer();
        FailEach(answer == Answer::kTruth || row().IsEncoder() ? 0 : 1, [&] {
            const HRESULT result = rig.Push();
            EXPECT_TRUE(FAILED(result) ? buffers.IsUntouched() : buffers.Buffer() == picture);
            return result;
        });
        TheStarved().answer = Answer::kTruth;
        Sample typed = rig.Frame();
        typed.type = row().InputType();
        const MediaType last = row().OutputType(formats - 1);
        FailEach(2, [&] { return buffers.nextType = last, rig.Push(typed); }, {S_OK});
    }
}

TEST(KindsOfMemory, ThePictureIsTheSameWhateverTheSystemSaysOfTheBuffer) {
    const EngineSearch engines;
    for (const CatalogueRow& row : Rows({"Q210Decoder", "ZetaDecoder", "Dv25Decoder"})) {
        // Wider than the stream: a DV picture is stretched, others leave the rest of each row.
        const bool stretched = row.fourcc == std::string("QDVC");
        Rig rig(row, stretched ? row.other : row.stream);
        Stream wide = row.stream;
        wide.width += stretched ? 0 : 32;
        HostileAllocator& buffers = rig.OwnAllocator();
        rig.ConnectInput();
        rig.ConnectOutput(row.OutputType(0, wide));
        rig.filter->Pause();
        std::vector<BYTE> picture;
        for (const int answer : {0, 1, 2, 3}) {
            TheStarved().answer = static_cast<Answer>(answer);
            TheStarved().queries = 0;
            EXPECT_EQ(rig.Push(), S_OK) << row.name << answer;
            EXPECT_EQ(TheStarved().queries, 1) << "once a frame is enough";
            picture = picture.empty() ? buffers.Buffer() : picture;
            EXPECT_EQ(buffers.Buffer(), picture) << row.name << answer;
            EXPECT_TRUE(buffers.MarginsAreUntouched());
        }
        TheStarved().answer = Answer::kTruth;
        EXPECT_TRUE(stretched || std::count(picture.begin(), picture.end(), buffers.kUnwritten));
    }
}

}  // namespace
}  // namespace nyx::test
