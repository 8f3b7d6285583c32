// orvex-nuc's camera source: the simulated cameras unless --cameras or
// ORVEX_CAMERAS asks for real ones, and a GigE Vision camera found by its
// address. Runs in a network namespace of its own, with Aravis's fake GigE
// Vision camera as the real camera.

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest>

#include "CliRun.h"

namespace {

const QString kFake = "aravis::Aravis-Fake-GV01";

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

class TestOrvexNucRealCameras : public QObject
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
        QTRY_VERIFY_WITH_TIMEOUT(listedIds(orvexNuc({"--cameras", "real", "cameras", "--all",
                                                     "--json"})) == QStringList{kFake},
                                 20000);
    }
    void cleanupTestCase()
    {
        m_camera.kill();
        m_camera.waitForFinished();
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
        QTest::newRow("simulated")
            << QStringList{"--cameras", "simulated"} << QString() << sim << QString();
        QTest::newRow("real") << QStringList{"--cameras", "real"} << QString() << real << QString();
        QTest::newRow("all") << QStringList{"--cameras", "all"} << QString()
                             << QStringList{kFake, "sim::*"} << QString();
        QTest::newRow("environment") << QStringList() << "real" << real << QString();
        QTest::newRow("option over environment")
            << QStringList{"--cameras", "simulated"} << "real" << sim << QString();
        QTest::newRow("unknown option") << QStringList{"--cameras", "usb"} << QString()
                                        << QStringList() << usage.arg("usb", "--cameras");
        QTest::newRow("unknown environment") << QStringList() << "Real" << QStringList()
                                             << usage.arg("Real", "ORVEX_CAMERAS");
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
    void cameraByAddress()
    {
        qputenv("HVX_ARAVIS_INTERFACES", "none");
        const CliRun found =
            orvexNuc({"--cameras", "real", "cameras", "--address", "127.0.0.1", "--json"});
        QCOMPARE(found.exitCode, 0);
        const QJsonObject camera =
            QJsonDocument::fromJson(found.out.toUtf8()).array()[0].toObject();
        QCOMPARE(camera.value("Extended ID").toString(), kFake);
        QCOMPARE(camera.value("Interface").toString(), QString("GigEVision/lo"));
        QCOMPARE(camera.value("Vendor").toString(), QString("Aravis"));
        QCOMPARE(camera.value("Full Access").toBool(), true);

        const CliRun nobody = orvexNuc({"--cameras", "real", "cameras", "--address", "127.0.0.9"});
        QCOMPARE(nobody.exitCode, 1);
        QVERIFY2(nobody.err.endsWith("orvex-nuc cameras: Failed to find a camera at 127.0.0.9 "
                                     "(error: Not found.)\n"),
                 qPrintable(nobody.err));

        const CliRun simulated = orvexNuc({"cameras", "--address", "127.0.0.1"});
        QCOMPARE(simulated.exitCode, 1);
        QCOMPARE(simulated.err,
                 QString("orvex-nuc cameras: looking for a camera at an address needs real "
                         "cameras: give --cameras real or --cameras all before the command\n"));
    }

private:
    QProcess m_camera;
};

QTEST_GUILESS_MAIN(TestOrvexNucRealCameras)
#include "TestOrvexNucRealCameras.moc"
