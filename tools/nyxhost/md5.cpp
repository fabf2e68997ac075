#include "md5.h"

#include <windows.h>

#include <bcrypt.h>

#include "failure.h"
#include "text.h"

namespace nyx::host {

std::string Md5Of(const void* data, std::size_t size) {
    auto* bytes = static_cast<BYTE*>(const_cast<void*>(data));
    BYTE digest[16]{};
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    BCRYPT_HASH_HANDLE hash = nullptr;
    const bool done =
        BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_MD5_ALGORITHM, nullptr, 0) >= 0 &&
        BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0) >= 0 &&
        BCryptHashData(hash, bytes, static_cast<ULONG>(size), 0) >= 0 &&
        BCryptFinishHash(hash, digest, sizeof(digest), 0) >= 0;
    if (hash != nullptr) {
        BCryptDestroyHash(hash);
    }
    if (algorithm != nullptr) {
        BCryptCloseAlgorithmProvider(algorithm, 0);
    }
    Check(done ? S_OK : E_FAIL, "cannot compute a hash");
    std::string text;
    for (const BYTE byte : digest) {
        text += Format("%02x", byte);
    }
    return text;
}

}  // namespace nyx::host
