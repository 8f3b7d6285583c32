// The panel's one file task on the thread pool, its end report, and the
// progress dialog that shows a transfer while it runs.
#include "NucMapTransfer.h"
#include "OrxDialogs.h"
#include "OrxNUShadingCorrection.h"
#include "OxCamera.h"
#include "ui_OrxNUShadingCorrection.h"

#include <QEventLoop>
#include <QProgressDialog>
#include <QtConcurrent>

void OrxNUShadingCorrection::startFileTask(const QString& name, std::function<bool()> work)
{
    // One transfer at a time: the camera wrapper keeps no per-transfer state.
    ui->btnUploadMapToCam->setEnabled(false);
    ui->btnUploadLocalMap->setEnabled(false);
    ui->btnDownloadMapToFile->setEnabled(false);
    restoreButton->setEnabled(false);
    fileTaskWatcher.setObjectName(name);
    fileTaskWatcher.setFuture(QtConcurrent::run(std::move(work)));
}

void OrxNUShadingCorrection::waitForFileTask()
{
    // The task may be waiting for this thread to answer a question; while
    // closing it gets No without a box, so the wait cannot lock up.
    closingFileTask = true;
    QEventLoop loop;
    connect(&fileTaskWatcher, &QFutureWatcher<bool>::finished, &loop, &QEventLoop::quit);
    if (!fileTaskWatcher.isFinished())
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    fileTaskWatcher.waitForFinished();
    closingFileTask = false;
}

void OrxNUShadingCorrection::finishFileTask()
{
    const QString task = fileTaskWatcher.objectName();
    const QString title = tr("File Access");
    const QFuture<bool> future = fileTaskWatcher.future();
    const bool succeeded =
        !fileTaskWatcher.isCanceled() && future.resultCount() > 0 && future.resultAt(0);
    // A transfer that failed part-way never reports its end: its progress
    // dialog, window-modal and without a cancel button, must not stay.
    transferTotal = 0;
    if (transferProgressDialog != nullptr)
        transferProgressDialog->cancel();
    if (succeeded) {
        OrxDialogs::instance().information(this, title,
                                           tr("%1 task has been successfully done.").arg(task));
        enableButtons();
        if (task == QLatin1String("Download"))
            showMapFile(model.transfer().downloadedFile());
        return;
    }
    OrxDialogs::instance().information(this, title,
                                       tr("%1 Error occurs during File Access.").arg(task));
    enableButtons();
    if (task.contains(QStringLiteral("Upload Local File"), Qt::CaseSensitive))
        ui->btnUploadMapToCam->setEnabled(false);
}

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
    if (model.camera() != nullptr)
        connect(model.camera(), &OxCamera::updateTransferProcess, this,
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
        // The backup's download ends before the upload in the same task.
        if (!fileTaskWatcher.isRunning())
            enableButtons();
    } else if (dialog != nullptr && dialog->value() != value) {
        const bool wasBlocked = dialog->blockSignals(true);
        dialog->setValue(value);
        dialog->blockSignals(wasBlocked);
    }
}

void OrxNUShadingCorrection::progress(bool finished, int value)
{
    progressBarValueChanged(finished, value);
}
