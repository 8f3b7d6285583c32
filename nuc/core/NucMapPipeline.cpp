#include "NucMapPipeline.h"

#include "NucLargeBuffer.h"
#include "NucMapGeneration.h"
#include "NucMapPacking.h"

#include <QCoreApplication>
#include <QtEndian>

#include <cstring>

namespace NucMapPipeline {

namespace {

// The file with its words packed in place by pack(quint16* words).
template <typename Pack>
QByteArray packedFile(const FileLayout& layout, quint32 width, quint32 height, Pack pack)
{
    QByteArray file = NucMapFile::frame(layout.kind, layout.mapId, width, height);
    NucLargeBuffer::adviseHugePages(file.data(), size_t(file.size()));
    auto* words = reinterpret_cast<quint16*>(file.data() + NucMapFile::wordsOffset(layout.kind));
    if (!pack(words))
        return QByteArray();
    NucMapFile::seal(layout.kind, file);
    return file;
}

} // namespace

bool generate(NucImageInput& input, float targetGain, quint16 targetOffset, bool sixteenBit)
{
    return NucMapGeneration::generate(input.darkParams, input.brightParams, targetGain,
                                      targetOffset, sixteenBit);
}

QByteArray fileImage(const NucImageInput& input, const FileLayout& layout)
{
    const NUShadingParams& bright = input.brightParams;
    const quint32 pixels = bright.width * bright.height;
    return packedFile(layout, bright.width, bright.height, [&](quint16* words) {
        std::memset(words, 0, size_t(pixels) * 2);
        NucMapPacking::getBinMap(input.darkParams, bright, input.bitDepth, layout.swapWords, words);
        return true;
    });
}

bool makeFile(NucImageInput& input, float targetGain, quint16 targetOffset,
              const FileLayout& layout, QByteArray* file, NucImageInput::Message* message)
{
    if (!input.canGenerate(message))
        return false;
    const bool sixteenBit = input.darkMean.format() == QImage::Format_Grayscale16;
    // No image is added or removed any more: the remainders and mean images
    // are not needed for the map, and dropping them first keeps the peak
    // memory down.
    input.darkMean = input.brightMean = QImage();
    for (NUShadingParams* series : {&input.darkParams, &input.brightParams}) {
        series->remainder8.reset();
        series->remainder16.reset();
    }
    QByteArray made;
    if (input.darkSum.count() > 0) {
        // The sums are packed as they are turned into the maps, which are
        // never kept.
        made = packedFile(layout, input.brightSum.width(), input.brightSum.height(),
                          [&](quint16* words) {
                              const quint32 pixels = input.brightSum.pixels();
                              if (!NucMapGeneration::packFromSums(input.darkSum, input.brightSum,
                                                                  targetGain, targetOffset, words))
                                  return false;
                              if (layout.swapWords)
                                  for (quint32 i = 0; i < pixels; ++i)
                                      words[i] = qbswap(words[i]);
                              return true;
                          });
    } else if (generate(input, targetGain, targetOffset, sixteenBit)) {
        made = fileImage(input, layout);
    }
    if (made.isEmpty()) {
        if (message)
            *message = {NucImageInput::Message::Critical, generationFailedText(), QString()};
        return false;
    }
    *file = made;
    return true;
}

QString generationFailedText()
{
    return QCoreApplication::translate("NucMapPipeline", "Generate map failed!");
}

} // namespace NucMapPipeline
