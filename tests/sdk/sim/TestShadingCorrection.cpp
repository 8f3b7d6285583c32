// The correction a simulated camera applies with a map, against words
// worked out by hand: round((raw - O q)(1 + G / 1024)) clamped to the
// format's range, q = 4 for 16-bit formats and 1/4 for Mono8.

#include "ShadingCorrection.h"

#include <gtest/gtest.h>

using namespace hvsim;

namespace {

struct Case
{
    const char* what;
    uint32_t bytesPerPixel;
    uint32_t maxValue;
    uint32_t raw;
    uint16_t gainCode;
    uint16_t offsetCode;
    uint32_t expected;
};

class Correction : public ::testing::TestWithParam<Case>
{
};

TEST_P(Correction, OfOnePixel)
{
    const Case& c = GetParam();
    // The pixel between two others, so a slip of index or byte order shows.
    std::vector<uint8_t> pixels;
    for (uint32_t v : {7u, c.raw, 9u})
        for (uint32_t b = 0; b < c.bytesPerPixel; ++b)
            pixels.push_back(uint8_t(v >> (8 * b)));
    applyShadingMap(pixels, c.bytesPerPixel, c.maxValue,
                    {0, uint16_t(c.gainCode | c.offsetCode << 10), 0});
    auto at = [&](int i) {
        uint32_t v = 0;
        for (uint32_t b = 0; b < c.bytesPerPixel; ++b)
            v |= uint32_t(pixels[i * c.bytesPerPixel + b]) << (8 * b);
        return v;
    };
    EXPECT_EQ(at(1), c.expected);
    EXPECT_EQ(at(0), 7u);
    EXPECT_EQ(at(2), 9u);
}

INSTANTIATE_TEST_SUITE_P(
    HandComputed, Correction,
    ::testing::Values(
        // (1000 - 36) * 1.5 = 1446
        Case{"Mono12 gain 1.5 offset 9", 2, 4095, 1000, 512, 9, 1446},
        // 101 * 1025 / 1024 = 101.099 -> 101; 1 * 1.5 = 1.5 -> 2 (halves go up)
        Case{"Mono12 small gain rounds down", 2, 4095, 101, 1, 0, 101},
        Case{"Mono12 half rounds up", 2, 4095, 1, 512, 0, 2},
        // 30 - 40 < 0
        Case{"16-bit clamp at 0", 2, 4095, 30, 700, 10, 0},
        // 3000 * 2047 / 1024 = 5997.07: above Mono12's 4095, within Mono16
        Case{"Mono12 clamp at 4095", 2, 4095, 3000, 1023, 0, 4095},
        Case{"Mono16 no clamp at 4095", 2, 65535, 3000, 1023, 0, 5997},
        // 40000 * 2047 / 1024 = 79960.9
        Case{"Mono16 clamp at 65535", 2, 65535, 40000, 1023, 0, 65535},
        // (100 - 10 / 4) * 1.25 = 121.875 -> 122
        Case{"Mono8 quarter offset steps", 1, 255, 100, 256, 10, 122},
        // (1 - 2 / 4) * 1 = 0.5 -> 1
        Case{"Mono8 half rounds up", 1, 255, 1, 0, 2, 1},
        // 2 - 12 / 4 < 0
        Case{"Mono8 clamp at 0", 1, 255, 2, 1023, 12, 0},
        // 200 * 1.5 = 300
        Case{"Mono8 clamp at 255", 1, 255, 200, 512, 0, 255}),
    [](const ::testing::TestParamInfo<Case>& info) {
        std::string name = info.param.what;
        for (char& ch : name)
            if (!isalnum(static_cast<unsigned char>(ch)))
                ch = '_';
        return name;
    });

} // namespace
