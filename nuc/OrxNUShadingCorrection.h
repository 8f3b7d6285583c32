#pragma once

#include "LogType.h"
#include "NucImageInput.h"
#include "NucMapPipeline.h"

#include <QFutureWatcher>
#include <QImage>
#include <QString>
#include <QVariant>
#include <QWidget>

#include <cstdint>
#include <functional>

class OxCamera;
class OxFeatureContainer;
class QListWidget;
class QListWidgetItem;
class QProgressDialog;
class QPushButton;
class OrxPixmapLabel;

namespace Ui {
class OrxNUShadingCorrection;
}

// The "NUC Shading Assistant" panel: two image lists whose files are folded
// into the dark and bright series, map generation, saving or importing maps,
// and the opened camera's map slots. Everything it computes or encodes is done
// by the NUC core, which the command-line tool shares.
//
// Init binds the panel to an opened camera, which the panel then owns until
// Reset deletes it.
class OrxNUShadingCorrection : public QWidget
{
    Q_OBJECT

public:
    explicit OrxNUShadingCorrection(QWidget* parent = nullptr);
    ~OrxNUShadingCorrection() override;

    // Fills the map selector from the camera and decides which transfers it
    // offers. False when the camera has no usable map entry; the panel keeps
    // the camera until Reset all the same.
    bool Init(OxCamera* camera);
    // Waits for a running transfer, deletes the camera and forgets every image
    // and map entry.
    void Reset();

    // Image input; which is 1 for the dark series, 2 for the bright one.
    bool loadImagefromFile(QString const& path, int which);
    void deleteImagefromParams(QString const& path, int which);

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

    // Shading correction on the camera, by whichever means it offers: user
    // map cameras have none of their own, others a feature pair or registers.
    bool getShadingCorrectionControlEnable(bool* on);
    bool setShadingCorrectionControlEnable(bool on);
    bool getSelectedShadingCorrectionMap(QVariant& map);
    bool setSelectedShadingCorrectionMap(QVariant const& map);
    bool GetRegValue(unsigned int address, unsigned int* value);
    bool SetRegValue(unsigned int address, unsigned int value);

    // Transfers. The raw memory path blocks the caller and is taken only
    // with the register-access flag; the user map upload runs as a file task.
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

protected:
    void _addSelectedFiles(int which);
    void _deleteSelectedFiles(int which);
    // Creates the (hidden) progress dialog once and takes the camera's
    // transfer progress to it.
    void initTranferProgress();

    OxFeatureContainer* featureContainer = nullptr;
    OxCamera* camera = nullptr;
    QImage::Format imageFormat = QImage::Format_Grayscale16;
    bool endianess = true;
    bool noMapSelector = false;
    // Maps go to the camera by raw memory writes instead of File Access.
    // Nothing sets it: every camera served so far takes maps as files.
    bool registerAccess = false;
    bool hasNucControl = false;
    bool fileAccessAvailable = false;
    qint32 mapId = 8193;
    QFutureWatcher<bool> fileTaskWatcher;
    // Shown while a transfer reports progress; lives as long as the panel.
    QProgressDialog* transferProgressDialog = nullptr;
    // Bytes of the running transfer at its first report; 0 when none runs.
    qint64 transferTotal = 0;
    QString lastImageDir;
    QString lastMapDir;
    // The two series, their mean images (shown in the mean image labels), the
    // common image size (width, height) and bitDepth.
    NucImageInput input;

private:
    struct SeriesWidgets
    {
        QListWidget* list;
        OrxPixmapLabel* meanLabel;
        QPushButton* deleteButton;
    };
    SeriesWidgets widgets(int which) const;
    void _deleteButtonClicked(int which);
    void rememberMapDir(const QString& filePath);
    float targetGain() const;
    quint16 targetOffset() const;
    void addShadingMapEntries();
    void addUserMapEntries();
    void probeFileAccess();
    // Runs a transfer on the global thread pool under the watcher, with the
    // transfer buttons off until it ends.
    void startFileTask(const QString& name, std::function<bool()> work);
    // How the map of the series goes into a file of the kind for this camera.
    NucMapPipeline::FileSpec mapFileSpec(NucMapFile::Kind kind) const;

    Ui::OrxNUShadingCorrection* ui;
};
