#pragma once

#include <cstddef>
#include <string>

namespace nyx::host {

/// The MD5 of `size` bytes in hexadecimal, by the system's cryptography. Failure kPlatform.
std::string Md5Of(const void* data, std::size_t size);

}  // namespace nyx::host
