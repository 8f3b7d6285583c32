#pragma once

#include "NucImageInput.h"

#include <QDialog>
#include <QImage>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class NucAcquisition;
class QCheckBox;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QSpinBox;

// Where the dialog's frames come from: the opened camera as the panel
// describes it.
struct OrxAcquisitionSource
{
    QString camera;   // shown, and named in the list texts of unsaved frames
    QString exposure; // the camera's current exposure and gain, as shown
    QString gain;
    // One frame as the series take it; false with the reason.
    std::function<bool(QImage* frame, QString* error)> grab;
    // Largest grey level of the frames grabbed so far.
    std::function<int()> fullScale;
};

// "Acquire…" of an image tab: how many frames (16 unless changed), the
// camera's exposure and gain, a reminder to cover the lens for the dark
// series or the level check of the first frame for the bright one, and an
// optional folder for the frames as PNG files. The frames go into the series
// one by one while a progress bar runs; Cancel, a refused frame or a camera
// that fails leaves the series as it was. Accepted, items() holds the list
// texts of the frames that were added.
class OrxAcquisitionDialog : public QDialog
{
    Q_OBJECT

public:
    OrxAcquisitionDialog(NucImageInput& input, NucImageInput::Series which,
                         OrxAcquisitionSource source, QWidget* parent = nullptr);
    ~OrxAcquisitionDialog() override;

    QStringList items() const { return m_items; }

public slots:
    void start();
    void reject() override;

private slots:
    void nextFrame();
    void browse();

private:
    void stop(const QString& error);

    NucImageInput& m_input;
    NucImageInput::Series m_which;
    OrxAcquisitionSource m_source;
    std::unique_ptr<NucAcquisition> m_acquisition;
    QStringList m_items;
    QSpinBox* m_frames;
    QCheckBox* m_save;
    QLineEdit* m_folder;
    QPushButton* m_browse;
    QProgressBar* m_progress;
    QPushButton* m_start;
};
