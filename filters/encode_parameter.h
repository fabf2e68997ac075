#ifndef NYX_ENCODE_PARAMETER_H
#define NYX_ENCODE_PARAMETER_H

/* The Zeta encoder's parameter interface, for hosts in C and C++. Ask the encoder filter
 * {F891D31F-209D-4AF8-AEBC-FF2472BC14C3} for it:
 *
 *     [ object, local, uuid(26890151-8A34-4C58-BBBC-40993F38169A) ]
 *     interface IEncodeParmeter_QZTA : IUnknown
 *     {
 *         HRESULT GetParameter([out] EncodeParameterBlock* block, [in] BOOL fromRegistry);
 *         HRESULT SetParameter([in] const EncodeParameterBlock* block, [in] BOOL save);
 *     };
 *
 * Both operations may be called on any thread, also while frames are being encoded: the next frame
 * uses all of a change. Only the low byte of a flag counts, so that a host may pass a one-byte
 * bool. They return S_OK, or E_INVALIDARG for a null block. */

#include <unknwn.h>

#include "settings/encode_parameter_block.h"

/* {26890151-8A34-4C58-BBBC-40993F38169A} */
static const IID IID_IEncodeParmeter_QZTA = {
    0x26890151, 0x8A34, 0x4C58, {0xBB, 0xBC, 0x40, 0x99, 0x3F, 0x38, 0x16, 0x9A}};

#ifdef __cplusplus

/* The misspelling is part of the interface's name. */
struct IEncodeParmeter_QZTA : IUnknown {
    /* Copies the live parameters into `block`; with `fromRegistry` the stored ones instead, presets
     * applied and custom values clamped, the live ones unchanged. */
    virtual HRESULT STDMETHODCALLTYPE GetParameter(EncodeParameterBlock* block,
                                                   BOOL fromRegistry) = 0;

    /* Makes `block` the live parameters, unchecked; with `save` also stores all but color_space for
     * the current user. A failed write is not reported. */
    virtual HRESULT STDMETHODCALLTYPE SetParameter(const EncodeParameterBlock* block,
                                                   BOOL save) = 0;

  protected:
    ~IEncodeParmeter_QZTA() = default;
};

#else

typedef struct IEncodeParmeter_QZTA IEncodeParmeter_QZTA;

typedef struct IEncodeParmeter_QZTAVtbl {
    HRESULT(STDMETHODCALLTYPE* QueryInterface)
    (IEncodeParmeter_QZTA* self, REFIID iid, void** object);
    ULONG(STDMETHODCALLTYPE* AddRef)(IEncodeParmeter_QZTA* self);
    ULONG(STDMETHODCALLTYPE* Release)(IEncodeParmeter_QZTA* self);
    HRESULT(STDMETHODCALLTYPE* GetParameter)
    (IEncodeParmeter_QZTA* self, EncodeParameterBlock* block, BOOL fromRegistry);
    HRESULT(STDMETHODCALLTYPE* SetParameter)
    (IEncodeParmeter_QZTA* self, const EncodeParameterBlock* block, BOOL save);
} IEncodeParmeter_QZTAVtbl;

struct IEncodeParmeter_QZTA {
    const IEncodeParmeter_QZTAVtbl* lpVtbl;
};

#endif

#endif
