#include "NucContrastStretch.h"

#include <QVector>

#include <algorithm>

namespace {

// Share of the pixels left out at either end, so that a few hot or dead
// pixels do not decide the scale.
constexpr double Clipped = 0.005;

template <typename Pixel> QImage stretch(const QImage& grey, int levels)
{
    const int width = grey.width();
    const int height = grey.height();
    QVector<quint32> histogram(levels, 0);
    for (int y = 0; y < height; ++y) {
        const auto* line = reinterpret_cast<const Pixel*>(grey.constScanLine(y));
        for (int x = 0; x < width; ++x)
            ++histogram[line[x]];
    }
    const quint64 pixels = quint64(width) * quint64(height);
    const quint64 cut = quint64(double(pixels) * Clipped);
    int low = 0;
    for (quint64 seen = histogram[0]; seen <= cut && low + 1 < levels; seen += histogram[++low]) {
    }
    int high = levels - 1;
    for (quint64 seen = histogram[high]; seen <= cut && high > low; seen += histogram[--high]) {
    }

    QVector<uchar> table(levels);
    for (int level = 0; level < levels; ++level) {
        if (high == low)
            table[level] = 128;
        else
            table[level] = uchar(qBound(0, (level - low) * 255 / (high - low), 255));
    }
    QImage out(grey.size(), QImage::Format_Grayscale8);
    if (out.isNull())
        return out;
    for (int y = 0; y < height; ++y) {
        const auto* in = reinterpret_cast<const Pixel*>(grey.constScanLine(y));
        uchar* line = out.scanLine(y);
        for (int x = 0; x < width; ++x)
            line[x] = table[in[x]];
    }
    return out;
}

} // namespace

QImage NucContrastStretch::stretched(const QImage& image)
{
    if (image.isNull())
        return QImage();
    if (image.format() == QImage::Format_Grayscale16)
        return stretch<quint16>(image, 65536);
    if (image.format() == QImage::Format_Grayscale8)
        return stretch<uchar>(image, 256);
    return stretch<uchar>(image.convertToFormat(QImage::Format_Grayscale8), 256);
}
