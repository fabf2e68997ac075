#pragma once

#include "source/source_filter.h"

namespace nyx::source {

/// Whether a file with these first 12 bytes may be AVI, MOV, or raw DV or MPEG-2.
bool IsAvi(const BYTE* first);
bool IsMov(const BYTE* first);
bool IsRaw(const BYTE* first);

/// Plays footage that another filter reads: the same pins as FootageSource, made when its input is
/// connected to an `IAsyncReader`. It refuses a file without pictures for a decoder that can be
/// created, so that the graph builder goes on to the filter that would play the file without it.
class FootageSplitter final : public FootageSource {
  public:
    /// For the class factory, as FootageSource::Create: a class for the files that `matches`
    /// allows.
    template <const CLSID& clsid, bool (*matches)(const BYTE*)>
    static CUnknown* CALLBACK Create(LPUNKNOWN outer, HRESULT* result) {
        return new (std::nothrow) FootageSplitter(outer, clsid, matches, result);
    }

    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) override;
    int GetPinCount() override { return FootageSource::GetPinCount() + 1; }
    CBasePin* GetPin(int n) override { return n == 0 ? &input_ : FootageSource::GetPin(n - 1); }

  private:
    class InputPin final : public CBasePin {
      public:
        InputPin(FootageSplitter* filter, CCritSec* lock, HRESULT* result)
            : CBasePin(filter, lock, result, L"In", PINDIR_INPUT), filter_(filter) {}
        HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* id) override {
            return AMGetWideString(Name(), id);
        }
        [[nodiscard]] HRESULT CheckMediaType(const CMediaType* type) override {
            return type->majortype == MEDIATYPE_Stream ? S_OK : S_FALSE;
        }
        [[nodiscard]] HRESULT CompleteConnect(IPin* peer) override {
            return filter_->Attach(As<IAsyncReader>(peer));
        }
        // The reader sends nothing by itself.
        HRESULT STDMETHODCALLTYPE EndOfStream() override { return E_UNEXPECTED; }
        HRESULT STDMETHODCALLTYPE BeginFlush() override { return E_UNEXPECTED; }
        HRESULT STDMETHODCALLTYPE EndFlush() override { return E_UNEXPECTED; }
        HRESULT STDMETHODCALLTYPE Notify(IBaseFilter*, Quality) override { return E_NOTIMPL; }

      private:
        FootageSplitter* const filter_;
    };

    FootageSplitter(LPUNKNOWN outer, REFCLSID clsid, bool (*matches)(const BYTE*), HRESULT* result)
        : FootageSource(outer, clsid), matches_(matches), input_(this, &lock_, result) {}

    [[nodiscard]] HRESULT Attach(const ComPtr<IAsyncReader>& reader) noexcept;
    [[nodiscard]] HRESULT Accept(const FootageFile& file) const override;

    bool (*const matches_)(const BYTE* first12);
    InputPin input_;
    const IAsyncReader* attached_ = nullptr;  ///< which the open file reads, until the end
};

}  // namespace nyx::source
