#include "SensorModel.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace hvsim {

SensorModel::SensorModel(uint32_t width, uint32_t height, const std::string& pixelFormat,
                         uint64_t seed)
    : m_width(width), m_height(height), m_pixelFormat(pixelFormat),
      m_bits(pixelFormat == "Mono16"   ? 16
             : pixelFormat == "Mono12" ? 12
                                       : 8),
      m_seed(seed)
{
    const size_t n = size_t(width) * height;
    m_offset.resize(n);
    m_gain.resize(n);
    std::mt19937_64 rng(seed);
    std::normal_distribution<float> fpn(0.0f, 1.0f);
    std::vector<float> column(width);
    for (auto& c : column)
        c = fpn(rng);
    const float full = float(maxValue());
    const float cx = (width - 1) / 2.0f, cy = (height - 1) / 2.0f;
    const float r2max = cx * cx + cy * cy;
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            size_t i = size_t(y) * width + x;
            // Dark level about 2 % of full scale, per-pixel spread and column
            // stripes of a few tenths of a percent.
            m_offset[i] = std::max(0.0f, full * (0.02f + 0.002f * fpn(rng) + 0.001f * column[x]));
            float dx = x - cx, dy = y - cy;
            float r2 = r2max > 0 ? (dx * dx + dy * dy) / r2max : 0.0f;
            // Lens falloff to 75 % in the corners, 1.5 % pixel response spread.
            m_gain[i] = (1.0f - 0.25f * r2) * (1.0f + 0.015f * fpn(rng));
        }
    }
}

double SensorModel::sceneLevel(double exposureUs, double gainDb) const
{
    return std::max(0.0, exposureUs) / 20000.0 * std::pow(10.0, gainDb / 20.0);
}

std::vector<uint8_t> SensorModel::capture(double exposureUs, double gainDb, double illumination,
                                          uint64_t frameNumber) const
{
    const size_t n = size_t(m_width) * m_height;
    const double full = maxValue();
    const double level = sceneLevel(exposureUs, gainDb) * std::max(0.0, illumination) * full;
    const double readNoise = full * 0.001 + 0.5;
    std::mt19937_64 rng(m_seed ^ (frameNumber * 0x9E3779B97F4A7C15ull));
    std::normal_distribution<double> noise(0.0, 1.0);
    const uint32_t bpp = bytesPerPixel();
    std::vector<uint8_t> out(n * bpp);
    for (size_t i = 0; i < n; ++i) {
        double signal = level * m_gain[i];
        // Shot noise grows with the square root of the signal (in digits of
        // an 8-bit-equivalent well).
        double sigma = std::sqrt(readNoise * readNoise + signal * full / 255.0 * 0.01);
        double v = m_offset[i] + signal + sigma * noise(rng);
        uint32_t d = uint32_t(std::clamp(std::lround(v), 0l, long(full)));
        if (bpp == 1) {
            out[i] = uint8_t(d);
        } else {
            out[2 * i] = uint8_t(d);
            out[2 * i + 1] = uint8_t(d >> 8);
        }
    }
    return out;
}

} // namespace hvsim
