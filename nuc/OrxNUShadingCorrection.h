#pragma once

#include "LogType.h"
#include "NucImageInput.h"

#include <QImage>
#include <QString>
#include <QWidget>

class QListWidget;
class QListWidgetItem;
class QPushButton;
class OrxPixmapLabel;

namespace Ui {
class OrxNUShadingCorrection;
}

// The "NUC Shading Assistant" panel: two image lists whose files are folded
// into the dark and bright series, map generation, and saving or importing
// maps. Everything it computes or encodes is done by the NUC core, which the
// command-line tool shares.
//
// Binding to an opened camera (Init/Reset), the shading map selector's filling
// from the camera and the transfers to and from the camera are not part of
// this class yet; the flags they will set are the protected members below.
class OrxNUShadingCorrection : public QWidget
{
    Q_OBJECT

public:
    explicit OrxNUShadingCorrection(QWidget* parent = nullptr);
    ~OrxNUShadingCorrection() override;

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
    void shading_map_reset();
    void setEndianess(bool endianess);

    // True while the camera's parameters are locked (streaming). No camera is
    // bound yet, so nothing is locked.
    bool isParamlocked();

signals:
    void cameraCloseRequested();
    void sendLogMessage(QString message, LogType type);

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

protected:
    void _addSelectedFiles(int which);
    void _deleteSelectedFiles(int which);

    // Set when a camera is bound: which map transfers and byte order apply.
    bool endianess = true;
    bool noMapSelector = false;
    bool hasNucControl = false;
    qint32 mapId = 8193;
    QImage::Format imageFormat = QImage::Format_Grayscale16;
    QString lastImageDir;
    QString lastMapDir;
    // The two series, their mean images (shown in the mean image labels), the
    // common image size and bitDepth.
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

    Ui::OrxNUShadingCorrection* ui;
};
