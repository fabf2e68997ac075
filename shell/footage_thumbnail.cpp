#include "shell/footage_thumbnail.h"

#include <algorithm>
#include <new>

#include "media/video_block.h"
#include "shell/decoders.h"

namespace nyx::shell {
namespace {

HRESULT CopyToBitmap(const Picture& picture, HBITMAP* bitmap) {
    BITMAPINFO format{};
    format.bmiHeader = PictureHeader(picture.width, -picture.height, 32, BI_RGB, 0);
    void* bits = nullptr;
    HBITMAP made = CreateDIBSection(nullptr, &format, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!made) {
        return E_OUTOFMEMORY;
    }
    std::copy(picture.pixels.begin(), picture.pixels.end(), static_cast<BYTE*>(bits));
    *bitmap = made;
    return S_OK;
}

}  // namespace

CUnknown* WINAPI FootageThumbnail::Create(IUnknown* outer, HRESULT*) {
    return new FootageThumbnail(NAME("Nyx footage thumbnail"), outer);
}

HRESULT STDMETHODCALLTYPE FootageThumbnail::NonDelegatingQueryInterface(REFIID iid, void** object) {
    return iid == __uuidof(IThumbnailProvider)
               ? GetInterface(static_cast<IThumbnailProvider*>(this), object)
               : FootageObject::NonDelegatingQueryInterface(iid, object);
}

HRESULT STDMETHODCALLTYPE FootageThumbnail::GetThumbnail(UINT size, HBITMAP* bitmap,
                                                         WTS_ALPHATYPE* alpha) try {
    CheckPointer(bitmap, E_POINTER);
    CheckPointer(alpha, E_POINTER);
    *bitmap = nullptr;
    *alpha = WTSAT_RGB;
    CAutoLock lock(&lock_);
    std::unique_ptr<source::ByteSource> bytes;
    Picture picture;
    HRESULT result = OpenBytes(&bytes);
    if (SUCCEEDED(result)) {
        const auto side = static_cast<LONG>(std::min<UINT>(size, kMaxThumbnail));
        result = MakeThumbnail(std::move(bytes), side, DecodeByCodec, &picture);
    }
    return SUCCEEDED(result) ? CopyToBitmap(picture, bitmap) : result;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace nyx::shell
