#pragma once

#include "NucImageInput.h"
#include "NucMapFile.h"
#include "NucTargets.h"

#include <QByteArray>
#include <QString>

// From the dark and bright series to the bytes of a map file: the one way the
// assistant panel and `orvex-nuc generate` make map files, so that both write
// the same bytes by construction.
namespace NucMapPipeline {

// How the map words go into a file.
struct FileLayout
{
    NucMapFile::Kind kind = NucMapFile::Kind::Bin;
    quint32 mapId = NucTargets::DefaultMapId; // written into a .bin header
    bool swapWords = false;                   // see NucMapPacking::swapsWords
};

// Derives the offset map from the dark series, by the 16-bit rules when
// sixteenBit and by the 8-bit ones otherwise, and the gain map from the bright
// series; the maps stay in the series.
bool generate(NucImageInput& input, float targetGain, quint16 targetOffset, bool sixteenBit);

// The file of the map the series hold, generated or imported, packed by the
// rules of input's depth. A map that was never made packs to all zeros.
QByteArray fileImage(const NucImageInput& input, const FileLayout& layout);

// Both in one, once every image is added: from the exact sums when input
// keeps 16-bit series as sums (sumsOnly), else generate() by the depth of the
// dark mean image, then fileImage(). False, with the reason in message and
// file left alone, when a series is empty or the map cannot be made.
bool makeFile(NucImageInput& input, float targetGain, quint16 targetOffset,
              const FileLayout& layout, QByteArray* file,
              NucImageInput::Message* message = nullptr);

QString generationFailedText();

} // namespace NucMapPipeline
