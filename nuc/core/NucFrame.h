#pragma once

#include <QImage>
#include <QString>
#include <QtGlobal>

// Camera frames as the series take them, and as files. A frame of 8
// significant bits becomes an Indexed8 image with a grey colour table (what
// an 8-bit grey file loads as), one of 9 to 16 bits (two little-endian bytes
// a pixel, as Mono12 and Mono16 arrive) a Grayscale16 image with the values
// as the camera sent them.
namespace NucFrame {

// Null when the depth is not 8 to 16 bits or data holds too few bytes.
QImage fromCamera(const uchar* data, qint64 size, int width, int height, int significantBits);
// The same into *target, whose memory is used again when nothing else
// shares it and it has the size and format: frame after frame of many
// megapixels then costs no fresh memory. False (target null) as above.
bool fromCamera(const uchar* data, qint64 size, int width, int height, int significantBits,
                QImage* target);

// Largest grey level of a frame of that depth (255, 4095, 65535, ...).
int fullScale(int significantBits);

// Offset step of a map word in that depth's grey levels: 4 for frames kept
// in 16 bits, a quarter for 8-bit frames.
double offsetStep(int significantBits);

// Name of frame k (1-based) of an acquisition: the names sort in
// acquisition order ("frame-0001.png").
QString fileName(int k);

// Writes the frame as an 8-bit or 16-bit grey PNG, values unchanged,
// replacing path only once the whole file is written. False with the reason
// (naming the file) otherwise.
bool savePng(const QImage& frame, const QString& path, QString* error = nullptr);

} // namespace NucFrame
