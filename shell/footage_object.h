#pragma once

#include <propsys.h>

#include <memory>
#include <string>

#include "baseclasses/combase.h"
#include "platform/com.h"
#include "source/byte_source.h"

namespace nyx::shell {

/// What the shell's objects share: the file that each is made for, by a stream, as in the shell's
/// isolated process, or by its path. A stream is read on the caller's threads only.
class FootageObject : public CUnknown, public IInitializeWithStream, public IInitializeWithFile {
  public:
    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) override;

    /// Once; then `ERROR_ALREADY_INITIALIZED`. The modes do not count, since nothing is written.
    HRESULT STDMETHODCALLTYPE Initialize(IStream* stream, DWORD mode) override;
    HRESULT STDMETHODCALLTYPE Initialize(LPCWSTR path, DWORD mode) override;

  protected:
    using CUnknown::CUnknown;

    /// The file's bytes. `E_UNEXPECTED` before Initialize, or why the file does not open. Throws
    /// std::bad_alloc.
    [[nodiscard]] HRESULT OpenBytes(std::unique_ptr<source::ByteSource>* bytes) const;
    /// Called once the file is known.
    [[nodiscard]] virtual HRESULT Begin() { return S_OK; }
    /// Lets go of the file; Initialize stays refused.
    void CloseFile();

    /// A thread that waits for a stream of another apartment may be called again meanwhile.
    mutable CCritSec lock_;

  private:
    template <class Set>
    [[nodiscard]] HRESULT Start(bool isGiven, Set set);

    bool started_ = false;
    ComPtr<IStream> stream_;
    std::wstring path_;
};

}  // namespace nyx::shell
