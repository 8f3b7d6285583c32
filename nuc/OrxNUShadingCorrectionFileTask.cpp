// The panel's map transfers between host and camera: the generated map, a
// local map file and a download, all by File Access on a pool thread; the raw
// memory path and the User Set offer that follows it; the progress dialog.
#include "NucMapPacking.h"
#include "NucMapPipeline.h"
#include "OrxDialogs.h"
#include "OrxNUShadingCorrection.h"
#include "OrxSettings.h"
#include "OxCamera.h"
#include "ui_OrxNUShadingCorrection.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QProgressDialog>
#include <QtConcurrent>

#include <vector>

namespace {

// Where cameras that take maps by raw memory writes keep the shading map, and
// the size of one write there.
constexpr unsigned long RawMapAddress = 0x10100000;
constexpr quint32 RawBlockSize = 512;

std::vector<unsigned char> bytesOf(const QByteArray& data)
{
    return std::vector<unsigned char>(data.begin(), data.end());
}

QString failedSuffix(bool ok)
{
    return ok ? QString() : QStringLiteral(" failed");
}

} // namespace

// ---- Progress ------------------------------------------------------------------

void OrxNUShadingCorrection::initTranferProgress()
{
    if (transferProgressDialog == nullptr) {
        transferProgressDialog = new QProgressDialog(this);
        transferProgressDialog->setWindowFlags(transferProgressDialog->windowFlags() &
                                               ~Qt::WindowContextHelpButtonHint);
        transferProgressDialog->setWindowModality(Qt::WindowModal);
        transferProgressDialog->setWindowTitle(tr("Map Transfer..."));
        transferProgressDialog->setLabelText(tr("Please wait..."));
        transferProgressDialog->setCancelButton(nullptr);
        transferProgressDialog->setRange(0, 100);
        transferProgressDialog->setMinimumDuration(0);
        // A new progress dialog shows itself after a while on its own; it
        // stays hidden until a transfer sets its first value.
        transferProgressDialog->cancel();
    }
    // The camera reports from the transfer's pool thread: queued.
    if (camera != nullptr)
        connect(camera, &OxCamera::updateTransferProcess, this,
                &OrxNUShadingCorrection::progressBar_valueChanged, Qt::UniqueConnection);
}

void OrxNUShadingCorrection::progressBar_valueChanged(int64_t remaining, QString fileName,
                                                      QString fileOperation)
{
    Q_UNUSED(fileName)
    Q_UNUSED(fileOperation)
    // The first report of an upload comes after its first chunk, so the
    // total is what remained then and the bar starts at 0; a transfer whose
    // only report is the final 0 moves no bar.
    if (transferTotal == 0) {
        transferTotal = remaining;
        if ((remaining & 0xFFFFFFFF) == 0)
            return;
    }
    const qint32 total = qint32(transferTotal);
    const int percent = total == 0 ? 0 : int((total - remaining) * 100 / total);
    if (percent > 99) {
        // Cleared first: the modal dialog's final update processes events,
        // and a report still queued must start from nothing.
        transferTotal = 0;
        progressBarValueChanged(true, -1);
    } else {
        progressBarValueChanged(false, percent);
    }
}

void OrxNUShadingCorrection::progressBarValueChanged(bool finished, int value)
{
    QProgressDialog* dialog = transferProgressDialog;
    if (finished && value != -1) {
        if (dialog != nullptr)
            dialog->setLabelText(tr("Map transfer finished (save current settings)"));
        const QMessageBox::StandardButton answer = OrxDialogs::instance().question(
            this, tr("Map Transfer"),
            tr("Map transfer successful: do you want to store the map and current camera "
               "settings to the active User Set? (if <Default User Set> is active the changes "
               "will be stored in <User Set 1>)"),
            QMessageBox::Yes | QMessageBox::No);
        if (answer == QMessageBox::Yes)
            SaveSettingsToUserSet();
        if (dialog != nullptr) {
            dialog->setLabelText(tr("Map transfer..."));
            dialog->cancel();
        }
    } else if (finished) {
        if (dialog != nullptr) {
            dialog->setValue(100);
            dialog->cancel();
        }
        enableButtons();
    } else if (dialog != nullptr && dialog->value() != value) {
        const bool wasBlocked = dialog->blockSignals(true);
        dialog->setValue(value);
        dialog->blockSignals(wasBlocked);
    }
}

// ---- File Access transfers ----------------------------------------------------------

void OrxNUShadingCorrection::startFileTask(const QString& name, std::function<bool()> work)
{
    // One transfer at a time: the camera wrapper keeps no per-transfer state.
    ui->btnUploadMapToCam->setEnabled(false);
    ui->btnUploadLocalMap->setEnabled(false);
    ui->btnDownloadMapToFile->setEnabled(false);
    fileTaskWatcher.setObjectName(name);
    fileTaskWatcher.setFuture(QtConcurrent::run(std::move(work)));
}

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

    const QString name = ui->cmbShadingMapSelector->currentText();
    if (OrxDialogs::instance().question(
            this, tr("Upload Shadin Map"),
            tr("The uploaded map would overwrite the selected map '%1'.\nStart upload?").arg(name),
            QMessageBox::Yes | QMessageBox::No) != QMessageBox::Yes)
        return;

    const QByteArray image = NucMapPipeline::fileImage(input, mapFileSpec(NucMapFile::Kind::Bin));
    OxCamera* target = camera;
    startFileTask(QStringLiteral("Upload Generated Map"), [this, target, image, name] {
        long written = 0;
        // The entry's text names both the device file and the selector value.
        const QByteArray file = name.toUtf8();
        const bool ok = target != nullptr && target->UploadBuffer(bytesOf(image), file.constData(),
                                                                  file.constData(), &written);
        emit sendLogMessage(tr("Upload device file %1: %2 bytes written.")
                                .arg(name + failedSuffix(ok))
                                .arg(written),
                            ok ? LogInfo : LogError);
        return ok;
    });
}

bool OrxNUShadingCorrection::upload_dopo_map()
{
    const QString fileName = ui->cmbShadingMapSelector->currentData(Qt::UserRole).toString();
    const QByteArray image =
        NucMapPipeline::fileImage(input, mapFileSpec(NucMapFile::Kind::UserMap));
    OxCamera* target = camera;
    startFileTask(QStringLiteral("Upload"), [this, target, image, fileName] {
        long written = 0;
        const bool ok =
            target != nullptr && target->UploadBuffer(bytesOf(image), fileName.toUtf8().constData(),
                                                      "Userfile", &written);
        emit sendLogMessage(tr("Upload device file %1: %2 bytes written.")
                                .arg(fileName + failedSuffix(ok))
                                .arg(written),
                            ok ? LogInfo : LogError);
        return ok;
    });
    return true;
}

void OrxNUShadingCorrection::on_btnUploadLocalMap_clicked()
{
    const QString name = ui->cmbShadingMapSelector->currentText();
    if (OrxDialogs::instance().question(
            this, tr("Upload Local Map"),
            tr("The uploaded map would overwrite the selected map '%1'.\nDo you want to proceed?")
                .arg(name),
            QMessageBox::Yes | QMessageBox::No) != QMessageBox::Yes)
        return;

    if (hasNucControl) {
        LoadDopoMap(QString());
        return;
    }
    if (isRegisterAccessUsed()) {
        if (!LoadMap()) {
            OrxDialogs::instance().information(this, tr("Load Map"), tr("Load map failed!"));
            return;
        }
        if (upload_shading_map())
            OrxDialogs::instance().information(this, tr("Load Map"), tr("Load map successful!"));
        return;
    }

    const QString start =
        OrxSettings::getInstance()->Get("Directory", "SHCSettingsFileDir", QVariant()).toString();
    const QString path =
        OrxDialogs::instance().getOpenFileName(this, tr("Upload Local Map"), start, "*.bin");
    if (path.isEmpty())
        return;
    OxCamera* target = camera;
    startFileTask(QStringLiteral("Upload Local File"), [this, target, name, path] {
        long written = 0;
        const QByteArray file = name.toUtf8();
        const bool ok =
            target != nullptr &&
            target->UploadLocalFile(file.constData(), QFile::encodeName(path).constData(),
                                    file.constData(), &written);
        emit sendLogMessage(tr("Upload Local Map '%1'%2: %3 bytes written.")
                                .arg(name, failedSuffix(ok))
                                .arg(written),
                            ok ? LogInfo : LogError);
        return ok;
    });
    rememberMapDir(path);
}

void OrxNUShadingCorrection::on_btnDownloadMapToFile_clicked()
{
    if (isRegisterAccessUsed() && !hasNucControl) {
        emit sendLogMessage(tr("Download device file not supported!"), LogInfo);
        return;
    }
    const QString start =
        OrxSettings::getInstance()->Get("Directory", "SHCSettingsFileDir", QVariant()).toString();

    QString name = ui->cmbShadingMapSelector->currentText();
    QString selector = name;
    QString destination;
    if (hasNucControl) {
        selector = QStringLiteral("Userfile");
        name = ui->cmbShadingMapSelector->currentData(Qt::UserRole).toString();
        const QString dir = OrxDialogs::instance().getExistingDirectory(
            nullptr, tr("Download seelcted user map"), start, QFileDialog::ShowDirsOnly);
        // A cancelled chooser would name a file in the root folder.
        if (!dir.isEmpty())
            destination = dir + "/" + name;
    } else {
        destination = OrxDialogs::instance().getSaveFileName(this, tr("Download File As"), start,
                                                             tr("Bin (*.bin)"));
    }
    if (destination.isEmpty())
        return;
    if (hasNucControl && QFile::exists(destination) &&
        OrxDialogs::instance().question(
            this, tr("Overwrite File"), tr("The file already exists. Do you want to overwrite it?"),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::No) != QMessageBox::Yes)
        return;

    OxCamera* target = camera;
    startFileTask(QStringLiteral("Download"), [this, target, name, selector, destination] {
        long read = 0;
        const bool ok = target != nullptr &&
                        target->DownloadDeviceFile(QFile::encodeName(destination).constData(),
                                                   name.toUtf8().constData(),
                                                   selector.toUtf8().constData(), &read);
        // "written" also for downloads: the bytes written into the local file.
        emit sendLogMessage(
            tr("Download device file %1: %2 bytes written.").arg(name + failedSuffix(ok)).arg(read),
            ok ? LogInfo : LogError);
        // What a failed download read stays on disk; the operator must not
        // take it for a map.
        if (!ok && QFile::exists(destination))
            emit sendLogMessage(tr("Partial file left by the failed download: %1 (%2 bytes).")
                                    .arg(QDir::toNativeSeparators(destination))
                                    .arg(read),
                                LogWarning);
        return ok;
    });
    rememberMapDir(destination);
}

// ---- Raw memory path ------------------------------------------------------------------

bool OrxNUShadingCorrection::upload_shading_map()
{
    if (hasNucControl)
        return upload_dopo_map();
    if (!input.darkParams.map || !input.brightParams.map) {
        OrxDialogs::instance().information(this, tr("Upload Map"),
                                           tr("Upload failed: missing maps"));
        return false;
    }

    // The camera's memory takes the words in its own byte order.
    const quint32 pixels = input.brightParams.width * input.brightParams.height;
    QVector<quint16> words(int(pixels), 0);
    NucMapPacking::getBinMap(input.darkParams, input.brightParams, input.bitDepth, endianess,
                             words.data());
    const auto* bytes = reinterpret_cast<const unsigned char*>(words.constData());
    const quint32 size = 2 * pixels;

    quint32 offset = 0;
    auto reportProgress = [&] {
        progressBarValueChanged(false, int(double(offset) * 100.0 / double(size)));
    };
    auto write = [&](quint32 length) {
        unsigned int count = length;
        return camera != nullptr && camera->Write(RawMapAddress + offset, bytes + offset, &count);
    };
    auto fail = [this] {
        OrxDialogs::instance().information(this, tr("Upload NUC Map"), tr("Upload failed"));
        return false;
    };

    bool blockWritten = false;
    while (size - offset >= RawBlockSize) {
        reportProgress();
        if (!write(RawBlockSize))
            return fail();
        blockWritten = true;
        offset += RawBlockSize;
    }
    // Enabled before the tail on purpose; a map of less than one block is
    // never sent but still switches the correction on.
    setShadingCorrectionControlEnable(true);
    const quint32 tail = size - offset;
    if (tail > 0) {
        if (!blockWritten)
            return fail();
        reportProgress();
        if (!write(tail))
            return fail();
    }
    progressBarValueChanged(true, 100);
    return true;
}
