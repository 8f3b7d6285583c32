#include "NucImageInput.h"

#include "NucLargeBuffer.h"
#include "NucLimits.h"
#include "NucMapGeneration.h"
#include "NucPngDecoder.h"

#include <QtEndian>

#include <cstring>

QImage NucImageInput::toIndexedGrey(const QImage& grey8)
{
    QImage indexed(grey8.size(), QImage::Format_Indexed8);
    if (indexed.isNull())
        return QImage();
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i)
        table[i] = qRgb(i, i, i);
    indexed.setColorTable(table);
    indexed.setDotsPerMeterX(grey8.dotsPerMeterX());
    indexed.setDotsPerMeterY(grey8.dotsPerMeterY());
    for (int y = 0; y < grey8.height(); ++y)
        std::memcpy(indexed.scanLine(y), grey8.constScanLine(y), size_t(grey8.width()));
    return indexed;
}

// Qt's BMP decoder stops at the end of the file without saying so and
// leaves the missing rows unset; an uncompressed BMP shorter than its
// declared pixels is refused here. The other formats report a short read
// themselves.
static QString missingPixelData(QImageReader& reader)
{
    QIODevice* device = reader.device();
    if (reader.format() != "bmp" || !device || device->isSequential())
        return QString();
    const qint64 at = device->pos();
    if (!device->seek(0))
        return QString();
    const QByteArray h = device->read(34);
    device->seek(at);
    if (h.size() < 34 || qFromLittleEndian<quint32>(h.constData() + 14) < 40)
        return QString(); // OS/2 headers: left to the decoder
    const quint32 compression = qFromLittleEndian<quint32>(h.constData() + 30);
    if (compression != 0 && compression != 3) // only BI_RGB and BI_BITFIELDS are raw rows
        return QString();
    const qint64 width = qFromLittleEndian<qint32>(h.constData() + 18);
    const qint64 height = qAbs(qint64(qFromLittleEndian<qint32>(h.constData() + 22)));
    const qint64 bits = qFromLittleEndian<quint16>(h.constData() + 28);
    const qint64 stride = (width * bits + 31) / 32 * 4;
    const qint64 needed = qint64(qFromLittleEndian<quint32>(h.constData() + 10)) + stride * height;
    if (width <= 0 || device->size() >= needed)
        return QString();
    return QCoreApplication::translate("NucImageInput", "truncated: %1 of %2 bytes")
        .arg(device->size())
        .arg(needed);
}

QImage NucImageInput::readImage(QImageReader& reader, QString* error, QImage buffer)
{
    auto refuse = [error, &reader](const QString& what) {
        if (error) {
            const QString name = reader.fileName();
            *error = (name.isEmpty() ? tr("image") : name) + ": " + what;
        }
        return QImage();
    };
    // Qt 5 has no allocation limit of its own: the header's size is checked
    // before the decoder allocates the image. Formats that cannot tell their
    // size in advance are decoded and checked afterwards.
    const QSize declared = reader.size();
    if (declared.isValid() &&
        !NucLimits::plausibleSize(quint64(declared.width()), quint64(declared.height())))
        return refuse(tr("implausible declared image size %1 x %2")
                          .arg(declared.width())
                          .arg(declared.height()));
    const QString shortBy = missingPixelData(reader);
    if (!shortBy.isEmpty())
        return refuse(shortBy);
    QImage image;
    // The usual grey PNG files decode faster without Qt's plug-in; whatever
    // that decoder declines, Qt reads as before.
    const bool fast = reader.format() == "png" && !reader.fileName().isEmpty() &&
                      NucPngDecoder::decode(reader.fileName(), &image, &buffer);
    if (!fast) {
        image = std::move(buffer);
        if (!reader.read(&image))
            return refuse(tr("cannot read the image: %1").arg(reader.errorString()));
    }
    if (!NucLimits::plausibleSize(quint64(image.width()), quint64(image.height())))
        return refuse(tr("implausible image size %1 x %2").arg(image.width()).arg(image.height()));
    if (image.format() == QImage::Format_Grayscale8)
        return toIndexedGrey(image);
    return image;
}

QImage NucImageInput::loadImage(const QString& path, QString* error)
{
    QImageReader reader(path);
    return readImage(reader, error);
}

QImage NucImageInput::firstMeanImage(const QImage& image, int bitDepth)
{
    // The first 16-bit image writes every quotient of a padding-free mean
    // image, so a new one need not be a copy of the image first. Other
    // layouts keep the image's bytes where the pixels do not reach.
    const bool padded = image.bytesPerLine() != qsizetype(image.width()) * 2;
    if (bitDepth != 16 || image.format() != QImage::Format_Grayscale16 || padded)
        return image.convertToFormat(bitDepth == 16 ? QImage::Format_Grayscale16
                                                    : QImage::Format_Grayscale8);
    QImage first(image.size(), QImage::Format_Grayscale16);
    if (first.isNull())
        return first;
    NucLargeBuffer::adviseHugePages(first.bits(), size_t(first.sizeInBytes()));
    first.setDotsPerMeterX(image.dotsPerMeterX());
    first.setDotsPerMeterY(image.dotsPerMeterY());
    return first;
}

NUShadingParams* NucImageInput::series(Series which)
{
    return which == Dark ? &darkParams : &brightParams;
}

QImage* NucImageInput::meanImage(Series which)
{
    return which == Dark ? &darkMean : &brightMean;
}

bool NucImageInput::loadImagefromFile(const QString& path, Series which, Message* message)
{
    QString error;
    QImage image = loadImage(path, &error);
    return addLoadedImage(path, std::move(image), which, message, error);
}

bool NucImageInput::addLoadedImage(const QString& path, QImage image, Series which,
                                   Message* message, const QString& loadError)
{
    auto refuse = [message](Message::Kind kind, const QString& text,
                            const QString& detail = QString()) {
        if (message)
            *message = {kind, text, detail};
        return false;
    };

    if (image.isNull()) {
        refuse(Message::Critical, path + tr(": failed!"));
        if (message)
            message->detail = loadError;
        return false;
    }
    const QImage::Format format = image.format();
    if (format != QImage::Format_Indexed8 && format != QImage::Format_Grayscale16 &&
        format != QImage::Format_RGB32)
        return refuse(Message::Information, path + tr(": image format not supported!"),
                      path + tr(": its pixel format (%1 bits per pixel) is none the series take: "
                                "8-bit grey or palette, 16-bit grey, 32-bit RGB")
                                 .arg(image.depth()));
    if (bitDepth != 0 && bitDepth != image.depth())
        return refuse(Message::Critical, path + tr(": failed!"),
                      path + tr(": its depth is %1 bits, the series' images have %2 bits")
                                 .arg(image.depth())
                                 .arg(bitDepth));
    if (bitDepth == 0)
        bitDepth = image.depth();
    if (width != 0 && height != 0 &&
        (quint32(image.width()) != width || quint32(image.height()) != height))
        return refuse(Message::Information, path + tr(": incompatible image!"),
                      path + tr(": it is %1 x %2 pixels, the series' images are %3 x %4")
                                 .arg(image.width())
                                 .arg(image.height())
                                 .arg(width)
                                 .arg(height));

    // The size is fixed before the series is touched: a file that then fails
    // to fold in still fixes it.
    width = quint32(image.width());
    height = quint32(image.height());
    pixelCount = width * height;

    NUShadingParams* params = series(which);
    QImage* mean = meanImage(which);

    bool updated = false;
    if (sumsOnly && bitDepth == 16) {
        updated = (which == Dark ? darkSum : brightSum).add(image);
    } else if (mean->isNull()) {
        QImage first = firstMeanImage(image, bitDepth);
        updated = params->update(first, image, 1);
        if (updated)
            *mean = first;
    } else {
        updated = params->update(*mean, image, 1);
    }
    if (!updated)
        return refuse(Message::Critical, tr("Failed!"));
    if (message)
        *message = Message();
    return true;
}

void NucImageInput::deleteImagefromParams(const QString& path, Series which)
{
    NUShadingParams* params = series(which);
    QImage* mean = meanImage(which);
    QImage image = loadImage(path);
    if (image.isNull())
        return;
    if (width != 0 && height != 0 &&
        (quint32(image.width()) != width || quint32(image.height()) != height))
        return;

    // The result is deliberately not checked: the list item goes anyway.
    if (mean->isNull()) {
        params->update(image, image, -1);
        *mean = image;
    } else {
        params->update(*mean, image, -1);
    }
    if (darkParams.count == 0 && brightParams.count == 0)
        bitDepth = 0;
}

bool NucImageInput::releaseIfEmpty(Series which)
{
    NUShadingParams* params = series(which);
    if (params->count != 0)
        return false;
    params->clear();
    *meanImage(which) = QImage();
    const NUShadingParams* other = which == Dark ? &brightParams : &darkParams;
    if (other->count == 0) {
        width = height = pixelCount = 0;
        bitDepth = 0;
    }
    return true;
}

bool NucImageInput::canGenerate(Message* message) const
{
    Message result;
    if (darkMean.isNull() && darkSum.count() == 0)
        result = {Message::Information, tr("Generate map failed: missing dark image parameter!"),
                  QString()};
    else if (brightMean.isNull() && brightSum.count() == 0)
        result = {Message::Information, tr("Generate map failed: missing bright image parameter!"),
                  QString()};
    if (message)
        *message = result;
    return result.kind == Message::None;
}

void NucImageInput::reset()
{
    darkParams.clear();
    brightParams.clear();
    darkMean = QImage();
    brightMean = QImage();
    darkSum = NucSeriesSum();
    brightSum = NucSeriesSum();
    width = height = pixelCount = 0;
    bitDepth = 0;
}
