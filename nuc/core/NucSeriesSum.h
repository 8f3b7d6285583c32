#pragma once

#include <QImage>
#include <QtGlobal>

#include <memory>

// The exact per-pixel sum of a series of 16-bit images, for a caller that
// adds every image once and wants nothing but the map at the end (the
// command-line tool). A series with its running mean (NUShadingParams)
// rewrites quotient, remainder and float mean, 8 bytes a pixel, for every
// image; the sum is 4 bytes a pixel, and the mean it gives, sum / count, is
// exactly the series' mean after the same images.
class NucSeriesSum
{
public:
    // Most images a sum takes: the totals of 16-bit samples then stay below
    // 2^31, as the series' own totals must.
    static constexpr quint32 MaxImages = 32766;

    // Adds a Grayscale16 image; the first fixes the size. Samples are read as
    // a series reads them: width x height from the first scan line on,
    // padding not skipped. False, with the sum unchanged, for another format
    // or size, beyond MaxImages, or when memory runs out.
    bool add(const QImage& image);

    quint32 count() const { return images; }
    quint32 width() const { return columns; }
    quint32 height() const { return rows; }
    quint32 pixels() const { return columns * rows; }
    const quint32* data() const { return sums.get(); }

    // Hands the sums over, leaving this sum empty: for a caller that turns
    // them into something else in place.
    std::unique_ptr<quint32[]> take();

private:
    std::unique_ptr<quint32[]> sums;
    quint32 images = 0;
    quint32 columns = 0;
    quint32 rows = 0;
};
