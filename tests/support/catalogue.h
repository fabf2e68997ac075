#pragma once

#include <string>
#include <vector>

#include "tests/support/host.h"

namespace nyx::test {

/// One output format of a filter.
struct OutputFormat {
    GUID subtype;
    WORD bits;
    DWORD compression;
};

/// One filter of the module.
struct CatalogueRow {
    const char* name;  ///< letters and digits only: part of a test's name
    CLSID clsid;
    const char* fourcc;     ///< of the coded side
    WORD bits;              ///< of the input
    const char* coding;     ///< of the stand-in engine for its frames, or null
    const wchar_t* engine;  ///< the library that it needs, or null
    Stream stream;          ///< nearly the smallest that it accepts
    Stream other;           ///< another of its streams, narrower if possible

    bool IsEncoder() const { return bits == 16; }
    /// In order; each is offered in both block forms, all of the long form first.
    std::vector<OutputFormat> Outputs() const;
    MediaType InputType(const Stream& input) const;
    MediaType InputType() const { return InputType(stream); }
    /// By position in Outputs().
    MediaType OutputType(std::size_t format, const Stream& output) const {
        const OutputFormat as = Outputs().at(format);
        return VideoType(as.subtype, as.bits, as.compression, output);
    }
    MediaType OutputType(std::size_t format = 0) const { return OutputType(format, stream); }
    /// The size of the output buffer that the filter requests.
    LONG BufferBytes(std::size_t format = 0) const {
        return IsEncoder() ? PictureBytes(InputType().Header()) / 10 * 12
                           : PictureBytes(OutputType(format).Header());
    }
    /// A well-formed sample: grey, or with another picture for each number above 0.
    std::vector<BYTE> Frame(const Stream& input, int number = 0) const;
};

/// All nine filters, in the module's order, and the Zeta decoder once more with alpha.
const std::vector<CatalogueRow>& Catalogue();
/// The row with that name, which must exist.
const CatalogueRow& Row(const std::string& name);
/// Some of the rows. Code of the base classes and templates that works in one decoder without an
/// engine, one with an engine and the encoder works in all.
std::vector<CatalogueRow> Rows(const std::vector<std::string>& names);

}  // namespace nyx::test
