#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace hvsim {

// A plausible image sensor: every pixel has its own dark offset and gain
// (fixed-pattern noise, column stripes, lens vignetting), and every frame
// adds shot and read noise. The pattern depends only on the seed, so one
// camera always shows the same non-uniformity, which is what a shading map
// is built to correct.
class SensorModel
{
public:
    SensorModel(uint32_t width, uint32_t height, const std::string& pixelFormat, uint64_t seed);

    uint32_t width() const { return m_width; }
    uint32_t height() const { return m_height; }
    const std::string& pixelFormat() const { return m_pixelFormat; }
    uint32_t bytesPerPixel() const { return m_bits > 8 ? 2 : 1; }
    uint32_t maxValue() const { return (1u << m_bits) - 1; }
    // Grey levels of one offset code of a map word in this format: 4 for the
    // 16-bit formats, a quarter for Mono8.
    double offsetStep() const { return m_bits > 8 ? 4.0 : 0.25; }

    // Mean signal of an even scene as a fraction of full scale for the given
    // exposure (µs) and gain (dB); the scene saturates at 20 ms, 0 dB.
    double sceneLevel(double exposureUs, double gainDb) const;

    // One frame, little-endian for 16-bit formats, row-major. `illumination`
    // scales the scene (0 = lens cap on); `noiseSeed` picks the frame's noise.
    std::vector<uint8_t> capture(double exposureUs, double gainDb, double illumination,
                                 uint64_t noiseSeed) const;

    float darkOffset(size_t i) const { return m_offset[i]; }
    float pixelGain(size_t i) const { return m_gain[i]; }

private:
    uint32_t m_width;
    uint32_t m_height;
    std::string m_pixelFormat;
    uint32_t m_bits;
    uint64_t m_seed;
    std::vector<float> m_offset; // in output digits
    std::vector<float> m_gain;   // relative, around 1
};

} // namespace hvsim
