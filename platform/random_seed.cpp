// libavutil calls this to parse colour names and to encrypt; no part of it that we configure does
// either. Its own version imports bcrypt, which costs load time (platform/stack_guard.cpp).

#include <cstdint>

extern "C" std::uint32_t av_get_random_seed() {
    return 0;
}
