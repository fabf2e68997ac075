#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"

namespace nyx::test {
namespace {

class DynamicFormats : public FilterTest {
  protected:
    /// Starts with a sink whose buffers are large.
    void StartWithRoomyBuffers() {
        rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
        rig.sink->in.ownAllocator->granted =
            ALLOCATOR_PROPERTIES{1, 4 * (rig.picture.width + 64) * rig.picture.height, 1, 0};
        rig.Start();
    }
    void AttachToNextBuffer(const MediaType& type) {
        rig.sink->in.ownAllocator->AttachToNextBuffer(type);
    }
    FilterRig rig{row()};
};
NYX_FOR_EVERY_DECODER(DynamicFormats);

/// Starts with a wide stream; the connected output takes a narrower one of the same height too.
class NarrowerStreams : public DynamicFormats {
  protected:
    void SetUp() override {
        if (row().wide.height != row().narrow.height) {
            GTEST_SKIP() << "the sizes of this format differ in height";
        }
        rig.picture = row().wide;
        rig.Start();
    }
};
NYX_FOR_EVERY_DECODER(NarrowerStreams);

TEST_P(NarrowerStreams, ATypeOnAnInputSampleChangesTheInputBeforeTheFrame) {
    const MediaType narrower = row().InputType(row().narrow);
    ASSERT_EQ(rig.input->QueryAccept(narrower.get()), S_OK) << "is offered while streaming";
    SampleProperties sample;
    sample.bytes = row().sample(row().narrow);
    if (row().frameSize == FrameSize::kOfTheType) {
        EXPECT_EQ(rig.source->Push(sample), E_FAIL) << "too short for the old type";
    }
    for (const bool sample2 : {true, false}) {
        sample.type = narrower;
        SampleBehaviour behaviour;
        behaviour.offersSample2 = sample2;
        EXPECT_EQ(rig.source->Push(sample, behaviour), S_OK);
        EXPECT_EQ(FilterRig::ConnectionType(rig.input), narrower);
        sample.type.reset();
        EXPECT_EQ(rig.source->Push(sample), S_OK) << "and stays for the frames after it";
        EXPECT_FALSE(rig.sink->in.samples().back().type) << "the output type is not affected";
        SampleProperties wide = rig.Frame();
        wide.type = row().InputType(row().wide);
        EXPECT_EQ(rig.source->Push(wide), S_OK);
    }
    EXPECT_EQ(rig.sink->in.sampleCount(), 6u);
}

TEST_P(DynamicFormats, ATypeOnAnInputSampleIsNotPassedOnToTheOutputSample) {
    StartWithRoomyBuffers();
    SampleProperties sample = rig.Frame();
    sample.type = row().InputType();
    ASSERT_EQ(rig.source->Push(sample), S_OK);
    EXPECT_FALSE(rig.sink->in.samples().at(0).type);
    EXPECT_FALSE(rig.sink->in.samples().at(0).typeChanged);
}

TEST_P(DynamicFormats, ARefusedTypeOnAnInputSampleAbortsTheStreamUntilAStopOrAFlush) {
    rig.Start();
    SampleProperties sample = rig.Frame();
    sample.type = row().InputType();
    sample.type->Header().biCompression = 0x12345678;
    ASSERT_EQ(rig.input->QueryAccept(sample.type->get()), S_FALSE);
    int errors = 0;
    for (const bool sample2 : {true, false}) {
        SampleBehaviour behaviour;
        behaviour.offersSample2 = sample2;
        EXPECT_EQ(rig.source->Push(sample, behaviour), VFW_E_INVALIDMEDIATYPE);
        EXPECT_EQ(FilterRig::ConnectionType(rig.input), row().InputType());
        ASSERT_EQ(rig.graph->Count(EC_ERRORABORT), ++errors);
        EXPECT_EQ(rig.graph->events().back().parameter1, VFW_E_TYPE_NOT_ACCEPTED);
        EXPECT_EQ(rig.sink->in.events().endOfStream, 0);
        rig.sink->in.Forget();
        EXPECT_EQ(rig.Push(), VFW_E_RUNTIME_ERROR);
        EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
        if (sample2) {
            rig.filter->Stop();
            rig.filter->Pause();
        } else {
            rig.input->BeginFlush();
            rig.input->EndFlush();
        }
        EXPECT_EQ(rig.Push(), S_OK) << "the error is cleared";
    }
}

TEST_P(DynamicFormats, ATypeOnTheDownstreamBufferChangesTheOutputFromThatFrameOn) {
    StartWithRoomyBuffers();
    ASSERT_EQ(rig.Push(), S_OK);
    const MediaType other = row().OutputType(row().outputs.size() - 1);
    ASSERT_EQ(rig.output->QueryAccept(other.get()), S_OK) << "is offered while streaming";
    AttachToNextBuffer(other);
    ASSERT_EQ(rig.Push(), S_OK);
    EXPECT_FALSE(rig.sink->in.ownAllocator->last()->typeHandedBack());
    EXPECT_EQ(FilterRig::ConnectionType(rig.output), other);
    ASSERT_EQ(rig.Push(), S_OK);
    const auto samples = rig.sink->in.samples();
    ASSERT_EQ(samples.size(), 3u);
    ASSERT_TRUE(samples[1].type) << "the new type travels with the first frame of it";
    EXPECT_EQ(*samples[1].type, other);
    EXPECT_FALSE(samples[2].type);

    // Nothing past the new picture is touched, and its last row is written: three bytes per pixel
    // at least.
    const auto size = static_cast<std::size_t>(PictureBytes(other.Header()));
    const auto pixels = static_cast<std::size_t>(rig.picture.width);
    EXPECT_NE(samples[2].bytes.at(size - 1 - pixels), TestAllocator::kUnwritten);
    EXPECT_EQ(samples[2].bytes.size(), size);
    const GuardedMemory& buffer = rig.sink->in.ownAllocator->last()->memory();
    EXPECT_EQ(buffer.data()[size], TestAllocator::kUnwritten);
}

TEST_P(DynamicFormats, AWiderTypeOnTheDownstreamBufferChangesTheStride) {
    StartWithRoomyBuffers();
    MediaType wide = row().OutputType(0);
    wide.Header().biWidth = rig.picture.width + 32;
    AttachToNextBuffer(wide);
    ASSERT_EQ(rig.Push(), S_OK);
    const auto bytes = rig.sink->in.samples().at(0).bytes;
    const std::size_t pixel = (row().outputs[0].bitCount + 7u) / 8u;
    const std::size_t stride = pixel * static_cast<std::size_t>(wide.Header().biWidth);
    const std::size_t filled = pixel * static_cast<std::size_t>(rig.picture.width);
    EXPECT_NE(bytes.at(stride + filled - 1), TestAllocator::kUnwritten);
    EXPECT_EQ(bytes.at(stride + filled), TestAllocator::kUnwritten);
}

TEST_P(DynamicFormats, AfterANewOutputTypeFramesWaitForAKeyFrame) {
    StartWithRoomyBuffers();
    ASSERT_EQ(rig.Push(), S_OK);
    AttachToNextBuffer(row().OutputType(1));
    SampleProperties sample = rig.Frame();
    sample.syncPoint = false;
    EXPECT_EQ(rig.source->Push(sample), S_OK);
    EXPECT_EQ(rig.sink->in.sampleCount(), 1u);
    EXPECT_EQ(rig.Push(), S_OK);
    EXPECT_EQ(rig.sink->in.sampleCount(), 2u);
}

TEST_P(DynamicFormats, AnUnusableTypeOnTheDownstreamBufferFailsTheFrame) {
    StartWithRoomyBuffers();
    MediaType unusable = row().OutputType(0);
    unusable->formattype = GUID_NULL;
    unusable.ResizeFormat(0);
    AttachToNextBuffer(unusable);
    EXPECT_EQ(rig.Push(), E_FAIL);
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
    AttachToNextBuffer(row().OutputType(0));
    EXPECT_EQ(rig.Push(), S_OK) << "a good type mends it";
}

TEST_P(DynamicFormats, ATypeThatDoesNotFitTheBufferNeverWritesPastIt) {
    rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
    rig.Start();
    for (const LONG width : {rig.picture.width + 2, LONG{100000}, LONG{0x7FFFFFFE}}) {
        for (std::size_t i = 0; i < row().outputs.size(); ++i) {
            MediaType large = row().OutputType(i);
            large.Header().biWidth = width;
            AttachToNextBuffer(large);
            EXPECT_EQ(rig.Push(), E_FAIL) << width;
        }
    }
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
}

}  // namespace
}  // namespace nyx::test
