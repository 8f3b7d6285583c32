#include "OrxNUShadingCorrection.h"

#include "NucFloatMap.h"
#include "NucMapFile.h"
#include "NucMapPacking.h"
#include "NucMapPipeline.h"
#include "NucTargets.h"
#include "OrxDialogs.h"
#include "OrxPixmapLabel.h"
#include "OrxSettings.h"
#include "OxCamera.h"
#include "OxFeatureContainer.h"
#include "OxMapEntry.h"
#include "ui_OrxNUShadingCorrection.h"

#include <QApplication>
#include <QComboBox>
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

// Item data roles of the map selector's entries.
constexpr int UserMapFileRole = Qt::UserRole;      // "nuc_usermap<k>.ge3"
constexpr int ReadBlockedRole = Qt::UserRole + 1;  // File Access refuses reading
constexpr int WriteBlockedRole = Qt::UserRole + 2; // File Access refuses writing
constexpr int ChunkIdRole = Qt::UserRole + 3;      // the entry's map id

// Registers of cameras that take shading maps by raw memory writes.
constexpr unsigned int ShadingControlRegister = 0x105FFFE0;
constexpr unsigned int ShadingMapSelectRegister = 0x105FFFE4;

// Map ids of the slots that hold a shading map this program can make.
bool isShadingMapId(qint64 id)
{
    return (id <= 8193 && (id >= 8192 || id == 2432)) || id == 8196;
}

QStringList entryNames(OxFeatureContainer* features, const char* name)
{
    return features != nullptr ? features->GetEntryNames(name) : QStringList();
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
    connect(&fileTaskWatcher, &QFutureWatcher<bool>::finished, this,
            &OrxNUShadingCorrection::finishFileTask, Qt::UniqueConnection);
    connect(ui->cmbShadingMapSelector, QOverload<int>::of(&QComboBox::activated), this,
            &OrxNUShadingCorrection::enableButtons);
}

OrxNUShadingCorrection::~OrxNUShadingCorrection()
{
    // A transfer still running works on the camera; it has to end first.
    fileTaskWatcher.waitForFinished();
    delete camera;
    delete ui;
}

// ---- Camera binding ------------------------------------------------------------

bool OrxNUShadingCorrection::Init(OxCamera* newCamera)
{
    camera = newCamera;
    featureContainer = camera != nullptr ? camera->GetFeatureContainer() : nullptr;
    const QString name = camera != nullptr ? camera->GetCameraName() : QString();
    const QString firmware = camera != nullptr ? camera->GetCameraManufacturerInfo() : QString();
    ui->lblCameraName->setText(name + tr("\nFirmware: ") + firmware);

    endianess = camera != nullptr && camera->IsBigEndian();
    noMapSelector = false;
    input.bitDepth = 0;
    input.width = 0;
    input.height = 0;
    imageFormat = QImage::Format_Indexed8;
    ui->TargetOffsetEdit->setText(QString::number(NucTargets::DefaultOffset));

    OrxSettings* settings = OrxSettings::getInstance();
    lastImageDir = settings->Get("Directory", "SaveImageDir", QVariant()).toString();
    lastMapDir = settings->Get("Directory", "SHCSettingsFileDir", QVariant()).toString();

    addShadingMapEntries();
    if (ui->cmbShadingMapSelector->count() == 0)
        noMapSelector = true;
    addUserMapEntries();
    probeFileAccess();

    // A Reset of an earlier camera let go of the transfer's end report.
    connect(&fileTaskWatcher, &QFutureWatcher<bool>::finished, this,
            &OrxNUShadingCorrection::finishFileTask, Qt::UniqueConnection);
    enableButtons();
    initTranferProgress();
    return ui->cmbShadingMapSelector->count() > 0;
}

void OrxNUShadingCorrection::addShadingMapEntries()
{
    const QStringList files = entryNames(featureContainer, "FileSelector");
    // Cameras that number their map slots from 1 keep maps of another kind.
    if (!files.contains(QStringLiteral("ShadingMap") + QStringLiteral("0")))
        return;
    for (const QString& file : files) {
        if (!file.startsWith(QStringLiteral("ShadingMap")))
            continue;
        if (!featureContainer->SetValue("FileSelector", file))
            continue;
        QVariant chunkId;
        const qint64 id = featureContainer->GetValue("FileChunkId", chunkId)
                              ? chunkId.toLongLong()
                              : qint64(NucTargets::DefaultMapId);
        if (!isShadingMapId(id))
            continue;
        ui->cmbShadingMapSelector->addItem(file);
        ui->cmbShadingMapSelector->setItemData(ui->cmbShadingMapSelector->count() - 1, int(id),
                                               ChunkIdRole);
    }
}

void OrxNUShadingCorrection::addUserMapEntries()
{
    const QStringList entries = entryNames(featureContainer, "NucControl");
    if (entries.isEmpty()) {
        hasNucControl = false;
        return;
    }
    for (const OxMapEntry& entry : OxMapEntry::userMaps(entries))
        ui->cmbShadingMapSelector->addItem(entry.name, entry.fileName);
    ui->targetUserMapFileWidget->show();
    hasNucControl = true;
}

void OrxNUShadingCorrection::probeFileAccess()
{
    QComboBox* selector = ui->cmbShadingMapSelector;
    if (selector->count() == 0 || selector->currentIndex() < 0)
        return;
    fileAccessAvailable = true;
    for (int i = 0; i < selector->count(); ++i) {
        bool readBlocked = false;
        bool writeBlocked = false;
        if (featureContainer->SetValue("FileSelector", selector->itemText(i)))
            camera->GetFileAccessMode(&readBlocked, &writeBlocked);
        selector->setItemData(i, readBlocked, ReadBlockedRole);
        selector->setItemData(i, writeBlocked, WriteBlockedRole);
    }
}

void OrxNUShadingCorrection::enableButtons()
{
    const bool imagesLoaded = quint64(input.width) * input.height != 0;
    bool uploadAllowed = false;
    if (noMapSelector) {
        ui->btnDownloadMapToFile->setEnabled(true);
        uploadAllowed = fileAccessAvailable;
    } else {
        const bool readBlocked = ui->cmbShadingMapSelector->currentData(ReadBlockedRole).toBool();
        const bool writeBlocked = ui->cmbShadingMapSelector->currentData(WriteBlockedRole).toBool();
        ui->btnDownloadMapToFile->setEnabled(!readBlocked);
        uploadAllowed = fileAccessAvailable && !writeBlocked;
    }
    ui->btnUploadLocalMap->setEnabled(uploadAllowed);
    ui->btnUploadMapToCam->setEnabled(uploadAllowed && imagesLoaded);
    ui->btnSaveMapToFile->setEnabled(imagesLoaded);
    if (noMapSelector && !hasNucControl)
        ui->btnDownloadMapToFile->setEnabled(false);
}

void OrxNUShadingCorrection::Reset()
{
    QFuture<bool> task = fileTaskWatcher.future();
    if (task.isRunning())
        task.cancel();
    fileTaskWatcher.waitForFinished();
    // The end of a task cut short here must not report on a camera that is gone.
    disconnect(&fileTaskWatcher, &QFutureWatcher<bool>::finished, this,
               &OrxNUShadingCorrection::finishFileTask);

    delete camera;
    camera = nullptr;
    featureContainer = nullptr;
    input.reset();
    ui->listDarkImagePath->clear();
    ui->listBrightImagePath->clear();
    ui->btnDeleteDarkImage->setEnabled(false);
    ui->btnDeleteBrightImage->setEnabled(false);
    ui->lblMeanImageDark->setImage(QImage());
    ui->lblMeanImageBright->setImage(QImage());
    ui->cmbShadingMapSelector->clear();
    ui->targetUserMapFileWidget->hide();
    input.width = 0;
    input.height = 0;
    imageFormat = QImage::Format_Grayscale16;
    endianess = true;
    noMapSelector = false;
    registerAccess = false;
    input.bitDepth = 0;
    fileAccessAvailable = false;
    mapId = NucTargets::DefaultMapId;
}

void OrxNUShadingCorrection::finishFileTask()
{
    const QString task = fileTaskWatcher.objectName();
    const QString title = tr("File Access");
    const QFuture<bool> future = fileTaskWatcher.future();
    const bool succeeded =
        !fileTaskWatcher.isCanceled() && future.resultCount() > 0 && future.resultAt(0);
    if (succeeded) {
        OrxDialogs::instance().information(this, title,
                                           tr("%1 task has been successfully done.").arg(task));
        enableButtons();
        return;
    }
    OrxDialogs::instance().information(this, title,
                                       tr("%1 Error occurs during File Access.").arg(task));
    enableButtons();
    if (task.contains(QStringLiteral("Upload Local File"), Qt::CaseSensitive))
        ui->btnUploadMapToCam->setEnabled(false);
}

bool OrxNUShadingCorrection::SaveSettingsToUserSet()
{
    const bool saved = camera != nullptr && camera->SaveToUserSet();
    if (saved)
        OrxDialogs::instance().information(this, tr("User Set Control"),
                                           tr("Save settings successful"));
    return saved;
}

void OrxNUShadingCorrection::SaveSettignsToUserSet() {}

bool OrxNUShadingCorrection::isParamlocked()
{
    QVariant locked;
    return featureContainer != nullptr && featureContainer->GetValue("TLParamsLocked", locked) &&
           locked.toLongLong() == 1;
}

bool OrxNUShadingCorrection::isRegisterAccessUsed()
{
    return registerAccess;
}

// ---- Shading correction on the camera -------------------------------------------

bool OrxNUShadingCorrection::GetRegValue(unsigned int address, unsigned int* value)
{
    return camera != nullptr && camera->ReadRegister(address, value);
}

bool OrxNUShadingCorrection::SetRegValue(unsigned int address, unsigned int value)
{
    return camera != nullptr && camera->WriteRegister(address, value);
}

bool OrxNUShadingCorrection::getShadingCorrectionControlEnable(bool* on)
{
    if (hasNucControl || on == nullptr)
        return false;
    if (registerAccess) {
        unsigned int value = 0;
        if (!GetRegValue(ShadingControlRegister, &value))
            return false;
        *on = value == 1;
        return true;
    }
    QVariant value;
    if (featureContainer == nullptr || !featureContainer->GetValue("Shading_Control", value))
        return false;
    *on = value.toLongLong() != 0;
    return true;
}

bool OrxNUShadingCorrection::setShadingCorrectionControlEnable(bool on)
{
    if (hasNucControl)
        return false;
    if (registerAccess)
        return SetRegValue(ShadingControlRegister, on ? 1u : 0u);
    return featureContainer != nullptr &&
           featureContainer->SetValue("Shading_Control", QVariant(qlonglong(on ? 1 : 0)));
}

bool OrxNUShadingCorrection::getSelectedShadingCorrectionMap(QVariant& map)
{
    if (hasNucControl)
        return featureContainer != nullptr && featureContainer->GetValue("NucControl", map);
    if (registerAccess) {
        unsigned int value = 0;
        if (!GetRegValue(ShadingMapSelectRegister, &value))
            return false;
        map = value;
        return true;
    }
    return featureContainer != nullptr && featureContainer->GetValue("Shading_MapSelect", map);
}

bool OrxNUShadingCorrection::setSelectedShadingCorrectionMap(QVariant const& map)
{
    if (hasNucControl) {
        // User maps are chosen by SetUserMap; this only passes the value on.
        if (featureContainer != nullptr)
            featureContainer->SetValue("NucControl", map);
        return false;
    }
    if (registerAccess)
        return camera != nullptr && camera->WriteRegister(ShadingMapSelectRegister, map.toUInt());
    return featureContainer != nullptr && featureContainer->SetValue("Shading_MapSelect", map);
}

OrxNUShadingCorrection::SeriesWidgets OrxNUShadingCorrection::widgets(int which) const
{
    if (which == 1)
        return {ui->listDarkImagePath, ui->lblMeanImageDark, ui->btnDeleteDarkImage};
    return {ui->listBrightImagePath, ui->lblMeanImageBright, ui->btnDeleteBrightImage};
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
        mapId = ui->cmbShadingMapSelector->currentData(ChunkIdRole).toInt();
    return NucMapPipeline::generate(input, targetGain(), targetOffset(), false);
}

bool OrxNUShadingCorrection::create_shading_map16()
{
    if (!noMapSelector)
        mapId = ui->cmbShadingMapSelector->currentData(ChunkIdRole).toInt();
    return NucMapPipeline::generate(input, targetGain(), targetOffset(), true);
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
        OrxDialogs::instance().critical(this, title, NucMapPipeline::generationFailedText());
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

NucMapPipeline::FileSpec OrxNUShadingCorrection::mapFileSpec(NucMapFile::Kind kind) const
{
    return {kind, quint32(mapId),
            NucMapPacking::swapsWords(noMapSelector, hasNucControl, endianess)};
}

bool OrxNUShadingCorrection::SaveMap(QString const& path)
{
    // Without map entries there is nothing to save into; the file is still
    // created, empty.
    const QByteArray content =
        noMapSelector ? QByteArray()
                      : NucMapPipeline::fileImage(input, mapFileSpec(NucMapFile::Kind::Bin));
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
    if (hasNucControl)
        return LoadDopoMap(QString());
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
        dir + "//" + ui->cmbShadingMapSelector->currentData(UserMapFileRole).toString();

    const NucMapFile::SaveResult result = NucMapFile::save(
        path, NucMapPipeline::fileImage(input, mapFileSpec(NucMapFile::Kind::UserMap)));
    if (result == NucMapFile::SaveResult::OpenFailed)
        return false;
    rememberMapDir(path);
    return result == NucMapFile::SaveResult::Saved;
}

void OrxNUShadingCorrection::SetUserMap(QString name)
{
    const int k =
        ui->cmbShadingMapSelector->findText(name, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (k < 0)
        return;
    // The camera numbers its user maps after its off and factory settings.
    if (featureContainer != nullptr)
        featureContainer->SetValue("nucControl", QVariant(qlonglong(k + 5)));
    ui->cmbShadingMapSelector->setCurrentIndex(k);
}

bool OrxNUShadingCorrection::LoadDopoMap(QString dir)
{
    QString path;
    if (!dir.isEmpty()) {
        path = dir + "//" + ui->cmbShadingMapSelector->currentData(UserMapFileRole).toString();
    } else {
        path = OrxDialogs::instance().getOpenFileName(nullptr, tr("Import Map"), lastMapDir,
                                                      tr("ge3 (nuc_usermap*.ge3)"));
        if (path.isEmpty())
            return false;
    }
    const QString fileName = QFileInfo(path).fileName();
    if (!hasNucControl && ui->cmbShadingMapSelector->findText(
                              fileName, Qt::MatchExactly | Qt::MatchCaseSensitive) < 0) {
        OrxDialogs::instance().information(this, tr("Load User Map"),
                                           tr("Invalid user map file name"));
        return false;
    }
    SetUserMap(ui->cmbShadingMapSelector->currentText());
    long bytesWritten = 0;
    const bool uploaded =
        camera != nullptr &&
        camera->UploadLocalFile(QFile::encodeName(fileName).constData(),
                                QFile::encodeName(path).constData(), "Userfile", &bytesWritten);
    rememberMapDir(path);
    return uploaded;
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
