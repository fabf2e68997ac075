/// Every allocation that the module makes, failing in turn: the call says so, nothing is lost, no
/// picture is touched, and the same call works once there is memory again. And memory of every
/// kind that a host may hand out.

#include <ocidl.h>

#include <algorithm>
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
void FailEach(const char* what, long least, const std::function<HRESULT()>& call,
              std::vector<HRESULT> others = {}) {
    Starved& starved = TheStarved();
    others.push_back(E_OUTOFMEMORY);
    for (long number = 1;; ++number) {
        SCOPED_TRACE(::testing::Message() << what << ", allocation " << number);
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
        EXPECT_TRUE(std::count(others.begin(), others.end(), result)) << std::hex << result;
        EXPECT_TRUE(SUCCEEDED(result) || starved.alive == alive) << "lost memory";
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
        FailEach("creation", 2, create, {S_OK});
    }
    const auto bare = Module().Create(row().clsid);
    FailEach("pins, both or none", 2, [&] {
        ComPtr<IPin> pin;
        return bare->FindPin(L"Out", &pin);
    });
    Rig rig(row());
    FailEach("the input's connection", 1, [&] { return rig.Disconnect(), rig.ConnectInput(); });
    for (const bool chosen : {false, true}) {
        // A pin that cannot make its list of types has none to propose; a type that cannot be
        // looked at is one that was not expected; the filter's own allocator is its second choice.
        const auto connect = [&] {
            rig.DisconnectOutput();
            return chosen ? rig.ConnectOutput(row().OutputType()) : rig.ConnectOutput();
        };
        FailEach("the output's connection", 1, connect,
                 {S_OK, E_UNEXPECTED, HRESULT{VFW_E_NO_ACCEPTABLE_TYPES}});
    }
    const auto ask = [&] {
        ComPtr<IEnumPins> pins, clone;
        ComPtr<IEnumMediaTypes> types;
        AM_MEDIA_TYPE *offered = nullptr, type{};
        LPWSTR id = nullptr;
        HRESULT result = S_OK;
        SUCCEEDED(result = rig.filter->EnumPins(&pins)) &&
            SUCCEEDED(result = pins->Clone(&clone)) &&
            SUCCEEDED(result = rig.output->EnumMediaTypes(&types)) &&
            (result = types->Next(1, &offered, nullptr)) ==
                S_OK&& SUCCEEDED(result = rig.output->QueryId(&id)) &&
            SUCCEEDED(result = rig.output->ConnectionMediaType(&type));
        MediaType::Adopt(offered);
        CoTaskMemFree(id);
        CoTaskMemFree(type.pbFormat);
        return result;
    };
    FailEach("enumerators and names", 6, ask, {S_FALSE});
}

TEST_P(WithoutMemory, AFrameIsDeliveredOrItsPictureUntouched) {
    for (const Answer answer : {Answer::kTruth, Answer::kWriteCombined}) {
        for (std::size_t format = 0; format < row().Outputs().size(); ++format) {
            Rig rig(row());
            HostileAllocator& buffers = rig.OwnAllocator();
            buffers.granted = ALLOCATOR_PROPERTIES{1, 4 << 20, 1, 0};
            rig.Start(format);
            TheStarved().answer = answer;
            ASSERT_EQ(rig.Push(), S_OK);
            const auto picture = buffers.Buffer();
            FailEach("a frame", answer == Answer::kTruth || row().IsEncoder() ? 0 : 1, [&] {
                const HRESULT result = rig.Push();
                EXPECT_TRUE(SUCCEEDED(result) ? buffers.Buffer() == picture
                                              : buffers.IsUntouched());
                return result;
            });
            TheStarved().answer = Answer::kTruth;
            Sample typed = rig.Frame();
            typed.type = row().InputType();
            const auto change = [&] {
                buffers.nextType = row().OutputType(row().Outputs().size() - 1);
                return rig.Push(typed);
            };
            FailEach("types that change", 2, change, {S_OK});
        }
    }
}

TEST(KindsOfMemory, ThePictureIsTheSameWhateverTheSystemSaysOfTheBuffer) {
    const EngineSearch engines;
    for (const CatalogueRow& row : Rows({"Q210Decoder", "ZetaDecoder", "Dv25Decoder"})) {
        SCOPED_TRACE(row.name);
        // Wider than the stream: a DV picture is stretched, others leave the rest of each row.
        const bool stretched = row.engine && std::wstring(row.engine) == L"rkdvh.dll";
        Rig rig(row, stretched ? row.other : row.stream);
        Stream wide = rig.stream;
        wide.width = stretched ? row.stream.width : wide.width + 32;
        HostileAllocator& buffers = rig.OwnAllocator();
        ASSERT_EQ(rig.ConnectInput(), S_OK);
        ASSERT_EQ(rig.ConnectOutput(row.OutputType(0, wide)), S_OK);
        ASSERT_EQ(rig.filter->Pause(), S_OK);
        std::vector<BYTE> picture;
        for (const Answer answer :
             {Answer::kTruth, Answer::kUnknown, Answer::kReserved, Answer::kWriteCombined}) {
            TheStarved().answer = answer;
            TheStarved().queries = 0;
            EXPECT_EQ(rig.Push(), S_OK) << static_cast<int>(answer);
            EXPECT_EQ(TheStarved().queries, 1) << "once a frame is enough";
            picture = picture.empty() ? buffers.Buffer() : picture;
            EXPECT_EQ(buffers.Buffer(), picture) << static_cast<int>(answer);
            EXPECT_TRUE(buffers.MarginsAreUntouched());
        }
        TheStarved().answer = Answer::kTruth;
        EXPECT_TRUE(stretched ||
                    std::count(picture.begin(), picture.end(), buffers.kUnwritten) > 0);
    }
}

}  // namespace
}  // namespace nyx::test
