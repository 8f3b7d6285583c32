#pragma once

#include <QtGlobal>

class NUShadingParams;
class NucSeriesSum;

// Map generation with fewer passes over the pixels than the step-by-step
// calls of the series. Every result is exactly that of the steps named at
// each function; only the memory traffic differs. NucMapPipeline is the way
// in for the panel and the command-line tool.
namespace NucMapGeneration {

// Same as updateTargetParam(targetGain, targetOffset) on both series, then
// makeNUCDark16() (sixteenBit) or makeNUCDark() on dark, then
// makeNUCBright(dark.map) on bright, returning the latter's result.
bool generate(NUShadingParams& dark, NUShadingParams& bright, float targetGain,
              quint16 targetOffset, bool sixteenBit);

// From the exact sums of a 16-bit dark and bright series: into out (bright
// width x height words, unswapped) the words that generate() followed by
// NucMapPacking::getBinMap() give for series holding the same images. The
// sums' memory is reused for the passes, so both sums are empty afterwards;
// neither float map is kept. False, leaving the sums and out alone, when a
// sum is empty or the two differ in size.
bool packFromSums(NucSeriesSum& dark, NucSeriesSum& bright, float targetGain, quint16 targetOffset,
                  quint16* out);

} // namespace NucMapGeneration
