#include "OrxCameraActions.h"

#include "CameraFrameSource.h"
#include "CorrectionVerification.h"
#include "NucCorrectionReport.h"
#include "OrxAcquisitionDialog.h"
#include "OrxCorrectionReportWindow.h"
#include "OrxDialogs.h"
#include "OxCamera.h"
#include "OxFeatureContainer.h"
#include "OxMapEntry.h"

#include <QCoreApplication>
#include <QProgressDialog>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("OrxCameraActions", text);
}

QString featureText(OxCamera* camera, const char* name, const QString& unit)
{
    QVariant value;
    OxFeatureContainer* features = camera->GetFeatureContainer();
    if (!features || !features->GetValue(name, value))
        return tr("unknown");
    return QString("%1 %2").arg(value.toDouble(), 0, 'f', 1).arg(unit);
}

} // namespace

namespace OrxCameraActions {

QStringList acquire(QWidget* parent, NucImageInput& input, NucImageInput::Series which,
                    OxCamera* camera)
{
    if (!camera)
        return {};
    CameraFrameSource frames(camera);
    OrxAcquisitionSource source;
    source.camera = camera->GetCameraName();
    source.exposure = featureText(camera, "ExposureTime", tr("µs"));
    source.gain = featureText(camera, "Gain", tr("dB"));
    source.grab = [&frames](QImage* frame, QString* error) { return frames.grab(frame, error); };
    source.fullScale = [&frames] { return frames.fullScale(); };
    OrxAcquisitionDialog dialog(input, which, source, parent);
    if (OrxDialogs::instance().exec(&dialog) != QDialog::Accepted)
        return {};
    return dialog.items();
}

void verify(QWidget* parent, OxCamera* camera, const OxMapEntry& entry, const NucImageInput& input,
            int frames)
{
    const QString title = tr("Verify Correction");
    if (!camera)
        return;
    NucCorrectionReport::Inputs inputs;
    QString error;
    if (!CorrectionVerification::readMap(camera, entry.fileName, entry.selector, &inputs.mapWords,
                                         &error)) {
        OrxDialogs::instance().critical(parent, title, error);
        return;
    }
    // The camera's own correction setting comes back afterwards unless the
    // operator wants this map to stay switched on.
    const bool keep = OrxDialogs::instance().question(
                          parent, title,
                          tr("Keep map '%1' switched on after the verification?\n"
                             "No puts the camera's previous correction setting back.")
                              .arg(entry.name),
                          QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
    QProgressDialog progress(tr("Taking frames..."), tr("Cancel"), 0, 2 * frames, parent);
    progress.setWindowTitle(title);
    progress.setWindowModality(Qt::WindowModal);
    CorrectionVerification verification(camera, entry.name, frames);
    const bool done = verification.run(keep, [&progress](int k, int total) {
        progress.setLabelText(tr("Frame %1 of %2").arg(k).arg(total));
        progress.setValue(k);
        return !progress.wasCanceled();
    });
    progress.reset();
    if (!done) {
        if (!verification.cancelled())
            OrxDialogs::instance().critical(parent, title, verification.error());
        return;
    }

    // The panel's dark series, averaged already, stands in for dark frames.
    NucFrameStack dark;
    if (!input.darkMean.isNull())
        dark.add(input.darkMean);
    inputs.camera = camera->GetCameraName();
    inputs.entry = entry.name;
    verification.fill(&inputs);
    inputs.darkReference = dark.frames() > 0 ? &dark : nullptr;
    if (input.darkParams.count > 0)
        inputs.referenceFrames = int(input.darkParams.count);
    const NucCorrectionReport report = NucCorrectionReport::compute(inputs);
    if (!report.error.isEmpty()) {
        OrxDialogs::instance().critical(parent, title, report.error);
        return;
    }
    auto* window = new OrxCorrectionReportWindow(report, parent);
    window->setWindowFlag(Qt::Window);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->show();
}

} // namespace OrxCameraActions
