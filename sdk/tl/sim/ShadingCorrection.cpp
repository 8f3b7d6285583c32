#include "ShadingCorrection.h"

#include <algorithm>

namespace hvsim {

namespace {

// x (1024 + G) / 2^shift rounded, for x = (raw - O q) in units of
// 2^(shift - 10) grey levels; 0 for x <= 0. Without branches, so the loops
// vectorise.
uint32_t scaled(int32_t x, uint16_t word, int shift, uint32_t maxValue)
{
    const uint32_t positive = uint32_t(x > 0 ? x : 0);
    const uint32_t gain = 1024u + (word & 0x3FFu);
    return std::min(maxValue, (positive * gain + (1u << (shift - 1))) >> shift);
}

} // namespace

void applyShadingMap(std::vector<uint8_t>& pixels, uint32_t bytesPerPixel, uint32_t maxValue,
                     const std::vector<uint16_t>& words)
{
    const size_t n = std::min(words.size(), pixels.size() / bytesPerPixel);
    // Plain pointers: stores through the vector's own would make the
    // compiler reload its data pointer for every pixel.
    uint8_t* p = pixels.data();
    const uint16_t* w = words.data();
    if (bytesPerPixel == 1) {
        // q = 1/4: counted in quarter grey levels, 4 raw - O.
        for (size_t i = 0; i < n; ++i)
            p[i] = uint8_t(scaled(4 * int32_t(p[i]) - int32_t(w[i] >> 10), w[i], 12, maxValue));
        return;
    }
    // q = 4: raw - 4 O in grey levels.
    for (size_t i = 0; i < n; ++i) {
        const int32_t raw = int32_t(p[2 * i]) | int32_t(p[2 * i + 1]) << 8;
        const uint32_t c = scaled(raw - 4 * int32_t(w[i] >> 10), w[i], 10, maxValue);
        p[2 * i] = uint8_t(c);
        p[2 * i + 1] = uint8_t(c >> 8);
    }
}

} // namespace hvsim
