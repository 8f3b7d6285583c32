#pragma once

#include "NUShadingParams.h"
#include "NucImageInput.h"

#include <QCoreApplication>
#include <QImage>
#include <QString>
#include <QStringList>

#include <memory>


// The level of frames of an evenly lit scene, as a bright series needs it.
struct NucLevel
{
    Q_DECLARE_TR_FUNCTIONS(NucLevel)

public:
    double mean = 0.0;      // share of full scale
    double saturated = 0.0; // share of pixels at full scale

    // Of one Indexed8 or Grayscale16 frame whose largest grey level is fullScale.
    static NucLevel of(const QImage& frame, int fullScale);
    // Empty when the level suits a bright series (mean 30-80 % of full
    // scale, at most 0.1 % saturated), else what is wrong and what to do.
    QString brightWarning() const;
};

// Frames from a camera going into one series of the input exactly as loaded
// files go in (NucImageInput::addLoadedImage: the same checks, the same
// exact running mean), and written as PNG files too when a folder is given.
// Until commit(), rollback() puts the series, its mean image and the size and
// depth both series share back as they were when the acquisition began, and
// removes the files it wrote; destroying an uncommitted acquisition rolls it
// back.
class NucAcquisition
{
    Q_DECLARE_TR_FUNCTIONS(NucAcquisition)

public:
    // source names the camera in the list texts of frames not saved to files.
    NucAcquisition(NucImageInput& input, NucImageInput::Series which, int frames,
                   const QString& saveFolder = {}, const QString& source = {});
    ~NucAcquisition();
    NucAcquisition(const NucAcquisition&) = delete;
    NucAcquisition& operator=(const NucAcquisition&) = delete;

    // Adds the next frame. False with the reason when the series refuses it
    // (nothing of the frame is kept then) or its file cannot be written.
    bool add(const QImage& frame, QString* error);

    int added() const { return m_items.size(); }
    int total() const { return m_frames; }
    bool complete() const { return added() >= m_frames; }
    // What the image list shows for each frame: the file's path when saved,
    // otherwise "Camera frame k of n (source)".
    QStringList items() const { return m_items; }

    void commit();
    void rollback();

    // Checks a folder the frames may go to: made when missing; an error when
    // it is not a folder or already holds files.
    static bool prepareFolder(const QString& folder, QString* error);

private:
    NucImageInput& m_input;
    NucImageInput::Series m_which;
    int m_frames;
    QString m_folder;
    QString m_source;
    QStringList m_items;
    QStringList m_written;
    bool m_open = true;
    // The state before the first frame.
    NUShadingParams m_series;
    QImage m_mean;
    quint32 m_width;
    quint32 m_height;
    quint32 m_pixelCount;
    int m_bitDepth;
    bool m_saved;
};
