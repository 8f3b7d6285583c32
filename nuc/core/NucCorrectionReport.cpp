#include "NucCorrectionReport.h"

#include "NucFrameStack.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <QSaveFile>

#include <cmath>

namespace {

constexpr int HistogramBins = 128;
// Below this share of full scale the frames are taken as dark.
constexpr double DarkLevelShare = 0.10;

// The figures of one stack; the spatial variance has the temporal part of
// the averaged frames, sigma^2 / L, taken away.
struct Measured
{
    std::vector<float> image;
    NucSpatial::Moments moments;
    double temporalVariance = 0.0;
    double spatialVariance = 0.0;
};

Measured measured(const NucFrameStack& stack)
{
    Measured m;
    m.image = stack.meanImage();
    m.moments = NucSpatial::moments(m.image);
    m.temporalVariance = qMax(0.0, stack.temporalVariance());
    m.spatialVariance =
        NucSpatial::lessTemporal(m.moments.variance, m.temporalVariance, stack.frames());
    return m;
}

NucCorrectionReport::Side side(const NucFrameStack& stack, const Measured& m)
{
    NucCorrectionReport::Side s;
    s.frames = stack.frames();
    s.level = m.moments.mean;
    s.temporalNoise = std::sqrt(m.temporalVariance);
    s.spatialNoise = std::sqrt(m.spatialVariance);
    s.rows = NucSpatial::rowMeans(m.image, stack.width(), stack.height());
    s.columns = NucSpatial::columnMeans(m.image, stack.width(), stack.height());
    return s;
}

// Mean of g^2, of 1 / g^2 and the variance of g over the map's gains.
struct GainSpread
{
    double meanSquare = 1.0;
    double meanInverseSquare = 1.0;
    double relativeVariance = 0.0; // var(g) / mean(g)^2
};

GainSpread gainSpread(const QVector<quint16>& words)
{
    GainSpread g;
    if (words.isEmpty())
        return g;
    double sum = 0.0, squares = 0.0, inverse = 0.0;
    for (quint16 w : words) {
        const double gain = 1.0 + (w & 0x3FF) / 1024.0;
        sum += gain;
        squares += gain * gain;
        inverse += 1.0 / (gain * gain);
    }
    const double n = words.size();
    const double mean = sum / n;
    g.meanSquare = squares / n;
    g.meanInverseSquare = inverse / n;
    g.relativeVariance = qMax(0.0, g.meanSquare - mean * mean) / (mean * mean);
    return g;
}

QString count(quint32 n)
{
    return QLocale(QLocale::English).toString(n);
}

} // namespace

NucCorrectionReport::Clamps NucCorrectionReport::clampsOf(const QVector<quint16>& words)
{
    Clamps c;
    for (quint16 w : words) {
        const quint16 gain = w & 0x3FF;
        const quint16 offset = w >> 10;
        c.gainAtOne += gain == 0;
        c.gainAtTwo += gain == 0x3FF;
        c.offsetAtZero += offset == 0;
        c.offsetAtTop += offset == 63;
        c.pixels += gain == 0 || gain == 0x3FF || offset == 0 || offset == 63;
    }
    return c;
}

QStringList NucCorrectionReport::adviceFor(const Clamps& c)
{
    QStringList advice;
    if (c.gainAtOne)
        advice
            << tr("%1 pixels clamped at gain 1.0: raise the target gain").arg(count(c.gainAtOne));
    if (c.gainAtTwo)
        advice << tr("%1 pixels clamped at gain 2.0: lower the target gain or light the scene "
                     "more evenly")
                      .arg(count(c.gainAtTwo));
    if (c.offsetAtZero)
        advice << tr("%1 pixels at offset code 0: their dark level is below the target offset; "
                     "lower the target offset")
                      .arg(count(c.offsetAtZero));
    if (c.offsetAtTop)
        advice << tr("%1 pixels at offset code 63: their dark level is more than the map can take "
                     "away; raise the target offset or lower exposure and gain")
                      .arg(count(c.offsetAtTop));
    return advice;
}

NucCorrectionReport NucCorrectionReport::compute(const Inputs& in)
{
    NucCorrectionReport r;
    r.camera = in.camera;
    r.entry = in.entry;
    r.created = QDateTime::currentDateTime();
    r.fullScale = in.fullScale;
    r.referenceFrames = qMax(1, in.referenceFrames);
    if (!in.before || !in.after || in.before->frames() < 2 || in.after->frames() < 2) {
        r.error = tr("at least two frames with the correction off and two with it on are needed");
        return r;
    }
    if (in.before->width() != in.after->width() || in.before->height() != in.after->height()) {
        r.error = tr("the frames with the correction on differ in size from those without");
        return r;
    }
    const NucFrameStack* dark = in.darkReference;
    if (dark && (dark->width() != in.before->width() || dark->height() != in.before->height())) {
        r.error = tr("the dark reference is %1 x %2 pixels, the camera's frames %3 x %4")
                      .arg(dark->width())
                      .arg(dark->height())
                      .arg(in.before->width())
                      .arg(in.before->height());
        return r;
    }
    if (!in.mapWords.isEmpty() && qint64(in.mapWords.size()) != in.before->pixels()) {
        r.error = tr("the map has %1 words, the frames %2 pixels")
                      .arg(in.mapWords.size())
                      .arg(in.before->pixels());
        return r;
    }

    const Measured b = measured(*in.before);
    const Measured a = measured(*in.after);
    r.before = side(*in.before, b);
    r.after = side(*in.after, a);
    r.mapKnown = !in.mapWords.isEmpty();
    const GainSpread gains = gainSpread(in.mapWords);
    const double full = qMax(1, in.fullScale);
    // Share of one frame's temporal variance left in the reference means the
    // map was made from: 1 / L, except that an 8-bit series keeps its first
    // image as mean image and carries almost a whole frame's noise.
    const double L = r.referenceFrames;
    const bool eightBit = in.fullScale <= 255;
    const double referenceShare = eightBit ? ((L - 1) * (L - 1) + 1) / (L * L) : 1.0 / L;
    if (eightBit && L > 1)
        r.notes << tr("8-bit series keep their first image as mean image: the map's reference "
                      "means carry nearly one frame's noise, and the floor counts it.");

    if (b.moments.mean < DarkLevelShare * full) {
        // Dark frames: DSNU1288. What remains after a map is the offset
        // quantisation and the reference's noise, scaled by the gains, and
        // the corrected dark level itself, which follows the gains.
        r.measure = Measure::Dsnu;
        r.nonuniformityBefore = 100.0 * r.before.spatialNoise / full;
        r.nonuniformityAfter = 100.0 * r.after.spatialNoise / full;
        const double q = in.offsetStep;
        const double floorVariance =
            gains.meanSquare * (q * q / 12.0 + b.temporalVariance * referenceShare) +
            a.moments.mean * a.moments.mean * gains.relativeVariance;
        r.floor = 100.0 * std::sqrt(floorVariance) / full;
    } else {
        // Bright frames: PRNU1288 over the dark reference, or relative to
        // the level without one. With the map on, the dark level is the
        // dark reference as the camera corrects it; its pattern (the target
        // offset times the gains) is not taken away, because the map
        // flattens dark and signal together and the corrected bright image
        // does not hold it. The map's gains were taken against its own
        // offsets, so its floor is the noise of the bright reference mean
        // and the truncation of the gain codes.
        double darkBefore = 0.0, darkAfter = 0.0, darkSpread = 0.0;
        if (dark) {
            const Measured d = measured(*dark);
            r.measure = Measure::Prnu;
            r.darkFrames = dark->frames();
            r.darkLevel = d.moments.mean;
            darkBefore = d.moments.mean;
            darkSpread = d.spatialVariance;
            darkAfter =
                NucSpatial::moments(NucSpatial::corrected(d.image, in.mapWords, in.offsetStep))
                    .mean;
        } else {
            r.measure = Measure::Relative;
            r.notes << tr("No dark reference: the non-uniformity is relative to the level and "
                          "includes the dark non-uniformity.");
        }
        auto nonuniformity = [](double spatialVariance, double signal) {
            return signal > 0 ? 100.0 * std::sqrt(qMax(0.0, spatialVariance)) / signal : 0.0;
        };
        r.nonuniformityBefore =
            nonuniformity(b.spatialVariance - darkSpread, b.moments.mean - darkBefore);
        r.nonuniformityAfter = nonuniformity(a.spatialVariance, a.moments.mean - darkAfter);
        const double signal = b.moments.mean - darkBefore;
        const double referenceNoise =
            signal > 0 ? b.temporalVariance * referenceShare / (signal * signal) : 0;
        const double gainQuantisation = gains.meanInverseSquare / (12.0 * 1024.0 * 1024.0);
        r.floor = 100.0 * std::sqrt(referenceNoise + gainQuantisation);
    }

    // One range for both histograms: five spreads around either level.
    const double lowB = b.moments.mean - 5 * std::sqrt(b.moments.variance);
    const double lowA = a.moments.mean - 5 * std::sqrt(a.moments.variance);
    const double highB = b.moments.mean + 5 * std::sqrt(b.moments.variance);
    const double highA = a.moments.mean + 5 * std::sqrt(a.moments.variance);
    r.histogramLow = qMax(0.0, qMin(lowB, lowA));
    r.histogramHigh = qMin(full, qMax(highB, highA));
    if (r.histogramHigh <= r.histogramLow)
        r.histogramHigh = r.histogramLow + 1.0;
    r.before.histogram =
        NucSpatial::histogram(b.image, HistogramBins, r.histogramLow, r.histogramHigh);
    r.after.histogram =
        NucSpatial::histogram(a.image, HistogramBins, r.histogramLow, r.histogramHigh);

    if (r.mapKnown) {
        r.clamps = clampsOf(in.mapWords);
        r.advice = adviceFor(r.clamps);
    } else {
        r.notes << tr("The map was not read: no clamp counts, and the floor takes every gain "
                      "as 1.");
    }
    if (r.nonuniformityAfter > 1.2 * r.floor && r.clamps.pixels == 0)
        r.advice << tr("The residual is more than 1.2 times the floor: check that the scene and "
                       "settings are those the map was made with, or make the map from more "
                       "frames");
    return r;
}

QString NucCorrectionReport::measureName() const
{
    switch (measure) {
    case Measure::Prnu:
        return "PRNU1288";
    case Measure::Dsnu:
        return "DSNU1288";
    case Measure::Relative:
        break;
    }
    return "relative";
}

QJsonObject NucCorrectionReport::toJson() const
{
    QJsonObject o;
    o["camera"] = camera;
    o["entry"] = entry;
    o["created"] = created.toString(Qt::ISODate);
    o["full_scale"] = fullScale;
    o["measure"] = measureName();
    o["frames"] = before.frames;
    o["level_before"] = before.level;
    o["level_after"] = after.level;
    o["temporal_noise"] = before.temporalNoise;
    o["temporal_noise_after"] = after.temporalNoise;
    o["nonuniformity_before"] = nonuniformityBefore;
    o["nonuniformity_after"] = nonuniformityAfter;
    o["floor"] = floor;
    if (measure == Measure::Dsnu) {
        o["dsnu_before"] = before.spatialNoise;
        o["dsnu_after"] = after.spatialNoise;
    }
    o["dark_reference"] =
        darkFrames > 0 ? QJsonValue(QJsonObject{{"frames", darkFrames}, {"level", darkLevel}})
                       : QJsonValue();
    o["reference_frames"] = referenceFrames;
    o["clamped_pixels"] = mapKnown ? QJsonValue(qint64(clamps.pixels)) : QJsonValue();
    if (mapKnown)
        o["clamps"] = QJsonObject{{"gain_at_1", qint64(clamps.gainAtOne)},
                                  {"gain_at_2", qint64(clamps.gainAtTwo)},
                                  {"offset_at_0", qint64(clamps.offsetAtZero)},
                                  {"offset_at_63", qint64(clamps.offsetAtTop)}};
    o["notes"] = QJsonArray::fromStringList(notes);
    o["advice"] = QJsonArray::fromStringList(advice);
    return o;
}

QStringList NucCorrectionReport::lines() const
{
    const bool dsnu = measure == Measure::Dsnu;
    auto nu = [&](double percent, double greyLevels) {
        return dsnu ? tr("%1 grey levels (%2 % of full scale)")
                          .arg(greyLevels, 0, 'f', 2)
                          .arg(percent, 0, 'f', 3)
                    : tr("%1 %").arg(percent, 0, 'f', 3);
    };
    QStringList out;
    out << tr("Camera %1, map %2: %3 frames with the correction off, %4 with it on")
               .arg(camera, entry)
               .arg(before.frames)
               .arg(after.frames);
    out << tr("Level:           %1 -> %2 grey levels (full scale %3)")
               .arg(before.level, 0, 'f', 2)
               .arg(after.level, 0, 'f', 2)
               .arg(fullScale);
    out << tr("Temporal noise:  %1 -> %2 grey levels")
               .arg(before.temporalNoise, 0, 'f', 3)
               .arg(after.temporalNoise, 0, 'f', 3);
    const QString name =
        measure == Measure::Relative ? tr("Non-uniformity (relative)") : measureName();
    out << tr("%1 before: %2").arg(name, nu(nonuniformityBefore, before.spatialNoise));
    out << tr("%1 after:  %2").arg(name, nu(nonuniformityAfter, after.spatialNoise));
    out << tr("Floor of the map: %1 % (%2 reference frames)")
               .arg(floor, 0, 'f', 3)
               .arg(referenceFrames);
    if (mapKnown)
        out << tr("Clamped pixels:  %1").arg(count(clamps.pixels));
    return out + notes + advice;
}

bool NucCorrectionReport::saveJson(const QString& path, QString* errorText) const
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(toJson()).toJson()) >= 0 &&
        file.commit())
        return true;
    if (errorText)
        *errorText = tr("%1: %2").arg(path, file.errorString());
    return false;
}
