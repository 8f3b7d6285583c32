#pragma once

#include <QByteArray>
#include <QVector>
#include <QtGlobal>

class NUShadingParams;
class NucSeriesSum;

// Map generation, packing and the .bin encoding with fewer passes over the
// pixels than the step-by-step calls, for the command-line tool and anything
// else that makes a map in one go. Every result is exactly that of the steps
// named at each function; only the memory traffic differs.
namespace NucMapGeneration {

// Same as updateTargetParam(targetGain, targetOffset) on both series, then
// makeNUCDark16() (sixteenBit) or makeNUCDark() on dark, then
// makeNUCBright(dark.map) on bright, returning the latter's result.
bool generate(NUShadingParams& dark, NUShadingParams& bright, float targetGain,
              quint16 targetOffset, bool sixteenBit);

// generate() followed by NucMapFile::binFile(mapId, ..., NucMapPacking::packedMap(dark,
// bright, bitDepth, false)), the gain map packed while it is being made. On failure returns false
// and leaves file alone.
bool generateBinFile(NUShadingParams& dark, NUShadingParams& bright, float targetGain,
                     quint16 targetOffset, bool sixteenBit, int bitDepth, quint32 mapId,
                     QByteArray* file);

// From the exact sums of a 16-bit dark and bright series: the .bin file (map
// id mapId, unswapped words) or the words that generate() followed by
// NucMapFile::binFile() or NucMapPacking::packedMap() give for series holding the same
// images. The sums'
// memory is reused for the passes, so both sums are empty afterwards; neither
// float map is kept. False, leaving the sums and the result alone, when a sum
// is empty or the two differ in size.
bool binFileFromSums(NucSeriesSum& dark, NucSeriesSum& bright, float targetGain,
                     quint16 targetOffset, quint32 mapId, QByteArray* file);
bool packedMapFromSums(NucSeriesSum& dark, NucSeriesSum& bright, float targetGain,
                       quint16 targetOffset, QVector<quint16>* words);

} // namespace NucMapGeneration
