/// What the encoder has beyond any filter: its kinds of pictures, its buffer, its parameters.

#include "platform/fourcc.h"
#include "tests/com/encoder_parameters.h"
#include "tests/support/frames.h"

namespace nyx::test {
namespace {

/// "YUY2", RGB 24-bit or, for frames with alpha, ARGB 32-bit, by bit count.
MediaType Pictures(WORD bits) {
    const GUID& rgb = bits == 24 ? MEDIASUBTYPE_RGB24 : MEDIASUBTYPE_ARGB32;
    return VideoType(bits == 16 ? MEDIASUBTYPE_YUY2 : rgb, bits,
                     bits == 16 ? FourCC("YUY2") : BI_RGB, {160, 120});
}

standin::Call LastEncode(WORD bits) {
    return LastCall(bits == 32 ? L"rkzalpha.dll" : L"rkzcore.dll", standin::kEncode);
}

constexpr LONG kPixels = 160 * 120;
constexpr LONG kYuy2Room = kPixels * 12 / 5;  // 1.2 times two bytes a pixel

/// An encoder that is ready for pictures.
struct Encoding : Rig {
    explicit Encoding(WORD bits)
        : Rig(Row("ZetaEncoder")), type(Pictures(bits)), allocator(OwnAllocator()) {
        EXPECT_EQ(ConnectInput(type), S_OK);
        EXPECT_EQ(ConnectOutput(), S_OK);
        EXPECT_EQ(filter->Pause(), S_OK);
    }
    HRESULT PushPicture() { return Push({SmoothPicture(type.Header())}); }
    void Set(LONG quantScale, LONG maxStreamSize, LONG colorSpace = 0) {
        const EncodeParameterBlock block = {colorSpace, quantScale, maxStreamSize, 4};
        EXPECT_EQ(As<IEncodeParmeter_QZTA>(filter)->SetParameter(&block, FALSE), S_OK);
    }
    MediaType type;
    HostileAllocator& allocator;
};

using Encoder = ParametersTest;

TEST_F(Encoder, AFrameIsAsLongAsTheEngineSays) {
    for (const WORD bits : {WORD{16}, WORD{24}, WORD{32}}) {
        SCOPED_TRACE(bits);
        Encoding rig(bits);
        MediaType offered = OfferedTypes(rig.output).at(0);
        EXPECT_EQ(offered.Header().biBitCount, bits == 32 ? 32 : 24);
        EXPECT_EQ(LONG(offered.Header().biSizeImage), PictureBytes(offered.Header()));
        offered.Header().biBitCount ^= 24 ^ 32;
        EXPECT_EQ(rig.output->QueryAccept(&offered), S_FALSE) << "frames of another kind";
        EXPECT_EQ(rig.allocator.requested.cbBuffer, PictureBytes(rig.type.Header()) / 10 * 12);
        rig.Set(4, 100);
        ASSERT_EQ(rig.PushPicture(), S_OK);
        const Sample frame = rig.sink.Last();
        EXPECT_EQ(std::string(frame.bytes.begin(), frame.bytes.begin() + 3),
                  bits == 32 ? "ZTA" : "ZCF");
        EXPECT_EQ(LONG(frame.bytes.size()), LastEncode(bits).result);
        EXPECT_EQ(frame.typeFlags, 0u) << "no field flags";
    }
}

TEST_F(Encoder, TheEngineGetsTheBudgetAndNeverMoreThanTheBuffer) {
    const struct {
        WORD bits;
        LONG room;
        LONG maxStreamSize;
        LONG capacity;  ///< that the engine gets; 0: no call
    } cases[] = {
        {16, kYuy2Room, 30, kPixels * 2 * 30 / 100},
        {16, kYuy2Room, 0, 80 * 16},  // 16 bytes a block are the least
        {16, kYuy2Room, 120, kYuy2Room},
        {16, kYuy2Room, -1, kYuy2Room},
        {16, kYuy2Room - 1, LONG_MAX, kYuy2Room - 1},
        {16, 80 * 16, 30, 80 * 16},
        {16, 80 * 16 - 1, 30, 0},
        {32, 2 * kYuy2Room, 30, 1},  // this engine gets no capacity and may use all of that
        {32, 2 * kYuy2Room - 1, 30, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.bits << " bits in " << c.room);
        Encoding rig(c.bits);
        rig.Set(7, c.maxStreamSize);
        rig.allocator.shorter = rig.allocator.requested.cbBuffer - c.room;
        const DWORD before = LastEncode(c.bits).count;
        EXPECT_TRUE(rig.PushPicture() == E_FAIL || c.capacity != 0);
        EXPECT_TRUE(rig.allocator.MarginsAreUntouched());
        const standin::Call call = LastEncode(c.bits);
        ASSERT_EQ(call.count, before + (c.capacity != 0 ? 1 : 0));
        if (c.bits == 16 && c.capacity != 0) {
            EXPECT_EQ(call.words[6], static_cast<DWORD>(c.capacity));
            EXPECT_EQ(call.words[11], 7u);
        }
    }
}

TEST_F(Encoder, GoesOnWithOtherPicturesThatBecomeTheSameKindOfFrame) {
    Encoding rig(16);
    rig.Set(4, 5000);
    for (const WORD bits : {WORD{24}, WORD{16}}) {
        Sample sample{SmoothPicture(Pictures(bits).Header())};
        sample.type = Pictures(bits);
        EXPECT_EQ(rig.input->QueryAccept(&*sample.type), S_OK);
        EXPECT_EQ(rig.Push(sample), S_OK);
        EXPECT_TRUE(rig.allocator.MarginsAreUntouched());
        const standin::Call call = LastEncode(bits);
        EXPECT_EQ(call.words[3], bits / 8u) << "bytes a pixel";
        EXPECT_EQ(call.words[6], DWORD{kYuy2Room}) << "of the buffer there is";
    }
    for (const GUID& subtype : {MEDIASUBTYPE_RGB32, MEDIASUBTYPE_ARGB32}) {
        const MediaType type = VideoType(subtype, 32, BI_RGB, {160, 120});
        EXPECT_EQ(rig.input->QueryAccept(&type), S_FALSE) << "no kind, or one that might never fit";
    }
}

TEST_F(Encoder, StartsWithTheStoredParametersAndStoresAllButTheColourSpace) {
    EXPECT_FALSE(Module().Create<IEncodeParmeter_QZTA>(Row("ZetaDecoder").clsid));
    EXPECT_EQ(Read(NewEncoder()), (Words{0, 5, 30, 2}));
    Store(L"color_space", -7);
    Store(L"preset", 0);
    const auto encoder = NewEncoder();
    EXPECT_EQ(Read(encoder), (Words{-7, 3, 50, 0}));
    // Anything is taken. Of a one-byte bool the other bytes may be anything.
    for (const auto& [flag, set] :
         {std::pair{0x100, false}, {0x101, true}, {0, false}, {-1, true}}) {
        const EncodeParameterBlock odd = {2, 1000 + flag, -30, 77};
        Store(L"preset", 1);
        ASSERT_EQ(encoder->SetParameter(&odd, flag), S_OK);
        EXPECT_EQ(Read(encoder), (Words{2, 1000 + flag, -30, 77}));
        EXPECT_EQ(Read(encoder, flag)[0], set ? -7 : 2);
        EXPECT_EQ(Stored(L"preset"), set ? 77 : 1);
        EXPECT_EQ(Stored(L"quant_scale") == 1000 + flag, set);
        EXPECT_EQ(Stored(L"max_stream_size"), flag == 0x100 ? -1 : -30);
        EXPECT_EQ(Stored(L"color_space"), -7);
        EXPECT_EQ(encoder->GetParameter(nullptr, flag), E_INVALIDARG);
        EXPECT_EQ(encoder->SetParameter(nullptr, flag), E_INVALIDARG);
    }
    EXPECT_EQ(Read(encoder, TRUE), (Words{-7, 5, 30, 2}));
}

TEST_F(Encoder, FramesAndReadersSeeOneSettingWhileAnotherThreadChangesThem) {
    // Each value implies the others: the colour space, which the layout's code shows, is the
    // quantiser's parity, and the budget is a multiple of the quantiser.
    Encoding rig(24);
    rig.sink.keepsSamples = false;
    const auto parameters = As<IEncodeParmeter_QZTA>(rig.filter);
    std::atomic<bool> going{true};
    rig.Set(4, 5 * 4);
    std::thread host([&] {
        for (LONG quant = 4; going; quant = 4 + quant % 16) {
            rig.Set(quant, 5 * quant, quant % 2);
        }
    });
    const auto sample = MakeSample({Bytes(3 * kPixels, 128)});
    For(std::chrono::milliseconds(800), [&] {
        for (int i = 0; i < 100; ++i) {
            const Words read = Read(parameters);
            ASSERT_EQ(read, (Words{read[1] % 2, read[1], 5 * read[1], 4}));
        }
        ASSERT_EQ(rig.transport->Receive(sample.Get()), S_OK);
        const standin::Call call = LastEncode(24);
        ASSERT_EQ(call.words[4], call.words[11] % 2 ? 2u : 4u);
        ASSERT_EQ(call.words[6], kPixels * 2 * 5 * call.words[11] / 100);
    });
    going = false;
    host.join();
}

}  // namespace
}  // namespace nyx::test
