#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "tests/support/media_type.h"

namespace nyx::test {

/// What the tests vary about the input stream of a filter.
struct Picture {
    LONG width = 96;
    LONG height = 16;
    REFERENCE_TIME frameDuration = 400000;
    Block block = Block::kVideoInfo;
};

/// One entry of the list of output formats that a filter offers.
struct OfferedFormat {
    GUID subtype;
    WORD bitCount;
    DWORD compression;
};

/// Which way a filter works. What a filter owes its host is the same for both; what it makes of
/// types and sizes is not.
enum class Role { kDecoder, kEncoder };

/// Who knows the size of a coded picture.
enum class FrameSize {
    kOfTheType,  ///< the stream's type alone: a frame is as long as the type's size asks for
    kChecked,    ///< the frame, and a frame of another size is refused before it is decoded
    kEngines,    ///< the frame, and the engine writes that size: a host must tell no other one
};

using SampleMaker = std::function<std::vector<BYTE>(const Picture&)>;

/// One filter of the module: what a test must know to run it. A new filter is a new row of the
/// table in catalogue_under_test.cpp; every parameterised test then runs for it too.
struct FilterUnderTest {
    const char* name;  ///< letters and digits only: part of the test's name
    Role role;
    CLSID clsid;
    DWORD inputFourCC;
    WORD inputBitCount;
    std::vector<OfferedFormat> outputs;  ///< in order; each offered in both block forms
    /// A well-formed sample of the picture's size.
    SampleMaker sample;

    std::vector<SIZE> sizes;    ///< what the filter takes; empty: any even width, any height
    Picture picture;            ///< the stream of most tests, a small one
    SIZE pixelAspect = {1, 1};  ///< of that stream, where a frame does not tell
    /// Two streams of different size, of the same height where the format has such.
    Picture wide;
    Picture narrow = {48};
    bool carriesInfoChunk = true;  ///< a sample may begin with an "INFO" container
    FrameSize frameSize = FrameSize::kEngines;
    /// A shorter sample is refused by the module itself; 0: any that is not whole.
    std::size_t shortestFrame = 0;
    bool paintsBadFramesBlack = false;  ///< else they leave the destination as it is

    bool Takes(LONG width, LONG height) const;
    /// How often a long test is to repeat itself: `most`, or fewer for large pictures.
    int Rounds(int most) const;

    /// The complete input type for a stream.
    MediaType InputType(const Picture& stream) const;
    MediaType InputType() const { return InputType(picture); }
    /// A complete output type for a stream, by position in `outputs`.
    MediaType OutputType(std::size_t position, const Picture& stream) const;
    MediaType OutputType(std::size_t position) const { return OutputType(position, picture); }
    /// What the filter asks for as the size of an output buffer.
    LONG BufferBytes(std::size_t position) const;
};

/// All filters of the module.
const std::vector<FilterUnderTest>& CatalogueUnderTest();

/// Those of them that decode.
std::vector<FilterUnderTest> DecodersUnderTest();

/// One of them; throws std::logic_error when there is none of that name.
const FilterUnderTest& RowNamed(const std::string& name);

/// Prints the row's name in a failed test's message.
void PrintTo(const FilterUnderTest& row, std::ostream* out);

}  // namespace nyx::test

/// Runs a parameterised suite for every filter of the module, or for every decoder.
#define NYX_FOR_EVERY_FILTER(Suite) NYX_FOR_EVERY_ROW(Suite, CatalogueUnderTest)
#define NYX_FOR_EVERY_DECODER(Suite) NYX_FOR_EVERY_ROW(Suite, DecodersUnderTest)
#define NYX_FOR_EVERY_ROW(Suite, rows)                                                 \
    INSTANTIATE_TEST_SUITE_P(Filters, Suite, ::testing::ValuesIn(::nyx::test::rows()), \
                             [](const auto& filter) { return std::string(filter.param.name); })
