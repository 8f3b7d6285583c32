// The main window's camera source: the View menu's switch to real cameras
// (remembered in the settings, restarting the camera list) and a camera added
// by its address. Runs in a network namespace of its own, with Aravis's fake
// GigE Vision camera as the real camera.
#include "CameraSource.h"
#include "OrxSettings.h"
#include "ScriptedDialogs.h"
#include "WindowHarness.h"

#include <QProcess>

namespace {

const QString kFake = "aravis::Aravis-Fake-GV01";
const QString kSim = "sim::SIM-GIGE-1001";
const QString kRealCameras = "Real Cameras (GigE Vision, USB3 Vision)";
const QString kAddByAddress = "Add Camera by Address…";

bool listed(TestWindow& window, const QString& id)
{
    return window.cameraRow(id).isValid();
}

// A window whose list shows every model: the fake camera is no supported one.
void showAllModels(TestWindow& window)
{
    window.findChild<QCheckBox*>("chkCompatibleOnly")->setChecked(false);
}

} // namespace

class TestRealCamerasWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (QString(ARV_FAKE_GV_CAMERA).isEmpty())
            QSKIP("arv-fake-gv-camera-0.8 (aravis-tools) is not installed");
        m_camera.start(ARV_FAKE_GV_CAMERA, {"-i", "127.0.0.1"});
        QVERIFY(m_camera.waitForStarted());
        qputenv("HVX_ARAVIS_POLL_MS", "200");
    }
    void cleanupTestCase()
    {
        m_camera.kill();
        m_camera.waitForFinished();
        selectCameraSource(CameraSource::Simulated);
    }

    void switchesBetweenSimulatedAndRealCameras()
    {
        selectCameraSource(CameraSource::Simulated);
        TestWindow window;
        showAllModels(window);
        QAction* real = window.viewAction(kRealCameras);
        QVERIFY(real && real->isCheckable() && !real->isChecked());
        QVERIFY(!window.viewAction(kAddByAddress)->isEnabled());
        WAIT_FOR_CAMERA(window, kSim);

        const struct
        {
            bool on;
            QString shown, gone, logged;
        } steps[] = {
            {true, kFake, kSim, "Listing real cameras (GigE Vision, USB3 Vision)"},
            {false, kSim, kFake, "Listing simulated cameras"},
        };
        for (const auto& step : steps) {
            real->trigger();
            QCOMPARE(real->isChecked(), step.on);
            QCOMPARE(window.viewAction(kAddByAddress)->isEnabled(), step.on);
            QCOMPARE(OrxSettings::getInstance()->Get("Cameras", "RealCameras", !step.on).toBool(),
                     step.on);
            QVERIFY(window.logLines().contains(step.logged));
            QTRY_VERIFY_WITH_TIMEOUT(listed(window, step.shown) && !listed(window, step.gone),
                                     20000);
        }
    }

    void addsACameraByItsAddress()
    {
        qputenv("HVX_ARAVIS_INTERFACES", "none"); // no discovery: the address only
        selectCameraSource(CameraSource::Real);
        ScriptedDialogs dialogs;
        TestWindow window;
        showAllModels(window);
        QTRY_VERIFY_WITH_TIMEOUT(window.m_cameraManager, 15000);
        QAction* add = window.viewAction(kAddByAddress);
        QVERIFY(add->isEnabled());

        dialogs.answer(QString("127.0.0.9"));
        add->trigger();
        QCOMPARE(dialogs.calls.size(), 1);
        QCOMPARE(dialogs.calls[0].kind, ScriptedDialogs::Text);
        QCOMPARE(dialogs.calls[0].title, QString("Add Camera by Address"));
        QCOMPARE(dialogs.calls[0].text, QString("IPv4 address of the GigE Vision camera:"));
        QTRY_COMPARE(window.logLines().value(window.logLines().size() - 1),
                     QString("Failed to find a camera at 127.0.0.9 (error: Not found.)"));
        QVERIFY(!listed(window, kFake));

        dialogs.answer(QString(" 127.0.0.1 "));
        add->trigger();
        QVERIFY(window.logLines().contains("Camera found at 127.0.0.1: " + kFake));
        QTRY_VERIFY_WITH_TIMEOUT(listed(window, kFake), 15000);
        qunsetenv("HVX_ARAVIS_INTERFACES");
    }

private:
    QProcess m_camera;
};

QTEST_MAIN(TestRealCamerasWindow)
#include "TestRealCamerasWindow.moc"
