#include "MapFileFormat.h"

#include <gtest/gtest.h>

#include <functional>

using namespace hvsim;

namespace {

using Bytes = std::vector<uint8_t>;

TEST(MapFileFormat, ShadingMapOfTwoByOneHasTheDocumentedLayout)
{
    Bytes f = MapFileFormat::shadingMap(8196, 2, 1, {0x2600, 0x0001});
    ASSERT_EQ(f.size(), 36u);
    EXPECT_EQ(Bytes(f.begin(), f.begin() + 4), (Bytes{0xFC, 0xAD, 0x56, 0x1F}));
    EXPECT_EQ(MapFileFormat::readU32(f, 4), 36u);
    EXPECT_EQ(MapFileFormat::readU32(f, 12), 8196u);
    EXPECT_EQ(MapFileFormat::readU32(f, 16), 24u);
    EXPECT_EQ(MapFileFormat::readU32(f, 20), 2u);
    EXPECT_EQ(MapFileFormat::readU32(f, 24), 1u);
    EXPECT_EQ(MapFileFormat::readU32(f, 28), 0u);
    EXPECT_EQ(Bytes(f.begin() + 32, f.end()), (Bytes{0x00, 0x26, 0x01, 0x00}));
    EXPECT_EQ(MapFileFormat::wordSum(f), 0u);
    EXPECT_TRUE(MapFileFormat::checkShadingMap(f, 2, 1));
}

TEST(MapFileFormat, WordSumCountsATrailingPartialWordZeroExtended)
{
    EXPECT_EQ(MapFileFormat::wordSum(Bytes{1, 0, 0, 0, 2, 1}), 1u + 0x0102u);
    EXPECT_EQ(MapFileFormat::wordSum(Bytes{0xFF, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0}), 1u);
}

TEST(MapFileFormat, OddPixelCountKeepsChecksumWithTail)
{
    Bytes f = MapFileFormat::shadingMap(8193, 3, 1, {0xFFFF, 0x1234, 0xABCD});
    EXPECT_EQ(f.size(), 38u);
    EXPECT_TRUE(MapFileFormat::checkShadingMap(f, 3, 1));
}

struct Corruption
{
    const char* what;
    std::function<void(Bytes&)> apply;
};

class ShadingMapRefusal : public ::testing::TestWithParam<Corruption>
{
};

TEST_P(ShadingMapRefusal, IsRefused)
{
    Bytes f = MapFileFormat::shadingMap(8193, 8, 4, std::vector<uint16_t>(32, 0x1111));
    ASSERT_TRUE(MapFileFormat::checkShadingMap(f, 8, 4));
    GetParam().apply(f);
    std::string why;
    EXPECT_FALSE(MapFileFormat::checkShadingMap(f, 8, 4, &why)) << GetParam().what;
    EXPECT_FALSE(why.empty());
}

// Every corruption keeps the checksum right where that is possible, so the
// refusal must come from the check named.
void fixSum(Bytes& f)
{
    MapFileFormat::writeU32(f, 8, 0);
    MapFileFormat::writeU32(f, 8, 0u - MapFileFormat::wordSum(f));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ShadingMapRefusal,
    ::testing::Values(Corruption{"flipped map bit", [](Bytes& f) { f[40] ^= 0x01; }},
                      Corruption{"wrong magic",
                                 [](Bytes& f) {
                                     f[0] = 0xFD;
                                     fixSum(f);
                                 }},
                      Corruption{"size field",
                                 [](Bytes& f) {
                                     MapFileFormat::writeU32(f, 4, uint32_t(f.size() + 2));
                                     fixSum(f);
                                 }},
                      Corruption{"width of another sensor",
                                 [](Bytes& f) {
                                     MapFileFormat::writeU32(f, 20, 4);
                                     MapFileFormat::writeU32(f, 24, 8);
                                     fixSum(f);
                                 }},
                      Corruption{"block length",
                                 [](Bytes& f) {
                                     MapFileFormat::writeU32(f, 16, 20);
                                     fixSum(f);
                                 }},
                      Corruption{"truncated",
                                 [](Bytes& f) {
                                     f.resize(f.size() - 4);
                                     MapFileFormat::writeU32(f, 4, uint32_t(f.size()));
                                     fixSum(f);
                                 }},
                      Corruption{"header only", [](Bytes& f) { f.resize(20); }},
                      Corruption{"empty", [](Bytes& f) { f.clear(); }}));

TEST(MapFileFormat, ShadingMapOfAnotherSensorSizeIsRefused)
{
    Bytes f = MapFileFormat::neutralShadingMap(8193, 640, 512);
    EXPECT_TRUE(MapFileFormat::checkShadingMap(f, 640, 512));
    EXPECT_FALSE(MapFileFormat::checkShadingMap(f, 1280, 1024));
    EXPECT_FALSE(MapFileFormat::checkShadingMap(f, 512, 640));
}

TEST(MapFileFormat, UserMapOfFourByTwoHasTheDocumentedLayout)
{
    Bytes f = MapFileFormat::userMap(4, 2, std::vector<uint16_t>(8, 0xBEEF));
    ASSERT_EQ(f.size(), 76u);
    EXPECT_EQ(MapFileFormat::readU32(f, 0), MapFileFormat::kMagic);
    EXPECT_EQ(MapFileFormat::readU32(f, 4), 76u);
    EXPECT_EQ(MapFileFormat::readU32(f, 8), 0u);
    EXPECT_EQ(MapFileFormat::readU32(f, 12), 0x980u);
    EXPECT_EQ(MapFileFormat::readU32(f, 16), 28u);
    EXPECT_EQ(MapFileFormat::readU32(f, 40), 0x2000u);
    EXPECT_EQ(MapFileFormat::readU32(f, 44), 36u);
    EXPECT_EQ(MapFileFormat::readU32(f, 48), 4u);
    EXPECT_EQ(MapFileFormat::readU32(f, 52), 2u);
    EXPECT_EQ(f[60], 0xEF);
    EXPECT_EQ(f[61], 0xBE);
    EXPECT_TRUE(MapFileFormat::checkUserMap(f, 4, 2));
}

TEST(MapFileFormat, UserMapRefusals)
{
    const Bytes good = MapFileFormat::userMap(4, 2, {});
    struct
    {
        const char* what;
        std::function<void(Bytes&)> apply;
    } cases[] = {
        {"shading map instead", [](Bytes& f) { f = MapFileFormat::neutralShadingMap(8193, 4, 2); }},
        {"checksum field set", [](Bytes& f) { MapFileFormat::writeU32(f, 8, 1); }},
        {"fixed block id", [](Bytes& f) { MapFileFormat::writeU32(f, 12, 0x981); }},
        {"fixed block length", [](Bytes& f) { MapFileFormat::writeU32(f, 16, 24); }},
        {"map block id", [](Bytes& f) { MapFileFormat::writeU32(f, 40, 8193); }},
        {"map block length", [](Bytes& f) { MapFileFormat::writeU32(f, 44, 30); }},
        {"height", [](Bytes& f) { MapFileFormat::writeU32(f, 52, 3); }},
        {"size field", [](Bytes& f) { MapFileFormat::writeU32(f, 4, 78); }},
        {"extra bytes",
         [](Bytes& f) {
             f.push_back(0);
             f.push_back(0);
             MapFileFormat::writeU32(f, 4, uint32_t(f.size()));
         }},
    };
    for (auto& c : cases) {
        Bytes f = good;
        c.apply(f);
        EXPECT_FALSE(MapFileFormat::checkUserMap(f, 4, 2)) << c.what;
    }
}

TEST(MapFileFormat, NeutralMapsAreAllZeroWords)
{
    Bytes s = MapFileFormat::neutralShadingMap(8194, 16, 8);
    Bytes u = MapFileFormat::neutralUserMap(16, 8);
    EXPECT_EQ(MapFileFormat::mapBytes(s), Bytes(256, 0));
    EXPECT_EQ(MapFileFormat::mapBytes(u), Bytes(256, 0));
    EXPECT_EQ(MapFileFormat::readU32(s, 12), 8194u);
}

} // namespace
