#include "NUShadingParams.h"

#include "NucKernels.h"
#include "NucLargeBuffer.h"

#include <algorithm>
#include <new>

NUShadingParams::NUShadingParams() = default;

NUShadingParams::~NUShadingParams()
{
    clear();
}

bool NUShadingParams::update(QImage& meanImage, QImage& image, int mode)
{
    width = quint32(image.width());
    height = quint32(image.height());
    switch (image.format()) {
    case QImage::Format_Grayscale16:
        return update16bit(meanImage, image, mode);
    case QImage::Format_RGB32:
    case QImage::Format_Indexed8:
        return update8bit(meanImage, image, mode);
    default:
        return false;
    }
}

static qsizetype bytesPerPixel(const QImage& image)
{
    return image.depth() / 8;
}

NUShadingParams::Step NUShadingParams::prepare(const QImage& meanImage, const QImage& image,
                                               int mode, int sampleBytes)
{
    quint32 newCount = count;
    if (mode == 1) {
        ++newCount;
    } else if (mode == -1) {
        if (count == 0) {
            clear();
            return Step::Cleared;
        }
        --newCount;
    }
    if (newCount == 0) {
        clear();
        return Step::Cleared;
    }

    // The loops below trust these sizes; a caller that mixes image sizes or
    // pixel widths within one series is refused before anything changes
    // rather than read or written out of bounds.
    const qsizetype n = qsizetype(pixelCount());
    if (meanImage.sizeInBytes() < n * sampleBytes || image.sizeInBytes() < n * bytesPerPixel(image))
        return Step::Failed;
    if (meanBuffer) {
        const bool widthMatches = sampleBytes == 1 ? bool(remainder8) : bool(remainder16);
        if (allocatedPixels != pixelCount() || !widthMatches)
            return Step::Failed;
    }

    count = newCount;
    if (!meanBuffer) {
        // The mean is written in full by the first update. The 8-bit loops
        // read the remainder, which therefore starts at zero; the first
        // 16-bit image writes it without reading (see update16bit).
        meanBuffer.reset(NucLargeBuffer::allocate<float>(size_t(n), false));
        if (sampleBytes == 1)
            remainder8.reset(NucLargeBuffer::allocate<quint8>(size_t(n), true));
        else
            remainder16.reset(NucLargeBuffer::allocate<quint16>(size_t(n), count != 1));
        if (!meanBuffer || !(remainder8 || remainder16)) {
            meanBuffer.reset();
            remainder8.reset();
            remainder16.reset();
            return Step::Failed;
        }
        allocatedPixels = pixelCount();
    }
    return Step::Accumulate;
}

bool NUShadingParams::update8bit(QImage& meanImage, QImage& image, int mode)
{
    width = quint32(image.width());
    height = quint32(image.height());
    switch (prepare(meanImage, image, mode, 1)) {
    case Step::Failed:
        return false;
    case Step::Cleared:
        return true;
    case Step::Accumulate:
        break;
    }

    // The quotient is read from the mean image but never written back: the
    // 8-bit mean image keeps the content the caller seeded it with.
    const quint8* quotients = meanImage.constBits();
    if (image.format() == QImage::Format_RGB32)
        NucKernels::accumulateRgb32(quotients, remainder8.get(), meanBuffer.get(),
                                    image.constBits(), pixelCount(), qint32(count), mode);
    else
        NucKernels::accumulate8(quotients, remainder8.get(), meanBuffer.get(), image.constBits(),
                                pixelCount(), qint32(count), mode);
    return true;
}

bool NUShadingParams::update16bit(QImage& meanImage, QImage& image, int mode)
{
    width = quint32(image.width());
    height = quint32(image.height());
    if (image.format() != QImage::Format_Grayscale16)
        return false;
    switch (prepare(meanImage, image, mode, 2)) {
    case Step::Failed:
        return false;
    case Step::Cleared:
        return true;
    case Step::Accumulate:
        break;
    }

    quint16* quotients = reinterpret_cast<quint16*>(meanImage.bits());
    const quint16* samples = reinterpret_cast<const quint16*>(image.constBits());
    // Adding makes the count 1 only on an empty series, whose buffers were
    // just made for this image: the image is its own mean.
    if (count == 1 && mode == 1)
        NucKernels::start16(quotients, remainder16.get(), meanBuffer.get(), samples, pixelCount());
    else
        NucKernels::accumulate16(quotients, remainder16.get(), meanBuffer.get(), samples,
                                 pixelCount(), qint32(count), mode);
    return true;
}

float NUShadingParams::mean()
{
    if (!meanBuffer || width == 0 || height == 0)
        return 0.0f;
    const quint32 pixels = pixelCount();
    double sum = 0.0;
    for (quint32 i = 0; i < pixels; ++i)
        sum += meanBuffer[i];
    return float(sum / qint32(pixels));
}

void NUShadingParams::updateTargetParam(float gain, unsigned short offset)
{
    targetGain = gain;
    targetOffset = offset;
}

void NUShadingParams::makeNUCDark()
{
    if (!meanBuffer || width == 0 || height == 0) {
        map.reset();
        return;
    }
    const quint32 pixels = pixelCount();
    // Every element is written below, so the map is neither zero-filled nor
    // fresh: a previous map's memory is used again when it is large enough.
    if (!NucLargeBuffer::reuseOrAllocate(map, pixels))
        return;

    // One rounding for step * mean - offset, as the camera's tooling does;
    // nearly saturated dark pixels (above 200) are left uncorrected on purpose.
    NucKernels::best().darkMap8(map.get(), meanBuffer.get(), pixels, float(offsetStep),
                                float(targetOffset), qint32(offsetLevels));
}

void NUShadingParams::makeNUCDark16()
{
    if (!meanBuffer || width == 0 || height == 0) {
        map.reset();
        return;
    }
    const quint32 pixels = pixelCount();
    if (!NucLargeBuffer::reuseOrAllocate(map, pixels))
        return;
    const float s = float(offsetStep);
    const float o = float(targetOffset) * s;
    const qint32 levels = qint32(offsetLevels);
    for (quint32 i = 0; i < pixels; ++i) {
        const qint32 code = std::clamp(qint32((meanBuffer[i] - o) / s), 0, levels - 1);
        map[i] = float(code) * s;
    }
}

bool NUShadingParams::makeNUCBright(float* darkMap)
{
    if (!darkMap || !meanBuffer || width == 0 || height == 0)
        return false;
    const quint32 pixels = pixelCount();
    for (quint32 i = 0; i < pixels; ++i)
        meanBuffer[i] -= darkMap[i];
    const float target = mean() * targetGain;
    if (!NucLargeBuffer::reuseOrAllocate(map, pixels))
        return false;
    // The correction only brightens: gains below 1 become 1, above 2 become 2,
    // a zero mean gets 2, and NaN passes through unchanged.
    NucKernels::best().gainMap(map.get(), meanBuffer.get(), pixels, target);
    return true;
}

bool NUShadingParams::copyRunningMeanFrom(const NUShadingParams& other)
{
    remainder8.reset();
    remainder16.reset();
    meanBuffer.reset();
    allocatedPixels = 0;
    count = 0;
    width = other.width;
    height = other.height;
    if (!other.meanBuffer)
        return true;
    const size_t n = other.allocatedPixels;
    meanBuffer.reset(NucLargeBuffer::allocate<float>(n, false));
    if (other.remainder8)
        remainder8.reset(NucLargeBuffer::allocate<quint8>(n, false));
    else
        remainder16.reset(NucLargeBuffer::allocate<quint16>(n, false));
    if (!meanBuffer || !(remainder8 || remainder16)) {
        meanBuffer.reset();
        remainder8.reset();
        remainder16.reset();
        return false;
    }
    std::copy_n(other.meanBuffer.get(), n, meanBuffer.get());
    if (remainder8)
        std::copy_n(other.remainder8.get(), n, remainder8.get());
    else
        std::copy_n(other.remainder16.get(), n, remainder16.get());
    allocatedPixels = other.allocatedPixels;
    count = other.count;
    return true;
}

void NUShadingParams::clear()
{
    remainder8.reset();
    remainder16.reset();
    meanBuffer.reset();
    map.reset();
    allocatedPixels = 0;
    count = 0;
}
