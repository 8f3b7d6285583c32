// Image file bytes loaded into both series as the panel and `orvex-nuc
// generate` load them, then a map generated, packed and saved. The fast PNG
// decoder is held to Qt's plug-in on every input. (That sums of 16-bit series
// give the same file, and removing images, are pinned by the unit tests.)
#include "FuzzCheck.h"
#include "NucImageInput.h"
#include "NucLimits.h"
#include "NucMapFile.h"
#include "NucMapPacking.h"
#include "NucMapPipeline.h"
#include "NucPngDecoder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImageReader>

#include <cstdint>
#include <unistd.h>

namespace {

QString scratchFile()
{
    static int argc = 1;
    static char name[] = "fuzz_image_generation";
    static char* argv[] = {name, nullptr};
    // Image plug-ins are found through the application's library paths.
    static QCoreApplication* app =
        QCoreApplication::instance() ? nullptr : new QCoreApplication(argc, argv);
    (void)app;
    static const QString path =
        QDir::temp().filePath(QString("orvex-fuzz-image-%1").arg(::getpid()));
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString path = scratchFile();
    {
        QFile file(path);
        FUZZ_CHECK(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        FUZZ_CHECK(file.write(reinterpret_cast<const char*>(data), qint64(size)) == qint64(size));
    }

    // A plausible image of millions of pixels takes many seconds under the
    // sanitizers and runs the same code as a small one; implausible sizes
    // still go through the loader, which must refuse them.
    const QSize declared = QImageReader(path).size();
    if (declared.isValid() &&
        NucLimits::plausibleSize(quint64(declared.width()), quint64(declared.height())) &&
        quint64(declared.width()) * quint64(declared.height()) > (1u << 20)) {
        QFile::remove(path);
        return 0;
    }

    // The fast PNG decoder takes only files that Qt's plug-in reads, and gives
    // the image Qt gives.
    QImage fast;
    if (NucPngDecoder::decode(path, &fast)) {
        QImage qt = QImageReader(path).read();
        if (qt.format() == QImage::Format_Grayscale8)
            qt = NucImageInput::toIndexedGrey(qt);
        FUZZ_CHECK(!qt.isNull() && qt.format() == fast.format() && qt == fast &&
                   qt.dotsPerMeterX() == fast.dotsPerMeterX() &&
                   qt.dotsPerMeterY() == fast.dotsPerMeterY());
    }

    NucImageInput input;
    NucImageInput::Message message;
    const bool dark = input.loadImagefromFile(path, NucImageInput::Dark, &message);
    if (!dark) {
        FUZZ_CHECK(message.text.startsWith(path) || message.text == "Failed!");
        FUZZ_CHECK(input.darkParams.count == 0 && input.darkMean.isNull());
        QFile::remove(path);
        return 0;
    }
    FUZZ_CHECK(NucLimits::plausibleSize(input.width, input.height));
    FUZZ_CHECK(input.pixelCount == input.width * input.height);
    FUZZ_CHECK(input.darkParams.count == 1);
    FUZZ_CHECK(input.loadImagefromFile(path, NucImageInput::Bright, &message));

    FUZZ_CHECK(NucMapPipeline::generate(input, 1.1f, 16, input.bitDepth == 16));
    const QVector<quint16> words =
        NucMapPacking::packedMap(input.darkParams, input.brightParams, input.bitDepth, false);
    FUZZ_CHECK(quint32(words.size()) == input.pixelCount);
    const QByteArray file = NucMapPipeline::fileImage(input, {});
    NucMapFile::Info info;
    FUZZ_CHECK(NucMapFile::parse(file, &info, nullptr) && info.checksumHolds &&
               info.words == words);

    QFile::remove(path);
    return 0;
}
