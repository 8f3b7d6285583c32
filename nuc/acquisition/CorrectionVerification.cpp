#include "CorrectionVerification.h"

#include "CameraFrameSource.h"
#include "NucFrame.h"
#include "NucMapFile.h"
#include "OxCamera.h"

#include <QFile>
#include <QTemporaryFile>

CorrectionVerification::CorrectionVerification(OxCamera* camera, const QString& entry, int frames)
    : m_camera(camera), m_entry(entry), m_frames(frames)
{
}

bool CorrectionVerification::take(NucFrameStack& stack, int done, int total,
                                  const Progress& progress)
{
    CameraFrameSource source(m_camera);
    for (int k = 0; k < m_frames; ++k) {
        QImage frame;
        if (!source.grab(&frame, &m_error))
            return false;
        if (!stack.add(frame)) {
            m_error = tr("A frame differs in size or depth from the frames before it.");
            return false;
        }
        m_bits = source.significantBits();
        if (progress && !progress(done + k + 1, total)) {
            m_cancelled = true;
            m_error = tr("Cancelled.");
            return false;
        }
    }
    return true;
}

bool CorrectionVerification::run(bool keep, const Progress& progress)
{
    m_before = NucFrameStack();
    m_after = NucFrameStack();
    m_cancelled = false;
    m_error.clear();
    if (m_frames < 2) {
        m_error = tr("At least two frames are needed for the temporal noise.");
        return false;
    }
    CameraCorrection correction(m_camera->GetFeatureContainer());
    CameraCorrection::State previous;
    if (!correction.read(&previous, &m_error))
        return false;
    const int total = 2 * m_frames;
    const bool done = correction.switchOff(&m_error) && take(m_before, 0, total, progress) &&
                      correction.switchOn(m_entry, &m_error) &&
                      take(m_after, m_frames, total, progress);
    if (done && keep)
        return true;
    QString restoreError;
    if (!correction.restore(previous, &restoreError) && done) {
        m_error = restoreError;
        return false;
    }
    return done;
}

bool CorrectionVerification::readMap(OxCamera* camera, const QString& fileName,
                                     const QString& selector, QVector<quint16>* words,
                                     QString* error)
{
    QTemporaryFile file;
    if (!file.open()) {
        if (error)
            *error = tr("No temporary file for the map: %1").arg(file.errorString());
        return false;
    }
    file.close();
    long read = 0;
    if (!camera->DownloadDeviceFile(QFile::encodeName(file.fileName()).constData(),
                                    fileName.toUtf8().constData(), selector.toUtf8().constData(),
                                    &read)) {
        if (error)
            *error = tr("The map %1 could not be read from the camera.").arg(fileName);
        return false;
    }
    if (!file.open()) {
        if (error)
            *error = file.errorString();
        return false;
    }
    NucMapFile::Info info;
    QString why;
    if (!NucMapFile::parse(file.readAll(), &info, &why)) {
        if (error)
            *error = tr("The camera's map %1 is not a map file: %2").arg(fileName, why);
        return false;
    }
    *words = info.words;
    return true;
}

void CorrectionVerification::fill(NucCorrectionReport::Inputs* inputs) const
{
    inputs->fullScale = NucFrame::fullScale(m_bits);
    inputs->offsetStep = NucFrame::offsetStep(m_bits);
    inputs->before = &m_before;
    inputs->after = &m_after;
}
