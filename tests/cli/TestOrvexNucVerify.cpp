// The calibration loop through orvex-nuc on simulated cameras: set, acquire
// dark and bright frames, generate, upload, verify; and the camera keeping
// its settings from one run to the next.

#include <QDir>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include "CliRun.h"

namespace {

const char* const kUsb3 = R"({"id": "U-1", "transport": "USB3", "model": "zt1280MLV",
    "width": 96, "height": 64, "pixelFormat": "Mono12", "nucUserMaps": 2,
    "files": [{"selector": "Userfile", "kind": "userMap"}]})";
const char* const kGige = R"({"id": "G-1", "model": "kva640MXGE", "width": 96, "height": 64,
    "pixelFormat": "Mono8", "shadingControl": true,
    "files": [{"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
              {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8196},
              {"selector": "Notes", "kind": "plain"}]})";

// Feature name -> value, as "features --json" lists them.
QMap<QString, QString> features(const QString& camera)
{
    QMap<QString, QString> values;
    const CliRun run = orvexNuc({"features", "--camera", camera, "--json"});
    for (const QJsonValue& f : QJsonDocument::fromJson(run.out.toUtf8()).array())
        values[f["name"].toString()] = f["value"].toString();
    return values;
}

} // namespace

class TestOrvexNucVerify : public QObject
{
    Q_OBJECT

    QTemporaryDir tmp;

    QString path(const QString& name) const { return tmp.filePath(name); }

private slots:
    void initTestCase()
    {
        QVERIFY(writeFile(path("sim.json"),
                          QByteArray("{\"cameras\": [") + kUsb3 + "," + kGige + "]}"));
        qputenv("HVX_SIM_CONFIG", QFile::encodeName(path("sim.json")));
        qputenv("HVX_SIM_STATE", QFile::encodeName(path("state")));
        QVERIFY(QDir().mkpath(path("full")));
        QVERIFY(writeFile(path("full/old.png"), "x"));
    }

    void acquireGenerateUploadVerify_data()
    {
        QTest::addColumn<QString>("camera");
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("mapOption");
        QTest::addColumn<QImage::Format>("fileFormat");
        QTest::addColumn<QStringList>("off"); // the correction setting before, and put back
        QTest::addColumn<QStringList>("on");  // as --keep leaves it
        // How much flatter at least: an 8-bit series' mean is nearly its
        // first image, whose noise the map keeps.
        QTest::addColumn<int>("improvement");
        QTest::newRow("USB3 Mono12, user map")
            << "U-1"
            << "NucUserMap1"
            << "--user-map" << QImage::Format_Grayscale16 << QStringList{"NucControl", "Off"}
            << QStringList{"NucControl", "NucUserMap1"} << 10;
        QTest::newRow("GigE Mono8, shading map")
            << "G-1"
            << "ShadingMap1"
            << "--output" << QImage::Format_Grayscale8
            << QStringList{"Shading_Control", "0", "Shading_MapSelect", "0"}
            << QStringList{"Shading_Control", "1", "Shading_MapSelect", "1"} << 5;
    }

    void acquireGenerateUploadVerify()
    {
        QFETCH(QString, camera);
        QFETCH(QString, entry);
        QFETCH(QString, mapOption);
        QFETCH(QImage::Format, fileFormat);
        QFETCH(QStringList, off);
        QFETCH(QStringList, on);
        QFETCH(int, improvement);
        const QString dark = path(camera + "-dark"), bright = path(camera + "-bright");
        const QString map = path(camera + "-map");

        // The lens cap goes on in one run and stays on for the next.
        QCOMPARE(orvexNuc({"set", "--camera", camera, "SimulatedIllumination=0"}).exitCode, 0);
        CliRun run = orvexNuc({"acquire", "--camera", camera, "--frames", "8", "--output", dark});
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.out.contains("mean 4.7 % of full scale"), qPrintable(run.out));
        QCOMPARE(QDir(dark).entryList(QDir::Files).size(), 8);
        QCOMPARE(QImageReader(dark + "/frame-0008.png").imageFormat(), fileFormat);
        QCOMPARE(orvexNuc({"acquire", "--camera", camera, "--frames", "8", "--output", bright,
                           "--set", "SimulatedIllumination=1"})
                     .exitCode,
                 0);
        run = orvexNuc({"generate", "--dark", dark, "--bright", bright, "--target-gain", "1.25",
                        mapOption, map});
        QVERIFY2(run.exitCode == 0, qPrintable(run.err));
        run = orvexNuc({"upload", "--camera", camera, "--entry", entry, map});
        QVERIFY2(run.exitCode == 0, qPrintable(run.err));

        run = orvexNuc({"verify", "--camera", camera, "--entry", entry, "--frames", "8",
                        "--dark-frames", dark, "--json"});
        QVERIFY2(run.exitCode == 0, qPrintable(run.err));
        const QJsonObject r = QJsonDocument::fromJson(run.out.toUtf8()).object();
        const QString figures = run.out;
        QCOMPARE(r["measure"].toString(), QString("PRNU1288"));
        QCOMPARE(r["frames"].toInt(), 8);
        QCOMPARE(r["reference_frames"].toInt(), 8);
        QCOMPARE(r["clamped_pixels"].toInt(), 0);
        const double before = r["nonuniformity_before"].toDouble();
        const double after = r["nonuniformity_after"].toDouble();
        const double floor = r["floor"].toDouble();
        QVERIFY2(before > 3.0, qPrintable(figures)); // lens falloff and pixel spread
        QVERIFY2(after < before / improvement, qPrintable(figures));
        QVERIFY2(after < 1.5 * floor && after > 0.5 * floor, qPrintable(figures));
        QVERIFY2(r["level_after"].toDouble() > r["level_before"].toDouble(), qPrintable(figures));

        QMap<QString, QString> values = features(camera);
        for (int i = 0; i < off.size(); i += 2)
            QCOMPARE(values[off[i]], off[i + 1]);
        QCOMPARE(values["SimulatedIllumination"], QString("1"));
        QCOMPARE(
            orvexNuc({"verify", "--camera", camera, "--entry", entry, "--frames", "2", "--keep"})
                .exitCode,
            0);
        values = features(camera);
        for (int i = 0; i < on.size(); i += 2)
            QCOMPARE(values[on[i]], on[i + 1]);
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("error");
        QTest::newRow("unknown feature") << QStringList{"set", "--camera", "U-1", "NoSuch=1"}
                                         << "orvex-nuc set: the camera has no feature NoSuch\n";
        QTest::newRow("not a number")
            << QStringList{"set", "--camera", "U-1", "ExposureTime=fast"}
            << "orvex-nuc set: ExposureTime takes a Float value, not 'fast'\n";
        QTest::newRow("a command") << QStringList{"set", "--camera", "U-1", "AcquisitionStart=1"}
                                   << "orvex-nuc set: AcquisitionStart is a Command feature and "
                                      "takes no value\n";
        QTest::newRow("no map entry")
            << QStringList{"verify", "--camera", "G-1", "--entry", "Notes"}
            << "orvex-nuc verify: camera sim::G-1 has no map entry 'Notes'\n";
        QTest::newRow("acquire into a folder with files")
            << QStringList{"acquire", "--camera", "U-1", "--frames", "2", "--output", path("full")}
            << "orvex-nuc acquire: " + path("full") +
                   " already holds files; choose an empty folder\n";
    }

    void refusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, error);
        const CliRun run = orvexNuc(arguments);
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.err, error);
    }
};

QTEST_GUILESS_MAIN(TestOrvexNucVerify)
#include "TestOrvexNucVerify.moc"
