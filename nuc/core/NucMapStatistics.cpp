#include "NucMapStatistics.h"

namespace {

void add(NucMapStatistics::Field& field, quint32 code, quint32 top, double& sum, bool first)
{
    field.minimum = first ? code : qMin(field.minimum, code);
    field.maximum = first ? code : qMax(field.maximum, code);
    sum += code;
    field.atZero += code == 0;
    field.atTop += code == top;
}

QString percentOf(quint32 part, quint32 whole)
{
    return QString::number(100.0 * part / whole, 'f', 1);
}

// Above this share of full scale the brightest pixels of an evenly lit scene
// are at or near saturation.
constexpr double NearSaturation = 0.9;

} // namespace

NucMapStatistics NucMapStatistics::of(const QVector<quint16>& words)
{
    NucMapStatistics stats;
    double gainSum = 0.0, offsetSum = 0.0;
    for (int i = 0; i < words.size(); ++i) {
        add(stats.gain, words[i] & 0x3ffu, GainTop, gainSum, i == 0);
        add(stats.offset, quint32(words[i]) >> 10, OffsetTop, offsetSum, i == 0);
    }
    stats.pixels = quint32(words.size());
    if (!words.isEmpty()) {
        stats.gain.mean = gainSum / words.size();
        stats.offset.mean = offsetSum / words.size();
    }
    return stats;
}

QString NucMapStatistics::describe(const Field& field, quint32 top)
{
    return QCoreApplication::translate("orvex-nuc info",
                                       "min %1  max %2  mean %3  at 0: %4  at %5: %6")
        .arg(field.minimum)
        .arg(field.maximum)
        .arg(field.mean, 0, 'f', 3)
        .arg(field.atZero)
        .arg(top)
        .arg(field.atTop);
}

QStringList NucMapStatistics::warnings() const
{
    QStringList found;
    if (pixels == 0)
        return found;
    if (offset.atTop == pixels)
        found << tr("the dark level is above what the map can subtract: check the dark images or "
                    "the target offset");
    // Gain codes clamp at 0 where the wanted gain is below 1 and at 1023 where
    // it is 2 or more; a few such pixels are normal, most of them are not.
    if (2 * quint64(gain.atZero) > pixels)
        found << tr("%1 % of the gain codes are 0: the target gain is below 1, or the dark and "
                    "bright images are swapped")
                     .arg(percentOf(gain.atZero, pixels));
    if (2 * quint64(gain.atTop) > pixels)
        found << tr("%1 % of the gain codes are at 1023: the bright images are too dark for the "
                    "target gain")
                     .arg(percentOf(gain.atTop, pixels));
    return found;
}

QString NucMapStatistics::saturationWarning(const QImage& brightMean)
{
    if (brightMean.isNull())
        return QString();
    const bool sixteen = brightMean.format() == QImage::Format_Grayscale16;
    const QImage grey = sixteen || brightMean.format() == QImage::Format_Grayscale8
                            ? brightMean
                            : brightMean.convertToFormat(QImage::Format_Grayscale8);
    const double fullScale = sixteen ? 65535.0 : 255.0;
    double sum = 0.0;
    for (int y = 0; y < grey.height(); ++y) {
        if (sixteen) {
            const auto* line = reinterpret_cast<const quint16*>(grey.constScanLine(y));
            for (int x = 0; x < grey.width(); ++x)
                sum += line[x];
        } else {
            const uchar* line = grey.constScanLine(y);
            for (int x = 0; x < grey.width(); ++x)
                sum += line[x];
        }
    }
    const double level = sum / (double(grey.width()) * grey.height()) / fullScale;
    if (level < NearSaturation)
        return QString();
    return tr("the bright mean image is at %1 % of full scale, near saturation: pixels that clip "
              "cannot be corrected; lower the light or the exposure")
        .arg(QString::number(100.0 * level, 'f', 1));
}
