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

/// What a test must know of one filter of the module.
struct CatalogueRow {
    const char* name;  ///< letters and digits only: part of a test's name
    CLSID clsid;
    const char* fourcc;     ///< of the coded side
    WORD bits;              ///< of the input
    const char* coding;     ///< of the stand-in engine that makes its frames; null: none does
    const wchar_t* engine;  ///< the library that it needs; null: none
    Stream stream;          ///< the smallest that it takes, or nearly
    Stream other;           ///< another of its streams, narrower if it has such

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
    /// What the filter asks for as the size of an output buffer.
    LONG BufferBytes(std::size_t format = 0) const {
        return IsEncoder() ? PictureBytes(InputType().Header()) / 10 * 12
                           : PictureBytes(OutputType(format).Header());
    }
    /// A well-formed sample.
    std::vector<BYTE> Frame(const Stream& input) const;
};

/// Its property page, the module's tenth class.
extern const CLSID kPropertyPage;

/// All nine filters, in the module's order, and the Zeta decoder once more with alpha.
const std::vector<CatalogueRow>& Catalogue();
/// The one of that name, which must be there.
const CatalogueRow& Row(const std::string& name);
/// Some of them. What is true of one decoder without an engine, of one with and of the encoder in
/// the words of the base classes and the templates is true of all.
std::vector<CatalogueRow> Rows(const std::vector<std::string>& names);

}  // namespace nyx::test
