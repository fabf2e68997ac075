// libavutil asks for this to parse names of colours and to encrypt, which nobody does here. Its own
// version brings in the system's cryptography, and loading that takes longer than many a frame.

#include <cstdint>

extern "C" std::uint32_t av_get_random_seed() {
    return 0;
}
