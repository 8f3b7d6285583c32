#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace hvsim {

// The two map file layouts a camera accepts into its map entries, checked
// the way the camera firmware checks them before it replaces a stored map:
//  - shading map (".bin"): 32-byte header (magic, size, checksum, map id,
//    block length, width, height, reserved) and 2 bytes per pixel; the
//    little-endian 32-bit word sum of the whole file is 0.
//  - user map (".ge3"): 12-byte header with checksum field 0, a fixed
//    28-byte block 0x980, a map block 0x2000 with width and height, then
//    2 bytes per pixel.
// All fields are little-endian.
class MapFileFormat
{
public:
    static constexpr uint32_t kMagic = 0x1F56ADFC;
    static constexpr uint32_t kUserFixedBlockId = 0x980;
    static constexpr uint32_t kUserMapBlockId = 0x2000;
    static constexpr size_t kShadingHeaderSize = 32;
    static constexpr size_t kUserHeaderSize = 60;

    // Little-endian 32-bit word sum modulo 2^32; a trailing partial word
    // counts zero-extended.
    static uint32_t wordSum(const std::vector<uint8_t>& bytes);

    // True when `file` is a well-formed shading map of exactly width x height
    // whose checksum holds; otherwise `why` tells what is wrong.
    static bool checkShadingMap(const std::vector<uint8_t>& file, uint32_t width, uint32_t height,
                                std::string* why = nullptr);
    static bool checkUserMap(const std::vector<uint8_t>& file, uint32_t width, uint32_t height,
                             std::string* why = nullptr);

    // The maps a camera leaves the factory with: every word 0, that is gain
    // 1.0 and offset 0, so the correction changes nothing.
    static std::vector<uint8_t> neutralShadingMap(uint32_t mapId, uint32_t width, uint32_t height);
    static std::vector<uint8_t> neutralUserMap(uint32_t width, uint32_t height);

    // Builds a shading map file around the given map words (checksum filled).
    static std::vector<uint8_t> shadingMap(uint32_t mapId, uint32_t width, uint32_t height,
                                           const std::vector<uint16_t>& words);
    static std::vector<uint8_t> userMap(uint32_t width, uint32_t height,
                                        const std::vector<uint16_t>& words);

    // The map words of a file that passed its check (empty otherwise).
    static std::vector<uint8_t> mapBytes(const std::vector<uint8_t>& file);

    static uint32_t readU32(const std::vector<uint8_t>& b, size_t offset);
    static void writeU32(std::vector<uint8_t>& b, size_t offset, uint32_t v);
};

} // namespace hvsim
