#pragma once

#include <QtGlobal>

// Sizes no Orvex sensor exceeds. Every reader of outside bytes (images, map
// files, float map imports) refuses a declared size beyond these before it
// allocates anything, so a damaged or hostile header cannot make the program
// ask for gigabytes.
namespace NucLimits {

// Longest side of any sensor the assistant serves.
constexpr quint32 MaxSide = 16384;
// A camera's device file holds at most 64 MiB, that is 32 Mi map words: a
// map with more pixels could never be uploaded (8192 x 4096, for example,
// just fits).
constexpr quint64 MaxPixels = quint64(32) << 20;

constexpr bool plausibleSize(quint64 width, quint64 height)
{
    return width <= MaxSide && height <= MaxSide && width * height <= MaxPixels;
}

// Largest file any map reader needs to look at: a float map import of the
// largest plausible size (8 bytes per pixel after an 8-byte header).
constexpr qint64 MaxMapFileBytes = qint64(8 + 8 * MaxPixels);

} // namespace NucLimits
