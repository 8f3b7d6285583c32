#pragma once

#include "LogType.h"
#include "NucImageInput.h"
#include "NucPanelModel.h"
#include "NucPanelPort.h"

#include <QFutureWatcher>
#include <QImage>
#include <QString>
#include <QVariant>
#include <QWidget>

#include <cstdint>
#include <functional>

class OxCamera;
class QCheckBox;
class QListWidget;
class QListWidgetItem;
class QProgressDialog;
class QPushButton;
class NucMapStatistics;
class OrxMapView;
class OrxPixmapLabel;

namespace Ui {
class OrxNUShadingCorrection;
}

// The "NUC Shading Assistant" panel: the widgets over NucPanelModel. Its two
// image lists feed the dark and bright series; what it knows about the
// opened camera (the map slots, the way maps reach it) and the map files live
// in the model, and the map buttons delegate there. Every dialog goes through
// OrxDialogs.
//
// Init binds the panel to an opened camera, which the panel then owns until
// Reset deletes it.
class OrxNUShadingCorrection : public QWidget, private NucPanelPort
{
    Q_OBJECT

public:
    using Series = NucImageInput::Series;

    explicit OrxNUShadingCorrection(QWidget* parent = nullptr);
    ~OrxNUShadingCorrection() override;

    // Fills the map selector from the camera and decides which transfers it
    // offers. False when the camera has no usable map entry; the panel keeps
    // the camera until Reset all the same.
    bool Init(OxCamera* camera);
    // Waits for a running transfer, deletes the camera and forgets every image
    // and map entry.
    void Reset();

    // Image input.
    bool loadImagefromFile(QString const& path, Series which);
    void deleteImagefromParams(QString const& path, Series which);

    // Map generation and map files.
    void getBinMap(unsigned short* out);
    bool create_shading_map();
    bool create_shading_map16();
    bool SaveMap(QString const& path);
    bool LoadMap();
    bool SaveDopoMap(QString dir);
    bool LoadDopoMap(QString dir);
    void SetUserMap(QString name);
    void shading_map_reset();
    void setEndianess(bool endianess);

    // True while the camera's transport-layer parameters are locked, that is
    // while it streams; maps must not be uploaded then.
    bool isParamlocked();
    bool isRegisterAccessUsed();

    // Shading correction on the camera, by whichever means it offers.
    bool getShadingCorrectionControlEnable(bool* on);
    bool setShadingCorrectionControlEnable(bool on);
    bool getSelectedShadingCorrectionMap(QVariant& map);
    bool setSelectedShadingCorrectionMap(QVariant const& map);
    bool GetRegValue(unsigned int address, unsigned int* value);
    bool SetRegValue(unsigned int address, unsigned int value);

    // Transfers. The raw memory path blocks the caller; the user map upload
    // runs as a file task.
    bool upload_shading_map();
    bool upload_dopo_map();
    // Drives the progress dialog; finished with a value other than -1 (only
    // after the raw memory path) offers the User Set save.
    void progressBarValueChanged(bool finished, int value);

signals:
    void cameraCloseRequested();
    void sendLogMessage(QString message, LogType type);

public slots:
    void enableButtons();
    // Progress of the camera's device file transfers, in bytes still to go.
    void progressBar_valueChanged(int64_t remaining, QString fileName, QString fileOperation);
    void finishFileTask();
    bool SaveSettingsToUserSet();
    // Kept for callers of the old spelling; saving is SaveSettingsToUserSet.
    void SaveSettignsToUserSet();

private slots:
    void on_listDarkImagePath_itemPressed(QListWidgetItem* item);
    void on_listBrightImagePath_itemPressed(QListWidgetItem* item);
    void on_btnAddDarkImage_clicked();
    void on_btnAddBrightImage_clicked();
    void on_btnDeleteDarkImage_clicked();
    void on_btnDeleteBrightImage_clicked();
    void on_btnGenerateMap_clicked();
    void on_btnSaveMapToFile_clicked();
    void on_Reset_clicked();
    void on_TargetOffsetEdit_editingFinished();
    void on_TargetGainEdit_editingFinished();
    void on_btnCloseCamera_clicked();
    void on_btnUploadMapToCam_clicked();
    void on_btnUploadLocalMap_clicked();
    void on_btnDownloadMapToFile_clicked();
    // Frames from the opened camera into a series; a map entry verified.
    void acquireFrames(Series which);
    void verifyCorrection();

protected:
    void _addSelectedFiles(Series which);
    void _deleteSelectedFiles(Series which);
    // Creates the (hidden) progress dialog once and takes the camera's
    // transfer progress to it.
    void initTranferProgress();

    // The two series, their mean images (shown in the mean image labels), the
    // common image size (width, height) and bitDepth.
    NucImageInput input;
    NucPanelModel model;
    QImage::Format imageFormat = QImage::Format_Grayscale16;
    QFutureWatcher<bool> fileTaskWatcher;
    // Shown while a transfer reports progress; lives as long as the panel.
    QProgressDialog* transferProgressDialog = nullptr;
    // Bytes of the running transfer at its first report; 0 when none runs.
    qint64 transferTotal = 0;
    QString lastImageDir;

private:
    struct SeriesWidgets
    {
        QListWidget* list;
        OrxPixmapLabel* meanLabel;
        QPushButton* deleteButton;
    };
    SeriesWidgets widgets(Series which) const;
    void addCameraButtons();
    QPushButton* acquireButtons[2] = {};
    QPushButton* verifyButton = nullptr;
    void _deleteButtonClicked(Series which);
    // The series' mean image in its label, contrast-stretched while the
    // operator leaves the stretch on.
    void showMean(Series which);
    QCheckBox* stretchBox = nullptr;
    // The map view window, made on first use.
    OrxMapView* mapWindow();
    // The generated map in its own window, warnings included.
    void showGeneratedMap();
    // A map file chosen by the operator, or one just downloaded, in the map
    // view; a file that is no map is refused with the file and the reason.
    void openMapFile();
    void showMapFile(const QString& path);
    // How many images each series holds and how many pixels the map clamps.
    void logGeneration(const NucMapStatistics& stats);
    float targetGain() const;
    quint16 targetOffset() const;

    // NucPanelPort: the model's dialogs, log and file task.
    void information(const QString& title, const QString& text) override;
    bool question(const QString& title, const QString& text, bool noByDefault) override;
    QString openFileName(Owner owner, const QString& title, const QString& dir,
                         const QString& filter) override;
    QString saveFileName(const QString& title, const QString& dir, const QString& filter) override;
    QString existingDirectory(Owner owner, const QString& title, const QString& dir,
                              bool resolveLinks) override;
    int chooseItem(const QString& title, const QString& label, const QStringList& items) override;
    void log(const QString& text, LogType type) override;
    // One transfer at a time: the transfer buttons stay off until it ends.
    void startFileTask(const QString& name, std::function<bool()> work) override;
    void progress(bool finished, int value) override;
    // Waits for the file task to end, answering what it asks meanwhile.
    void waitForFileTask();

    Ui::OrxNUShadingCorrection* ui;
    OrxMapView* mapView = nullptr;
    QPushButton* restoreButton = nullptr;
    bool closingFileTask = false;
};
