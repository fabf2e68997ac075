#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "baseclasses/streams.h"
#include "tests/support/com_ptr.h"
#include "tests/support/test_graph.h"
#include "tests/support/test_sink.h"
#include "tests/support/test_source.h"

namespace nyx::test {

/// A type with `value` as its whole format block, for the passthrough filter.
MediaType Numbered(DWORD value);
/// The number of such a type; 0 for any other.
DWORD NumberOf(const AM_MEDIA_TYPE& type);

/// The smallest video transform filter: the output is a copy of the input. It takes numbered types,
/// refuses the number 13, and writes down what the library calls.
class Passthrough : public CVideoTransformFilter {
  public:
    Passthrough() : CVideoTransformFilter(NAME("Passthrough"), nullptr, GUID_NULL) {}

    /// What was called, in order: "Start", "Stop", "SetMediaType in", "Break out"...
    std::vector<std::string> log;
    /// What the hooks answer.
    HRESULT startResult = S_OK;
    HRESULT transformResult = S_OK;
    HRESULT decideResult = S_OK;
    HRESULT completeResult = S_OK;
    std::function<void()> onTransform;
    /// Off: lateness goes on upstream, as a plain transform filter does it.
    bool handlesQuality = true;

    HRESULT Transform(IMediaSample* in, IMediaSample* out) override;
    HRESULT CheckInputType(const CMediaType* type) override;
    HRESULT CheckTransform(const CMediaType* in, const CMediaType* out) override;
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;
    HRESULT GetMediaType(int position, CMediaType* type) override;
    HRESULT StartStreaming() override;
    HRESULT StopStreaming() override;
    HRESULT SetMediaType(PIN_DIRECTION direction, const CMediaType* type) override;
    HRESULT CompleteConnect(PIN_DIRECTION direction, IPin* peer) override;
    HRESULT BreakConnect(PIN_DIRECTION direction) override;
    HRESULT AlterQuality(Quality quality) override;

    // What only derived classes see.
    CTransformInputPin* Input() { return m_pInput; }
    CTransformOutputPin* Output() { return m_pOutput; }
    using CTransformFilter::m_csFilter;
    using CTransformFilter::m_csReceive;
    using CVideoTransformFilter::m_itrAvgDecode;
    using CVideoTransformFilter::m_itrLate;
    using CVideoTransformFilter::m_nKeyFramePeriod;
    using CVideoTransformFilter::m_nWaitForKey;
};

/// A passthrough filter between a source and a sink, in a stand-in graph.
class PassthroughTest : public ::testing::Test {
  protected:
    PassthroughTest();
    ~PassthroughTest() override;

    void ConnectInput(DWORD number = 1);
    void Connect(DWORD number = 1);
    void Start() {
        Connect();
        ASSERT_EQ(filter->Pause(), S_OK);
    }
    /// A sample of four bytes; sync points are marked unless a test says otherwise.
    static SampleProperties Frame() {
        SampleProperties frame;
        frame.bytes = {1, 2, 3, 4};
        return frame;
    }
    HRESULT Push(const SampleProperties& frame = Frame()) { return source->Push(frame); }
    std::size_t Delivered() const { return sink->in.sampleCount(); }

    ComPtr<Passthrough> filter;
    ComPtr<TestGraph> graph = MakeCom<TestGraph>();
    ComPtr<TestSource> source = MakeCom<TestSource>();
    ComPtr<TestSink> sink = MakeCom<TestSink>();
    ComPtr<IPin> input;
    ComPtr<IPin> output;
};

}  // namespace nyx::test
