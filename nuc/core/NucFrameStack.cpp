#include "NucFrameStack.h"

#include "NucLargeBuffer.h"

#include <algorithm>
#include <cmath>

namespace {

template <typename Sample>
void accumulate(quint32* sums, const QImage& frame, const QImage& partner, double& variance)
{
    const int w = frame.width();
    // Integers, so the sums are exact and the loops vectorise: a difference
    // squared is below 2^32, and 2^31 of them stay below 2^63.
    qint64 d = 0;
    quint64 d2 = 0;
    for (int y = 0; y < frame.height(); ++y) {
        const Sample* line = reinterpret_cast<const Sample*>(frame.constScanLine(y));
        quint32* row = sums + qint64(y) * w;
        for (int x = 0; x < w; ++x)
            row[x] += line[x];
        if (partner.isNull())
            continue;
        const Sample* other = reinterpret_cast<const Sample*>(partner.constScanLine(y));
        for (int x = 0; x < w; ++x) {
            const qint64 diff = qint64(other[x]) - qint64(line[x]);
            d += diff;
            d2 += quint64(diff * diff);
        }
    }
    if (!partner.isNull()) {
        const double n = double(w) * frame.height();
        variance = (double(d2) / n - (double(d) / n) * (double(d) / n)) / 2.0;
    }
}

} // namespace

bool NucFrameStack::add(const QImage& frame)
{
    const QImage::Format format = frame.format();
    if (format != QImage::Format_Indexed8 && format != QImage::Format_Grayscale16)
        return false;
    if (m_frames == 0) {
        const qint64 n = qint64(frame.width()) * frame.height();
        if (n <= 0)
            return false;
        m_sums.reset(NucLargeBuffer::allocate<quint32>(size_t(n), true));
        if (!m_sums)
            return false;
        m_width = frame.width();
        m_height = frame.height();
        m_format = format;
    } else if (frame.width() != m_width || frame.height() != m_height || format != m_format ||
               m_frames >= 65536) {
        return false;
    }
    // The sums of up to 65536 16-bit samples fit 32 bits.
    double pairVariance = 0.0;
    const QImage partner = m_frames % 2 == 1 ? m_unpaired : QImage();
    if (format == QImage::Format_Grayscale16)
        accumulate<quint16>(m_sums.get(), frame, partner, pairVariance);
    else
        accumulate<quint8>(m_sums.get(), frame, partner, pairVariance);
    if (partner.isNull()) {
        m_unpaired = frame;
    } else {
        m_unpaired = QImage();
        m_pairVarianceSum += pairVariance;
        ++m_pairs;
    }
    ++m_frames;
    return true;
}

double NucFrameStack::mean() const
{
    if (m_frames == 0)
        return 0.0;
    double sum = 0.0;
    for (qint64 i = 0; i < pixels(); ++i)
        sum += m_sums[i];
    return sum / (double(pixels()) * m_frames);
}

double NucFrameStack::temporalVariance() const
{
    return m_pairs > 0 ? m_pairVarianceSum / m_pairs : -1.0;
}

std::vector<float> NucFrameStack::meanImage() const
{
    std::vector<float> image(static_cast<size_t>(pixels()));
    const double scale = m_frames > 0 ? 1.0 / m_frames : 0.0;
    for (size_t i = 0; i < image.size(); ++i)
        image[i] = float(m_sums[i] * scale);
    return image;
}

double NucFrameStack::spatialVariance(double temporalVariance) const
{
    if (m_frames == 0)
        return 0.0;
    return NucSpatial::lessTemporal(NucSpatial::moments(meanImage()).variance, temporalVariance,
                                    m_frames);
}

namespace NucSpatial {

Moments moments(const std::vector<float>& image)
{
    Moments m;
    if (image.empty())
        return m;
    double sum = 0.0;
    for (float v : image)
        sum += v;
    m.mean = sum / double(image.size());
    double squares = 0.0;
    for (float v : image)
        squares += (v - m.mean) * (v - m.mean);
    m.variance = squares / double(image.size());
    return m;
}

QVector<double> rowMeans(const std::vector<float>& image, int width, int height)
{
    QVector<double> rows(height, 0.0);
    for (int y = 0; y < height && width > 0; ++y) {
        double sum = 0.0;
        for (int x = 0; x < width; ++x)
            sum += image[size_t(y) * width + x];
        rows[y] = sum / width;
    }
    return rows;
}

QVector<double> columnMeans(const std::vector<float>& image, int width, int height)
{
    QVector<double> columns(width, 0.0);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            columns[x] += image[size_t(y) * width + x];
    for (double& c : columns)
        c = height > 0 ? c / height : 0.0;
    return columns;
}

QVector<double> histogram(const std::vector<float>& image, int bins, double low, double high)
{
    QVector<double> counts(qMax(bins, 1), 0.0);
    const double scale = high > low ? counts.size() / (high - low) : 0.0;
    for (float v : image) {
        const double bin = std::floor((v - low) * scale);
        counts[int(std::clamp(bin, 0.0, double(counts.size() - 1)))] += 1.0;
    }
    return counts;
}

std::vector<float> corrected(const std::vector<float>& image, const QVector<quint16>& words,
                             double offsetStep)
{
    std::vector<float> out(image);
    const size_t n = std::min(image.size(), size_t(words.size()));
    for (size_t i = 0; i < n; ++i) {
        const double offset = (words[int(i)] >> 10) * offsetStep;
        const double gain = 1.0 + (words[int(i)] & 0x3FF) / 1024.0;
        out[i] = float(std::max(0.0, (image[i] - offset) * gain));
    }
    return out;
}

} // namespace NucSpatial
