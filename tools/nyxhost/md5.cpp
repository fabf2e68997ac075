#include "md5.h"

#include <windows.h>

#include <bcrypt.h>

#include <memory>

#include "failure.h"
#include "text.h"

namespace nyx::host {
namespace {

struct Closer {
    using pointer = void*;  // both kinds of handle
    NTSTATUS(WINAPI* close)(BCRYPT_HASH_HANDLE);
    void operator()(void* handle) const noexcept { close(handle); }
};
using Owner = std::unique_ptr<void, Closer>;

NTSTATUS WINAPI CloseAlgorithm(BCRYPT_ALG_HANDLE algorithm) {
    return BCryptCloseAlgorithmProvider(algorithm, 0);
}

void CheckStatus(NTSTATUS status) {
    Check(status < 0 ? HRESULT_FROM_NT(status) : S_OK, "cannot compute a hash");
}

}  // namespace

std::string Md5Of(const void* data, std::size_t size) {
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    CheckStatus(BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_MD5_ALGORITHM, nullptr, 0));
    const Owner algorithmOwner(algorithm, {CloseAlgorithm});
    BCRYPT_HASH_HANDLE hash = nullptr;
    CheckStatus(BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0));
    const Owner hashOwner(hash, {BCryptDestroyHash});
    BYTE digest[16];
    CheckStatus(BCryptHashData(hash, static_cast<BYTE*>(const_cast<void*>(data)),
                               static_cast<ULONG>(size), 0));
    CheckStatus(BCryptFinishHash(hash, digest, sizeof(digest), 0));
    std::string text;
    for (const BYTE byte : digest) {
        text += Format("%02x", byte);
    }
    return text;
}

}  // namespace nyx::host
