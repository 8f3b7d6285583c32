#include "OrxNUShadingCorrection.h"

#include "NucContrastStretch.h"
#include "NucMapPacking.h"
#include "NucMapPipeline.h"
#include "NucMapStatistics.h"
#include "NucMapTransfer.h"
#include "NucTargets.h"
#include "OrxCameraActions.h"
#include "OrxDialogs.h"
#include "OrxMapView.h"
#include "OrxPixmapLabel.h"
#include "OrxSettings.h"
#include "OxCamera.h"
#include "ui_OrxNUShadingCorrection.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QItemSelectionModel>
#include <QProgressDialog>
#include <QThread>

#include <atomic>
#include <limits>

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
    : QWidget(parent), model(input, *this), ui(new Ui::OrxNUShadingCorrection)
{
    qRegisterMetaType<LogType>("LogType");
    ui->setupUi(this);
    // Until the first image of a camera session the depth is that of the
    // default 16-bit image format.
    input.bitDepth = 16;

    for (Series which : {Series::Dark, Series::Bright}) {
        const SeriesWidgets w = widgets(which);
        QPushButton* button = w.deleteButton;
        QItemSelectionModel* selection = w.list->selectionModel();
        connect(selection, &QItemSelectionModel::selectionChanged, button,
                [button, selection] { button->setEnabled(selection->hasSelection()); });
    }
    connect(&fileTaskWatcher, &QFutureWatcher<bool>::finished, this,
            &OrxNUShadingCorrection::finishFileTask, Qt::UniqueConnection);
    // Beside the download: a backup kept before an upload goes back.
    restoreButton = new QPushButton(tr("Restore Previous Map…"), this);
    restoreButton->setObjectName(QStringLiteral("btnRestorePreviousMap"));
    restoreButton->setEnabled(false);
    connect(restoreButton, &QPushButton::clicked, this,
            [this] { model.transfer().restoreBackup(); });
    // Any map file, of this camera or not, in the map view.
    auto* openMapButton = new QPushButton(tr("Open Map File…"), this);
    openMapButton->setObjectName(QStringLiteral("btnOpenMapFile"));
    connect(openMapButton, &QPushButton::clicked, this, &OrxNUShadingCorrection::openMapFile);
    // The main actions from the keyboard; a tooltip names each key.
    const std::pair<QPushButton*, QKeySequence> shortcuts[] = {
        {ui->btnGenerateMap, QKeySequence(Qt::CTRL + Qt::Key_G)},
        {ui->btnSaveMapToFile, QKeySequence::Save},
        {ui->btnUploadMapToCam, QKeySequence(Qt::CTRL + Qt::Key_U)},
        {ui->btnUploadLocalMap, QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_U)},
        {ui->btnDownloadMapToFile, QKeySequence(Qt::CTRL + Qt::Key_D)},
        {openMapButton, QKeySequence::Open}};
    for (const auto& [button, keys] : shortcuts) {
        button->setShortcut(keys);
        button->setToolTip(keys.toString(QKeySequence::NativeText));
    }
    // The selector shows the model's slots; its current entry is the model's.
    connect(ui->cmbShadingMapSelector, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this](int index) { model.setCurrent(index); });
    connect(ui->cmbShadingMapSelector, QOverload<int>::of(&QComboBox::activated), this,
            &OrxNUShadingCorrection::enableButtons);
    addCameraButtons();
    // Two rows under the transfers, so that a small window still shows them
    // all: Verify Correction beside Restore, then Open Map File.
    const int verifyRow = ui->layoutTransfers->rowCount() - 1;
    ui->layoutTransfers->addWidget(restoreButton, verifyRow, 1);
    ui->layoutTransfers->addWidget(openMapButton, verifyRow + 1, 0, 1, 2);
    // One switch for both tabs: the mean images as they are, or stretched
    // so that a dark one is not solid black.
    stretchBox = new QCheckBox(tr("Stretch Contrast"), this);
    stretchBox->setObjectName(QStringLiteral("chkContrastStretch"));
    stretchBox->setToolTip(tr("Show the mean images with their grey levels spread over the "
                              "whole range; the map is made from the images as they are"));
    stretchBox->setChecked(true);
    ui->tabWidget->setCornerWidget(stretchBox, Qt::TopRightCorner);
    connect(stretchBox, &QCheckBox::toggled, this, [this] {
        for (Series which : {Series::Dark, Series::Bright})
            showMean(which);
    });
}

void OrxNUShadingCorrection::addCameraButtons()
{
    for (Series which : {Series::Dark, Series::Bright}) {
        auto* button = new QPushButton(tr("Acquire..."), this);
        button->setObjectName(which == Series::Dark ? "btnAcquireDarkImages"
                                                    : "btnAcquireBrightImages");
        button->setEnabled(false);
        QBoxLayout* column =
            which == Series::Dark ? ui->layoutDarkButtons : ui->layoutBrightButtons;
        column->insertWidget(column->indexOf(widgets(which).deleteButton) + 1, button);
        connect(button, &QPushButton::clicked, this, [this, which] { acquireFrames(which); });
        acquireButtons[which] = button;
    }
    verifyButton = new QPushButton(tr("Verify Correction"), this);
    verifyButton->setObjectName("btnVerifyCorrection");
    verifyButton->setEnabled(false);
    ui->layoutTransfers->addWidget(verifyButton, ui->layoutTransfers->rowCount(), 0);
    connect(verifyButton, &QPushButton::clicked, this, &OrxNUShadingCorrection::verifyCorrection);
}

void OrxNUShadingCorrection::acquireFrames(Series which)
{
    const QStringList items = OrxCameraActions::acquire(this, input, which, model.camera());
    if (items.isEmpty())
        return;
    const SeriesWidgets w = widgets(which);
    for (const QString& text : items) {
        auto* item = new QListWidgetItem(text, w.list);
        // A frame kept in no file cannot be read again to be taken out.
        if (!QFileInfo::exists(text))
            item->setFlags(item->flags() & ~Qt::ItemIsSelectable);
    }
    showMean(which);
    enableButtons();
}

void OrxNUShadingCorrection::verifyCorrection()
{
    OrxCameraActions::verify(this, model.camera(), model.currentSlot(), input);
}

OrxNUShadingCorrection::~OrxNUShadingCorrection()
{
    // A transfer still running works on the camera; it has to end first,
    // unreported.
    disconnect(&fileTaskWatcher, &QFutureWatcher<bool>::finished, this,
               &OrxNUShadingCorrection::finishFileTask);
    waitForFileTask();
    delete ui;
}

// ---- Camera binding ------------------------------------------------------------

bool OrxNUShadingCorrection::Init(OxCamera* camera)
{
    const QString name = camera != nullptr ? camera->GetCameraName() : QString();
    const QString firmware = camera != nullptr ? camera->GetCameraManufacturerInfo() : QString();
    ui->lblCameraName->setText(name + tr("\nFirmware: ") + firmware);

    input.bitDepth = 0;
    input.width = 0;
    input.height = 0;
    imageFormat = QImage::Format_Indexed8;
    ui->TargetOffsetEdit->setText(QString::number(NucTargets::DefaultOffset));
    lastImageDir =
        OrxSettings::getInstance()->Get("Directory", "SaveImageDir", QVariant()).toString();

    model.init(camera);
    ui->cmbShadingMapSelector->clear();
    for (const NucMapSlot& slot : model.mapSlots())
        ui->cmbShadingMapSelector->addItem(slot.name);
    ui->targetUserMapFileWidget->setVisible(model.hasNucControl());

    // A Reset of an earlier camera let go of the transfer's end report.
    connect(&fileTaskWatcher, &QFutureWatcher<bool>::finished, this,
            &OrxNUShadingCorrection::finishFileTask, Qt::UniqueConnection);
    enableButtons();
    initTranferProgress();
    return !model.mapSlots().isEmpty();
}

void OrxNUShadingCorrection::enableButtons()
{
    const bool imagesLoaded = quint64(input.width) * input.height != 0;
    const bool uploadAllowed = model.uploadAllowed();
    ui->btnDownloadMapToFile->setEnabled(model.downloadAllowed());
    ui->btnUploadLocalMap->setEnabled(uploadAllowed);
    restoreButton->setEnabled(uploadAllowed && !model.registerAccess());
    ui->btnUploadMapToCam->setEnabled(uploadAllowed && imagesLoaded);
    ui->btnSaveMapToFile->setEnabled(imagesLoaded);
    const bool cameraOpen = model.camera() != nullptr;
    for (QPushButton* acquire : acquireButtons)
        acquire->setEnabled(cameraOpen);
    verifyButton->setEnabled(cameraOpen && !model.mapSlots().isEmpty());
}

void OrxNUShadingCorrection::Reset()
{
    QFuture<bool> task = fileTaskWatcher.future();
    if (task.isRunning())
        task.cancel();
    // The end of a task cut short here must not report on a camera that is gone.
    disconnect(&fileTaskWatcher, &QFutureWatcher<bool>::finished, this,
               &OrxNUShadingCorrection::finishFileTask);
    waitForFileTask();

    model.reset();
    input.reset();
    ui->listDarkImagePath->clear();
    ui->listBrightImagePath->clear();
    ui->btnDeleteDarkImage->setEnabled(false);
    ui->btnDeleteBrightImage->setEnabled(false);
    ui->lblMeanImageDark->setImage(QImage());
    ui->lblMeanImageBright->setImage(QImage());
    ui->cmbShadingMapSelector->clear();
    ui->targetUserMapFileWidget->hide();
    imageFormat = QImage::Format_Grayscale16;
    for (QPushButton* acquire : acquireButtons)
        acquire->setEnabled(false);
    verifyButton->setEnabled(false);
}

bool OrxNUShadingCorrection::SaveSettingsToUserSet()
{
    const bool saved = model.camera() != nullptr && model.camera()->SaveToUserSet();
    if (saved)
        OrxDialogs::instance().information(this, tr("User Set Control"),
                                           tr("Save settings successful"));
    return saved;
}

void OrxNUShadingCorrection::SaveSettignsToUserSet() {}

bool OrxNUShadingCorrection::isParamlocked()
{
    return model.isParamlocked();
}

bool OrxNUShadingCorrection::isRegisterAccessUsed()
{
    return model.registerAccess();
}

// ---- Shading correction on the camera -------------------------------------------

bool OrxNUShadingCorrection::GetRegValue(unsigned int address, unsigned int* value)
{
    return model.camera() != nullptr && model.camera()->ReadRegister(address, value);
}

bool OrxNUShadingCorrection::SetRegValue(unsigned int address, unsigned int value)
{
    return model.camera() != nullptr && model.camera()->WriteRegister(address, value);
}

bool OrxNUShadingCorrection::getShadingCorrectionControlEnable(bool* on)
{
    return model.transfer().shadingCorrectionEnabled(on);
}

bool OrxNUShadingCorrection::setShadingCorrectionControlEnable(bool on)
{
    return model.transfer().setShadingCorrectionEnabled(on);
}

bool OrxNUShadingCorrection::getSelectedShadingCorrectionMap(QVariant& map)
{
    return model.transfer().selectedMap(map);
}

bool OrxNUShadingCorrection::setSelectedShadingCorrectionMap(QVariant const& map)
{
    return model.transfer().selectMap(map);
}

OrxNUShadingCorrection::SeriesWidgets OrxNUShadingCorrection::widgets(Series which) const
{
    if (which == Series::Dark)
        return {ui->listDarkImagePath, ui->lblMeanImageDark, ui->btnDeleteDarkImage};
    return {ui->listBrightImagePath, ui->lblMeanImageBright, ui->btnDeleteBrightImage};
}

// ---- Image input -----------------------------------------------------------

bool OrxNUShadingCorrection::loadImagefromFile(QString const& path, Series which)
{
    NucImageInput::Message message;
    const bool loaded = input.loadImagefromFile(path, which, &message);
    if (loaded) {
        showMean(which);
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

void OrxNUShadingCorrection::showMean(Series which)
{
    const QImage& mean = *input.meanImage(which);
    widgets(which).meanLabel->setImage(stretchBox->isChecked() ? NucContrastStretch::stretched(mean)
                                                               : mean);
}

void OrxNUShadingCorrection::_addSelectedFiles(Series which)
{
    const QStringList paths = OrxDialogs::instance().getOpenFileNames(
        nullptr, tr("Image paths"), lastImageDir, tr("Images (*.* )"));
    if (paths.isEmpty())
        return;

    QListWidget* list = widgets(which).list;
    // Shown only when loading takes a while; cancelling keeps what is loaded.
    QProgressDialog progress(tr("Loading images..."), tr("Cancel"), 0, paths.size(), this);
    progress.setWindowTitle(tr("Image paths"));
    progress.setWindowModality(Qt::WindowModal);
    // Shown at once for several files, never later: a progress dialog that
    // appears after a while would open over a refusal box waiting for its
    // answer. A single file shows none.
    progress.setMinimumDuration(paths.size() > 1 ? 0 : std::numeric_limits<int>::max());
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
    _addSelectedFiles(Series::Dark);
}

void OrxNUShadingCorrection::on_btnAddBrightImage_clicked()
{
    WaitCursor wait;
    _addSelectedFiles(Series::Bright);
}

void OrxNUShadingCorrection::deleteImagefromParams(QString const& path, Series which)
{
    input.deleteImagefromParams(path, which);
    showMean(which);
}

void OrxNUShadingCorrection::_deleteSelectedFiles(Series which)
{
    // Every file is read again from disk to be taken out of the series.
    for (QListWidgetItem* item : widgets(which).list->selectedItems()) {
        deleteImagefromParams(item->text(), which);
        delete item;
    }
}

void OrxNUShadingCorrection::_deleteButtonClicked(Series which)
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
    _deleteButtonClicked(Series::Dark);
}

void OrxNUShadingCorrection::on_btnDeleteBrightImage_clicked()
{
    _deleteButtonClicked(Series::Bright);
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
    model.takeMapIdOfCurrent();
    return NucMapPipeline::generate(input, targetGain(), targetOffset(), false);
}

bool OrxNUShadingCorrection::create_shading_map16()
{
    model.takeMapIdOfCurrent();
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
        showGeneratedMap();
        logGeneration(mapView->statistics());
    } else {
        OrxDialogs::instance().critical(this, title, NucMapPipeline::generationFailedText());
    }
}

OrxMapView* OrxNUShadingCorrection::mapWindow()
{
    if (mapView == nullptr) {
        mapView = new OrxMapView(this);
        mapView->setWindowFlag(Qt::Window);
        mapView->resize(900, 600);
    }
    return mapView;
}

void OrxNUShadingCorrection::showGeneratedMap()
{
    QStringList saturation;
    const QString warning = NucMapStatistics::saturationWarning(input.brightMean);
    if (!warning.isEmpty())
        saturation << warning;
    mapWindow()->setMap(model.packedMap(), quint32(input.brightParams.width),
                        quint32(input.brightParams.height),
                        tr("Generated map for %1").arg(model.currentSlot().name), saturation);
    mapView->show();
    mapView->raise();
}

void OrxNUShadingCorrection::logGeneration(const NucMapStatistics& stats)
{
    auto images = [](quint32 count) {
        return count == 1 ? tr("1 image") : tr("%1 images").arg(count);
    };
    emit sendLogMessage(tr("Map generated from the dark series (%1) and the bright series (%2)")
                            .arg(images(input.darkParams.count), images(input.brightParams.count)),
                        LogInfo);
    emit sendLogMessage(tr("Clamped pixels: gain code 0: %1, gain code %2: %3, offset code 0: %4, "
                           "offset code %5: %6")
                            .arg(stats.gain.atZero)
                            .arg(NucMapStatistics::GainTop)
                            .arg(stats.gain.atTop)
                            .arg(stats.offset.atZero)
                            .arg(NucMapStatistics::OffsetTop)
                            .arg(stats.offset.atTop),
                        LogInfo);
}

void OrxNUShadingCorrection::openMapFile()
{
    const QString path = OrxDialogs::instance().getOpenFileName(
        this, tr("Open Map File"), model.storedMapDir(), tr("Map files (*.bin *.ge3)"));
    if (!path.isEmpty())
        showMapFile(path);
}

void OrxNUShadingCorrection::showMapFile(const QString& path)
{
    QString error;
    if (!mapWindow()->openFile(path, &error)) {
        emit sendLogMessage(error, LogError);
        OrxDialogs::instance().critical(this, tr("Open Map File"), error);
        return;
    }
    mapView->show();
    mapView->raise();
}

void OrxNUShadingCorrection::shading_map_reset()
{
    ui->btnUploadMapToCam->setEnabled(false);
    ui->btnSaveMapToFile->setEnabled(false);
}

// ---- Map files ---------------------------------------------------------------

void OrxNUShadingCorrection::setEndianess(bool value)
{
    model.setEndianess(value);
}

void OrxNUShadingCorrection::getBinMap(unsigned short* out)
{
    NucMapPacking::getBinMap(input.darkParams, input.brightParams, input.bitDepth,
                             model.swapsWords(), out);
}

bool OrxNUShadingCorrection::SaveMap(QString const& path)
{
    return model.saveMap(path);
}

void OrxNUShadingCorrection::on_btnSaveMapToFile_clicked()
{
    model.transfer().saveGeneratedMap();
}

bool OrxNUShadingCorrection::LoadMap()
{
    return model.transfer().importMap();
}

bool OrxNUShadingCorrection::SaveDopoMap(QString dir)
{
    return model.saveUserMap(dir);
}

void OrxNUShadingCorrection::SetUserMap(QString name)
{
    if (model.setUserMap(name))
        ui->cmbShadingMapSelector->setCurrentIndex(model.current());
}

bool OrxNUShadingCorrection::LoadDopoMap(QString dir)
{
    return model.loadUserMap(dir);
}

// ---- Transfers -----------------------------------------------------------------

void OrxNUShadingCorrection::on_btnUploadMapToCam_clicked()
{
    if (isParamlocked()) {
        OrxDialogs::instance().critical(this, tr("Upload Map"),
                                        tr("Stop streaming before uploading map to camera"));
        return;
    }
    if (!input.darkParams.map || !input.brightParams.map) {
        OrxDialogs::instance().information(this, tr("Upload Sahding Map"),
                                           tr("Upload failed: empty map"));
        emit sendLogMessage(tr("Upload failed: empty map!"), LogError);
        return;
    }
    if (isRegisterAccessUsed()) {
        upload_shading_map();
        return;
    }
    model.transfer().uploadGeneratedMap();
}

bool OrxNUShadingCorrection::upload_shading_map()
{
    return model.transfer().uploadMapByMemory();
}

bool OrxNUShadingCorrection::upload_dopo_map()
{
    model.transfer().uploadUserMap();
    return true;
}

void OrxNUShadingCorrection::on_btnUploadLocalMap_clicked()
{
    if (OrxDialogs::instance().question(
            this, tr("Upload Local Map"),
            tr("The uploaded map would overwrite the selected map '%1'.\nDo you want to proceed?")
                .arg(model.currentSlot().name),
            QMessageBox::Yes | QMessageBox::No) != QMessageBox::Yes)
        return;
    model.transfer().uploadLocalMap();
}

void OrxNUShadingCorrection::on_btnDownloadMapToFile_clicked()
{
    model.transfer().downloadMap();
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

// ---- The model's dialogs, log and file task --------------------------------------

void OrxNUShadingCorrection::information(const QString& title, const QString& text)
{
    OrxDialogs::instance().information(this, title, text);
}

bool OrxNUShadingCorrection::question(const QString& title, const QString& text, bool noByDefault)
{
    // Asked from the file task (a backup that failed): the box opens on the
    // panel's thread while the task waits for the answer.
    if (QThread::currentThread() != thread()) {
        // Atomic: the hand-back through Qt's blocking call is invisible to
        // ThreadSanitizer, which is not built into Qt.
        std::atomic<bool> answer{false};
        QMetaObject::invokeMethod(
            this, [&] { answer = !closingFileTask && question(title, text, noByDefault); },
            Qt::BlockingQueuedConnection);
        return answer;
    }
    return OrxDialogs::instance().question(this, title, text, QMessageBox::Yes | QMessageBox::No,
                                           noByDefault ? QMessageBox::No : QMessageBox::NoButton) ==
           QMessageBox::Yes;
}

QString OrxNUShadingCorrection::openFileName(Owner owner, const QString& title, const QString& dir,
                                             const QString& filter)
{
    return OrxDialogs::instance().getOpenFileName(owner == Owner::Panel ? this : nullptr, title,
                                                  dir, filter);
}

QString OrxNUShadingCorrection::saveFileName(const QString& title, const QString& dir,
                                             const QString& filter)
{
    return OrxDialogs::instance().getSaveFileName(this, title, dir, filter);
}

QString OrxNUShadingCorrection::existingDirectory(Owner owner, const QString& title,
                                                  const QString& dir, bool resolveLinks)
{
    QFileDialog::Options options = QFileDialog::ShowDirsOnly;
    if (!resolveLinks)
        options |= QFileDialog::DontResolveSymlinks;
    return OrxDialogs::instance().getExistingDirectory(owner == Owner::Panel ? this : nullptr,
                                                       title, dir, options);
}

int OrxNUShadingCorrection::chooseItem(const QString& title, const QString& label,
                                       const QStringList& items)
{
    return OrxDialogs::instance().getItem(this, title, label, items);
}

void OrxNUShadingCorrection::log(const QString& text, LogType type)
{
    emit sendLogMessage(text, type);
}
