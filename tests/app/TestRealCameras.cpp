// The camera source of both front ends, in a network namespace of its own
// with Aravis's fake GigE Vision camera as the real one: orvex-nuc lists the
// simulated cameras unless --cameras or ORVEX_CAMERAS asks for real ones; the
// main window's View menu switches to real cameras (remembered in the
// settings, restarting the camera list); both find a camera by its address.
#include "CameraSource.h"
#include "CliRun.h"
#include "OrxSettings.h"
#include "ScriptedDialogs.h"
#include "WindowHarness.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

namespace {

const QString kFake = "aravis::Aravis-Fake-GV01";
const QString kSim = "sim::SIM-GIGE-1001";
const QString kRealCameras = "Real Cameras (GigE Vision, USB3 Vision)";
const QString kAddByAddress = "Add Camera by Address…";

// The extended IDs a run listed, simulated ones counted as "sim::*".
QStringList listedIds(const CliRun& run)
{
    QStringList ids;
    for (const QJsonValue& value : QJsonDocument::fromJson(run.out.toUtf8()).array()) {
        const QString id = value.toObject().value("Extended ID").toString();
        if (!id.startsWith("sim::"))
            ids << id;
        else if (!ids.contains("sim::*"))
            ids << "sim::*";
    }
    return ids;
}

} // namespace

class TestRealCameras : public QObject
{
    Q_OBJECT

    QProcess m_camera;

private slots:
    void initTestCase()
    {
        if (QString(ARV_FAKE_GV_CAMERA).isEmpty())
            QSKIP("arv-fake-gv-camera-0.8 (aravis-tools) is not installed");
        m_camera.start(ARV_FAKE_GV_CAMERA, {"-i", "127.0.0.1"});
        QVERIFY(m_camera.waitForStarted());
        qputenv("HVX_ARAVIS_POLL_MS", "200");
        QTRY_VERIFY_WITH_TIMEOUT(listedIds(orvexNuc({"--cameras", "real", "cameras", "--all",
                                                     "--json"})) == QStringList{kFake},
                                 20000);
    }
    void cleanupTestCase()
    {
        m_camera.kill();
        m_camera.waitForFinished();
        selectCameraSource(CameraSource::Simulated);
    }
    void cleanup()
    {
        qunsetenv("ORVEX_CAMERAS");
        qunsetenv("HVX_ARAVIS_INTERFACES");
    }

    // Which cameras a run lists, or the usage error it ends with.
    void source_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("environment");
        QTest::addColumn<QStringList>("listed");
        QTest::addColumn<QString>("error");
        const QString usage = "orvex-nuc: unknown camera source '%1' in %2 (use simulated, real "
                              "or all)\nTry 'orvex-nuc --help'.\n";
        const QStringList sim{"sim::*"}, real{kFake};
        QTest::newRow("default") << QStringList() << QString() << sim << QString();
        QTest::newRow("real") << QStringList{"--cameras", "real"} << QString() << real << QString();
        QTest::newRow("all") << QStringList{"--cameras", "all"} << QString()
                             << QStringList{kFake, "sim::*"} << QString();
        QTest::newRow("environment") << QStringList() << "real" << real << QString();
        QTest::newRow("option over environment")
            << QStringList{"--cameras", "simulated"} << "real" << sim << QString();
        QTest::newRow("unknown option") << QStringList{"--cameras", "usb"} << QString()
                                        << QStringList() << usage.arg("usb", "--cameras");
        QTest::newRow("unknown environment")
            << QStringList() << "Real" << QStringList() << usage.arg("Real", "ORVEX_CAMERAS");
    }
    void source()
    {
        QFETCH(QStringList, options);
        QFETCH(QString, environment);
        QFETCH(QStringList, listed);
        QFETCH(QString, error);
        qputenv("ORVEX_CAMERAS", environment.toUtf8());
        const CliRun run = orvexNuc(options + QStringList{"cameras", "--all", "--json"});
        QCOMPARE(run.exitCode, error.isEmpty() ? 0 : 2);
        QCOMPARE(run.err, error);
        QStringList ids = listedIds(run);
        ids.sort();
        QCOMPARE(ids, listed);
    }

    // Without discovery, the camera is reached by unicast at its address.
    void listsACameraByItsAddress()
    {
        qputenv("HVX_ARAVIS_INTERFACES", "none");
        const CliRun found =
            orvexNuc({"--cameras", "real", "cameras", "--address", "127.0.0.1", "--json"});
        QCOMPARE(found.exitCode, 0);
        QCOMPARE(listedIds(found), QStringList{kFake});
        // Who is not found at an address, and why, is in addsACameraByItsAddress.
        const CliRun simulated = orvexNuc({"cameras", "--address", "127.0.0.1"});
        QCOMPARE(simulated.exitCode, 1);
        QCOMPARE(simulated.err,
                 QString("orvex-nuc cameras: looking for a camera at an address needs real "
                         "cameras: give --cameras real or --cameras all before the command\n"));
    }

    void switchesBetweenSimulatedAndRealCameras()
    {
        selectCameraSource(CameraSource::Simulated);
        TestWindow window;
        // Every model listed: the fake camera is no supported one.
        window.findChild<QCheckBox*>("chkCompatibleOnly")->setChecked(false);
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
            QTRY_VERIFY_WITH_TIMEOUT(window.cameraRow(step.shown).isValid() &&
                                         !window.cameraRow(step.gone).isValid(),
                                     20000);
        }
    }

    void addsACameraByItsAddress()
    {
        qputenv("HVX_ARAVIS_INTERFACES", "none"); // no discovery: the address only
        selectCameraSource(CameraSource::Real);
        ScriptedDialogs dialogs;
        TestWindow window;
        window.findChild<QCheckBox*>("chkCompatibleOnly")->setChecked(false);
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
        QVERIFY(!window.cameraRow(kFake).isValid());

        dialogs.answer(QString(" 127.0.0.1 "));
        add->trigger();
        QVERIFY(window.logLines().contains("Camera found at 127.0.0.1: " + kFake));
        QTRY_VERIFY_WITH_TIMEOUT(window.cameraRow(kFake).isValid(), 15000);
    }
};

QTEST_MAIN(TestRealCameras)
#include "TestRealCameras.moc"
