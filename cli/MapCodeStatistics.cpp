#include "MapCodeStatistics.h"

#include <QCoreApplication>

static void add(MapCodeStatistics::Field& field, quint32 code, quint32 top, double& sum, bool first)
{
    field.minimum = first ? code : qMin(field.minimum, code);
    field.maximum = first ? code : qMax(field.maximum, code);
    sum += code;
    field.atZero += code == 0;
    field.atTop += code == top;
}

MapCodeStatistics MapCodeStatistics::of(const QVector<quint16>& words)
{
    MapCodeStatistics stats;
    double gainSum = 0.0, offsetSum = 0.0;
    for (int i = 0; i < words.size(); ++i) {
        add(stats.gain, words[i] & 0x3ffu, 1023, gainSum, i == 0);
        add(stats.offset, quint32(words[i]) >> 10, 63, offsetSum, i == 0);
    }
    stats.pixels = quint32(words.size());
    if (!words.isEmpty()) {
        stats.gain.mean = gainSum / words.size();
        stats.offset.mean = offsetSum / words.size();
    }
    return stats;
}

QString MapCodeStatistics::describe(const Field& field, quint32 top)
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
