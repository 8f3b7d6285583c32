#include "OrxNUShadingCorrection.h"

#include "NucFloatMap.h"
#include "NucMapFile.h"
#include "NucMapPacking.h"
#include "NucTargets.h"
#include "OrxDialogs.h"
#include "OrxPixmapLabel.h"
#include "OrxSettings.h"
#include "ui_OrxNUShadingCorrection.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QItemSelectionModel>
#include <QProgressDialog>

namespace {

// Directories are compared as the file system spells them, with case.
QString directoryOf(const QString& filePath)
{
    return QDir::cleanPath(QFileInfo(filePath).absolutePath());
}

class WaitCursor
{
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
};

} // namespace

OrxNUShadingCorrection::OrxNUShadingCorrection(QWidget* parent)
    : QWidget(parent), ui(new Ui::OrxNUShadingCorrection)
{
    qRegisterMetaType<LogType>("LogType");
    ui->setupUi(this);
    // Until the first image of a camera session the depth is that of the
    // default 16-bit image format.
    input.bitDepth = 16;

    for (int which : {1, 2}) {
        const SeriesWidgets w = widgets(which);
        QPushButton* button = w.deleteButton;
        QItemSelectionModel* selection = w.list->selectionModel();
        connect(selection, &QItemSelectionModel::selectionChanged, button,
                [button, selection] { button->setEnabled(selection->hasSelection()); });
    }
}

OrxNUShadingCorrection::~OrxNUShadingCorrection()
{
    delete ui;
}

OrxNUShadingCorrection::SeriesWidgets OrxNUShadingCorrection::widgets(int which) const
{
    if (which == 1)
        return {ui->listDarkImagePath, ui->lblMeanImageDark, ui->btnDeleteDarkImage};
    return {ui->listBrightImagePath, ui->lblMeanImageBright, ui->btnDeleteBrightImage};
}

bool OrxNUShadingCorrection::isParamlocked()
{
    return false;
}

// ---- Image input -----------------------------------------------------------

bool OrxNUShadingCorrection::loadImagefromFile(QString const& path, int which)
{
    NucImageInput::Message message;
    const bool loaded = input.loadImagefromFile(path, which, &message);
    if (loaded) {
        widgets(which).meanLabel->setImage(*input.meanImage(which));
        return true;
    }
    if (!message.detail.isEmpty())
        emit sendLogMessage(message.detail, LogError);
    const QString title = tr("Load Image");
    if (message.kind == NucImageInput::Message::Information)
        OrxDialogs::instance().information(this, title, message.text);
    else
        OrxDialogs::instance().critical(this, title, message.text);
    return false;
}

void OrxNUShadingCorrection::_addSelectedFiles(int which)
{
    if (which != 1 && which != 2)
        return;
    const QStringList paths = OrxDialogs::instance().getOpenFileNames(
        nullptr, tr("Image paths"), lastImageDir, tr("Images (*.* )"));
    if (paths.isEmpty())
        return;

    QListWidget* list = widgets(which).list;
    // Shown only when loading takes a while; cancelling keeps what is loaded.
    QProgressDialog progress(tr("Loading images..."), tr("Cancel"), 0, paths.size(), this);
    progress.setWindowTitle(tr("Image paths"));
    progress.setWindowModality(Qt::WindowModal);
    for (int i = 0; i < paths.size(); ++i) {
        progress.setLabelText(tr("Loading file %1 of %2").arg(i + 1).arg(paths.size()));
        progress.setValue(i);
        if (progress.wasCanceled())
            break;
        const QString& path = paths[i];
        if (!list->findItems(path, Qt::MatchExactly | Qt::MatchCaseSensitive).isEmpty())
            continue;
        if (loadImagefromFile(path, which))
            list->addItem(path);
    }
    progress.setValue(paths.size());

    const QString dir = directoryOf(paths.first());
    if (dir != lastImageDir) {
        OrxSettings::getInstance()->Set("Directory", "SaveImageDir", dir);
        lastImageDir = dir;
    }
}

void OrxNUShadingCorrection::on_btnAddDarkImage_clicked()
{
    WaitCursor wait;
    _addSelectedFiles(1);
}

void OrxNUShadingCorrection::on_btnAddBrightImage_clicked()
{
    WaitCursor wait;
    _addSelectedFiles(2);
}

void OrxNUShadingCorrection::deleteImagefromParams(QString const& path, int which)
{
    if (which != 1 && which != 2)
        return;
    input.deleteImagefromParams(path, which);
    widgets(which).meanLabel->setImage(*input.meanImage(which));
}

void OrxNUShadingCorrection::_deleteSelectedFiles(int which)
{
    if (which != 1 && which != 2)
        return;
    // Every file is read again from disk to be taken out of the series.
    for (QListWidgetItem* item : widgets(which).list->selectedItems()) {
        deleteImagefromParams(item->text(), which);
        delete item;
    }
}

void OrxNUShadingCorrection::_deleteButtonClicked(int which)
{
    _deleteSelectedFiles(which);
    const SeriesWidgets w = widgets(which);
    if (w.list->selectedItems().isEmpty())
        w.deleteButton->setEnabled(false);
    if (!input.releaseIfEmpty(which))
        return;
    w.meanLabel->setImage(QImage());
    w.meanLabel->setText(QString());
}

void OrxNUShadingCorrection::on_btnDeleteDarkImage_clicked()
{
    _deleteButtonClicked(1);
}

void OrxNUShadingCorrection::on_btnDeleteBrightImage_clicked()
{
    _deleteButtonClicked(2);
}

void OrxNUShadingCorrection::on_listDarkImagePath_itemPressed(QListWidgetItem* item)
{
    ui->btnDeleteDarkImage->setEnabled(true);
    ui->listDarkImagePath->setCurrentItem(item);
}

void OrxNUShadingCorrection::on_listBrightImagePath_itemPressed(QListWidgetItem* item)
{
    ui->btnDeleteBrightImage->setEnabled(true);
    ui->listBrightImagePath->setCurrentItem(item);
}

// ---- Generation --------------------------------------------------------------

float OrxNUShadingCorrection::targetGain() const
{
    bool ok = false;
    const float gain = NucTargets::parseGain(ui->TargetGainEdit->text(), &ok);
    return ok ? gain : NucTargets::DefaultGain;
}

quint16 OrxNUShadingCorrection::targetOffset() const
{
    bool ok = false;
    const quint16 offset = NucTargets::parseOffset(ui->TargetOffsetEdit->text(), &ok);
    return ok ? offset : NucTargets::DefaultOffset;
}

bool OrxNUShadingCorrection::create_shading_map()
{
    if (!noMapSelector)
        mapId = ui->cmbShadingMapSelector->currentData(Qt::UserRole + 3).toInt();
    return input.createShadingMap(targetGain(), targetOffset(), false);
}

bool OrxNUShadingCorrection::create_shading_map16()
{
    if (!noMapSelector)
        mapId = ui->cmbShadingMapSelector->currentData(Qt::UserRole + 3).toInt();
    return input.createShadingMap(targetGain(), targetOffset(), true);
}

void OrxNUShadingCorrection::on_btnGenerateMap_clicked()
{
    const QString title = tr("Generate Map");
    if (ui->cmbShadingMapSelector->count() == 0) {
        OrxDialogs::instance().information(
            this, title, tr("Generate map failed: no shading map entry available!"));
        return;
    }

    WaitCursor wait;
    const bool locked = isParamlocked();
    ui->btnUploadMapToCam->setEnabled(false);
    ui->btnSaveMapToFile->setEnabled(false);

    NucImageInput::Message missing;
    if (!input.canGenerate(&missing)) {
        OrxDialogs::instance().information(this, title, missing.text);
        return;
    }
    const bool generated = input.darkMean.format() == QImage::Format_Grayscale16
                               ? create_shading_map16()
                               : create_shading_map();
    if (generated) {
        ui->btnSaveMapToFile->setEnabled(true);
        ui->btnUploadMapToCam->setEnabled(!locked);
        OrxDialogs::instance().information(this, title, tr("Generate map successful!"));
    } else {
        OrxDialogs::instance().critical(this, title, NucImageInput::generationFailedText());
    }
}

void OrxNUShadingCorrection::shading_map_reset()
{
    ui->btnUploadMapToCam->setEnabled(false);
    ui->btnSaveMapToFile->setEnabled(false);
}

void OrxNUShadingCorrection::setEndianess(bool value)
{
    endianess = value;
}

// ---- Map files ---------------------------------------------------------------

void OrxNUShadingCorrection::getBinMap(unsigned short* out)
{
    NucMapPacking::getBinMap(input.darkParams, input.brightParams, input.bitDepth,
                             NucMapPacking::swapsWords(noMapSelector, hasNucControl, endianess),
                             out);
}

bool OrxNUShadingCorrection::SaveMap(QString const& path)
{
    QList<QByteArray> content;
    if (!noMapSelector) {
        QVector<quint16> words(int(input.brightParams.width * input.brightParams.height), 0);
        getBinMap(words.data());
        content << NucMapFile::binFile(quint32(mapId), input.brightParams.width,
                                       input.brightParams.height, words);
    }
    // Without map entries there is nothing to save into; the file is still
    // created, empty.
    const NucMapFile::SaveResult result = NucMapFile::save(path, content);
    if (result == NucMapFile::SaveResult::OpenFailed) {
        emit sendLogMessage(tr("Save Map: unable to open file '%1'").arg(path), LogError);
        return false;
    }
    return !noMapSelector && result == NucMapFile::SaveResult::Saved;
}

void OrxNUShadingCorrection::on_btnSaveMapToFile_clicked()
{
    const QString title = tr("Save Map");
    bool saved = false;
    if (hasNucControl) {
        saved = SaveDopoMap(QString());
    } else if (noMapSelector) {
        OrxDialogs::instance().information(this, title,
                                           tr("Save to file failed: FileAccess is not supported"));
        return;
    } else {
        const QString extension = ".bin";
        QString path = OrxDialogs::instance().getSaveFileName(this, tr("Export Map"), lastMapDir,
                                                              tr("Bin (*%1)").arg(extension));
        if (path.isEmpty())
            return;
        if (!path.endsWith(extension, Qt::CaseInsensitive))
            path += extension;
        saved = SaveMap(path);
    }
    OrxDialogs::instance().information(
        this, title, saved ? tr("Save to file successful!") : tr("Save to file failed!"));
}

void OrxNUShadingCorrection::rememberMapDir(const QString& filePath)
{
    const QString dir = directoryOf(filePath);
    if (dir != lastMapDir) {
        OrxSettings::getInstance()->Set("Directory", "SHCSettingsFileDir", dir);
        lastMapDir = dir;
    }
}

bool OrxNUShadingCorrection::LoadMap()
{
    const QString path = OrxDialogs::instance().getOpenFileName(nullptr, tr("Import Map"),
                                                                lastMapDir, tr("bin (*.bin)"));
    if (path.isEmpty())
        return false;

    bool loaded = false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        OrxDialogs::instance().information(this, tr("Open File Failed "), QString());
    } else {
        // A refused file leaves the maps as they were; only a file that reads
        // replaces them.
        NucFloatMap map;
        QString error;
        if (map.read(file, &error)) {
            // Only the bright series' size governs packing; the dark series'
            // size and both image counts stay as they are.
            input.brightParams.width = map.width;
            input.brightParams.height = map.height;
            input.darkParams.map = std::move(map.offsets);
            input.brightParams.map = std::move(map.gains);
            loaded = true;
        } else {
            emit sendLogMessage(tr("Import Map '%1': %2").arg(path, error), LogError);
            OrxDialogs::instance().information(this, tr("fread exception"), QString());
        }
    }
    rememberMapDir(path);
    file.close();
    if (!loaded)
        OrxDialogs::instance().information(this, tr("Load Map Failed"), QString());
    return loaded;
}

bool OrxNUShadingCorrection::SaveDopoMap(QString dir)
{
    if (dir.isEmpty()) {
        // The start folder is looked up under the last map folder's text as
        // key; normally absent, so the dialog starts without a folder.
        const QString start =
            lastMapDir.isEmpty()
                ? QString()
                : OrxSettings::getInstance()->Get("Directory", lastMapDir, QVariant()).toString();
        dir = OrxDialogs::instance().getExistingDirectory(this, tr("Open Directory"), start);
        // A cancelled dialog would leave a path in the root folder.
        if (dir.isEmpty())
            return false;
        OrxSettings::getInstance()->Set("Directory", "SHCSettingsFileDir", dir);
    }
    const QString path =
        dir + "//" + ui->cmbShadingMapSelector->currentData(Qt::UserRole).toString();

    QVector<quint16> words(int(input.brightParams.width * input.brightParams.height), 0);
    getBinMap(words.data());
    const NucMapFile::SaveResult result =
        NucMapFile::save(path, NucMapFile::userMapFileParts(input.brightParams.width,
                                                            input.brightParams.height, words));
    if (result == NucMapFile::SaveResult::OpenFailed)
        return false;
    rememberMapDir(path);
    return result == NucMapFile::SaveResult::Saved;
}

// ---- Targets and camera row --------------------------------------------------

void OrxNUShadingCorrection::on_Reset_clicked()
{
    ui->TargetGainEdit->setText(QString::number(double(NucTargets::DefaultGain), 'g', 6));
    ui->TargetOffsetEdit->setText(QString::number(NucTargets::DefaultOffset));
}

void OrxNUShadingCorrection::on_TargetOffsetEdit_editingFinished()
{
    bool ok = false;
    NucTargets::parseOffset(ui->TargetOffsetEdit->text(), &ok);
    if (!ok)
        ui->TargetOffsetEdit->setText(QString::number(NucTargets::DefaultOffset));
}

void OrxNUShadingCorrection::on_TargetGainEdit_editingFinished()
{
    bool ok = false;
    NucTargets::parseGain(ui->TargetGainEdit->text(), &ok);
    if (!ok)
        ui->TargetGainEdit->setText(QString::number(double(NucTargets::DefaultGain), 'g', 6));
}

void OrxNUShadingCorrection::on_btnCloseCamera_clicked()
{
    ui->lblCameraName->setText(QString());
    emit cameraCloseRequested();
}
