// The main window over simulated cameras: the log, the docks and their view
// actions, opening and closing cameras, disconnects during a firmware update
// and the assistant's two views.
#include "ScriptedDialogs.h"
#include "WindowHarness.h"

#include <HvxSimControl.h>

#include <QSignalSpy>

namespace {

const QByteArray kCameras = R"js([
  {"id": "LAB-1", "model": "kva640MXGE", "name": "Lab camera", "manufacturerInfo": "3.0.0",
   "width": 32, "height": 16, "files": [
     {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193}]},
  {"id": "YARD-1", "model": "gx1280C-PoE", "name": "Yard camera", "width": 32, "height": 16}
])js";
const QString kLab = "sim::LAB-1";
const QString kYard = "sim::YARD-1";
const QString kLabTitle = QString(TestWindow::Title) + " - Lab camera";

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
        QCOMPARE(lines[0], QString("Varnholt Orvex NUC Correction Assistant is a Qt application "
                                   "using the Hvx API."));
        QCOMPARE(lines[1], QString("Version: 1.0.0.f2df3d4"));
        QCOMPARE(lines[2], QString());
        QVERIFY(lines[3].contains("Varnholt Technologies"));
    }

    void openAndCloseByOperator()
    {
        TestWindow window;
        window.show();
        WAIT_FOR_CAMERA(window, kLab);
        QVERIFY(inListView(window));
        QSignalSpy opened(&window, &BasicMainWindow::CameraOpened);

        QVERIFY(window.openFromList(kLab));
        QCOMPARE(opened.size(), 1);
        QVERIFY(inAssistantView(window));
        QCOMPARE(window.windowTitle(), kLabTitle);
        QCOMPARE(window.panelChild<QLabel>("lblCameraName")->text(),
                 QString("Lab camera\nFirmware: 3.0.0"));

        window.panelChild<QPushButton>("btnCloseCamera")->click();
        QCOMPARE(window.windowTitle(), QString(TestWindow::Title));
        QVERIFY(inListView(window));
        QCOMPARE(window.logLines(),
                 (QStringList{"Camera opened: Lab camera", "Camera closed: Lab camera"}));
        // The list is ready for the next camera.
        QVERIFY(window.openFromList(kLab));
        QCOMPARE(window.windowTitle(), kLabTitle);
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
        // The list does not offer it, and says why.
        QVERIFY(!window.openFromList(kYard));
        QCOMPARE(window.findChild<QLabel*>("lblRefreshInfo")->text(),
                 QString("gx1280C-PoE-YARD-1(YARD-1) cannot be opened: not supported by this "
                         "program"));

        // Asked for all the same, the window opens it and closes it again.
        window.OnCameraOpenRequested(kYard);
        QCOMPARE(window.windowTitle(), QString(TestWindow::Title));
        QCOMPARE(window.logLines(),
                 (QStringList{"Camera opened: Yard camera",
                              "Unsupported camera (Yard camera). NUC map selection is unavailable.",
                              "Camera closed: Yard camera"}));
        QCOMPARE(window.m_logList->item(1)->foreground(), QBrush(QColor("red")));
        QCOMPARE(closed.size(), 1);
        QCOMPARE(closed[0][0].toString(), QString("Yard camera"));
        QCoreApplication::processEvents();
        QVERIFY(window.m_logViewDock->isVisible());
        QVERIFY(window.viewAction("Log View")->isChecked());
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

    void nullCameraResetsView()
    {
        TestWindow window;
        window.show();
        WAIT_FOR_CAMERA(window, kLab);
        QVERIFY(window.openFromList(kLab));
        QVERIFY(inAssistantView(window));
        const QStringList log = window.logLines();

        emit window.CameraOpened(nullptr);
        QVERIFY(inListView(window));
        QCOMPARE(window.windowTitle(), QString(TestWindow::Title));
        QCOMPARE(window.logLines(), log);
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
