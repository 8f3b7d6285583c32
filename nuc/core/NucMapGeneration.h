#pragma once

#include <QtGlobal>

class NUShadingParams;
class NucSeriesSum;

// Map generation in as few passes over the pixels as the maps allow.
// NucMapPipeline is the way in for the panel and the command-line tool.
namespace NucMapGeneration {

// Sets the targets of both series; makes the offset map of dark (by the
// 16-bit rules when sixteenBit, else the 8-bit ones); subtracts it in place
// from the bright mean, so a second generation subtracts it again; and makes
// the gain map of bright against targetGain times the mean of the result
// (summed in double in index order). Gains clamp to 1..2, a zero mean gets 2.
// False when either series is empty or memory runs out.
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
