#include "NUShadingParams.h"

#include <cmath>
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
        meanBuffer.reset(new (std::nothrow) float[n]());
        if (sampleBytes == 1)
            remainder8.reset(new (std::nothrow) quint8[n]());
        else
            remainder16.reset(new (std::nothrow) quint16[n]());
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
    const quint32 pixels = pixelCount();
    const qint32 n = qint32(count);
    const qint32 previous = n - mode;
    const quint8* quotients = meanImage.constBits();
    const uchar* src = image.constBits();
    quint8* rem = remainder8.get();
    float* mean = meanBuffer.get();

    if (image.format() == QImage::Format_RGB32) {
        for (quint32 i = 0; i < pixels; ++i) {
            const uchar* px = src + 4 * i;
            const qint32 p = qint32(float(px[0] + px[1] + px[2]) / 3.0f);
            const qint32 total = qint32(rem[i]) + qint32(quotients[i]) * previous + p * mode;
            mean[i] = float(total) / float(n);
            const qint32 quotient = total / n;
            rem[i] = quint8(total - quotient * n);
        }
    } else {
        for (quint32 i = 0; i < pixels; ++i) {
            const qint32 total =
                qint32(rem[i]) + qint32(quotients[i]) * previous + qint32(src[i]) * mode;
            mean[i] = float(total) / float(n);
            const qint32 quotient = total / n;
            rem[i] = quint8(total - quotient * n);
        }
    }
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

    const quint32 pixels = pixelCount();
    const qint32 n = qint32(count);
    const qint32 previous = n - mode;
    quint16* quotients = reinterpret_cast<quint16*>(meanImage.bits());
    const quint16* src = reinterpret_cast<const quint16*>(image.constBits());
    quint16* rem = remainder16.get();
    float* mean = meanBuffer.get();

    for (quint32 i = 0; i < pixels; ++i) {
        const qint32 total =
            qint32(rem[i]) + qint32(quotients[i]) * previous + qint32(src[i]) * mode;
        mean[i] = float(total) / float(n);
        const qint32 quotient = total / n;
        rem[i] = quint16(total - quotient * n);
        quotients[i] = quint16(quotient);
    }
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
    map.reset();
    if (!meanBuffer || width == 0 || height == 0)
        return;
    const quint32 pixels = pixelCount();
    map.reset(new (std::nothrow) float[pixels]());
    if (!map)
        return;

    const float s = float(offsetStep);
    const float o = float(targetOffset);
    const qint32 levels = qint32(offsetLevels);
    for (quint32 i = 0; i < pixels; ++i) {
        // One rounding for step * mean - offset, as the camera's tooling does.
        qint32 v = qint32(std::fma(s, meanBuffer[i], -o));
        v = qMax(v, 0);
        if (v >= levels)
            v = levels - 1;
        // Nearly saturated dark pixels are left uncorrected on purpose.
        map[i] = meanBuffer[i] > 200.0f ? 0.0f : float(v) / s;
    }
}

void NUShadingParams::makeNUCDark16()
{
    map.reset();
    if (!meanBuffer || width == 0 || height == 0)
        return;
    const quint32 pixels = pixelCount();
    map.reset(new (std::nothrow) float[pixels]());
    if (!map)
        return;

    const float s = float(offsetStep);
    const float o = float(targetOffset) * s;
    const qint32 levels = qint32(offsetLevels);
    for (quint32 i = 0; i < pixels; ++i) {
        qint32 v = qint32((meanBuffer[i] - o) / s);
        v = qMax(v, 0);
        if (v >= levels)
            v = levels - 1;
        map[i] = float(v) * s;
    }
}

bool NUShadingParams::makeNUCBright(float* darkMap)
{
    if (!darkMap || !meanBuffer || width == 0 || height == 0)
        return false;
    const quint32 pixels = pixelCount();

    // In place, so the bright mean stays reduced by the dark map afterwards;
    // a second generation subtracts it again.
    for (quint32 i = 0; i < pixels; ++i)
        meanBuffer[i] -= darkMap[i];

    const float target = mean() * targetGain;
    map.reset(new (std::nothrow) float[pixels]());
    if (!map)
        return false;

    for (quint32 i = 0; i < pixels; ++i) {
        const float m = meanBuffer[i];
        if (m == 0.0f) {
            map[i] = 2.0f;
            continue;
        }
        float g = target / m;
        // The correction only brightens; NaN passes through unchanged.
        if (g < 1.0f)
            g = 1.0f;
        else if (g > 2.0f)
            g = 2.0f;
        map[i] = g;
    }
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
