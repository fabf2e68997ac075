#include "frame_hash.h"

#include <cstdlib>

#include "failure.h"
#include "picture.h"
#include "text.h"

namespace nyx::host {
namespace {

void CheckStatus(NTSTATUS status) {
    Check(status < 0 ? HRESULT_FROM_NT(status) : S_OK, "cannot compute a hash");
}

struct HashDestroyer {
    using pointer = BCRYPT_HASH_HANDLE;
    void operator()(BCRYPT_HASH_HANDLE hash) const noexcept { BCryptDestroyHash(hash); }
};

/// In hexadecimal.
std::string HashOf(BCRYPT_ALG_HANDLE algorithm, const BYTE* data, std::size_t size) {
    BYTE digest[16];  // of MD5
    BCRYPT_HASH_HANDLE handle = nullptr;
    CheckStatus(BCryptCreateHash(algorithm, &handle, nullptr, 0, nullptr, 0, 0));
    const std::unique_ptr<void, HashDestroyer> hash(handle);
    CheckStatus(BCryptHashData(handle, const_cast<BYTE*>(data), static_cast<ULONG>(size), 0));
    CheckStatus(BCryptFinishHash(handle, digest, sizeof(digest), 0));
    std::string text;
    for (const BYTE byte : digest) {
        text += Format("%02x", byte);
    }
    return text;
}

}  // namespace

FrameHash::FrameHash(const MediaType& type, std::pair<LONG, LONG> rate) : output_(kStandardOutput) {
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    CheckStatus(BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_MD5_ALGORITHM, nullptr, 0));
    algorithm_.reset(algorithm);
    Put(
        Format("#format: frame checksums\n#version: 2\n#hash: MD5\n#software: nyxhost\n"
               "#tb 0: %ld/%ld\n#media_type 0: video\n#codec_id 0: rawvideo\n"
               "#dimensions 0: %ldx%ld\n#stream#, dts,        pts, duration,     size, hash\n",
               rate.second, rate.first, type.Header().biWidth, std::labs(type.Header().biHeight)));
}

void FrameHash::Write(LONG index, const MediaType& type, const BYTE* data, std::size_t size) {
    std::string hash;
    if (type.subtype == MEDIASUBTYPE_YUY2) {
        hash = HashOf(algorithm_.get(), data, size);
    } else {
        const Picture picture = MakePicture(type, data, size);
        size = picture.pixels.size();
        hash = HashOf(algorithm_.get(), picture.pixels.data(), size);
    }
    Put(Format("0, %10ld, %10ld, %8d, %8zu, ", index, index, 1, size) + hash + "\n");
}

void FrameHash::Put(const std::string& text) {
    output_.Write(text.data(), static_cast<DWORD>(text.size()));
}

}  // namespace nyx::host
