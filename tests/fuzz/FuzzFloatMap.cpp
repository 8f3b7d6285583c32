// Float map import bytes, read as the panel's import and `orvex-nuc info`
// read them, then packed as an upload would (whatever the floats hold).
#include "FuzzCheck.h"
#include "NUShadingParams.h"
#include "NucFloatMap.h"
#include "NucLimits.h"
#include "NucMapPacking.h"

#include <QBuffer>
#include <QtEndian>

#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    NucFloatMap map;
    QString error;
    if (!map.read(buffer, &error)) {
        FUZZ_CHECK(!map.offsets && !map.gains && !error.isEmpty());
        return 0;
    }
    FUZZ_CHECK(NucLimits::plausibleSize(map.width, map.height));
    const quint32 pixels = map.pixelCount();
    FUZZ_CHECK(map.completePixels <= pixels);
    FUZZ_CHECK(8 + 8 * quint64(map.completePixels) <= size);
    if (map.completePixels == pixels) {
        // A whole file is exactly its maps plus what trails them.
        FUZZ_CHECK(quint64(8 + 8 * quint64(pixels) + map.trailingBytes) == size);
        const QByteArray again =
            NucFloatMap::encode(map.width, map.height, map.offsets.get(), map.gains.get());
        FUZZ_CHECK(std::memcmp(again.constData(), data, size_t(again.size())) == 0);
    } else {
        FUZZ_CHECK(map.trailingBytes == 0);
        for (quint32 i = map.completePixels + 1; i < pixels && i < (1u << 16); ++i)
            FUZZ_CHECK(map.offsets[i] == 0.0f && map.gains[i] == 1.0f);
    }

    // Packing millions of pixels takes seconds under the sanitizers, and the
    // properties below are the same for small maps: large ones stop at the read.
    if (pixels > (1u << 16))
        return 0;
    NUShadingParams dark, bright;
    bright.width = map.width;
    bright.height = map.height;
    dark.map = std::move(map.offsets);
    bright.map = std::move(map.gains);
    for (int depth : {8, 16}) {
        const QVector<quint16> words = NucMapPacking::packedMap(dark, bright, depth, false);
        const QVector<quint16> swapped = NucMapPacking::packedMap(dark, bright, depth, true);
        FUZZ_CHECK(quint32(words.size()) == pixels && swapped.size() == words.size());
        for (int i = 0; i < words.size(); ++i)
            FUZZ_CHECK(swapped[i] == qbswap(words[i]));
    }
    return 0;
}
