#include "NucMapPacking.h"

#include "NUShadingParams.h"
#include "NucKernels.h"

#include <QtEndian>

namespace NucMapPacking {

quint16 gainCode(float gain, quint32 gainScale)
{
    // Clamping before the conversion gives the same codes as truncating
    // first, and keeps imported NaN or huge values defined (they become 0 or
    // the top code).
    const double g = (double(gain) - 1.0) * double(gainScale);
    if (!(g > 0.0))
        return 0;
    if (g >= double(gainScale))
        return quint16(gainScale - 1);
    return quint16(g);
}

quint16 offsetCode(float offset, qint32 offsetStep, quint32 offsetLevels, int bitDepth)
{
    const float o = bitDepth == 16 ? offset / float(offsetStep) : float(offsetStep) * offset;
    if (!(o > 0.0f))
        return 0;
    if (o >= float(offsetLevels))
        return quint16(offsetLevels - 1);
    return quint16(o);
}

bool swapsWords(bool noMapSelector, bool hasNucControl, bool endianess)
{
    return noMapSelector && !hasNucControl && endianess;
}

void getBinMap(const NUShadingParams& dark, const NUShadingParams& bright, int bitDepth,
               bool swapBytes, quint16* out)
{
    const quint32 pixels = bright.width * bright.height;
    if (!out || !dark.map || !bright.map || pixels == 0)
        return;
    // The processor's fastest packing loop: the codes of gainCode and
    // offsetCode, word by word.
    NucKernels::best().pack(out, dark.map.get(), bright.map.get(), pixels, float(bright.offsetStep),
                            qint32(bright.gainScale), qint32(bright.offsetLevels), bitDepth == 16);
    if (swapBytes)
        for (quint32 i = 0; i < pixels; ++i)
            out[i] = qbswap(out[i]);
}

QVector<quint16> packedMap(const NUShadingParams& dark, const NUShadingParams& bright, int bitDepth,
                           bool swapBytes)
{
    QVector<quint16> words(int(bright.width * bright.height), 0);
    getBinMap(dark, bright, bitDepth, swapBytes, words.data());
    return words;
}

} // namespace NucMapPacking
