#pragma once

#include <cstdint>
#include <vector>

namespace hvsim {

// The camera's correction stage: pixel i with map word i (gain code G in
// bits 0-9, offset code O in bits 10-15) becomes
//     round((raw - O * q) * (1 + G / 1024)),
// clamped to 0 .. maxValue, where q is the offset step in the frame's grey
// levels: 4 for 16 bits per pixel (Mono12, Mono16, little-endian) and 1/4
// for Mono8. This is the inverse of how a map is made from a dark and a
// bright mean, so a perfect map turns an even scene into an even image.
// Computed in integers, so halves round up exactly.
void applyShadingMap(std::vector<uint8_t>& pixels, uint32_t bytesPerPixel, uint32_t maxValue,
                     const std::vector<uint16_t>& words);

} // namespace hvsim
