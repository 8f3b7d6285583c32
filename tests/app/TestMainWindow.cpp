// The main window over simulated cameras: the log, the docks and their view
// actions, the way from a camera to a saved map, unsupported and disconnected
// cameras, disconnects during a firmware update and the assistant's two views.
#include "ScriptedDialogs.h"
#include "TestFiles.h"
#include "WindowHarness.h"

#include <HvxSimControl.h>

#include <QComboBox>
#include <QImage>
#include <QSignalSpy>
#include <QtEndian>

namespace {

const QByteArray kCameras = R"js([
  {"id": "LAB-1", "model": "kva640MXGE", "name": "Lab camera", "width": 64, "height": 48,
   "files": [{"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
             {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8196}]},
  {"id": "YARD-1", "model": "gx1280C-PoE", "name": "Yard camera", "width": 32, "height": 16}
])js";
const QString kLab = "sim::LAB-1";
const QString kYard = "sim::YARD-1";

// A lens-cap image: a black level with a little fixed pattern.
QImage darkImage(int level)
{
    QImage image(64, 48, QImage::Format_Grayscale8);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.scanLine(y)[x] = uchar(level + (x + 2 * y) % 5);
    return image;
}

// An evenly lit target seen through a lens that darkens the corners.
QImage brightImage(int level)
{
    QImage image(64, 48, QImage::Format_Grayscale8);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const double dx = (x - 31.5) / 32.0, dy = (y - 23.5) / 24.0;
            image.scanLine(y)[x] = uchar(level - 60.0 * (dx * dx + dy * dy) / 2.0);
        }
    return image;
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimConfig> config;

    static bool inAssistantView(TestWindow& window)
    {
        return window.assistantDock()->isVisible() && window.assistant()->isEnabled() &&
               !window.m_cameraListDock->isVisible();
    }
    static bool inListView(TestWindow& window)
    {
        return !window.assistantDock()->isVisible() && !window.assistant()->isEnabled() &&
               window.m_cameraListDock->isVisible();
    }

private slots:
    void initTestCase()
    {
        config = std::make_unique<SimConfig>(kCameras);
        QVERIFY(config->ok());
    }

    void logLines_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QBrush>("foreground");
        QTest::addColumn<bool>("logOpens");

        QTest::newRow("info") << int(LogInfo) << QBrush() << false;
        QTest::newRow("warning") << int(LogWarning) << QBrush(QColor("yellow")) << false;
        QTest::newRow("error") << int(LogError) << QBrush(QColor("red")) << true;
    }

    void logLines()
    {
        QFETCH(int, type);
        QFETCH(bool, logOpens);

        TestWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QAction* logView = window.viewAction("Log View");
        QVERIFY(!window.m_logViewDock->isVisible());
        QVERIFY(!logView->isChecked());

        window.OnLogMessage("first", LogInfo);
        window.OnLogMessage("line", LogType(type));
        QCOMPARE(window.logLines(), (QStringList{"first", "line"}));
        QTEST(window.m_logList->item(1)->foreground(), "foreground");
        QCoreApplication::processEvents();
        QCOMPARE(window.m_logViewDock->isVisible(), logOpens);
        QCOMPARE(logView->isChecked(), logOpens);
    }

    void viewActions()
    {
        TestWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QAction* cameraList = window.viewAction("Camera List");
        QVERIFY(cameraList->isCheckable());
        QVERIFY(!cameraList->isChecked());
        QVERIFY(window.m_cameraListDock->isVisible());

        cameraList->trigger();
        QVERIFY(cameraList->isChecked());
        QVERIFY(window.m_cameraListDock->isVisible());
        cameraList->trigger();
        QVERIFY(!cameraList->isChecked());
        QVERIFY(!window.m_cameraListDock->isVisible());
        // Showing the dock another way leaves the action as it is...
        window.m_cameraListDock->show();
        QVERIFY(!cameraList->isChecked());
        // ...while the log view action follows its dock.
        QAction* logView = window.viewAction("Log View");
        logView->trigger();
        QVERIFY(window.m_logViewDock->isVisible());
        window.m_logViewDock->hide();
        QVERIFY(!logView->isChecked());
    }

    void menusAndAboutBox()
    {
        ScriptedDialogs dialogs;
        QCoreApplication::setApplicationVersion("1.0.0.f2df3d4");
        TestWindow window;
        QStringList views;
        for (QAction* action : window.menuBar()->actions().at(0)->menu()->actions())
            views << action->text();
        QCOMPARE(views, (QStringList{"Camera List", "Log View", "NUC Assistant", "",
                                     "Real Cameras (GigE Vision, USB3 Vision)",
                                     "Add Camera by Address…"}));

        QAction* about = window.menuBar()->actions().at(1)->menu()->actions().at(0);
        about->trigger();
        QCOMPARE(dialogs.calls.size(), 1);
        QCOMPARE(dialogs.calls[0].kind, ScriptedDialogs::About);
        QCOMPARE(dialogs.calls[0].title, QString("About"));
        const QStringList lines = dialogs.calls[0].text.split('\n');
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines.mid(0, 3), (QStringList{"Varnholt Orvex NUC Correction Assistant is a Qt "
                                               "application using the Hvx API.",
                                               "Version: 1.0.0.f2df3d4", ""}));
        QVERIFY(lines[3].contains("Varnholt Technologies"));
    }

    // The whole way an operator goes: a camera opened, dark and bright image
    // files added, a map generated and saved, and the camera closed.
    void generateAndSaveMap()
    {
        QStringList darks, brights;
        for (int i = 0; i < 2; ++i) {
            darks << config->path(QString("dark%1.png").arg(i));
            brights << config->path(QString("bright%1.png").arg(i));
            QVERIFY(darkImage(10 + 4 * i).save(darks.last()));
            QVERIFY(brightImage(190 + 6 * i).save(brights.last()));
        }

        ScriptedDialogs dialogs;
        TestWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        WAIT_FOR_CAMERA(window, kLab);

        QVERIFY(window.openFromList(kLab));
        QCOMPARE(window.windowTitle(), QString(TestWindow::Title) + " - Lab camera");
        QVERIFY(inAssistantView(window));

        dialogs.answer(darks);
        window.panelChild<QPushButton>("btnAddDarkImage")->click();
        dialogs.answer(brights);
        window.panelChild<QPushButton>("btnAddBrightImage")->click();

        auto* selector = window.panelChild<QComboBox>("cmbShadingMapSelector");
        QCOMPARE(selector->count(), 2);
        selector->setCurrentIndex(1); // ShadingMap1, map id 8196
        emit selector->activated(1);
        window.panelChild<QPushButton>("btnGenerateMap")->click();
        QCOMPARE(dialogs.calls.last().text, QString("Generate map successful!"));

        const QString saved = config->path("lab");
        dialogs.answer(saved);
        window.panelChild<QPushButton>("btnSaveMapToFile")->click();
        QCOMPARE(dialogs.calls.last().text, QString("Save to file successful!"));

        // The panel's own tests pin the bytes; here the file is the chosen slot's.
        const QByteArray bytes = readFile(saved + ".bin");
        QCOMPARE(bytes.size(), 32 + 64 * 48 * 2);
        QCOMPARE(qFromLittleEndian<quint32>(bytes.constData() + 12), 8196u); // map id
        window.panelChild<QPushButton>("btnCloseCamera")->click();
        QCOMPARE(window.windowTitle(), QString(TestWindow::Title));
        QVERIFY(inListView(window));
        QCOMPARE(window.logLines(),
                 (QStringList{"Camera opened: Lab camera",
                              "Map generated from the dark series (2 images) and the bright "
                              "series (2 images)",
                              "Clamped pixels: gain code 0: 326, gain code 1023: 0, offset code "
                              "0: 0, offset code 63: 0",
                              "Camera closed: Lab camera"}));
    }

    void unsupportedCameraIsClosedAgain()
    {
        TestWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        WAIT_FOR_CAMERA(window, kLab);
        // The camera list shows models the assistant cannot serve only on request.
        QVERIFY(!window.cameraRow(kYard).isValid());
        window.findChild<QCheckBox*>("chkCompatibleOnly")->setChecked(false);
        WAIT_FOR_CAMERA(window, kYard);
        QSignalSpy closed(&window, &BasicMainWindow::CameraClosed);
        // The list says the model is not supported, opens it all the same,
        // and the window closes it again.
        QVERIFY(window.openFromList(kYard));
        QCOMPARE(window.findChild<QLabel*>("lblRefreshInfo")->text(),
                 QString("gx1280C-PoE-YARD-1(YARD-1) cannot be opened: not supported by this "
                         "program"));
        QCOMPARE(window.windowTitle(), QString(TestWindow::Title));
        QCOMPARE(window.logLines(),
                 (QStringList{"Camera opened: Yard camera",
                              "Unsupported camera (Yard camera). NUC map selection is unavailable.",
                              "Camera closed: Yard camera"}));
        QCOMPARE(window.m_logList->item(1)->foreground(), QBrush(QColor("red")));
        QCOMPARE(closed.size(), 1);
        QCOMPARE(closed[0][0].toString(), QString("Yard camera"));
        QVERIFY(inListView(window));
        // Closed for real: the list offers to open it again.
        QVERIFY(window.findChild<QPushButton*>("btnOpenCamera")->isVisible());
    }

    void firmwareUpdateSwallowsThreeDisconnects()
    {
        TestWindow window;
        window.show();
        WAIT_FOR_CAMERA(window, kLab);
        QSignalSpy closed(&window, &BasicMainWindow::CameraClosed);
        const QString disconnected = "Camera disconnected: Lab camera (sim::LAB-1)";

        window.OnCameraOpenRequested(kLab);
        QVERIFY(inAssistantView(window));
        emit window.CameraFirmwareUpdateStarted(true);
        for (int i = 0; i < 3; ++i)
            window.OnCameraDisconnected(kLab, "Lab camera");
        QCOMPARE(closed.size(), 0);
        QVERIFY(inAssistantView(window));
        QVERIFY(!window.logLines().contains(disconnected));

        window.OnCameraDisconnected(kLab, "Lab camera");
        QCOMPARE(closed.size(), 1);
        QVERIFY(inListView(window));
        QCOMPARE(window.logLines().last(), disconnected);

        // The count starts again after a handled disconnect.
        window.OnCameraOpenRequested(kLab);
        for (int i = 0; i < 3; ++i)
            window.OnCameraDisconnected(kLab, "Lab camera");
        QCOMPARE(closed.size(), 1);
        QVERIFY(inAssistantView(window));

        // Once the update is over the next disconnect counts at once.
        emit window.CameraFirmwareUpdateStarted(false);
        window.OnCameraDisconnected(kLab, "Lab camera");
        QCOMPARE(closed.size(), 2);
        QVERIFY(inListView(window));
        QCOMPARE(window.windowTitle(), QString(TestWindow::Title));
    }

    // Last: a camera that left the bus stays away for the rest of the run.
    void cameraLeavingTheBus()
    {
        TestWindow window;
        window.show();
        WAIT_FOR_CAMERA(window, kLab);
        QVERIFY(window.openFromList(kLab));
        QVERIFY(inAssistantView(window));
        QCOMPARE(HvxSim::Control()->Disconnect("LAB-1"), 0);
        // The removal reaches the window once the list observer has seen it.
        QTRY_VERIFY_WITH_TIMEOUT(window.logLines().size() > 1, 10000);
        QVERIFY(inListView(window));
        QCOMPARE(window.windowTitle(), QString(TestWindow::Title));
        QCOMPARE(window.logLines().last(), QString("Camera disconnected: Lab camera (sim::LAB-1)"));
    }
};

QTEST_MAIN(TestMainWindow)
#include "TestMainWindow.moc"
