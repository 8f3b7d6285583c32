#pragma once

#include <QString>
#include <QVector>
#include <QtGlobal>

// Minimum, maximum, mean and clamp counts of the gain and offset codes of a
// packed map, as an operator checks a map before it goes to a camera.
struct MapCodeStatistics
{
    struct Field
    {
        quint32 minimum = 0;
        quint32 maximum = 0;
        double mean = 0.0;
        quint32 atZero = 0;
        quint32 atTop = 0;
    };
    quint32 pixels = 0;
    Field gain;   // bits 0-9, top code 1023
    Field offset; // bits 10-15, top code 63

    static MapCodeStatistics of(const QVector<quint16>& words);
    // "min 0  max 512  mean 256.000  at 0: 1  at 1023: 0"
    static QString describe(const Field& field, quint32 top);
};
