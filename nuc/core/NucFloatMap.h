#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <memory>

class QIODevice;

// The unpacked map import file: little-endian width and height, then per
// pixel, row-major, a float offset value and a float gain factor. There is no
// magic and no checksum.
struct NucFloatMap
{
    quint32 width = 0;
    quint32 height = 0;
    std::unique_ptr<float[]> offsets; // becomes the dark series' map
    std::unique_ptr<float[]> gains;   // becomes the bright series' map
    quint32 completePixels = 0;       // pixels whose offset and gain were both in the file
    qint64 trailingBytes = 0;         // bytes after the declared pixels

    quint32 pixelCount() const { return width * height; }

    // Reads the whole file. A file shorter than its declared size still reads:
    // missing offsets become 0.0 and missing gains 1.0. Fails (with a
    // description in error) when the header is incomplete, the declared size is
    // implausible (beyond NucLimits, checked before anything is allocated) or
    // the maps cannot be allocated.
    bool read(QIODevice& in, QString* error = nullptr);

    // The file bytes for the given maps (count = width * height each).
    static QByteArray encode(quint32 width, quint32 height, const float* offsets,
                             const float* gains);
};
