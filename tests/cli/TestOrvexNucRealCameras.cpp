// orvex-nuc's camera source: the simulated cameras unless --cameras or
// ORVEX_CAMERAS asks for real ones, a GigE Vision camera found by its
// address, and a map moved to and from a camera on the wire. Runs in a
// network namespace of its own, with Aravis's fake GigE Vision camera and
// orvex-sim-gev as the real cameras.

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "CliRun.h"
#include "NucMapFile.h"

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

    // A map of a 1280 x 1024 sensor goes up to orvex-sim-gev and comes back
    // byte for byte.
    void uploadAndDownloadAMap()
    {
        QTemporaryDir dir;
        QFile config(dir.filePath("gev.json"));
        QVERIFY(config.open(QIODevice::WriteOnly));
        config.write(R"({"cameras": [{"id": "CLI-1", "serial": "SN-CLI-1", "model": "kva640MXGE",
            "width": 1280, "height": 1024, "pixelFormat": "Mono12",
            "files": [{"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193}]}]})");
        config.close();
        QProcess gev;
        gev.start(ORVEX_SIM_GEV, {"--address", "127.0.0.3", "--camera", "CLI-1", "--config",
                                  config.fileName(), "--state", dir.path()});
        QVERIFY(gev.waitForReadyRead(30000));
        QCOMPARE(gev.readLine(), QByteArray("ready 127.0.0.3\n"));

        QVector<quint16> words(1280 * 1024);
        for (int i = 0; i < words.size(); ++i)
            words[i] = quint16((i * 2654435761u) >> 20);
        const QByteArray map = NucMapFile::binFile(8193, 1280, 1024, words);
        QFile file(dir.filePath("map.bin"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(map) == map.size());
        file.close();
        const QStringList camera{"--cameras", "real",    "--camera",
                                 "SN-CLI-1",  "--entry", "ShadingMap0"};
        const QString id = "aravis::Orvex-kva640MXGE-SN-CLI-1";
        QTRY_COMPARE_WITH_TIMEOUT(
            orvexNuc(QStringList{camera.mid(0, 2)} << "upload" << camera.mid(2) << file.fileName())
                .out,
            QString("%1 bytes written to ShadingMap0 of camera %2.\n").arg(map.size()).arg(id),
            20000);
        const CliRun down = orvexNuc(QStringList{camera.mid(0, 2)} << "download" << camera.mid(2)
                                                                   << dir.filePath("back.bin"));
        QCOMPARE(down.exitCode, 0);
        QFile back(dir.filePath("back.bin"));
        QVERIFY(back.open(QIODevice::ReadOnly));
        QVERIFY(back.readAll() == map);
        gev.terminate();
        QVERIFY(gev.waitForFinished());
    }

private:
    QProcess m_camera;
};

QTEST_GUILESS_MAIN(TestOrvexNucRealCameras)
#include "TestOrvexNucRealCameras.moc"
