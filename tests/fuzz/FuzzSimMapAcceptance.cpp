// Bytes uploaded into a simulated camera's map entry, checked as the camera
// checks them at Close. The first two bytes choose a small sensor so that
// accepted files are within the fuzzer's reach; the same file is also
// checked against the largest sensor a configuration may declare.
#include "FuzzCheck.h"
#include "MapFileFormat.h"

#include <cstdint>
#include <vector>

using hvsim::MapFileFormat;

namespace {

void checkAgainst(const std::vector<uint8_t>& file, uint32_t width, uint32_t height)
{
    const std::vector<uint8_t> words(file.size() >= 60 ? file.begin() + 60 : file.end(),
                                     file.end());
    std::string why;
    if (MapFileFormat::checkShadingMap(file, width, height, &why)) {
        FUZZ_CHECK(file.size() == 32 + 2ull * width * height);
        FUZZ_CHECK(MapFileFormat::wordSum(file) == 0);
        std::vector<uint16_t> values(size_t(width) * height);
        for (size_t i = 0; i < values.size(); ++i)
            values[i] = uint16_t(file[32 + 2 * i] | file[33 + 2 * i] << 8);
        // The camera rebuilds this file from its map id and words, but for the
        // reserved field (which it does not check) and so the checksum.
        const std::vector<uint8_t> rebuilt =
            MapFileFormat::shadingMap(MapFileFormat::readU32(file, 12), width, height, values);
        FUZZ_CHECK(rebuilt.size() == file.size());
        FUZZ_CHECK(std::equal(file.begin(), file.begin() + 8, rebuilt.begin()));
        FUZZ_CHECK(std::equal(file.begin() + 12, file.begin() + 28, rebuilt.begin() + 12));
        FUZZ_CHECK(std::equal(file.begin() + 32, file.end(), rebuilt.begin() + 32));
        // What the map area shows is the map words, whatever the map id.
        const std::vector<uint8_t> area = MapFileFormat::mapBytes(file);
        FUZZ_CHECK(area.size() == 2ull * width * height);
        FUZZ_CHECK(std::equal(area.begin(), area.end(), file.begin() + 32));
    } else {
        FUZZ_CHECK(!why.empty());
    }
    why.clear();
    if (MapFileFormat::checkUserMap(file, width, height, &why)) {
        FUZZ_CHECK(file.size() == 60 + 2ull * width * height);
        FUZZ_CHECK(MapFileFormat::mapBytes(file) == words);
    } else {
        FUZZ_CHECK(!why.empty());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const std::vector<uint8_t> file(data + 2, data + size);
    checkAgainst(file, 1 + data[0] % 16, 1 + data[1] % 16);
    checkAgainst(file, 16384, 16384);
    (void)MapFileFormat::mapBytes(file);
    return 0;
}
