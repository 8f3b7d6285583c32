#include "SensorModel.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace hvsim {

namespace {

// Draws of the standard normal distribution, shifted and scaled to mean 0
// and variance 1 exactly. A frame picks one per pixel by a fast random
// index: a normal draw per pixel of a 12-megapixel frame would cost far more
// than the camera's frame time.
const std::vector<float>& normalTable()
{
    static const std::vector<float> table = [] {
        std::vector<double> draws(1 << 16);
        std::mt19937_64 rng(0x5EED);
        std::normal_distribution<double> normal(0.0, 1.0);
        double sum = 0.0;
        for (double& d : draws)
            sum += d = normal(rng);
        const double mean = sum / double(draws.size());
        double squares = 0.0;
        for (double& d : draws)
            squares += (d - mean) * (d - mean);
        const double scale = 1.0 / std::sqrt(squares / double(draws.size()));
        std::vector<float> out(draws.size());
        for (size_t i = 0; i < draws.size(); ++i)
            out[i] = float((draws[i] - mean) * scale);
        return out;
    }();
    return table;
}

uint64_t splitMix(uint64_t& state)
{
    uint64_t z = (state += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

} // namespace

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
    // The dark level sits in the middle of what a map word's 64 offset codes
    // can take away above the default target offset of 16 codes, with a
    // per-pixel spread of 2.5 codes and column stripes of one code: a map
    // made with the default offset corrects every pixel without clamping.
    const float step = float(offsetStep());
    const float dark = (16.0f + 32.0f) * step;
    const float cx = (width - 1) / 2.0f, cy = (height - 1) / 2.0f;
    const float r2max = cx * cx + cy * cy;
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            size_t i = size_t(y) * width + x;
            m_offset[i] = std::max(0.0f, dark + step * (2.5f * fpn(rng) + 1.0f * column[x]));
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
                                          uint64_t noiseSeed) const
{
    const size_t n = size_t(m_width) * m_height;
    const float full = float(maxValue());
    const float level =
        float(sceneLevel(exposureUs, gainDb) * std::max(0.0, illumination) * maxValue());
    const float readNoise = full * 0.001f + 0.5f;
    // Shot noise grows with the square root of the signal (in digits of an
    // 8-bit-equivalent well).
    const float readVariance = readNoise * readNoise;
    const float shotPerDigit = full / 255.0f * 0.01f;
    const std::vector<float>& normal = normalTable();
    uint64_t state = m_seed ^ (noiseSeed * 0x9E3779B97F4A7C15ull);
    const uint32_t bpp = bytesPerPixel();
    std::vector<uint8_t> out(n * bpp);
    // In blocks: the table look-ups first, then a loop without them that the
    // compiler vectorises.
    constexpr size_t Block = 4096;
    float z[Block];
    uint32_t digits[Block];
    for (size_t start = 0; start < n; start += Block) {
        const size_t count = std::min(Block, n - start);
        for (size_t k = 0; k < count; k += 4) {
            const uint64_t random = splitMix(state);
            for (size_t j = 0; j < 4; ++j)
                z[k + j] = normal[(random >> (16 * j)) & 0xFFFF];
        }
        const float* offset = m_offset.data() + start;
        const float* gain = m_gain.data() + start;
        for (size_t k = 0; k < count; ++k) {
            const float signal = level * gain[k];
            const float sigma = std::sqrt(readVariance + signal * shotPerDigit);
            const float v = std::min(std::max(offset[k] + signal + sigma * z[k], 0.0f), full);
            digits[k] = uint32_t(v + 0.5f);
        }
        uint8_t* target = out.data() + start * bpp;
        if (bpp == 1) {
            for (size_t k = 0; k < count; ++k)
                target[k] = uint8_t(digits[k]);
        } else {
            for (size_t k = 0; k < count; ++k) {
                target[2 * k] = uint8_t(digits[k]);
                target[2 * k + 1] = uint8_t(digits[k] >> 8);
            }
        }
    }
    return out;
}

} // namespace hvsim
