#pragma once

#include <QImage>
#include <QVector>
#include <QtGlobal>

#include <memory>
#include <vector>

// A stack of frames of one scene, measured by the EMVA 1288 rules: the mean
// level, the temporal noise from the differences of frame pairs (1 and 2,
// 3 and 4, ...), and the per-pixel mean of the L frames, whose spatial
// variance still holds sigma^2 / L of temporal noise that the spatial
// figures take away again.
class NucFrameStack
{
public:
    // Adds an Indexed8 or Grayscale16 frame; the first fixes size and depth.
    // False, with the stack unchanged, for another size or format, beyond
    // 65536 frames, or when memory runs out.
    bool add(const QImage& frame);

    int frames() const { return m_frames; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    qint64 pixels() const { return qint64(m_width) * m_height; }

    // Mean grey level over all pixels and frames.
    double mean() const;
    // Temporal variance (grey levels squared): half the variance of the
    // difference of two frames, averaged over the pairs; -1 with fewer than
    // two frames.
    double temporalVariance() const;
    // Per-pixel mean of the frames, row-major.
    std::vector<float> meanImage() const;
    // Spatial variance of the mean image less the temporal variance the
    // averaging of L frames leaves in it (temporalVariance / L), at least 0.
    // A stack of one frame has to be told its frames' temporal variance.
    double spatialVariance(double temporalVariance) const; // NucSpatial::lessTemporal
    double spatialVariance() const { return spatialVariance(qMax(0.0, temporalVariance())); }

private:
    std::unique_ptr<quint32[]> m_sums;
    QImage m_unpaired; // first frame of a pair whose second has not come yet
    int m_frames = 0;
    int m_width = 0;
    int m_height = 0;
    QImage::Format m_format = QImage::Format_Invalid;
    double m_pairVarianceSum = 0.0;
    int m_pairs = 0;
};

// Spatial figures of one image (a mean image, or a corrected one).
namespace NucSpatial {

struct Moments
{
    double mean = 0.0;
    double variance = 0.0; // over the pixels (divided by their number)
};
Moments moments(const std::vector<float>& image);

// The spatial variance of the mean of L frames less the temporal variance
// the averaging leaves in it, at least 0.
inline double lessTemporal(double variance, double temporalVariance, int frames)
{
    return frames > 0 ? qMax(0.0, variance - temporalVariance / frames) : 0.0;
}

// Mean of each row and of each column.
QVector<double> rowMeans(const std::vector<float>& image, int width, int height);
QVector<double> columnMeans(const std::vector<float>& image, int width, int height);

// Pixels per bin of `bins` equal bins from low to high; values outside go
// to the first or last bin.
QVector<double> histogram(const std::vector<float>& image, int bins, double low, double high);

// What the camera makes of a mean image with the map words (gain code G in
// bits 0-9, offset code O in bits 10-15): (v - O q)(1 + G / 1024), at least
// 0, without the camera's rounding to whole grey levels.
std::vector<float> corrected(const std::vector<float>& image, const QVector<quint16>& words,
                             double offsetStep);

} // namespace NucSpatial
