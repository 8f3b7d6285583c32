// The assistant panel's widgets and dialogs over simulated cameras: the
// image lists, generation, the form a camera fills, the buttons, the file
// task on the thread pool with its progress dialog and end report, Reset,
// "Acquire..." and "Verify Correction". What the model decides and sends is
// tested without widgets in TestPanelModel.
#include "NucMapFile.h"
#include "OrxCorrectionReportWindow.h"
#include "OrxMapView.h"
#include "OrxNUShadingCorrection.h"
#include "OrxPixmapLabel.h"
#include "OrxSettings.h"
#include "OxCamera.h"
#include "OxFeatureContainer.h"
#include "PanelCameras.h"
#include "ScriptedDialogs.h"
#include "SimSession.h"
#include "TestFiles.h"

#include <Hvx/Camera.h>

#include <QComboBox>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QProgressBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QtTest>

using namespace TestImages;

namespace {

// The panel with its inner state open to the tests, bound to a simulated
// camera as the main window binds it; unbound (Reset, camera closed) at the end.
class Panel : public OrxNUShadingCorrection
{
public:
    using OrxNUShadingCorrection::fileTaskWatcher;
    using OrxNUShadingCorrection::imageFormat;
    using OrxNUShadingCorrection::input;
    using OrxNUShadingCorrection::model;
    using OrxNUShadingCorrection::transferTotal;

    ~Panel() override { unbind(); }

    bool bind(SimSession& sim, const char* id, bool* initResult = nullptr)
    {
        handle = sim.openCamera(id);
        if (!handle)
            return false;
        const bool ok = Init(new OxCamera(handle, nullptr));
        if (initResult)
            *initResult = ok;
        return true;
    }
    void unbind()
    {
        Reset();
        if (handle)
            handle->Close();
        handle.reset();
    }

    template <typename T> T* child(const char* name) const
    {
        T* widget = findChild<T*>(name);
        Q_ASSERT(widget);
        return widget;
    }
    QPushButton* button(const char* name) const { return child<QPushButton>(name); }
    QComboBox* selector() const { return child<QComboBox>("cmbShadingMapSelector"); }
    QStringList texts(const char* name) const
    {
        QStringList list;
        const auto* widget = child<QListWidget>(name);
        for (int i = 0; i < widget->count(); ++i)
            list << widget->item(i)->text();
        return list;
    }
    // Download, upload local, upload generated, save.
    QList<bool> transferButtons() const
    {
        return {button("btnDownloadMapToFile")->isEnabled(),
                button("btnUploadLocalMap")->isEnabled(), button("btnUploadMapToCam")->isEnabled(),
                button("btnSaveMapToFile")->isEnabled()};
    }

    // Adds files to a list through the add button and the file dialog.
    void add(ScriptedDialogs& dialogs, Series which, const QStringList& paths)
    {
        dialogs.answer(paths);
        button(which == Series::Dark ? "btnAddDarkImage" : "btnAddBrightImage")->click();
    }
    Hvx::CameraPtr handle;
};

using Series = NucImageInput::Series;

QStringList titles(const ScriptedDialogs& dialogs)
{
    QStringList list;
    for (const ScriptedDialogs::Call& call : dialogs.calls)
        list << call.title;
    return list;
}

// "title: text" of every message box, the choosers left out.
QStringList messages(const ScriptedDialogs& dialogs)
{
    QStringList list;
    for (const ScriptedDialogs::Call& call : dialogs.calls)
        if (call.kind <= ScriptedDialogs::About)
            list << call.title + ": " + call.text;
    return list;
}

bool finished(ScriptedDialogs& dialogs, const QString& text, int timeoutMs = 5000)
{
    return QTest::qWaitFor(
               [&] {
                   return !dialogs.calls.isEmpty() && dialogs.calls.last().title == "File Access";
               },
               timeoutMs) &&
           dialogs.calls.last().text == text;
}

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

} // namespace

class TestPanel : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimSession> sim;
    QTemporaryDir dir;

    QString file(const QString& name) const { return dir.filePath(name); }

    // Binds the panel and generates a map from one dark and one bright image.
    bool bindWithMap(Panel& panel, ScriptedDialogs& dialogs, const char* id, int width, int height)
    {
        const QString dark = file(QString("%1-dark.png").arg(id));
        const QString bright = file(QString("%1-bright.png").arg(id));
        if (!panel.bind(*sim, id) ||
            !write(testDark(width, height), dark, QImage::Format_Grayscale8) ||
            !write(testBright(width, height), bright, QImage::Format_Grayscale8))
            return false;
        panel.add(dialogs, Series::Dark, {dark});
        panel.add(dialogs, Series::Bright, {bright});
        panel.button("btnGenerateMap")->click();
        const bool generated = dialogs.calls.last().text == "Generate map successful!";
        dialogs.calls.clear();
        return generated;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        auto flat = [](int v) { return [v](int, int) { return v; }; };
        QVERIFY(write(grey16(4, 2, flat(100)), file("d16.png"), QImage::Format_Grayscale16));
        QVERIFY(write(grey16(4, 2, flat(100)), file("d16b.png"), QImage::Format_Grayscale16));
        QVERIFY(write(palette8(4, 2, flat(10)), file("p8.png"), QImage::Format_Indexed8));
        QVERIFY(write(palette8(6, 2, flat(10)), file("wide8.png"), QImage::Format_Indexed8));
        QVERIFY(write(grey8(4, 2, flat(10)), file("g8.png"), QImage::Format_Grayscale8));
        QImage alpha(4, 2, QImage::Format_ARGB32);
        alpha.fill(qRgba(1, 2, 3, 4));
        QVERIFY(write(alpha, file("alpha.png"), QImage::Format_ARGB32));
        QVERIFY(writeFile(file("notes.png"), "not an image"));

        sim = std::make_unique<SimSession>(QJsonArray{
            panelCamera("GEN-1"), panelCamera("USER-1", 64, 32, kUserMaps),
            panelCamera("PLAIN-1", 16, 8, kNoMaps), panelCamera("MODES-1", 16, 8, kOpenModes),
            panelCamera("LOCK-1", 64, 32, R"({"tlParamsLocked": true})"),
            panelCamera("BIG-1", 640, 512),
            panelCamera("FAIL-1", 64, 32,
                        R"({"faults": {"failOperations": [{"operation": "Open"}]}})"),
            panelCamera("RESET-1"), panelCamera("ACQ-1", 32, 16, R"({"pixelFormat": "Mono16"})")});
        QVERIFY(sim->ok());
    }

    void cleanupTestCase() { sim.reset(); }

    void refusedFiles_data()
    {
        QTest::addColumn<QStringList>("dark");
        QTest::addColumn<QStringList>("bright");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("darkList");
        QTest::addColumn<QString>("log"); // why, as the log's error line says it

        const QString pixelFormat = ": its pixel format (32 bits per pixel) is none the series "
                                    "take: 8-bit grey or palette, 16-bit grey, 32-bit RGB";
        const QString d16 = file("d16.png"), p8 = file("p8.png");
        QTest::newRow("unreadable")
            << QStringList{file("notes.png")} << QStringList() << int(ScriptedDialogs::Critical)
            << file("notes.png") + ": failed!" << QStringList()
            << file("notes.png") + ": cannot read the image: Unsupported image format";
        QTest::newRow("16-bit after 8-bit")
            << QStringList{p8} << QStringList{d16} << int(ScriptedDialogs::Critical)
            << d16 + ": failed!" << QStringList{p8}
            << d16 + ": its depth is 16 bits, the series' images have 8 bits";
        QTest::newRow("size differs from the other list")
            << QStringList{p8} << QStringList{file("wide8.png")}
            << int(ScriptedDialogs::Information) << file("wide8.png") + ": incompatible image!"
            << QStringList{p8}
            << file("wide8.png") + ": it is 6 x 2 pixels, the series' images are 4 x 2";
        QTest::newRow("second of three unsupported")
            << QStringList{p8, file("alpha.png"), file("g8.png")} << QStringList()
            << int(ScriptedDialogs::Information)
            << file("alpha.png") + ": image format not supported!"
            << QStringList{p8, file("g8.png")} << file("alpha.png") + pixelFormat;
    }

    void refusedFiles()
    {
        QFETCH(QStringList, dark);
        QFETCH(QStringList, bright);
        QFETCH(int, kind);
        QFETCH(QString, text);
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(panel.bind(*sim, "GEN-1"));
        QSignalSpy logged(&panel, &OrxNUShadingCorrection::sendLogMessage);
        panel.add(dialogs, Series::Dark, dark);
        if (!bright.isEmpty())
            panel.add(dialogs, Series::Bright, bright);
        QCOMPARE(messages(dialogs), QStringList{"Load Image: " + text});
        QCOMPARE(int(dialogs.calls.last().kind), kind);
        QTEST(panel.texts("listDarkImagePath"), "darkList");
        QCOMPARE(panel.texts("listBrightImagePath"), QStringList());
        QCOMPARE(logged.size(), 1);
        QTEST(logged[0][0].toString(), "log");
        QCOMPARE(logged[0][1].value<LogType>(), LogError);
    }

    void repeatedPathsAreSkippedSilently()
    {
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(panel.bind(*sim, "GEN-1"));
        panel.add(dialogs, Series::Dark, {file("d16.png"), file("d16.png")});
        panel.add(dialogs, Series::Dark, {file("d16.png"), file("d16b.png")});
        QCOMPARE(panel.texts("listDarkImagePath"),
                 QStringList({file("d16.png"), file("d16b.png")}));
        QCOMPARE(titles(dialogs), QStringList({"Image paths", "Image paths"}));
        QCOMPARE(dialogs.calls[0].filter, QString("Images (*.* )"));
        // The folder is kept, and the next chooser starts there.
        QCOMPARE(OrxSettings::getInstance()->Get("Directory", "SaveImageDir", QVariant()),
                 QVariant(QDir::cleanPath(dir.path())));
        QCOMPARE(dialogs.calls[1].text, QDir::cleanPath(dir.path()));
    }

    void cancellingKeepsFilesAlreadyAdded()
    {
        ScriptedDialogs dialogs;
        Panel panel; // unbound: the loading progress is its only progress dialog
        auto* list = panel.child<QListWidget>("listDarkImagePath");
        int progressMaximum = -1;
        connect(list->model(), &QAbstractItemModel::rowsInserted, &panel, [&] {
            auto* progress = panel.findChild<QProgressDialog*>();
            QVERIFY(progress);
            progressMaximum = progress->maximum();
            progress->cancel();
        });
        panel.add(dialogs, Series::Dark, {file("d16.png"), file("d16b.png"), file("p8.png")});
        QCOMPARE(progressMaximum, 3);
        QCOMPARE(panel.texts("listDarkImagePath"), QStringList{file("d16.png")});
        QCOMPARE(dialogs.calls.size(), 1);
    }

    void generateMessages()
    {
        ScriptedDialogs dialogs;
        Panel noEntries;
        QVERIFY(noEntries.bind(*sim, "PLAIN-1"));
        noEntries.button("btnGenerateMap")->click();
        Panel panel;
        QVERIFY(panel.bind(*sim, "GEN-1"));
        auto* generate = panel.button("btnGenerateMap");
        generate->click();
        panel.add(dialogs, Series::Dark, {file("d16.png"), file("d16b.png")});
        generate->click();
        QVERIFY(!panel.button("btnSaveMapToFile")->isEnabled());
        panel.add(dialogs, Series::Bright, {file("d16b.png")});
        generate->click();
        QCOMPARE(panel.transferButtons(), (QList<bool>{true, true, true, true}));
        // The map is shown in a window of its own.
        auto* view = panel.findChild<OrxMapView*>();
        QVERIFY(view && view->isVisible() && view->isWindow());
        panel.shading_map_reset();
        QCOMPARE(panel.transferButtons(), (QList<bool>{true, true, false, false}));
        QCOMPARE(messages(dialogs),
                 QStringList({"Generate Map: Generate map failed: no shading map entry available!",
                              "Generate Map: Generate map failed: missing dark image parameter!",
                              "Generate Map: Generate map failed: missing bright image parameter!",
                              "Generate Map: Generate map successful!"}));
        QCOMPARE(dialogs.calls.last().kind, ScriptedDialogs::Information);
    }

    // Values that are no target fall back to the defaults, and so does Reset.
    void targetEdits()
    {
        Panel panel;
        auto* gain = panel.child<QLineEdit>("TargetGainEdit");
        auto* offset = panel.child<QLineEdit>("TargetOffsetEdit");
        for (const char* bad : {"abc", "70000", "-1"}) {
            offset->setText(bad);
            emit offset->editingFinished();
            QCOMPARE(offset->text(), QString("16"));
        }
        gain->setText("x1");
        emit gain->editingFinished();
        QCOMPARE(gain->text(), QString("1.1"));
        gain->setText("1.25");
        offset->setText("20");
        panel.button("Reset")->click();
        QCOMPARE(gain->text(), QString("1.1"));
        QCOMPARE(offset->text(), QString("16"));
    }

    void closeCameraRequest()
    {
        Panel panel;
        QSignalSpy close(&panel, &OrxNUShadingCorrection::cameraCloseRequested);
        panel.child<QLabel>("lblCameraName")->setText("cam");
        panel.button("btnCloseCamera")->click();
        QCOMPARE(close.size(), 1);
        QVERIFY(panel.child<QLabel>("lblCameraName")->text().isEmpty());
    }

    // What binding a camera fills in, and the transfer buttons once the
    // operator picks an entry.
    void binding_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("entry"); // -1: the camera has no map slot entry
        QTest::addColumn<bool>("images");
        QTest::addColumn<QList<bool>>("buttons"); // download, upload local, upload, save
        QTest::addColumn<int>("entries");         // in the selector, as the model reads them

        using B = QList<bool>;
        QTest::newRow("map slots") << "GEN-1" << 0 << false << B{true, true, false, false} << 2;
        QTest::newRow("open entry, images")
            << "MODES-1" << 0 << true << B{true, true, true, true} << 3;
        QTest::newRow("write blocked, images")
            << "MODES-1" << 1 << true << B{true, false, false, true} << 3;
        QTest::newRow("read blocked")
            << "MODES-1" << 2 << false << B{false, true, false, false} << 3;
        QTest::newRow("user maps only, images")
            << "USER-1" << 1 << true << B{true, true, true, true} << 2;
        QTest::newRow("no map entry, images")
            << "PLAIN-1" << -1 << true << B{false, false, false, true} << 0;
    }

    void binding()
    {
        QFETCH(QString, id);
        QFETCH(int, entry);
        QFETCH(bool, images);
        QFETCH(int, entries);
        ScriptedDialogs dialogs;
        Panel panel;
        panel.child<QLineEdit>("TargetOffsetEdit")->setText("3");
        bool initResult = entries == 0;
        QVERIFY(panel.bind(*sim, qPrintable(id), &initResult));
        QCOMPARE(initResult, entries > 0);
        QCOMPARE(panel.selector()->count(), entries);
        QCOMPARE(!panel.child<QWidget>("targetUserMapFileWidget")->isHidden(), id == "USER-1");
        QCOMPARE(panel.child<QLineEdit>("TargetOffsetEdit")->text(), QString("16"));
        QCOMPARE(panel.input.bitDepth, 0);
        QCOMPARE(panel.imageFormat, QImage::Format_Indexed8);
        if (images) {
            QVERIFY(panel.loadImagefromFile(file("p8.png"), Series::Dark));
            QVERIFY(panel.loadImagefromFile(file("p8.png"), Series::Bright));
        }
        if (entry >= 0) {
            // The operator picks the entry; the choice re-evaluates the buttons.
            panel.selector()->setCurrentIndex(entry);
            emit panel.selector()->activated(entry);
        } else {
            panel.enableButtons();
        }
        QTEST(panel.transferButtons(), "buttons");
        QVERIFY(dialogs.calls.isEmpty());
    }

    void uploadRefused()
    {
        ScriptedDialogs dialogs;
        Panel locked;
        QVERIFY(bindWithMap(locked, dialogs, "LOCK-1", 64, 32));
        // Generation leaves the button off while streaming; the slot refuses too.
        QVERIFY(!locked.button("btnUploadMapToCam")->isEnabled());
        QVERIFY(QMetaObject::invokeMethod(&locked, "on_btnUploadMapToCam_clicked"));
        QCOMPARE(dialogs.calls.last().kind, ScriptedDialogs::Critical);

        Panel empty;
        QVERIFY(empty.bind(*sim, "GEN-1"));
        QSignalSpy log(&empty, &OrxNUShadingCorrection::sendLogMessage);
        QVERIFY(QMetaObject::invokeMethod(&empty, "on_btnUploadMapToCam_clicked"));
        QCOMPARE(messages(dialogs),
                 QStringList({"Upload Map: Stop streaming before uploading map to camera",
                              "Upload Sahding Map: Upload failed: empty map"}));
        QCOMPARE(log.size(), 1);
        QCOMPARE(log[0][0].toString(), QString("Upload failed: empty map!"));
        QCOMPARE(log[0][1].value<LogType>(), LogError);
        QVERIFY(locked.fileTaskWatcher.objectName().isEmpty() &&
                empty.fileTaskWatcher.objectName().isEmpty());
    }

    // The upload runs on the pool with the transfer buttons off, its progress
    // in a dialog, and ends with the report; No leaves everything as it was.
    void uploadAsFileTask()
    {
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(bindWithMap(panel, dialogs, "BIG-1", 640, 512));
        const QList<bool> buttons = panel.transferButtons();
        dialogs.answer(QMessageBox::No);
        panel.button("btnUploadMapToCam")->click();
        QCOMPARE(titles(dialogs), QStringList{"Upload Shadin Map"});
        QCOMPARE(panel.transferButtons(), buttons);
        QVERIFY(panel.fileTaskWatcher.objectName().isEmpty());

        QProgressDialog* progress = nullptr;
        for (auto* candidate : panel.findChildren<QProgressDialog*>())
            if (candidate->windowTitle() == "Map Transfer...")
                progress = candidate;
        QVERIFY(progress && !progress->isVisible());
        QSignalSpy bar(progress->findChild<QProgressBar*>(), &QProgressBar::valueChanged);
        dialogs.answer(QMessageBox::Yes);
        panel.button("btnUploadMapToCam")->click();
        QCOMPARE(panel.transferButtons(), (QList<bool>{false, false, false, true}));
        QVERIFY(finished(dialogs, "Upload Generated Map task has been successfully done."));
        QCOMPARE(dialogs.calls.last().kind, ScriptedDialogs::Information);
        QCOMPARE(panel.transferButtons(), buttons);
        // 655392 bytes: 11 chunks, reported after each while reading the
        // backup, after the first nine while writing.
        QList<int> values;
        for (const QList<QVariant>& call : bar)
            values << call[0].toInt();
        QCOMPARE(values, (QList<int>{0, 11, 22, 33, 44, 55, 66, 77, 88, 99, 100,
                                     0, 11, 22, 33, 44, 55, 66, 77, 88, 100}));
        QVERIFY(!progress->isVisible());
        QCOMPARE(panel.transferTotal, qint64(0));

        // The map downloaded again opens in the map view.
        QTemporaryDir out;
        dialogs.answer(out.filePath("back"));
        panel.button("btnDownloadMapToFile")->click();
        QVERIFY(finished(dialogs, "Download task has been successfully done."));
        auto* view = panel.findChild<OrxMapView*>();
        QCOMPARE(view->windowTitle(),
                 "Map View - " + QDir::toNativeSeparators(out.filePath("back.bin")));
        // "Open Map File…" names a file that is no map.
        dialogs.answer(file("notes.png"));
        panel.button("btnOpenMapFile")->click();
        QCOMPARE(dialogs.calls.last().title, QString("Open Map File"));
        QCOMPARE(dialogs.calls.last().kind, ScriptedDialogs::Critical);
        QCOMPARE(dialogs.calls.last().text,
                 QDir::toNativeSeparators(file("notes.png")) + ": no map file magic 0x1F56ADFC");
    }

    // A failed local upload: the question, the chooser, the backup that
    // failed asked about from the transfer's thread, the report, and the
    // generated map's upload stays off.
    void failedTransferReport()
    {
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(bindWithMap(panel, dialogs, "FAIL-1", 64, 32));
        QVERIFY(writeFile(file("local.bin"), "map"));
        dialogs.answer(QMessageBox::Yes);
        dialogs.answer(file("local.bin"));
        dialogs.answer(QMessageBox::Yes);
        panel.button("btnUploadLocalMap")->click();
        QVERIFY(finished(dialogs, "Upload Local File Error occurs during File Access."));
        QCOMPARE(dialogs.calls[1].title, QString("Upload Local Map")); // the chooser
        QCOMPARE(messages(dialogs),
                 QStringList({"Upload Local Map: The uploaded map would overwrite the selected map "
                              "'ShadingMap0'.\nDo you want to proceed?",
                              "Map Backup: The camera's current map 'ShadingMap0' could not be "
                              "kept as a backup (the download of ShadingMap0 failed after 0 "
                              "bytes).\nUpload without a backup?",
                              "File Access: Upload Local File Error occurs during File Access."}));
        QCOMPARE(panel.transferButtons(), (QList<bool>{true, true, false, true}));
    }

    // The end of a raw memory upload offers the User Set save.
    void userSetOffer()
    {
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(panel.bind(*sim, "GEN-1"));
        dialogs.answer(QMessageBox::Yes);
        panel.progressBarValueChanged(true, 100);
        QCOMPARE(messages(dialogs),
                 QStringList({"Map Transfer: Map transfer successful: do you want to store the map "
                              "and current camera settings to the active User Set? (if <Default "
                              "User Set> is active the changes will be stored in <User Set 1>)",
                              "User Set Control: Save settings successful"}));
        QCOMPARE(dialogs.calls[0].kind, ScriptedDialogs::Question);
    }

    void resetWaitsForRunningTransfer()
    {
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(bindWithMap(panel, dialogs, "RESET-1", 64, 32));
        const QByteArray map =
            NucMapPipeline::fileImage(panel.input, {NucMapFile::Kind::Bin, 8193, false});
        // Every File Access command now completes only at the next poll, so
        // the transfer is still on the camera when Reset comes.
        QCOMPARE(sim->control().SetCommandLatency("RESET-1", "FileOperationExecute", 300), 0);
        QSignalSpy log(&panel, &OrxNUShadingCorrection::sendLogMessage);
        dialogs.answer(QMessageBox::Yes);
        panel.button("btnUploadMapToCam")->click();
        // A task cancelled before it starts never runs; this one is under way.
        QTRY_VERIFY(sim->trace("RESET-1").contains("FileOperationSelector set Open"));
        QCOMPARE(log.size(), 0);

        panel.Reset();
        // The worker's last act, its log line, came before Reset returned.
        QCOMPARE(log.size(), 2);
        QVERIFY(panel.fileTaskWatcher.future().isFinished());
        QCOMPARE(panel.model.camera(), nullptr);
        QCOMPARE(sim->storedFile("RESET-1", "ShadingMap0"), map);
        QCoreApplication::processEvents();
        QCOMPARE(dialogs.calls.size(), 1); // the question; no report after Reset
        panel.unbind();

        // The next camera's transfers are reported again.
        QCOMPARE(sim->control().SetCommandLatency("RESET-1", "FileOperationExecute", 0), 0);
        dialogs.calls.clear();
        QVERIFY(bindWithMap(panel, dialogs, "RESET-1", 64, 32));
        dialogs.answer(QMessageBox::Yes);
        panel.button("btnUploadMapToCam")->click();
        QVERIFY(finished(dialogs, "Upload Generated Map task has been successfully done."));

        // A task that waits for the answer to its backup question when Reset
        // comes gets No, without a box, and Reset returns.
        dialogs.calls.clear();
        Panel failing;
        QVERIFY(bindWithMap(failing, dialogs, "FAIL-1", 64, 32));
        const auto opens = [&] {
            return sim->trace("FAIL-1").count("FileOperationSelector set Open");
        };
        const int before = opens();
        dialogs.answer(QMessageBox::Yes);
        failing.button("btnUploadMapToCam")->click();
        // Waited for without handling events: the question stays queued.
        for (QDeadlineTimer limit(5000); opens() == before && !limit.hasExpired();)
            QThread::msleep(5);
        failing.Reset();
        QCoreApplication::processEvents();
        QCOMPARE(titles(dialogs), QStringList{"Upload Shadin Map"});
    }

    void acquireThenVerify()
    {
        ScriptedDialogs dialogs;
        Panel panel;
        auto* dark = panel.button("btnAcquireDarkImages");
        auto* verify = panel.button("btnVerifyCorrection");
        QVERIFY(!dark->isEnabled() && !verify->isEnabled());
        QVERIFY(panel.bind(*sim, "ACQ-1"));
        QVERIFY(dark->isEnabled() && verify->isEnabled());

        // Cancelled: nothing in the list or the series.
        dark->click();
        QCOMPARE(panel.texts("listDarkImagePath"), QStringList());
        QCOMPARE(panel.input.darkParams.count, 0u);

        dialogs.drive = [](QDialog* d) { return acquireFrames(d, 3); };
        dark->click();
        const QString name = panel.model.camera()->GetCameraName();
        QStringList expected;
        for (int k = 1; k <= 3; ++k)
            expected << QString("Camera frame %1 of 3 (%2)").arg(k).arg(name);
        QCOMPARE(panel.texts("listDarkImagePath"), expected);
        QCOMPARE(panel.input.darkParams.count, 3u);
        QCOMPARE(panel.input.bitDepth, 16);
        // Kept in no file: not selectable, so never taken out of the list alone.
        auto* list = panel.child<QListWidget>("listDarkImagePath");
        QVERIFY(!(list->item(0)->flags() & Qt::ItemIsSelectable));

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
        // The report window shows the figures and the charts, and saves the report.
        QCOMPARE(window->windowTitle(), QString("Correction Report"));
        QCOMPARE(window->findChild<QLabel*>("lblFigures")->text(),
                 window->report().lines().join('\n'));
        for (const char* chart : {"lblHistogram", "lblRowProfile", "lblColumnProfile"})
            QCOMPARE(window->findChild<OrxPixmapLabel*>(chart)->image().size(), QSize(900, 300));
        QTemporaryDir out;
        for (const char* name : {"missing/r.json", "r.JSON"}) {
            dialogs.answer(out.filePath(name));
            window->findChild<QPushButton*>("btnSaveJson")->click();
        }
        QCOMPARE(dialogs.calls.last().kind, ScriptedDialogs::Information);
        QCOMPARE(QJsonDocument::fromJson(readFile(out.filePath("r.JSON"))).object(),
                 window->report().toJson());
        // Reset empties the form for the next camera.
        QPointer<OxCamera> camera = panel.model.camera();
        panel.unbind();
        QVERIFY(camera.isNull());
        QVERIFY(!dark->isEnabled() && !verify->isEnabled());
        QCOMPARE(panel.texts("listDarkImagePath"), QStringList());
        QCOMPARE(panel.selector()->count(), 0);
        QVERIFY(panel.child<OrxPixmapLabel>("lblMeanImageDark")->image().isNull());
        QCOMPARE(panel.imageFormat, QImage::Format_Grayscale16);
        QVERIFY(!panel.input.darkParams.map && panel.input.width == 0);
        // The two acquisition dialogs and the question, then the saves.
        QCOMPARE(titles(dialogs).mid(0, 3),
                 (QStringList{"Acquire Dark Images", "Acquire Dark Images", "Verify Correction"}));
        QCOMPARE(dialogs.calls[3].filter, QString("JSON (*.json)"));
        const QStringList shown = messages(dialogs);
        QCOMPARE(shown.size(), 3);
        QCOMPARE(shown[0],
                 QString("Verify Correction: Keep map 'ShadingMap0' switched on after the "
                         "verification?\nNo puts the camera's previous correction "
                         "setting back."));
        QVERIFY2(shown[1].startsWith("Save Report: The report could not be saved: " +
                                     out.filePath("missing/r.json") + ": "),
                 qPrintable(shown[1]));
        QCOMPARE(shown[2], "Save Report: Report saved to " + out.filePath("r.JSON") + ".");
    }
};

QTEST_MAIN(TestPanel)
#include "TestPanel.moc"
