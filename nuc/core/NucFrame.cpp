#include "NucFrame.h"

#include "NucImageInput.h"

#include <QCoreApplication>
#include <QImageWriter>
#include <QSaveFile>

#include <cstring>

namespace NucFrame {

QImage fromCamera(const uchar* data, qint64 size, int width, int height, int significantBits)
{
    QImage image;
    fromCamera(data, size, width, height, significantBits, &image);
    return image;
}

bool fromCamera(const uchar* data, qint64 size, int width, int height, int significantBits,
                QImage* target)
{
    const int bytes = significantBits > 8 ? 2 : 1;
    const qint64 row = qint64(width) * bytes;
    if (!data || width <= 0 || height <= 0 || significantBits < 8 || significantBits > 16 ||
        size < row * height) {
        *target = QImage();
        return false;
    }
    // 8-bit frames end up as Indexed8 images, made from a Grayscale8 one.
    const QImage::Format format =
        bytes == 2 ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
    if (bytes == 1 || target->size() != QSize(width, height) || target->format() != format ||
        !target->isDetached())
        *target = QImage(width, height, format);
    if (target->isNull())
        return false;
    for (int y = 0; y < height; ++y) {
        uchar* line = target->scanLine(y);
        const uchar* source = data + row * y;
        if (bytes == 1 || QSysInfo::ByteOrder == QSysInfo::LittleEndian) {
            std::memcpy(line, source, size_t(row));
            continue;
        }
        quint16* samples = reinterpret_cast<quint16*>(line);
        for (int x = 0; x < width; ++x)
            samples[x] = quint16(source[2 * x] | source[2 * x + 1] << 8);
    }
    if (bytes == 1)
        *target = NucImageInput::toIndexedGrey(*target);
    return !target->isNull();
}

int fullScale(int significantBits)
{
    return significantBits >= 8 && significantBits <= 16 ? (1 << significantBits) - 1 : 0;
}

double offsetStep(int significantBits)
{
    return significantBits > 8 ? 4.0 : 0.25;
}

QString fileName(int k)
{
    return QString("frame-%1.png").arg(k, 4, 10, QChar('0'));
}

bool savePng(const QImage& frame, const QString& path, QString* error)
{
    auto fail = [&](const QString& why) {
        if (error)
            *error = QCoreApplication::translate("NucFrame", "%1: %2").arg(path, why);
        return false;
    };
    // A grey image, not a palette: PNG readers then see the depth directly.
    const QImage grey = frame.format() == QImage::Format_Grayscale16
                            ? frame
                            : frame.convertToFormat(QImage::Format_Grayscale8);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return fail(file.errorString());
    QImageWriter writer(&file, "png");
    if (!writer.write(grey)) {
        file.cancelWriting();
        return fail(writer.errorString());
    }
    if (!file.commit())
        return fail(file.errorString());
    return true;
}

} // namespace NucFrame
