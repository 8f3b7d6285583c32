// The map file formats the simulated cameras accept: exact layouts and
// every refusal, below the File Access tests that only see accept/refuse.

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
    const Bytes header{0xFC, 0xAD, 0x56, 0x1F, 36, 0, 0, 0};
    EXPECT_EQ(Bytes(f.begin(), f.begin() + 8), header);
    EXPECT_EQ(Bytes(f.begin() + 12, f.end()),
              (Bytes{0x04, 0x20, 0, 0, 24, 0, 0, 0, 2,    0,    0,    0,
                     1,    0,    0, 0, 0,  0, 0, 0, 0x00, 0x26, 0x01, 0x00}));
    EXPECT_EQ(MapFileFormat::wordSum(f), 0u);
    EXPECT_TRUE(MapFileFormat::checkShadingMap(f, 2, 1));
    // A trailing partial word counts zero-extended.
    EXPECT_EQ(MapFileFormat::wordSum(Bytes{0xFF, 0xFF, 0xFF, 0xFF, 2, 0, 0, 1}), 0x01000001u);
    EXPECT_EQ(MapFileFormat::wordSum(Bytes{1, 0, 0, 0, 2, 1}), 1u + 0x0102u);
    Bytes odd = MapFileFormat::shadingMap(8193, 3, 1, {0xFFFF, 0x1234, 0xABCD});
    EXPECT_EQ(odd.size(), 38u);
    EXPECT_TRUE(MapFileFormat::checkShadingMap(odd, 3, 1));
}

TEST(MapFileFormat, UserMapOfFourByTwoHasTheDocumentedLayout)
{
    Bytes f = MapFileFormat::userMap(4, 2, std::vector<uint16_t>(8, 0xBEEF));
    ASSERT_EQ(f.size(), 76u);
    const std::pair<size_t, uint32_t> fields[] = {{0, MapFileFormat::kMagic},
                                                  {4, 76},
                                                  {8, 0},
                                                  {12, 0x980},
                                                  {16, 28},
                                                  {40, 0x2000},
                                                  {44, 36},
                                                  {48, 4},
                                                  {52, 2}};
    for (auto [offset, value] : fields)
        EXPECT_EQ(MapFileFormat::readU32(f, offset), value) << "at " << offset;
    EXPECT_EQ(f[60], 0xEF);
    EXPECT_EQ(f[61], 0xBE);
    EXPECT_TRUE(MapFileFormat::checkUserMap(f, 4, 2));
}

// Every corruption of a shading map keeps the checksum right, so the refusal
// must come from the check named. (A broken checksum, another sensor's size,
// a user map and a truncated file are refused in the File Access tests.)
void fixSum(Bytes& f)
{
    MapFileFormat::writeU32(f, 8, 0);
    MapFileFormat::writeU32(f, 8, 0u - MapFileFormat::wordSum(f));
}

TEST(MapFileFormat, Refusals)
{
    const Bytes shading = MapFileFormat::shadingMap(8193, 4, 2, std::vector<uint16_t>(8, 0x1111));
    const Bytes user = MapFileFormat::userMap(4, 2, {});
    ASSERT_TRUE(MapFileFormat::checkShadingMap(shading, 4, 2));
    const struct
    {
        const char* what;
        const Bytes& good;
        std::function<void(Bytes&)> apply;
    } cases[] = {
        {"wrong magic", shading, [](Bytes& f) { f[0] = 0xFD; }},
        {"size field", shading, [](Bytes& f) { MapFileFormat::writeU32(f, 4, 46); }},
        {"block length", shading, [](Bytes& f) { MapFileFormat::writeU32(f, 16, 20); }},
        {"header only", shading, [](Bytes& f) { f.resize(20); }},
        {"rotated sensor", shading,
         [](Bytes& f) { f = MapFileFormat::neutralShadingMap(8193, 2, 4); }},
        {"shading map as user map", user,
         [](Bytes& f) { f = MapFileFormat::neutralShadingMap(8193, 4, 2); }},
        {"checksum field set", user, [](Bytes& f) { MapFileFormat::writeU32(f, 8, 1); }},
        {"fixed block id", user, [](Bytes& f) { MapFileFormat::writeU32(f, 12, 0x981); }},
        {"fixed block length", user, [](Bytes& f) { MapFileFormat::writeU32(f, 16, 24); }},
        {"map block id", user, [](Bytes& f) { MapFileFormat::writeU32(f, 40, 8193); }},
        {"map block length", user, [](Bytes& f) { MapFileFormat::writeU32(f, 44, 30); }},
        {"height", user, [](Bytes& f) { MapFileFormat::writeU32(f, 52, 3); }},
        {"user map size field", user, [](Bytes& f) { MapFileFormat::writeU32(f, 4, 78); }},
        {"extra bytes", user,
         [](Bytes& f) {
             f.resize(f.size() + 2);
             MapFileFormat::writeU32(f, 4, uint32_t(f.size()));
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Bytes f = c.good;
        c.apply(f);
        if (&c.good == &shading) {
            if (f.size() > 20)
                fixSum(f);
            std::string why;
            EXPECT_FALSE(MapFileFormat::checkShadingMap(f, 4, 2, &why));
            EXPECT_FALSE(why.empty());
        } else {
            EXPECT_FALSE(MapFileFormat::checkUserMap(f, 4, 2));
        }
    }
}

TEST(MapFileFormat, NeutralMapsAreAllZeroWords)
{
    EXPECT_EQ(MapFileFormat::neutralShadingMap(8194, 16, 8),
              MapFileFormat::shadingMap(8194, 16, 8, std::vector<uint16_t>(128, 0)));
    EXPECT_EQ(MapFileFormat::neutralUserMap(16, 8),
              MapFileFormat::userMap(16, 8, std::vector<uint16_t>(128, 0)));
}

} // namespace
