#include "NucMapGeneration.h"

#include "NUShadingParams.h"
#include "NucKernels.h"
#include "NucLargeBuffer.h"
#include "NucMapFile.h"
#include "NucMapPacking.h"
#include "NucSeriesSum.h"
#include "NucTargets.h"

#include <QtEndian>

namespace NucMapGeneration {

namespace {

quint32 pixelsOf(const NUShadingParams& series)
{
    return series.width * series.height;
}

// Everything of generate() up to the gain map: the dark map, the in-place
// subtraction and the target. Returns false where the steps would.
bool prepareGain(NUShadingParams& dark, NUShadingParams& bright, float targetGain,
                 quint16 targetOffset, bool sixteenBit, float* target)
{
    dark.updateTargetParam(targetGain, targetOffset);
    bright.updateTargetParam(targetGain, targetOffset);
    const quint32 pixels = pixelsOf(bright);
    const bool fused = sixteenBit && dark.meanBuffer && pixelsOf(dark) == pixels && pixels != 0 &&
                       bright.meanBuffer;
    if (!fused) {
        if (sixteenBit)
            dark.makeNUCDark16();
        else
            dark.makeNUCDark();
        if (!dark.map || !bright.meanBuffer || pixels == 0)
            return false;
        const NucKernels::KernelSet& kernels = NucKernels::best();
        *target = float(NucKernels::subtractDarkAndSum(kernels, bright.meanBuffer.get(),
                                                       dark.map.get(), pixels) /
                        qint32(pixels)) *
                  bright.targetGain;
        return true;
    }

    if (!NucLargeBuffer::reuseOrAllocate(dark.map, pixels))
        return false;
    const NucKernels::KernelSet& kernels = NucKernels::best();
    const float s = float(dark.offsetStep);
    NucKernels::SumFacts facts;
    kernels.darkMap16Subtract(dark.map.get(), dark.meanBuffer.get(), bright.meanBuffer.get(),
                              pixels, s, float(dark.targetOffset) * s, qint32(dark.offsetLevels),
                              &facts);
    const double sum = NucKernels::sumAfter(kernels, facts, bright.meanBuffer.get(), pixels);
    *target = float(sum / qint32(pixels)) * bright.targetGain;
    return true;
}

void putLe32(char* at, quint32 value)
{
    qToLittleEndian(value, at);
}

// The .bin header with checksum 0; returns its word sum.
quint32 writeHeader(char* file, quint32 mapId, quint32 width, quint32 height)
{
    const quint32 mapBytes = 2 * width * height;
    const quint32 fields[8] = {NucMapFile::Magic,
                               quint32(NucMapFile::BinHeaderSize) + mapBytes,
                               0,
                               mapId,
                               20 + mapBytes,
                               width,
                               height,
                               0};
    quint32 sum = 0;
    for (int i = 0; i < 8; ++i) {
        putLe32(file + 4 * i, fields[i]);
        sum += fields[i];
    }
    return sum;
}

QByteArray uninitialisedFile(quint32 pixels)
{
    QByteArray file(NucMapFile::BinHeaderSize + 2 * int(pixels), Qt::Uninitialized);
    NucLargeBuffer::adviseHugePages(file.data(), size_t(file.size()));
    return file;
}

bool sameSize(const NucSeriesSum& dark, const NucSeriesSum& bright)
{
    return dark.count() != 0 && bright.count() != 0 && dark.width() == bright.width() &&
           dark.height() == bright.height() && bright.pixels() != 0;
}

// Two passes over the sums, which are used up: the first turns them in place
// into the dark map and the corrected bright mean and sums the latter for the
// target, the second packs each word with its gain against that target.
// Returns the word sum.
quint32 packFromSums(NucSeriesSum& dark, NucSeriesSum& bright, float targetGain,
                     quint16 targetOffset, quint16* out)
{
    const quint32 pixels = bright.pixels();
    const float darkCount = float(dark.count()), brightCount = float(bright.count());
    const std::unique_ptr<quint32[]> darkMap = dark.take(), corrected = bright.take();
    const float s = float(NucTargets::OffsetStep);
    const NucKernels::SeriesSums in{darkMap.get(),
                                    corrected.get(),
                                    pixels,
                                    darkCount,
                                    brightCount,
                                    s,
                                    float(targetOffset) * s,
                                    qint32(NucTargets::OffsetLevels)};
    const NucKernels::KernelSet& kernels = NucKernels::best();
    NucKernels::SumFacts facts;
    kernels.correctSums16(in, &facts);
    const auto* correctedMean = reinterpret_cast<const float*>(corrected.get());
    const double sum = NucKernels::sumAfter(kernels, facts, correctedMean, pixels);
    const float target = float(sum / qint32(pixels)) * targetGain;
    return kernels.gainPackOnly(out, correctedMean, reinterpret_cast<const float*>(darkMap.get()),
                                pixels, target, s, qint32(NucTargets::GainScale),
                                qint32(NucTargets::OffsetLevels), true);
}

} // namespace

bool generate(NUShadingParams& dark, NUShadingParams& bright, float targetGain,
              quint16 targetOffset, bool sixteenBit)
{
    float target = 0.0f;
    if (!prepareGain(dark, bright, targetGain, targetOffset, sixteenBit, &target))
        return false;
    const quint32 pixels = pixelsOf(bright);
    if (!NucLargeBuffer::reuseOrAllocate(bright.map, pixels))
        return false;
    NucKernels::best().gainMap(bright.map.get(), bright.meanBuffer.get(), pixels, target);
    return true;
}

bool generateBinFile(NUShadingParams& dark, NUShadingParams& bright, float targetGain,
                     quint16 targetOffset, bool sixteenBit, int bitDepth, quint32 mapId,
                     QByteArray* file)
{
    if (QSysInfo::ByteOrder != QSysInfo::LittleEndian) {
        if (!generate(dark, bright, targetGain, targetOffset, sixteenBit))
            return false;
        *file = NucMapFile::binFile(mapId, bright.width, bright.height,
                                    NucMapPacking::packedMap(dark, bright, bitDepth, false));
        return true;
    }
    float target = 0.0f;
    if (!prepareGain(dark, bright, targetGain, targetOffset, sixteenBit, &target))
        return false;
    const quint32 pixels = pixelsOf(bright);
    if (!NucLargeBuffer::reuseOrAllocate(bright.map, pixels))
        return false;

    QByteArray bytes = uninitialisedFile(pixels);
    char* data = bytes.data();
    quint32 sum = writeHeader(data, mapId, bright.width, bright.height);
    sum += NucKernels::best().gainPack(
        bright.map.get(), reinterpret_cast<quint16*>(data + NucMapFile::BinHeaderSize),
        bright.meanBuffer.get(), dark.map.get(), pixels, target, float(bright.offsetStep),
        qint32(bright.gainScale), qint32(bright.offsetLevels), bitDepth == 16);
    putLe32(data + 8, quint32(0) - sum);
    *file = bytes;
    return true;
}

bool binFileFromSums(NucSeriesSum& dark, NucSeriesSum& bright, float targetGain,
                     quint16 targetOffset, quint32 mapId, QByteArray* file)
{
    if (!sameSize(dark, bright))
        return false;
    const quint32 w = bright.width(), h = bright.height();
    if (QSysInfo::ByteOrder != QSysInfo::LittleEndian) {
        QVector<quint16> words;
        packedMapFromSums(dark, bright, targetGain, targetOffset, &words);
        *file = NucMapFile::binFile(mapId, w, h, words);
        return true;
    }
    QByteArray bytes = uninitialisedFile(w * h);
    char* data = bytes.data();
    quint32 sum = writeHeader(data, mapId, w, h);
    sum += packFromSums(dark, bright, targetGain, targetOffset,
                        reinterpret_cast<quint16*>(data + NucMapFile::BinHeaderSize));
    putLe32(data + 8, quint32(0) - sum);
    *file = bytes;
    return true;
}

bool packedMapFromSums(NucSeriesSum& dark, NucSeriesSum& bright, float targetGain,
                       quint16 targetOffset, QVector<quint16>* words)
{
    if (!sameSize(dark, bright))
        return false;
    QVector<quint16> packed(qint32(bright.pixels()));
    packFromSums(dark, bright, targetGain, targetOffset, packed.data());
    *words = packed;
    return true;
}

} // namespace NucMapGeneration
