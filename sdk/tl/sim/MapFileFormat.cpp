#include "MapFileFormat.h"

namespace hvsim {

namespace {

void fail(std::string* why, const char* text)
{
    if (why)
        *why = text;
}

} // namespace

uint32_t MapFileFormat::readU32(const std::vector<uint8_t>& b, size_t offset)
{
    return uint32_t(b[offset]) | uint32_t(b[offset + 1]) << 8 | uint32_t(b[offset + 2]) << 16 |
           uint32_t(b[offset + 3]) << 24;
}

void MapFileFormat::writeU32(std::vector<uint8_t>& b, size_t offset, uint32_t v)
{
    b[offset] = uint8_t(v);
    b[offset + 1] = uint8_t(v >> 8);
    b[offset + 2] = uint8_t(v >> 16);
    b[offset + 3] = uint8_t(v >> 24);
}

uint32_t MapFileFormat::wordSum(const std::vector<uint8_t>& bytes)
{
    uint32_t sum = 0;
    size_t i = 0;
    for (; i + 4 <= bytes.size(); i += 4)
        sum += readU32(bytes, i);
    uint32_t tail = 0;
    for (size_t k = 0; i + k < bytes.size(); ++k)
        tail |= uint32_t(bytes[i + k]) << (8 * k);
    return sum + tail;
}

bool MapFileFormat::checkShadingMap(const std::vector<uint8_t>& file, uint32_t width,
                                    uint32_t height, std::string* why)
{
    const uint64_t mapBytes = 2ull * width * height;
    if (file.size() < kShadingHeaderSize)
        return fail(why, "shorter than the map header"), false;
    if (readU32(file, 0) != kMagic)
        return fail(why, "wrong magic"), false;
    if (readU32(file, 4) != file.size())
        return fail(why, "size field differs from the file length"), false;
    if (readU32(file, 20) != width || readU32(file, 24) != height)
        return fail(why, "map size differs from the sensor size"), false;
    if (file.size() != kShadingHeaderSize + mapBytes)
        return fail(why, "file length does not fit the map size"), false;
    if (readU32(file, 16) != file.size() - 12)
        return fail(why, "map block length is wrong"), false;
    if (wordSum(file) != 0)
        return fail(why, "checksum does not hold"), false;
    return true;
}

bool MapFileFormat::checkUserMap(const std::vector<uint8_t>& file, uint32_t width, uint32_t height,
                                 std::string* why)
{
    const uint64_t mapBytes = 2ull * width * height;
    if (file.size() < kUserHeaderSize)
        return fail(why, "shorter than the user map header"), false;
    if (readU32(file, 0) != kMagic)
        return fail(why, "wrong magic"), false;
    if (readU32(file, 4) != file.size())
        return fail(why, "size field differs from the file length"), false;
    if (readU32(file, 8) != 0)
        return fail(why, "checksum field of a user map must be 0"), false;
    if (readU32(file, 12) != kUserFixedBlockId || readU32(file, 16) != 28)
        return fail(why, "fixed block 0x980 missing"), false;
    if (readU32(file, 40) != kUserMapBlockId)
        return fail(why, "map block 0x2000 missing"), false;
    if (readU32(file, 48) != width || readU32(file, 52) != height)
        return fail(why, "map size differs from the sensor size"), false;
    if (file.size() != kUserHeaderSize + mapBytes)
        return fail(why, "file length does not fit the map size"), false;
    if (readU32(file, 44) != file.size() - 40)
        return fail(why, "map block length is wrong"), false;
    return true;
}

std::vector<uint8_t> MapFileFormat::shadingMap(uint32_t mapId, uint32_t width, uint32_t height,
                                               const std::vector<uint16_t>& words)
{
    const size_t n = size_t(width) * height;
    std::vector<uint8_t> file(kShadingHeaderSize + 2 * n, 0);
    writeU32(file, 0, kMagic);
    writeU32(file, 4, uint32_t(file.size()));
    writeU32(file, 12, mapId);
    writeU32(file, 16, uint32_t(file.size() - 12));
    writeU32(file, 20, width);
    writeU32(file, 24, height);
    for (size_t i = 0; i < n && i < words.size(); ++i) {
        file[kShadingHeaderSize + 2 * i] = uint8_t(words[i]);
        file[kShadingHeaderSize + 2 * i + 1] = uint8_t(words[i] >> 8);
    }
    writeU32(file, 8, 0u - wordSum(file));
    return file;
}

std::vector<uint8_t> MapFileFormat::userMap(uint32_t width, uint32_t height,
                                            const std::vector<uint16_t>& words)
{
    const size_t n = size_t(width) * height;
    std::vector<uint8_t> file(kUserHeaderSize + 2 * n, 0);
    writeU32(file, 0, kMagic);
    writeU32(file, 4, uint32_t(file.size()));
    writeU32(file, 12, kUserFixedBlockId);
    writeU32(file, 16, 28);
    writeU32(file, 40, kUserMapBlockId);
    writeU32(file, 44, uint32_t(file.size() - 40));
    writeU32(file, 48, width);
    writeU32(file, 52, height);
    for (size_t i = 0; i < n && i < words.size(); ++i) {
        file[kUserHeaderSize + 2 * i] = uint8_t(words[i]);
        file[kUserHeaderSize + 2 * i + 1] = uint8_t(words[i] >> 8);
    }
    return file;
}

std::vector<uint8_t> MapFileFormat::neutralShadingMap(uint32_t mapId, uint32_t width,
                                                      uint32_t height)
{
    return shadingMap(mapId, width, height, {});
}

std::vector<uint8_t> MapFileFormat::neutralUserMap(uint32_t width, uint32_t height)
{
    return userMap(width, height, {});
}

std::vector<uint8_t> MapFileFormat::mapBytes(const std::vector<uint8_t>& file)
{
    if (file.size() >= 8 && readU32(file, 0) == kMagic) {
        // A shading map's map id may be 0x980 too (a factory id): only the
        // whole user map layout (fixed block of 28 bytes, then the map
        // block) tells the two apart.
        if (file.size() >= kUserHeaderSize && readU32(file, 12) == kUserFixedBlockId &&
            readU32(file, 16) == 28 && readU32(file, 40) == kUserMapBlockId)
            return {file.begin() + kUserHeaderSize, file.end()};
        if (file.size() >= kShadingHeaderSize)
            return {file.begin() + kShadingHeaderSize, file.end()};
    }
    return {};
}

} // namespace hvsim
