#pragma once

#include "CameraCorrection.h"
#include "NucCorrectionReport.h"
#include "NucFrameStack.h"

#include <QCoreApplication>
#include <QString>
#include <QVector>

#include <functional>

class OxCamera;

// The measurement behind a correction report: the same scene taken with the
// camera's correction off and then with a map entry on, after which the
// camera's previous correction setting is put back unless the operator keeps
// the new one.
class CorrectionVerification
{
    Q_DECLARE_TR_FUNCTIONS(CorrectionVerification)

public:
    // Called after every frame with the frames done and the total (twice the
    // frames per side); returning false cancels.
    using Progress = std::function<bool(int done, int total)>;

    CorrectionVerification(OxCamera* camera, const QString& entry, int frames);

    // False with the reason on failure or cancel (cancelled() tells which);
    // the previous setting is put back in every case unless keep is set and
    // the run completed.
    bool run(bool keep, const Progress& progress = {});

    const NucFrameStack& before() const { return m_before; }
    const NucFrameStack& after() const { return m_after; }
    bool cancelled() const { return m_cancelled; }
    QString error() const { return m_error; }

    // What a completed run gives a report: the frames' depth, before and
    // after (which stay this object's).
    void fill(NucCorrectionReport::Inputs* inputs) const;

    // The map words of a device file of the camera (a .bin shading map or a
    // .ge3 user map), read by File Access into a temporary file.
    static bool readMap(OxCamera* camera, const QString& fileName, const QString& selector,
                        QVector<quint16>* words, QString* error);

private:
    bool take(NucFrameStack& stack, int done, int total, const Progress& progress);

    OxCamera* m_camera;
    QString m_entry;
    int m_frames;
    NucFrameStack m_before;
    NucFrameStack m_after;
    int m_bits = 0;
    bool m_cancelled = false;
    QString m_error;
};
