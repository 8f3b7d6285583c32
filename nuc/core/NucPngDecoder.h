#pragma once

#include <QImage>
#include <QString>

// Decodes the PNG files that cameras and their tools write for the series
// (grey, 8 or 16 bits a sample, not interlaced) in about half the time Qt's
// plug-in takes: the compressed rows go through ISA-L's inflate instead of
// zlib's, and each row is unfiltered while it is in the cache and stored
// straight into the image the series take (Grayscale16 in the processor's
// byte order; 8-bit grey as the Indexed8 image NucImageInput makes of Qt's
// Grayscale8 one).
//
// The image is the one Qt gives for the file, pixels and resolution alike.
// Only files that Qt reads without a complaint are decoded here: at anything
// else (a wrong checksum, a chunk out of place or unknown, transparency,
// colour space, offset or text information that Qt would attach to a 16-bit
// image, interlacing, a truncated or over-long stream) the decoder declines
// and the caller leaves the file to Qt, which accepts or refuses it with its
// own message as it always did.
namespace NucPngDecoder {

// True with *image set when the file was decoded here; false when Qt must
// decode it. buffer: an image whose memory is taken (leaving it null, even
// when the decoder then declines) when it has the size and format and is not
// shared.
bool decode(const QString& path, QImage* image, QImage* buffer = nullptr);

} // namespace NucPngDecoder
