#pragma once

#include <QImage>
#include <QString>
#include <QVector>

#include <functional>

// Image files written by the tests themselves, in the formats an operator
// brings: 16-bit grey, 8-bit palette and grey, RGB. Each is read back to make
// sure Qt loads it in the format the test means.
namespace TestImages {

using Pixel = std::function<int(int x, int y)>;

inline QImage grey16(int w, int h, const Pixel& value)
{
    QImage image(w, h, QImage::Format_Grayscale16);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            reinterpret_cast<quint16*>(image.scanLine(y))[x] = quint16(value(x, y));
    return image;
}

inline QImage grey8(int w, int h, const Pixel& value)
{
    QImage image(w, h, QImage::Format_Grayscale8);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            image.scanLine(y)[x] = uchar(value(x, y));
    return image;
}

// A palette image whose colours are not grey: the series use the raw index.
inline QImage palette8(int w, int h, const Pixel& value)
{
    QImage image(w, h, QImage::Format_Indexed8);
    QVector<QRgb> table;
    for (int i = 0; i < 256; ++i)
        table << qRgb(i, 255 - i, (i * 7) & 0xff);
    image.setColorTable(table);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            image.scanLine(y)[x] = uchar(value(x, y));
    return image;
}

inline QImage rgb(int w, int h, const Pixel& value)
{
    QImage image(w, h, QImage::Format_RGB32);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int v = value(x, y);
            image.setPixel(x, y, qRgb(v, (v + 3) & 0xff, (v * 2) & 0xff));
        }
    return image;
}

// Saves image and checks that loading gives back the expected format.
inline bool write(const QImage& image, const QString& path, QImage::Format expectLoaded,
                  const char* format = nullptr)
{
    if (!image.save(path, format))
        return false;
    return QImage(path).format() == expectLoaded;
}

} // namespace TestImages
