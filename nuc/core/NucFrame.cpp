#include "NucFrame.h"

#include "NucImageInput.h"

#include <QCoreApplication>
#include <QImageWriter>
#include <QSaveFile>

#include <cstring>

namespace NucFrame {

QImage fromCamera(const uchar* data, qint64 size, int width, int height, int significantBits)
{
    if (!data || width <= 0 || height <= 0 || significantBits < 8 || significantBits > 16)
        return QImage();
    const int bytes = significantBits > 8 ? 2 : 1;
    const qint64 row = qint64(width) * bytes;
    if (size < row * height)
        return QImage();
    QImage image(width, height,
                 bytes == 2 ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8);
    if (image.isNull())
        return image;
    for (int y = 0; y < height; ++y) {
        uchar* line = image.scanLine(y);
        const uchar* source = data + row * y;
        if (bytes == 1) {
            std::memcpy(line, source, size_t(row));
            continue;
        }
        quint16* samples = reinterpret_cast<quint16*>(line);
        for (int x = 0; x < width; ++x)
            samples[x] = quint16(source[2 * x] | source[2 * x + 1] << 8);
    }
    return bytes == 1 ? NucImageInput::toIndexedGrey(image) : image;
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
