#pragma once

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QtGlobal>

class NucFrameStack;

// How well a map flattens the camera's image: the same scene taken with the
// correction off (before) and with the map on (after), measured by the EMVA
// 1288 rules, against the floor the map can reach, with the pixels whose
// codes hit a limit and what an engineer can do about them.
class NucCorrectionReport
{
    Q_DECLARE_TR_FUNCTIONS(NucCorrectionReport)

public:
    // What the non-uniformity figures are.
    enum class Measure
    {
        Prnu,     // bright frames with a dark reference: PRNU1288 in percent
        Dsnu,     // dark frames: DSNU1288 in grey levels (percent of full scale too)
        Relative, // bright frames without a dark reference: relative to the level
    };

    struct Side
    {
        int frames = 0;
        double level = 0.0;         // mean grey level
        double temporalNoise = 0.0; // grey levels, from frame differences
        double spatialNoise = 0.0;  // grey levels, of the averaged frames less sigma^2 / L
        QVector<double> rows;       // row means of the averaged frames
        QVector<double> columns;    // column means
        QVector<double> histogram;  // pixels per bin of the averaged frames
    };

    struct Clamps
    {
        quint32 gainAtOne = 0; // gain code 0
        quint32 gainAtTwo = 0; // gain code 1023
        quint32 offsetAtZero = 0;
        quint32 offsetAtTop = 0; // offset code 63
        quint32 pixels = 0;      // pixels with any of them
    };

    struct Inputs
    {
        QString camera;
        QString entry;
        int fullScale = 0;
        double offsetStep = 4.0; // grey levels of one offset code
        const NucFrameStack* before = nullptr;
        const NucFrameStack* after = nullptr;
        const NucFrameStack* darkReference = nullptr; // may be null
        QVector<quint16> mapWords;                    // the map that was on; may be empty
        int referenceFrames = 16; // frames each series of the map was averaged from
    };

    // Needs before and after of the same size with at least two frames
    // each; otherwise returns a report whose error says what is missing.
    static NucCorrectionReport compute(const Inputs& inputs);

    QString error;
    QString camera;
    QString entry;
    QDateTime created;
    int fullScale = 0;
    Measure measure = Measure::Relative;
    int darkFrames = 0;     // of the dark reference, 0 without one
    double darkLevel = 0.0; // its mean grey level
    Side before;
    Side after;
    double histogramLow = 0.0; // range of both histograms
    double histogramHigh = 0.0;
    double nonuniformityBefore = 0.0; // percent
    double nonuniformityAfter = 0.0;  // percent
    double floor = 0.0;               // percent, the same basis
    int referenceFrames = 0;
    bool mapKnown = false;
    Clamps clamps;
    QStringList notes;
    QStringList advice;

    static Clamps clampsOf(const QVector<quint16>& words);
    // "4,210 pixels clamped at gain 1.0: raise the target gain", one a limit.
    static QStringList adviceFor(const Clamps& clamps);

    QString measureName() const;
    QJsonObject toJson() const;
    // The figures as lines of text, as orvex-nuc prints them.
    QStringList lines() const;
    bool saveJson(const QString& path, QString* error = nullptr) const;
};
