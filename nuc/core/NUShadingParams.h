#pragma once

#include "NucTargets.h"

#include <QImage>
#include <QtGlobal>

#include <memory>

// One image series (dark or bright) with its exact running mean and the float
// correction map derived from it.
//
// The mean is kept exact: per pixel an integer quotient (in the caller's mean
// image) and an integer remainder, so that quotient * count + remainder is the
// integer sum of all images. Adding and removing images therefore never drifts,
// and removing an image is the exact inverse of adding it.
//
// Buffers are addressed as width * height contiguous pixels from the first scan
// line; scan-line padding is deliberately not skipped.
class NUShadingParams
{
public:
    NUShadingParams();
    ~NUShadingParams();

    NUShadingParams(const NUShadingParams&) = delete;
    NUShadingParams& operator=(const NUShadingParams&) = delete;

    // mode 1 adds image, -1 removes it, anything else re-derives the float mean
    // without changing count. Dispatches on the image format: Grayscale16 to the
    // 16-bit path, RGB32 and Indexed8 to the 8-bit path, anything else fails.
    bool update(QImage& meanImage, QImage& image, int mode);
    bool update8bit(QImage& meanImage, QImage& image, int mode);
    bool update16bit(QImage& meanImage, QImage& image, int mode);

    // Average of meanBuffer, summed in double in index order; 0 when empty.
    float mean();

    void updateTargetParam(float targetGain, unsigned short targetOffset);

    // The maps one step at a time. NucMapGeneration makes the same maps in
    // fewer passes (makeNUCDark16 and the subtraction in one); these steps
    // are the definition it is held to.
    // Offset map of an 8-bit dark series (stores code / step).
    void makeNUCDark();
    // Offset map of a 16-bit dark series (stores code * step).
    void makeNUCDark16();
    // Gain map of the bright series; subtracts darkMap from meanBuffer in place.
    bool makeNUCBright(float* darkMap);

    // Releases all three buffers and empties the series; size and targets stay.
    void clear();

    // Makes this series' running mean (count, size, remainder, float mean) a
    // copy of other's, leaving the map and targets alone: a caller keeps a
    // copy to put a series back exactly. False when memory runs out (this
    // series is then empty).
    bool copyRunningMeanFrom(const NUShadingParams& other);

    // Element width of remainder follows the series' pixel width: exactly one
    // of the two is allocated while the series holds images.
    std::unique_ptr<quint8[]> remainder8;
    std::unique_ptr<quint16[]> remainder16;
    std::unique_ptr<float[]> meanBuffer;
    quint32 count = 0;
    std::unique_ptr<float[]> map;
    quint32 width = 0;
    quint32 height = 0;
    float targetGain = 1.1f;
    const quint32 gainScale = NucTargets::GainScale;
    const qint32 offsetStep = NucTargets::OffsetStep;
    const quint32 offsetLevels = NucTargets::OffsetLevels;
    quint16 targetOffset = 16;

private:
    enum class Step
    {
        Failed,
        Cleared,
        Accumulate
    };
    // Steps shared by both paths: count bookkeeping, emptying, allocation.
    Step prepare(const QImage& meanImage, const QImage& image, int mode, int sampleBytes);
    quint32 pixelCount() const { return width * height; }
    // Number of pixels the current buffers were allocated for.
    quint32 allocatedPixels = 0;
};
