#include "NucMapFile.h"
#include "SimSession.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

#include "CliRun.h"

namespace {

// A map whose words differ from pixel to pixel and from the neutral factory map.
QByteArray mapFile(bool user, int width, int height, int seed = 1)
{
    QVector<quint16> words(width * height);
    for (int i = 0; i < words.size(); ++i)
        words[i] = quint16((i * 2654435761u + seed) >> 7);
    return user ? NucMapFile::userMapFile(width, height, words)
                : NucMapFile::binFile(8193, width, height, words);
}

QJsonObject with(QJsonObject object, const QString& key, const QJsonValue& value)
{
    object.insert(key, value);
    return object;
}

QJsonObject shadingCamera(const char* id, int width = 64, int height = 32)
{
    QJsonObject cam = QJsonDocument::fromJson(R"({"transport": "GigE", "model": "kva640MXGE",
        "files": [{"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
                  {"selector": "ShadingMap1", "kind": "shadingMap", "write": false},
                  {"selector": "Notes", "kind": "plain"}]})")
                          .object();
    cam.insert("id", id);
    cam.insert("serial", QString("SN-%1").arg(id));
    cam.insert("width", width);
    return with(cam, "height", height);
}

QJsonObject userMapCamera(const char* id)
{
    return with(with(shadingCamera(id, 40, 24), "nucUserMaps", 3), "files",
                QJsonArray{QJsonObject{{"selector", "Userfile"}, {"kind", "userMap"}}});
}

} // namespace

class TestOrvexNucCameras : public QObject
{
    Q_OBJECT

private slots:
    // The tool under test gives up on a close that never completes after one poll.
    void initTestCase() { qputenv("ORVEX_FILE_CLOSE_WAIT_MS", "100"); }

    void listsCameras()
    {
        SimSession sim({shadingCamera("A-1"), with(shadingCamera("OTHER-1"), "model", "gx1280C"),
                        with(shadingCamera("HELD-1"), "heldByOtherApplication", true)});
        QVERIFY(sim.ok());
        const QStringList lines = orvexNuc({"cameras", "--all"}).out.split('\n');
        QCOMPARE(lines.mid(0, 6),
                 (QStringList{"sim::A-1", "  Extended ID:     sim::A-1", "  Camera ID:       A-1",
                              "  Model Name:      kva640MXGE", "  Camera Name:     kva640MXGE",
                              "  Serial No.:      SN-A-1"}));
        QCOMPARE(lines.mid(9, 4),
                 (QStringList{"  Full Access:     yes", "  Compatible:      yes (kva)", "",
                              "sim::OTHER-1"}));
        QCOMPARE(lines.value(22), QString("  Compatible:      no"));
        QCOMPARE(lines.value(33), QString("  Full Access:     no")); // HELD-1

        // By default the compatible cameras only, held ones included.
        QCOMPARE(orvexNuc({"cameras"}).out.count("Extended ID"), 2);
    }

    void transfers_data()
    {
        QTest::addColumn<QJsonObject>("camera");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QByteArray>("map");
        QTest::addColumn<QStringList>("storedAs"); // selector, file name
        QTest::addColumn<QStringList>("progress"); // remaining bytes of upload; of download

        for (const char* id : {"sim::A-1", "A-1", "SN-A-1"})
            QTest::addRow("shading map, camera %s", id)
                << shadingCamera("A-1") << id << "ShadingMap0" << mapFile(false, 64, 32, 7)
                << QStringList{"ShadingMap0", ""} << QStringList{"0", "0"};
        // 163872 bytes: chunks of 65536, 65536 and 32800; an upload is silent
        // about its last two chunks.
        QTest::addRow("three chunks")
            << shadingCamera("A-1", 320, 256) << "A-1"
            << "ShadingMap0" << mapFile(false, 320, 256, 3) << QStringList{"ShadingMap0", ""}
            << QStringList{"98336 0", "98336 32800 0"};
        QTest::addRow("user map") << userMapCamera("A-1") << "A-1"
                                  << "NucUserMap1" << mapFile(true, 40, 24, 5)
                                  << QStringList{"Userfile", "nuc_usermap1.ge3"}
                                  << QStringList{"0", "0"};
    }

    void transfers()
    {
        QFETCH(QJsonObject, camera);
        QFETCH(QString, id);
        QFETCH(QString, entry);
        QFETCH(QByteArray, map);
        QFETCH(QStringList, storedAs);
        QFETCH(QStringList, progress);
        SimSession sim({camera, with(with(camera, "id", "B-1"), "serial", "SN-B-1")});
        QVERIFY(sim.ok());
        QVERIFY(writeFile(sim.path("map"), map));
        const QString name = storedAs[1].isEmpty() ? storedAs[0] : storedAs[1];
        auto progressLines = [&](const QString& operation, const QString& remaining) {
            QString lines;
            for (const QString& bytes : remaining.split(' '))
                lines += QString("%1 %2: %3 bytes to go\n").arg(operation, name, bytes);
            return lines;
        };

        const CliRun up = orvexNuc({"upload", "--camera", id, "--entry", entry, sim.path("map")});
        QCOMPARE(up.exitCode, 0);
        QCOMPARE(
            up.out,
            QString("%1 bytes written to %2 of camera sim::A-1.\n").arg(map.size()).arg(entry));
        // The camera's previous file is read into a backup first (whose bytes
        // backupsAreListed checks), and named.
        const QString backupLine = up.err.split('\n').filter("Backup of").value(0);
        const QString backup = backupLine.section(": ", 1);
        QCOMPARE(backupLine, QString("Backup of %1 of camera sim::A-1: %2").arg(entry, backup));
        QVERIFY2(
            QRegularExpression(QString("/orvex-nuc/backups/SN-A-1/%1-\\d{8}T\\d{6}\\.\\d{3}Z\\.%2$")
                                   .arg(entry, storedAs[1].isEmpty() ? "bin" : "ge3"))
                .match(backup)
                .hasMatch(),
            qPrintable(backup));
        QVERIFY(up.err.endsWith(progressLines("Write", progress[0])));
        const QByteArray stored =
            sim.storedFile("A-1", qPrintable(storedAs[0]), qPrintable(storedAs[1]));
        QCOMPARE(stored, map);
        QVERIFY(sim.storedFile("B-1", qPrintable(storedAs[0]), qPrintable(storedAs[1])) != map);

        const CliRun down =
            orvexNuc({"download", "--camera", id, "--entry", entry, sim.path("back")});
        QCOMPARE(down.exitCode, 0);
        QCOMPARE(down.out, QString("%1 bytes read from %2 of camera sim::A-1 into %3.\n")
                               .arg(map.size())
                               .arg(entry, sim.path("back")));
        QCOMPARE(down.err, progressLines("Read", progress[1]));
        QCOMPARE(readFile(sim.path("back")), map);
    }

    void backupsAreListed()
    {
        // A camera of its own: the other tests keep backups of A-1.
        SimSession sim({shadingCamera("R-1")});
        QVERIFY(sim.ok());
        const QByteArray factory = sim.storedFile("R-1", "ShadingMap0");
        const QByteArray first = mapFile(false, 64, 32, 1);
        QVERIFY(writeFile(sim.path("first"), first));
        QVERIFY(writeFile(sim.path("second"), mapFile(false, 64, 32, 2)));
        for (const char* map : {"first", "second"})
            QCOMPARE(
                orvexNuc({"upload", "--camera", "R-1", "--entry", "ShadingMap0", sim.path(map)})
                    .exitCode,
                0);

        const CliRun list = orvexNuc({"backups", "--camera", "sim::R-1", "--json"});
        QCOMPARE(list.exitCode, 0);
        const QJsonArray backups = QJsonDocument::fromJson(list.out.toUtf8()).array();
        QCOMPARE(backups.size(), 2);
        // Newest first: the first map, then what the camera held before.
        const QJsonObject newest = backups[0].toObject();
        QCOMPARE(readFile(newest["path"].toString()), first);
        QCOMPARE(readFile(backups[1].toObject()["path"].toString()), factory);
        QCOMPARE(newest["entry"].toString(), QString("ShadingMap0"));
        QCOMPARE(newest["size"].toInt(), first.size());
        QCOMPARE(newest["format"].toString(), QString("bin"));
        QCOMPARE(newest["mapId"].toInt(), 8193);
        QVERIFY(newest["time"].toString() > backups[1].toObject()["time"].toString());
        QCOMPARE(orvexNuc({"backups", "--camera", "SN-R-1", "--entry", "Notes", "--json"}).out,
                 QString("[\n]\n"));

        QCOMPARE(orvexNuc({"backups", "--camera", "X-9"}).err,
                 QString("orvex-nuc backups: no backups are kept of a camera with the ID or "
                         "serial number 'X-9'\n"));
    }

    void failures_data()
    {
        QTest::addColumn<QJsonObject>("camera");
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QByteArray>("file");
        // The camera's reason, if any, on a line of the error stream, and the
        // command's verdict on the last line.
        QTest::addColumn<QString>("message");
        // download: bytes left in the local file; upload into Notes: bytes
        // the camera kept
        QTest::addColumn<int>("partial");

        const QJsonObject plain = shadingCamera("A-1");
        const QJsonObject big = shadingCamera("A-1", 320, 256);
        const QJsonObject closeHangs{
            {"failOperations", QJsonArray{QJsonObject{{"operation", "Close"}, {"hang", true}}}}};
        auto failing = [](QJsonObject camera, const char* operation,
                          QJsonObject how = QJsonObject()) {
            how.insert("operation", operation);
            if (!how.contains("chunk"))
                how.insert("chunk", 2);
            return with(camera, "faults", QJsonObject{{"failOperations", QJsonArray{how}}});
        };
        const QByteArray map = mapFile(false, 64, 32);
        QTest::addRow("unknown camera")
            << with(plain, "id", "Z-9") << "upload"
            << "ShadingMap0" << map
            << "orvex-nuc upload: no camera has the ID or serial number 'A-1'" << -1;
        QTest::addRow("unknown entry")
            << plain << "download"
            << "ShadingMap7" << QByteArray()
            << "orvex-nuc download: camera sim::A-1 has no entry 'ShadingMap7' (entries: "
               "ShadingMap0, ShadingMap1, Notes)"
            << -1;
        QTest::addRow("held by another application")
            << with(plain, "heldByOtherApplication", true) << "download"
            << "ShadingMap0" << QByteArray()
            << "orvex-nuc download: camera sim::A-1 is held by another application" << -1;
        QTest::addRow("parameters locked")
            << with(plain, "tlParamsLocked", true) << "upload"
            << "ShadingMap0" << map
            << "orvex-nuc upload: the parameters of camera sim::A-1 are locked "
               "(\"TLParamsLocked\"); stop streaming before uploading a map"
            << -1;
        QTest::addRow("user map into a shading-map entry")
            << plain << "upload"
            << "ShadingMap0" << mapFile(true, 64, 32)
            << "orvex-nuc upload: %1 is not a .bin file (it is a .ge3 user map file); the "
               "shading-map entry ShadingMap0 takes .bin map files"
            << -1;
        QTest::addRow("entry refuses writes")
            << plain << "upload"
            << "ShadingMap1" << map
            << "orvex-nuc upload: camera sim::A-1 did not complete the upload to ShadingMap1" << -1;
        QTest::addRow("camera takes part of a chunk")
            << failing(plain, "Write", {{"bytes", 1000}}) << "upload"
            << "Notes" << QByteArray(150000, 'n')
            << "File Access Write of Notes at byte 65536 failed: the camera moved 1000 of 65536 "
               "bytes.\norvex-nuc upload: short transfer: 66536 of 150000 bytes reached Notes"
            << 66536;
        QTest::addRow("download fails")
            << failing(big, "Read") << "download"
            << "ShadingMap0" << QByteArray()
            << "orvex-nuc download: the download of ShadingMap0 from camera sim::A-1 failed "
               "after 65536 bytes; %1 holds what was read"
            << 65536;
        QTest::addRow("backup download fails")
            << failing(big, "Read") << "upload"
            << "ShadingMap0" << mapFile(false, 320, 256)
            << "orvex-nuc upload: no backup of ShadingMap0 could be made (the download of "
               "ShadingMap0 from camera sim::A-1 failed after 65536 bytes); nothing was "
               "uploaded. Give --no-backup to upload without one"
            << -1;
        // A camera that hangs in its close (a download then fails as in
        // "download fails"; the camera layer's tests pin both).
        QTest::addRow("upload, close never completes")
            << with(plain, "faults", closeHangs) << "upload --no-backup"
            << "ShadingMap0" << map
            << "orvex-nuc upload: camera sim::A-1 did not complete the upload to ShadingMap0" << -1;
    }

    void failures()
    {
        QFETCH(QJsonObject, camera);
        QFETCH(QString, command);
        QFETCH(QString, entry);
        QFETCH(QByteArray, file);
        QFETCH(QString, message);
        QFETCH(int, partial);
        SimSession sim({camera});
        QVERIFY(sim.ok());
        const QString plainId = camera.value("id").toString();
        const QString selector = entry == "Notes" ? entry : "ShadingMap0";
        const QByteArray before = sim.storedFile(qPrintable(plainId), qPrintable(selector));
        const QString path = sim.path("file");
        if (command.startsWith("upload"))
            QVERIFY(writeFile(path, file));

        const CliRun run =
            orvexNuc(command.split(' ') + QStringList{"--camera", "A-1", "--entry", entry, path});
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.out, QString());
        const QStringList lines = run.err.split('\n', Qt::SkipEmptyParts);
        const QStringList expected =
            (message.contains("%1") ? message.arg(path) : message).split('\n');
        QCOMPARE(lines.last(), expected.last());
        for (const QString& reason : expected.mid(0, expected.size() - 1))
            QVERIFY2(lines.contains(reason), qPrintable(run.err));
        // A refused upload leaves the camera's file as it was; a plain device
        // file keeps what arrived before the failure.
        QCOMPARE(sim.storedFile(qPrintable(plainId), qPrintable(selector)),
                 entry == "Notes" ? file.left(partial) : before);
        if (partial >= 0 && command == "download")
            QCOMPARE(readFile(path), before.left(partial));
    }
};

QTEST_GUILESS_MAIN(TestOrvexNucCameras)
#include "TestOrvexNucCameras.moc"
