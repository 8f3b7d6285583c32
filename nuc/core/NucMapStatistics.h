#pragma once

#include <QCoreApplication>
#include <QImage>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QtGlobal>

// Minimum, mean and maximum of the gain and offset codes of a packed map, the
// pixels clamped at either end of each code range, and what those figures say
// about the map in plain words. orvex-nuc info and the map view show exactly
// this, so an operator reads the same judgement of a map in both.
class NucMapStatistics
{
    Q_DECLARE_TR_FUNCTIONS(NucMapStatistics)

public:
    static constexpr quint32 GainTop = 1023; // bits 0-9
    static constexpr quint32 OffsetTop = 63; // bits 10-15

    struct Field
    {
        quint32 minimum = 0;
        quint32 maximum = 0;
        double mean = 0.0;
        quint32 atZero = 0;
        quint32 atTop = 0;
    };
    quint32 pixels = 0;
    Field gain;
    Field offset;

    static NucMapStatistics of(const QVector<quint16>& words);
    // "min 0  max 512  mean 256.000  at 0: 1  at 1023: 0"
    static QString describe(const Field& field, quint32 top);

    // Where the codes show that the map cannot do what the operator wanted:
    // every offset code at its top, most gain codes at either end. Empty for
    // a plausible map.
    QStringList warnings() const;
    // A bright mean image whose average is close to full scale: pixels that
    // clip cannot be corrected. Empty when it is not (or for a null image).
    static QString saturationWarning(const QImage& brightMean);
};
