// "Acquire..." and "Verify Correction" of the panel on a simulated camera,
// driven through the dialog seam.
#include "NucMapFile.h"
#include "OrxCorrectionReportWindow.h"
#include "OrxNUShadingCorrection.h"
#include "OxCamera.h"
#include "OxFeatureContainer.h"
#include "PanelCameras.h"
#include "ScriptedDialogs.h"
#include "SimSession.h"

#include <Hvx/Camera.h>

#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QtTest>

namespace {

class Panel : public OrxNUShadingCorrection
{
public:
    using OrxNUShadingCorrection::input;
    using OrxNUShadingCorrection::model;
};

// Accepts the acquisition dialog with frames frames, as a user would.
int acquireFrames(QDialog* dialog, int frames)
{
    dialog->findChild<QSpinBox*>("spinFrames")->setValue(frames);
    QPushButton* acquire = dialog->findChild<QPushButton*>("btnAcquire");
    acquire->click();
    // Done: accepted, or stopped with the button back.
    const bool done = QTest::qWaitFor(
        [&] { return dialog->result() == QDialog::Accepted || acquire->isEnabled(); }, 20000);
    return done ? dialog->result() : int(QDialog::Rejected);
}

QStringList texts(const QListWidget* list)
{
    QStringList t;
    for (int i = 0; i < list->count(); ++i)
        t << list->item(i)->text();
    return t;
}

} // namespace

class TestPanelCameraActions : public QObject
{
    Q_OBJECT

private slots:
    void acquireThenVerify()
    {
        SimSession sim(QJsonArray{panelCamera("ACQ-1", 32, 16, R"({"pixelFormat": "Mono16"})")});
        QVERIFY(sim.ok());
        Hvx::CameraPtr handle = sim.openCamera("ACQ-1");
        QVERIFY(handle);
        ScriptedDialogs dialogs;
        {
            Panel panel;
            auto* dark = panel.findChild<QPushButton*>("btnAcquireDarkImages");
            auto* verify = panel.findChild<QPushButton*>("btnVerifyCorrection");
            QVERIFY(dark && verify && !dark->isEnabled() && !verify->isEnabled());
            panel.Init(new OxCamera(handle, nullptr));
            QVERIFY(dark->isEnabled() && verify->isEnabled());

            // Cancelled: nothing in the list or the series.
            dark->click();
            QCOMPARE(texts(panel.findChild<QListWidget*>("listDarkImagePath")), QStringList());
            QCOMPARE(panel.input.darkParams.count, 0u);

            dialogs.drive = [](QDialog* d) { return acquireFrames(d, 3); };
            dark->click();
            const QString name = panel.model.camera()->GetCameraName();
            QStringList expected;
            for (int k = 1; k <= 3; ++k)
                expected << QString("Camera frame %1 of 3 (%2)").arg(k).arg(name);
            QCOMPARE(texts(panel.findChild<QListWidget*>("listDarkImagePath")), expected);
            QCOMPARE(panel.input.darkParams.count, 3u);
            // Kept in no file: not selectable, so never taken out of the list alone.
            auto* list = panel.findChild<QListWidget*>("listDarkImagePath");
            QVERIFY(!(list->item(0)->flags() & Qt::ItemIsSelectable));
            QCOMPARE(panel.input.bitDepth, 16);

            // A map on the first entry, then its verification.
            QVector<quint16> words(32 * 16, quint16(100 | 8 << 10));
            const QByteArray map = NucMapFile::binFile(8193, 32, 16, words);
            long written = 0;
            QVERIFY(panel.model.camera()->UploadBuffer(
                std::vector<unsigned char>(map.begin(), map.end()), "", "ShadingMap0", &written));
            dialogs.answer(QMessageBox::Yes); // keep the map switched on
            verify->click();
            QVariant control;
            QVERIFY(panel.model.features()->GetValue("Shading_Control", control));
            QCOMPARE(control.toInt(), 1);
            auto* window = panel.findChild<OrxCorrectionReportWindow*>();
            QVERIFY2(window,
                     qPrintable(dialogs.calls.isEmpty() ? QString() : dialogs.calls.last().text));
            QCOMPARE(window->report().entry, QString("ShadingMap0"));
            QCOMPARE(window->report().darkFrames, 1);
            QCOMPARE(window->report().before.frames, 16);
            panel.Reset();
            QVERIFY(!dark->isEnabled() && !verify->isEnabled());
        }
        handle->Close();
        // The two acquisition dialogs and the question, nothing else.
        QCOMPARE(dialogs.calls.size(), 3);
        QCOMPARE(dialogs.calls[0].title, QString("Acquire Dark Images"));
        QCOMPARE(dialogs.calls[2].title, QString("Verify Correction"));
        QCOMPARE(dialogs.calls[2].text,
                 QString("Keep map 'ShadingMap0' switched on after the verification?\n"
                         "No puts the camera's previous correction setting back."));
    }
};

QTEST_MAIN(TestPanelCameraActions)
#include "TestPanelCameraActions.moc"
