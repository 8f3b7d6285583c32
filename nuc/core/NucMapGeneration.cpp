#include "NucMapGeneration.h"

#include "NUShadingParams.h"
#include "NucKernels.h"
#include "NucLargeBuffer.h"
#include "NucSeriesSum.h"
#include "NucTargets.h"

namespace NucMapGeneration {

namespace {

quint32 pixelsOf(const NUShadingParams& series)
{
    return series.width * series.height;
}

// Everything of generate() up to the gain map: the dark map, the in-place
// subtraction and the target.
bool prepareGain(NUShadingParams& dark, NUShadingParams& bright, float targetGain,
                 quint16 targetOffset, bool sixteenBit, float* target)
{
    dark.updateTargetParam(targetGain, targetOffset);
    bright.updateTargetParam(targetGain, targetOffset);
    const quint32 pixels = pixelsOf(bright);
    if (!dark.meanBuffer || !bright.meanBuffer || pixels == 0 || pixelsOf(dark) != pixels) {
        dark.map.reset();
        return false;
    }
    const NucKernels::KernelSet& kernels = NucKernels::best();
    double sum = 0.0;
    if (sixteenBit) {
        if (!NucLargeBuffer::reuseOrAllocate(dark.map, pixels))
            return false;
        const float s = float(dark.offsetStep);
        NucKernels::SumFacts facts;
        kernels.darkMap16Subtract(dark.map.get(), dark.meanBuffer.get(), bright.meanBuffer.get(),
                                  pixels, s, float(dark.targetOffset) * s,
                                  qint32(dark.offsetLevels), &facts);
        sum = NucKernels::sumAfter(kernels, facts, bright.meanBuffer.get(), pixels);
    } else {
        dark.makeNUCDark();
        if (!dark.map)
            return false;
        sum = NucKernels::subtractDarkAndSum(kernels, bright.meanBuffer.get(), dark.map.get(),
                                             pixels);
    }
    *target = float(sum / qint32(pixels)) * bright.targetGain;
    return true;
}

bool sameSize(const NucSeriesSum& dark, const NucSeriesSum& bright)
{
    return dark.count() != 0 && bright.count() != 0 && dark.width() == bright.width() &&
           dark.height() == bright.height() && bright.pixels() != 0;
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

bool packFromSums(NucSeriesSum& dark, NucSeriesSum& bright, float targetGain, quint16 targetOffset,
                  quint16* out)
{
    if (!sameSize(dark, bright))
        return false;
    // Two passes over the sums, which are used up: the first turns them in
    // place into the dark map and the corrected bright mean and sums the
    // latter for the target, the second packs each word with its gain
    // against that target.
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
    kernels.gainPackOnly(out, correctedMean, reinterpret_cast<const float*>(darkMap.get()), pixels,
                         target, s, qint32(NucTargets::GainScale), qint32(NucTargets::OffsetLevels),
                         true);
    return true;
}

} // namespace NucMapGeneration
