// The panel's map transfers against simulated cameras: what reaches the
// camera, what comes back, the questions and reports, the progress dialog
// and the raw memory path.
#include "NucMapFile.h"
#include "OrxNUShadingCorrection.h"
#include "OxCamera.h"
#include "OxFeatureContainer.h"
#include "ScriptedDialogs.h"
#include "SimSession.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <Hvx/Camera.h>

#include <QComboBox>
#include <QJsonDocument>
#include <QProgressBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

namespace {

class Panel : public OrxNUShadingCorrection
{
public:
    using OrxNUShadingCorrection::camera;
    using OrxNUShadingCorrection::fileTaskWatcher;
    using OrxNUShadingCorrection::registerAccess;
    using OrxNUShadingCorrection::transferTotal;

    QPushButton* button(const char* name) const { return findChild<QPushButton*>(name); }
    QComboBox* selector() const { return findChild<QComboBox*>("cmbShadingMapSelector"); }
    // Download, upload local, upload generated.
    QList<bool> transferButtons() const
    {
        return {button("btnDownloadMapToFile")->isEnabled(),
                button("btnUploadLocalMap")->isEnabled(), button("btnUploadMapToCam")->isEnabled()};
    }
    QVariant feature(const char* name) const
    {
        QVariant value;
        camera->GetFeatureContainer()->GetValue(name, value);
        return value;
    }
    QByteArray mapArea(unsigned int size) const
    {
        QByteArray bytes(int(size), '\0');
        return camera->Read(0x10100000, bytes.data(), &size) ? bytes : QByteArray("<unread>");
    }
};

// Cameras of the tests, one per case so that stored files never mix.
QJsonObject camera(const char* id, int width, int height, const char* extra = "{}")
{
    QJsonObject cam = QJsonDocument::fromJson(extra).object();
    for (auto [key, value] : {std::pair<const char*, QJsonValue>{"id", id},
                              {"model", "kva640MXGE"},
                              {"width", width},
                              {"height", height},
                              {"shadingControl", true}})
        if (!cam.contains(key))
            cam.insert(key, value);
    if (!cam.contains("files"))
        cam.insert("files", QJsonDocument::fromJson(R"([
            {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
            {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8196}])")
                                .array());
    return cam;
}

// The camera of the fault table, as plugged in again after it dropped off.
QJsonObject faultCamera()
{
    return camera("FAULT-1", 640, 512);
}

// A valid map for the fault table's camera that differs from every other.
QByteArray otherMap(int seed)
{
    QVector<quint16> words(640 * 512);
    for (int i = 0; i < words.size(); ++i)
        words[i] = quint16(((unsigned(i) + unsigned(seed) * 7919u) * 2654435761u) >> 16);
    return NucMapFile::binFile(8193, 640, 512, words);
}

const char* const kUserMaps = R"({"transport": "USB3", "nucUserMaps": 2,
    "files": [{"selector": "Userfile", "kind": "userMap"}]})";

} // namespace

class TestPanelTransfers : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimSession> sim;
    Hvx::CameraPtr opened;

    // Binds the panel to the camera and generates a map from one dark and
    // one bright image of the given size.
    bool bind(Panel& panel, ScriptedDialogs& dialogs, const char* id, int width, int height)
    {
        if (opened) // left open by a case that failed half-way
            opened->Close();
        opened = sim->openCamera(id);
        if (!opened || !panel.Init(new OxCamera(opened, nullptr)))
            return false;
        using namespace TestImages;
        const QString dark = sim->path(QString("%1-dark.png").arg(id));
        const QString bright = sim->path(QString("%1-bright.png").arg(id));
        if (!write(grey8(width, height, [](int x, int y) { return 3 + (x + y) % 7; }), dark,
                   QImage::Format_Grayscale8) ||
            !write(grey8(width, height, [](int x, int y) { return 140 + (x * 3 + y) % 90; }),
                   bright, QImage::Format_Grayscale8))
            return false;
        dialogs.answer(QStringList{dark});
        panel.button("btnAddDarkImage")->click();
        dialogs.answer(QStringList{bright});
        panel.button("btnAddBrightImage")->click();
        panel.button("btnGenerateMap")->click();
        const bool generated = dialogs.calls.last().text == "Generate map successful!";
        dialogs.calls.clear();
        return generated;
    }

    void unbind(Panel& panel)
    {
        panel.Reset();
        if (opened)
            opened->Close();
        opened.reset();
    }

    static bool finished(Panel&, ScriptedDialogs& dialogs, const QString& text,
                         int timeoutMs = 5000)
    {
        return QTest::qWaitFor(
                   [&] {
                       return !dialogs.calls.isEmpty() &&
                              dialogs.calls.last().title == "File Access";
                   },
                   timeoutMs) &&
               dialogs.calls.last().text == text;
    }

    // The .bin the panel saves for the map it holds.
    QByteArray savedBin(Panel& panel, ScriptedDialogs& dialogs)
    {
        dialogs.answer(sim->path("saved.bin"));
        panel.button("btnSaveMapToFile")->click();
        dialogs.calls.clear();
        return readFile(sim->path("saved.bin"));
    }

private slots:
    void initTestCase()
    {
        sim = std::make_unique<SimSession>(QJsonArray{
            camera("GEN-1", 64, 32), camera("NO-1", 64, 32), camera("LOCAL-1", 64, 32),
            camera("USER-1", 64, 32, kUserMaps),
            camera("LOCK-1", 64, 32, R"({"tlParamsLocked": true})"), camera("BIG-1", 640, 512),
            camera("TWO-1", 300, 200), faultCamera(), camera("RESET-1", 64, 32),
            camera("RAW-1", 300, 200), camera("CUT-1", 312, 192), camera("TINY-1", 16, 8),
            // A camera that stores whatever arrives, checking no map.
            camera("PART-1", 64, 32, R"({"files": [{"selector": "ShadingMap0", "chunkId": 8193},
                {"selector": "ShadingMap1", "chunkId": 8196}]})")});
        QVERIFY(sim->ok());
        // A close that never completes is given up after one poll.
        qputenv("ORVEX_FILE_CLOSE_WAIT_MS", "100");
        // The fault table's camera starts with a map of its own, not zeros.
        Hvx::CameraPtr cam = sim->openCamera("FAULT-1");
        long written = 0;
        const QByteArray first = otherMap(0);
        QVERIFY(cam && OxCamera(cam, nullptr)
                           .UploadBuffer(std::vector<unsigned char>(first.begin(), first.end()),
                                         "ShadingMap0", "ShadingMap0", &written));
        cam->Close();
    }

    void cleanupTestCase() { sim.reset(); }

    void uploadGeneratedMap_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("faults");
        QTest::addColumn<int>("kept"); // bytes of the 4128-byte map the camera keeps
        QTest::newRow("yes") << "GEN-1" << int(QMessageBox::Yes) << "{}" << 4128;
        QTest::newRow("no") << "NO-1" << int(QMessageBox::No) << "{}" << 0;
        // The camera closes the file it took only in part: no success.
        QTest::newRow("camera keeps part of it")
            << "PART-1" << int(QMessageBox::Yes)
            << R"({"failOperations": [{"operation": "Write", "bytes": 4000}]})" << 4000;
    }

    void uploadGeneratedMap()
    {
        QFETCH(QString, id);
        QFETCH(int, answer);
        QFETCH(QString, faults);
        QFETCH(int, kept);
        const QByteArray plainId = id.toLatin1();
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(bind(panel, dialogs, plainId, 64, 32));
        QCOMPARE(sim->control().SetFaults(plainId.constData(), faults.toStdString()), 0);
        panel.selector()->setCurrentIndex(1);
        panel.button("btnGenerateMap")->click(); // for the entry's map id
        const QByteArray map = savedBin(panel, dialogs);
        QCOMPARE(map.mid(12, 4), QByteArray::fromHex("04200000")); // map id 8196
        const QByteArray factory = sim->storedFile(plainId, "ShadingMap1");
        const QList<bool> buttons = panel.transferButtons();
        QSignalSpy log(&panel, &OrxNUShadingCorrection::sendLogMessage);

        dialogs.answer(QMessageBox::StandardButton(answer));
        panel.button("btnUploadMapToCam")->click();
        QCOMPARE(dialogs.calls[0].kind, ScriptedDialogs::Question);
        QCOMPARE(dialogs.calls[0].title, QString("Upload Shadin Map"));
        QCOMPARE(dialogs.calls[0].text,
                 QString("The uploaded map would overwrite the selected map 'ShadingMap1'.\n"
                         "Start upload?"));
        if (answer == QMessageBox::No) {
            QCOMPARE(dialogs.calls.size(), 1);
            QCOMPARE(panel.transferButtons(), buttons);
            QVERIFY(panel.fileTaskWatcher.objectName().isEmpty()); // no task started
            QCOMPARE(sim->storedFile(plainId, "ShadingMap1"), factory);
        } else {
            QCOMPARE(panel.transferButtons(), (QList<bool>{false, false, false}));
            // A map the camera kept only in part is no success, and the log says why.
            const bool whole = kept == map.size();
            QVERIFY(finished(panel, dialogs,
                             whole ? "Upload Generated Map task has been successfully done."
                                   : "Upload Generated Map Error occurs during File Access."));
            QCOMPARE(sim->storedFile(plainId, "ShadingMap1"), map.left(kept));
            QCOMPARE(log.size(), whole ? 1 : 2);
            QCOMPARE(log.last()[0].toString(), QString("Upload device file ShadingMap1%1: %2 bytes "
                                                       "written.")
                                                   .arg(whole ? "" : " failed")
                                                   .arg(kept));
            QCOMPARE(panel.transferButtons(), buttons);
        }
        unbind(panel);
    }

    void localUploadAndDownload()
    {
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(bind(panel, dialogs, "LOCAL-1", 64, 32));
        const QByteArray map = savedBin(panel, dialogs);
        QSignalSpy log(&panel, &OrxNUShadingCorrection::sendLogMessage);

        dialogs.answer(QMessageBox::Yes);
        dialogs.answer(sim->path("saved.bin"));
        panel.button("btnUploadLocalMap")->click();
        QCOMPARE(dialogs.calls[0].title, QString("Upload Local Map"));
        QCOMPARE(dialogs.calls[0].text,
                 QString("The uploaded map would overwrite the selected map 'ShadingMap0'.\n"
                         "Do you want to proceed?"));
        QCOMPARE(dialogs.calls[1].filter, QString("*.bin"));
        QVERIFY(finished(panel, dialogs, "Upload Local File task has been successfully done."));
        QCOMPARE(sim->storedFile("LOCAL-1", "ShadingMap0"), map);
        // A local upload that worked frees the generated map's upload too.
        QCOMPARE(panel.transferButtons(), (QList<bool>{true, true, true}));

        dialogs.calls.clear();
        dialogs.answer(sim->path("back.bin"));
        panel.button("btnDownloadMapToFile")->click();
        QCOMPARE(dialogs.calls[0].title, QString("Download File As"));
        QCOMPARE(dialogs.calls[0].text, sim->path("")); // the remembered map folder
        QVERIFY(finished(panel, dialogs, "Download task has been successfully done."));
        QFile back(sim->path("back.bin"));
        QVERIFY(back.open(QIODevice::ReadOnly));
        QCOMPARE(back.readAll(), map);
        QCOMPARE(log.size(), 2);
        QCOMPARE(log[0][0].toString(),
                 QString("Upload Local Map 'ShadingMap0': 4128 bytes written."));
        QCOMPARE(log[1][0].toString(),
                 QString("Download device file ShadingMap0: 4128 bytes written."));
        unbind(panel);
    }

    void userMapUploadAndDownload()
    {
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(bind(panel, dialogs, "USER-1", 64, 32));
        panel.selector()->setCurrentIndex(1);
        QDir().mkpath(sim->path("user"));
        QVERIFY(panel.SaveDopoMap(sim->path("user")));
        QFile saved(sim->path("user/nuc_usermap1.ge3"));
        QVERIFY(saved.open(QIODevice::ReadOnly));
        const QByteArray map = saved.readAll();

        // Generated user maps go by the raw path's branch for user map cameras.
        panel.registerAccess = true;
        panel.button("btnUploadMapToCam")->click();
        QVERIFY(finished(panel, dialogs, "Upload task has been successfully done."));
        QCOMPARE(dialogs.calls.size(), 1);
        QCOMPARE(sim->storedFile("USER-1", "Userfile", "nuc_usermap1.ge3"), map);

        // Something else under the file's name, to be overwritten.
        saved.close();
        QVERIFY(saved.open(QIODevice::WriteOnly) && saved.write("old") == 3);
        saved.close();
        dialogs.calls.clear();
        dialogs.answer(sim->path("user"));
        dialogs.answer(QMessageBox::Yes);
        panel.button("btnDownloadMapToFile")->click();
        QCOMPARE(dialogs.calls[0].title, QString("Download seelcted user map"));
        QCOMPARE(dialogs.calls[1].title, QString("Overwrite File"));
        QCOMPARE(dialogs.calls[1].text,
                 QString("The file already exists. Do you want to overwrite it?"));
        QVERIFY(finished(panel, dialogs, "Download task has been successfully done."));
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QCOMPARE(saved.readAll(), map);
        unbind(panel);
    }

    void parametersLocked()
    {
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(bind(panel, dialogs, "LOCK-1", 64, 32));
        const QByteArray factory = sim->storedFile("LOCK-1", "ShadingMap0");
        // Generation leaves the button off while streaming; the slot refuses too.
        QVERIFY(!panel.button("btnUploadMapToCam")->isEnabled());
        QVERIFY(QMetaObject::invokeMethod(&panel, "on_btnUploadMapToCam_clicked"));
        QCOMPARE(dialogs.calls.size(), 1);
        QCOMPARE(dialogs.calls[0].kind, ScriptedDialogs::Critical);
        QCOMPARE(dialogs.calls[0].title, QString("Upload Map"));
        QCOMPARE(dialogs.calls[0].text, QString("Stop streaming before uploading map to camera"));
        QVERIFY(panel.fileTaskWatcher.objectName().isEmpty());
        QCOMPARE(sim->storedFile("LOCK-1", "ShadingMap0"), factory);
        unbind(panel);
    }

    void progress_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<QList<int>>("values");
        // 655392 bytes: 11 chunks, reported after the first nine.
        QTest::newRow("eleven chunks")
            << "BIG-1" << 640 << 512 << QList<int>{0, 11, 22, 33, 44, 55, 66, 77, 88, 100};
        QTest::newRow("two chunks") << "TWO-1" << 300 << 200 << QList<int>{};
    }

    void progress()
    {
        QFETCH(QString, id);
        QFETCH(int, width);
        QFETCH(int, height);
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(bind(panel, dialogs, id.toLatin1(), width, height));
        auto* dialog = panel.findChild<QProgressDialog*>();
        QVERIFY(dialog && !dialog->isVisible());
        QCOMPARE(dialog->windowTitle(), QString("Map Transfer..."));
        QSignalSpy bar(dialog->findChild<QProgressBar*>(), &QProgressBar::valueChanged);

        dialogs.answer(QMessageBox::Yes);
        panel.button("btnUploadMapToCam")->click();
        QVERIFY(finished(panel, dialogs, "Upload Generated Map task has been successfully done."));
        QList<int> values;
        for (const QList<QVariant>& call : bar)
            values << call[0].toInt();
        QTEST(values, "values");
        QVERIFY(!dialog->isVisible());
        QCOMPARE(panel.transferTotal, qint64(0));
        unbind(panel);
    }

    // A fault at each step of each File Access transfer, then the same
    // transfers without faults: what the operator is told, the camera's map
    // (the previous one, byte for byte; a partial map never stays), the
    // local files, and that the camera takes and gives maps again.
    void faults_data()
    {
        QTest::addColumn<QString>("transfer"); // its button
        QTest::addColumn<QString>("faults");
        QTest::addColumn<int>("partial"); // download: bytes left in the local file
        QTest::addColumn<bool>("dropsOff");
        QTest::addColumn<QString>("reason"); // logged before the transfer's own line

        // The map file is 655392 bytes: ten chunks of 65536 and one of 32.
        const int chunk = 65536, size = 655392;
        const struct
        {
            const char* step;
            const char* upload;   // faults for an upload (%1: the operation
            const char* download; // of a chunk, "Write" or "Read")
            int partial;
            const char* reason = nullptr; // the camera layer's log line (%1 as above)
        } steps[] = {
            {"open", R"({"failOperations": [{"operation": "Open"}]})", nullptr, 0},
            {"first chunk", R"({"failOperations": [{"operation": "%1", "chunk": 1}]})", nullptr, 0},
            {"middle chunk", R"({"failOperations": [{"operation": "%1", "chunk": 6}]})", nullptr,
             5 * chunk},
            {"last chunk", R"({"failOperations": [{"operation": "%1", "chunk": 11}]})", nullptr,
             10 * chunk},
            {"buffer", R"({"failFeatures": [{"feature": "FileAccessBuffer", "op": "set"}]})",
             R"({"failFeatures": [{"feature": "FileAccessBuffer", "op": "get"}]})", 0},
            {"close", R"({"failOperations": [{"operation": "Close"}]})", nullptr, size},
            {"close never completes",
             R"({"failOperations": [{"operation": "Close", "hang": true}]})", nullptr, size},
            // A chunk's wait runs out first; a download's open waits too.
            {"no command completes", R"({"commandLatencyMs": {"FileOperationExecute": -1}})",
             nullptr, 0},
            {"camera drops off", R"({"disconnectAfterChunks": 3})", nullptr, 3 * chunk},
            // The camera's execute succeeds; only its report tells.
            {"chunk fails in its status",
             R"({"failOperations": [{"operation": "%1", "chunk": 6, "statusOnly": true}]})",
             nullptr, 5 * chunk,
             "File Access %1 of ShadingMap0 at byte 327680 failed: the camera reports "
             "\"Failure\"."},
            {"chunk moves fewer bytes",
             R"({"failOperations": [{"operation": "%1", "chunk": 6, "bytes": 1000}]})", nullptr,
             5 * chunk,
             "File Access %1 of ShadingMap0 at byte 327680 failed: the camera moved 1000 of "
             "65536 bytes."},
            {"close fails in its status",
             R"({"failOperations": [{"operation": "Close", "statusOnly": true}]})", nullptr, size,
             "File Access Close of ShadingMap0 failed: the camera reports \"Failure\"."},
        };
        for (const auto& step : steps)
            for (const char* transfer :
                 {"btnUploadMapToCam", "btnUploadLocalMap", "btnDownloadMapToFile"}) {
                const bool download = QByteArray(transfer) == "btnDownloadMapToFile";
                const QString faults =
                    QString(download && step.download ? step.download : step.upload)
                        .replace("%1", download ? "Read" : "Write");
                QTest::addRow("%s, %s", transfer + 3, step.step)
                    << transfer << faults << (download ? step.partial : -1)
                    << QByteArray(step.step).startsWith("camera drops")
                    << QString(step.reason).replace("%1", download ? "Read" : "Write");
            }
    }

    void faults()
    {
        QFETCH(QString, transfer);
        QFETCH(QString, faults);
        QFETCH(int, partial);
        QFETCH(bool, dropsOff);
        QFETCH(QString, reason);
        const char* id = "FAULT-1";
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(bind(panel, dialogs, id, 640, 512));
        QTemporaryDir folder(sim->path("row-XXXXXX"));
        const QString mapPath = folder.filePath("new.bin");
        dialogs.answer(mapPath);
        panel.button("btnSaveMapToFile")->click();
        const QByteArray map = readFile(mapPath, "<missing>");
        const QByteArray previous = sim->storedFile(id, "ShadingMap0");
        QVERIFY(map.size() == 655392 && previous.size() == map.size() && previous != map);
        QCOMPARE(sim->control().SetFaults(id, faults.toStdString()), 0);
        QSignalSpy log(&panel, &OrxNUShadingCorrection::sendLogMessage);
        dialogs.calls.clear();

        const QString partialPath = folder.filePath("partial.bin");
        if (transfer != "btnDownloadMapToFile")
            dialogs.answer(QMessageBox::Yes);
        if (transfer != "btnUploadMapToCam")
            dialogs.answer(partial < 0 ? mapPath : partialPath);
        panel.button(qPrintable(transfer))->click();
        const QString task = transfer == "btnUploadMapToCam"   ? "Upload Generated Map"
                             : transfer == "btnUploadLocalMap" ? "Upload Local File"
                                                               : "Download";
        QVERIFY(finished(panel, dialogs, task + " Error occurs during File Access.", 30000));
        QStringList titles;
        for (const ScriptedDialogs::Call& call : dialogs.calls)
            titles << call.title;
        const QStringList asked = transfer == "btnUploadMapToCam" ? QStringList{"Upload Shadin Map"}
                                  : transfer == "btnUploadLocalMap"
                                      ? QStringList{"Upload Local Map", "Upload Local Map"}
                                      : QStringList{"Download File As"};
        QCOMPARE(titles, asked + QStringList{"File Access"});
        QCOMPARE(dialogs.calls.last().kind, ScriptedDialogs::Information);
        QStringList told;
        for (const QList<QVariant>& line : log)
            told << QString("%1 %2").arg(line[1].toInt()).arg(line[0].toString());
        QStringList expected;
        if (!reason.isEmpty())
            expected << "2 " + reason;
        if (transfer == "btnUploadMapToCam")
            expected << "2 Upload device file ShadingMap0 failed: 0 bytes written.";
        else if (transfer == "btnUploadLocalMap")
            expected << "2 Upload Local Map 'ShadingMap0' failed: 0 bytes written.";
        else
            expected << QString("2 Download device file ShadingMap0 failed: %1 bytes written.")
                            .arg(partial)
                     << QString("1 Partial file left by the failed download: %1 (%2 bytes).")
                            .arg(partialPath)
                            .arg(partial);
        QCOMPARE(told, expected);
        QCOMPARE(panel.transferButtons(),
                 (QList<bool>{true, true, transfer != "btnUploadLocalMap"}));
        QStringList files{"new.bin"};
        if (partial >= 0)
            files << "partial.bin";
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), files);
        QCOMPARE(readFile(mapPath, "<missing>"), map);
        if (partial >= 0)
            QCOMPARE(readFile(partialPath, "<missing>"), previous.left(partial));

        // Without faults (after a camera that dropped off is plugged in
        // again) another map goes up whole and comes back whole.
        if (dropsOff) {
            unbind(panel);
            // Taken off the list once its leaving is through; then it can return.
            const std::string plugged = QJsonDocument(faultCamera()).toJson().toStdString();
            QVERIFY(QTest::qWaitFor([&] { return sim->control().AddCamera(plugged) == 0; }));
            QTRY_VERIFY(sim->camera(id) != nullptr);
            opened = sim->openCamera(id);
            QVERIFY(opened && panel.Init(new OxCamera(opened, nullptr)));
        }
        QCOMPARE(sim->control().ClearFaults(id), 0);
        // (A camera that dropped off shows its files only once it is back.)
        QCOMPARE(sim->storedFile(id, "ShadingMap0"), previous);
        static int rows = 0;
        const QByteArray other = otherMap(++rows);
        const QString otherPath = folder.filePath("other.bin");
        QVERIFY(writeFile(otherPath, other));
        dialogs.calls.clear();
        dialogs.answer(QMessageBox::Yes);
        dialogs.answer(otherPath);
        QVERIFY(QMetaObject::invokeMethod(&panel, "on_btnUploadLocalMap_clicked"));
        QVERIFY(finished(panel, dialogs, "Upload Local File task has been successfully done."));
        QCOMPARE(sim->storedFile(id, "ShadingMap0"), other);
        dialogs.answer(folder.filePath("back.bin"));
        QVERIFY(QMetaObject::invokeMethod(&panel, "on_btnDownloadMapToFile_clicked"));
        QVERIFY(finished(panel, dialogs, "Download task has been successfully done."));
        QCOMPARE(readFile(folder.filePath("back.bin"), "<missing>"), other);
        unbind(panel);
    }

    void resetWaitsForRunningTransfer()
    {
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(bind(panel, dialogs, "RESET-1", 64, 32));
        const QByteArray map = savedBin(panel, dialogs);
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
        QCOMPARE(log.size(), 1);
        QVERIFY(panel.fileTaskWatcher.future().isFinished());
        QCOMPARE(panel.camera, nullptr);
        QCOMPARE(sim->storedFile("RESET-1", "ShadingMap0"), map);
        QCoreApplication::processEvents();
        QCOMPARE(dialogs.calls.size(), 1); // the question; no report after Reset
        unbind(panel);

        // The next camera's transfers are reported again.
        QCOMPARE(sim->control().SetCommandLatency("RESET-1", "FileOperationExecute", 0), 0);
        dialogs.calls.clear();
        QVERIFY(bind(panel, dialogs, "RESET-1", 64, 32));
        dialogs.answer(QMessageBox::Yes);
        panel.button("btnUploadMapToCam")->click();
        QVERIFY(finished(panel, dialogs, "Upload Generated Map task has been successfully done."));
        unbind(panel);
    }

    void rawMemoryUpload_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("written"); // bytes that reach the map area
        QTest::addColumn<QStringList>("reports");
        // 120000 bytes: 234 blocks of 512 and a tail of 192.
        QTest::newRow("300 x 200")
            << "RAW-1" << 300 << 200 << 120000 << QStringList{"Map Transfer", "User Set Control"};
        // A map area 192 bytes short takes the blocks but refuses the tail.
        QTest::newRow("tail refused")
            << "CUT-1" << 300 << 200 << 234 * 512 << QStringList{"Upload NUC Map"};
        // 256 bytes: less than a block, so nothing is sent.
        QTest::newRow("16 x 8") << "TINY-1" << 16 << 8 << 0 << QStringList{"Upload NUC Map"};
    }

    void rawMemoryUpload()
    {
        QFETCH(QString, id);
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, written);
        QFETCH(QStringList, reports);
        ScriptedDialogs dialogs;
        Panel panel;
        QVERIFY(bind(panel, dialogs, id.toLatin1(), width, height));
        const int size = 2 * width * height;
        const QByteArray before = written > 0 ? QByteArray() : panel.mapArea(unsigned(size));
        QCOMPARE(panel.feature("Shading_Control").toInt(), 0);
        // The camera's memory takes the words in network order.
        QVector<quint16> words(width * height);
        panel.getBinMap(words.data());
        QByteArray expected(size, '\0');
        qToBigEndian<quint16>(words.constData(), words.size(), expected.data());

        panel.registerAccess = true;
        dialogs.answer(QMessageBox::Yes); // store into the User Set
        panel.button("btnUploadMapToCam")->click();
        QStringList titles;
        for (const ScriptedDialogs::Call& call : dialogs.calls)
            titles << call.title;
        QCOMPARE(titles, reports);
        QCOMPARE(dialogs.calls.last().text,
                 written == size ? QString("Save settings successful") : QString("Upload failed"));
        QCOMPARE(panel.feature("Shading_Control").toInt(), 1);
        if (written > 0)
            QCOMPARE(panel.mapArea(unsigned(written)), expected.left(written));
        else
            QCOMPARE(panel.mapArea(unsigned(size)), before);
        unbind(panel);
    }
};

QTEST_MAIN(TestPanelTransfers)
#include "TestPanelTransfers.moc"
