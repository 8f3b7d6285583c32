#pragma once

#include <QVector>
#include <QtGlobal>

class NUShadingParams;

// Packs the dark series' offset map and the bright series' gain map into one
// 16-bit word per pixel: gain code in bits 0-9, offset code in bits 10-15.
// This buffer is what map files hold and what goes to the camera.
namespace NucMapPacking {

// Gain code of one gain factor: trunc((g - 1) * scale) in double, clamped.
quint16 gainCode(float gain, quint32 gainScale);
// Offset code of one offset map value. A 16-bit series stores code * step,
// anything else code / step; this undoes the matching one.
quint16 offsetCode(float offset, qint32 offsetStep, quint32 offsetLevels, int bitDepth);

// Byte-swapped words are used only for cameras without map entries and
// without user maps that are big-endian.
bool swapsWords(bool noMapSelector, bool hasNucControl, bool endianess);

// Fills out (bright width * height words). Writes nothing when out or either
// map is missing or the bright series has no pixels.
void getBinMap(const NUShadingParams& dark, const NUShadingParams& bright, int bitDepth,
               bool swapBytes, quint16* out);

// The same into a fresh zeroed buffer of bright width * height words, so a map
// that was never generated packs to all zeros.
QVector<quint16> packedMap(const NUShadingParams& dark, const NUShadingParams& bright, int bitDepth,
                           bool swapBytes);

} // namespace NucMapPacking
