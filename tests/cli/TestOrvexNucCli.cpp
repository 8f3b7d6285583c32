#include "NucFloatMap.h"
#include "OrxNUShadingCorrection.h"
#include "OxCamera.h"
#include "PanelCameras.h"
#include "ScriptedDialogs.h"
#include "SimSession.h"
#include "TestImages.h"

#include <Hvx/Camera.h>

#include <QComboBox>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

#include "CliRun.h"

using namespace TestImages;

namespace {

// Pixel values that differ per image and per pixel, so every rule of the
// generation is exercised (clamps included: some bright pixels are darker
// than the target, some dark pixels are far above the target offset).
Pixel darkPixel(int image, int scale)
{
    return [=](int x, int y) { return scale * (2 + (x * 3 + y * 5 + image * 7) % 9); };
}

Pixel brightPixel(int image, int scale)
{
    return [=](int x, int y) { return scale * (120 + (x * 11 + y * 13 + image * 17) % 100); };
}

} // namespace

class TestOrvexNucCli : public QObject
{
    Q_OBJECT

    QTemporaryDir tmp;
    std::unique_ptr<SimSession> sim;

    // Writes three dark and three bright images of one kind into folders.
    bool writeSeries(const QString& kind, QString* darkDir, QString* brightDir)
    {
        *darkDir = tmp.filePath(kind + "/dark");
        *brightDir = tmp.filePath(kind + "/bright");
        if (!QDir().mkpath(*darkDir) || !QDir().mkpath(*brightDir))
            return false;
        const int w = 8, h = 5;
        for (int i = 0; i < 3; ++i) {
            const QString d = QString("%1/img%2").arg(*darkDir).arg(i);
            const QString b = QString("%1/img%2").arg(*brightDir).arg(i);
            bool ok = false;
            if (kind == "png16")
                ok =
                    write(grey16(w, h, darkPixel(i, 40)), d + ".png", QImage::Format_Grayscale16) &&
                    write(grey16(w, h, brightPixel(i, 20)), b + ".png", QImage::Format_Grayscale16);
            else if (kind == "tiff16")
                ok = write(grey16(w, h, darkPixel(i, 40)), d + ".tif", QImage::Format_Grayscale16,
                           "tiff") &&
                     write(grey16(w, h, brightPixel(i, 20)), b + ".tif", QImage::Format_Grayscale16,
                           "tiff");
            else if (kind == "palette8")
                ok = write(palette8(w, h, darkPixel(i, 1)), d + ".png", QImage::Format_Indexed8) &&
                     write(palette8(w, h, brightPixel(i, 1)), b + ".png", QImage::Format_Indexed8);
            else if (kind == "grey8")
                ok = write(grey8(w, h, darkPixel(i, 1)), d + ".png", QImage::Format_Grayscale8) &&
                     write(grey8(w, h, brightPixel(i, 1)), b + ".png", QImage::Format_Grayscale8);
            else if (kind == "rgb")
                ok = write(rgb(w, h, darkPixel(i, 1)), d + ".png", QImage::Format_RGB32) &&
                     write(rgb(w, h, brightPixel(i, 1)), b + ".png", QImage::Format_RGB32);
            if (!ok)
                return false;
        }
        return true;
    }

    static QStringList filesIn(const QString& dir)
    {
        QStringList files;
        for (const QString& name : QDir(dir).entryList(QDir::Files, QDir::Name))
            files << QDir(dir).filePath(name);
        return files;
    }

    // What the panel writes for the same images, targets and map entry (map
    // id 8193 or 8196, or a user map).
    QByteArray panelSave(const QString& darkDir, const QString& brightDir, const QString& gain,
                         const QString& offset, int mapId, bool userMap, const QString& outDir)
    {
        ScriptedDialogs dialogs;
        OrxNUShadingCorrection panel;
        const char* id = userMap ? "CLI-USER" : "CLI-BIN";
        Hvx::CameraPtr camera = sim->openCamera(id);
        if (!camera || !panel.Init(new OxCamera(camera, nullptr)))
            return QByteArray();
        if (!userMap)
            panel.findChild<QComboBox*>("cmbShadingMapSelector")->setCurrentIndex(mapId == 8196);
        panel.findChild<QLineEdit*>("TargetGainEdit")->setText(gain);
        panel.findChild<QLineEdit*>("TargetOffsetEdit")->setText(offset);
        dialogs.answer(filesIn(darkDir));
        panel.findChild<QPushButton*>("btnAddDarkImage")->click();
        dialogs.answer(filesIn(brightDir));
        panel.findChild<QPushButton*>("btnAddBrightImage")->click();
        panel.findChild<QPushButton*>("btnGenerateMap")->click();
        dialogs.answer(userMap ? outDir : outDir + "/panel");
        panel.findChild<QPushButton*>("btnSaveMapToFile")->click();
        panel.Reset();
        camera->Close();
        if (dialogs.calls.last().text != "Save to file successful!")
            return QByteArray();
        return readFile(userMap ? outDir + "/nuc_usermap0.ge3" : outDir + "/panel.bin");
    }

private slots:
    void initTestCase()
    {
        QVERIFY(tmp.isValid());
        sim = std::make_unique<SimSession>(
            QJsonArray{panelCamera("CLI-BIN"), panelCamera("CLI-USER", 64, 32, kUserMaps)});
        QVERIFY(sim->ok());
    }

    void cleanupTestCase() { sim.reset(); }

    void sameBytesAsPanel_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("userMap");
        for (const char* kind : {"png16", "tiff16", "palette8", "grey8", "rgb"}) {
            QTest::addRow("%s .bin", kind) << kind << false;
            QTest::addRow("%s .ge3", kind) << kind << true;
        }
    }

    void sameBytesAsPanel()
    {
        QFETCH(QString, kind);
        QFETCH(bool, userMap);
        QString darkDir, brightDir;
        QVERIFY(writeSeries(kind, &darkDir, &brightDir));
        const QString outDir = tmp.filePath(kind + (userMap ? "/ge3" : "/bin"));
        QVERIFY(QDir().mkpath(outDir));

        const QString cliFile = outDir + (userMap ? "/cli.ge3" : "/cli.bin");
        // One dark file named on its own and repeated through its folder.
        const CliRun run =
            orvexNuc({"generate", "--dark", filesIn(darkDir).first(), "--dark", darkDir, "--bright",
                      brightDir, "--target-gain", "1.2", "--target-offset", "12", "--map-id",
                      "8196", userMap ? "--user-map" : "--output", cliFile});
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.err.contains("Loading dark image 1 of 4"), qPrintable(run.err));
        QVERIFY(run.err.contains("Skipping repeated dark image 2 of 4"));

        const QByteArray expected =
            panelSave(darkDir, brightDir, "1.2", "12", 8196, userMap, outDir);
        QVERIFY(!expected.isEmpty());
        const QByteArray actual = readFile(cliFile);
        QCOMPARE(actual.size(), (userMap ? 60 : 32) + 2 * 8 * 5);
        QCOMPARE(actual, expected);

        // The map is not trivial: several distinct words.
        QSet<QByteArray> words;
        for (int i = actual.size() - 80; i < actual.size(); i += 2)
            words.insert(actual.mid(i, 2));
        QVERIFY(words.size() > 3);
    }

    void defaultsMatchPanelDefaults()
    {
        QString darkDir, brightDir;
        QVERIFY(writeSeries("png16", &darkDir, &brightDir));
        const QString outDir = tmp.filePath("defaults");
        QVERIFY(QDir().mkpath(outDir));
        const CliRun run = orvexNuc({"generate", "--quiet", "--dark", darkDir, "--bright",
                                     brightDir, "--output", outDir + "/cli.bin"});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.err, QString());
        QCOMPARE(readFile(outDir + "/cli.bin"),
                 panelSave(darkDir, brightDir, "1.1", "16", 8193, false, outDir));
    }

    void failures_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");

        const QString out = tmp.filePath("never.bin");
        const QString dark16 = tmp.filePath("f/d16.png"), pal = tmp.filePath("f/p8.png");
        const QString alpha = tmp.filePath("f/alpha.png"), empty = tmp.filePath("f/empty");
        const QStringList ok16{"--dark", dark16, "--bright", dark16};
        QTest::newRow("no command") << QStringList() << 2 << "Usage:";
        QTest::newRow("unknown command") << QStringList{"make"} << 2 << "unknown command 'make'";
        QTest::newRow("no bright") << QStringList{"generate", "--dark", dark16, "--output", out}
                                   << 2 << "at least one --bright PATH is needed";
        QTest::newRow("no output")
            << QStringList{"generate"} + ok16 << 2 << "give exactly one of --output and --user-map";
        QTest::newRow("both outputs")
            << QStringList{"generate"} + ok16 + QStringList{"--output", out, "--user-map", out} << 2
            << "give exactly one of --output and --user-map";
        QTest::newRow("bad gain") << QStringList{"generate", "--target-gain", "1,1"} + ok16 +
                                         QStringList{"--output", out}
                                  << 2 << "target gain '1,1' is not a number";
        QTest::newRow("gain not finite")
            << QStringList{"generate", "--target-gain", "nan"} + ok16 + QStringList{"--output", out}
            << 2 << "target gain 'nan' is not a number";
        QTest::newRow("bad offset") << QStringList{"generate", "--target-offset", "70000"} + ok16 +
                                           QStringList{"--output", out}
                                    << 2 << "target offset '70000' is not a number from 0 to 65535";
        QTest::newRow("bad map id")
            << QStringList{"generate", "--map-id", "x"} + ok16 + QStringList{"--output", out} << 2
            << "map id 'x' is not a number";
        QTest::newRow("unknown option")
            << QStringList{"generate", "--fast"} << 2 << "Unknown option 'fast'";
        QTest::newRow("unsupported file")
            << QStringList{"generate", "--dark", alpha, "--bright", dark16, "--output", out} << 1
            << alpha + ": image format not supported!";
        QTest::newRow("unreadable file")
            << QStringList{"generate", "--dark", tmp.filePath("f/none.png"), "--bright", dark16,
                           "--output", out}
            << 1 << tmp.filePath("f/none.png") + ": failed!";
        QTest::newRow("depth differs")
            << QStringList{"generate", "--dark", pal, "--bright", dark16, "--output", out} << 1
            << dark16 + ": failed!";
        QTest::newRow("empty dark folder")
            << QStringList{"generate", "--dark", empty, "--bright", dark16, "--output", out} << 1
            << "Generate map failed: missing dark image parameter!";
        QTest::newRow("unwritable output")
            << QStringList{"generate"} + ok16 +
                   QStringList{"--output", tmp.filePath("f/missing/m.bin")}
            << 1 << tmp.filePath("f/missing/m.bin") + ": cannot write";
        QTest::newRow("info without file") << QStringList{"info"} << 2 << "give exactly one FILE";
    }

    void failures()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, message);
        QVERIFY(QDir().mkpath(tmp.filePath("f/empty")));
        auto flat = [](int v) { return [v](int, int) { return v; }; };
        QVERIFY(
            write(grey16(4, 2, flat(300)), tmp.filePath("f/d16.png"), QImage::Format_Grayscale16));
        QVERIFY(write(palette8(4, 2, flat(3)), tmp.filePath("f/p8.png"), QImage::Format_Indexed8));
        QImage alpha(4, 2, QImage::Format_ARGB32);
        alpha.fill(qRgba(1, 2, 3, 4));
        QVERIFY(write(alpha, tmp.filePath("f/alpha.png"), QImage::Format_ARGB32));

        const CliRun run = orvexNuc(arguments);
        QCOMPARE(run.exitCode, exitCode);
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
        QVERIFY(!QFile::exists(tmp.filePath("never.bin")));
    }

    void versionAndHelp()
    {
        CliRun run = orvexNuc({"--version"});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QString("orvex-nuc 1.0.0.f2df3d4\n"));
        run = orvexNuc({"generate", "--help"});
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.contains("--target-offset"));
    }

    void infoOnMapFiles()
    {
        QString darkDir, brightDir;
        QVERIFY(writeSeries("palette8", &darkDir, &brightDir));
        const QString bin = tmp.filePath("info.bin"), ge3 = tmp.filePath("info.ge3");
        QCOMPARE(orvexNuc({"generate", "--quiet", "--dark", darkDir, "--bright", brightDir,
                           "--map-id", "8192", "--output", bin})
                     .exitCode,
                 0);
        QCOMPARE(orvexNuc({"generate", "--quiet", "--dark", darkDir, "--bright", brightDir,
                           "--user-map", ge3})
                     .exitCode,
                 0);

        CliRun run = orvexNuc({"info", bin});
        QCOMPARE(run.exitCode, 0);
        const QByteArray bytes = readFile(bin);
        const quint32 checksum = qFromLittleEndian<quint32>(bytes.constData() + 8);
        for (const QString& expected :
             {QString("Format:         .bin map file"), QString("Magic:          0x1F56ADFC"),
              QString("File size:      112"),
              QString("Checksum:       0x%1 (holds)")
                  .arg(QString::number(checksum, 16).toUpper().rightJustified(8, '0')),
              QString("Map id:         8192"), QString("Block length:   100"),
              QString("Width:          8"), QString("Height:         5")})
            QVERIFY2(run.out.contains(expected + '\n'), qPrintable(run.out));

        // The exact statistics are checked on a float map below; here their
        // presence and that some gains sit at the lower clamp.
        QVERIFY(run.out.contains(QRegularExpression("Offset code: +min \\d+  max \\d+  mean "
                                                    "[0-9.]+  at 0: \\d+  at 63: \\d+\n")));
        QVERIFY(run.out.contains(QRegularExpression("Gain code: +min 0  max \\d+  mean [0-9.]+  "
                                                    "at 0: [1-9]\\d*  at 1023: \\d+\n")));

        run = orvexNuc({"info", ge3});
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.contains("Format:         .ge3 user map file\n"));
        QVERIFY(run.out.contains("Checksum:       0x00000000 (not used in user map files)\n"));
        QVERIFY(run.out.contains("Map block id:   0x00002000\n"));

        // Truncated and corrupted copies.
        QVERIFY(writeFile(tmp.filePath("cut.bin"), bytes.left(100)));
        run = orvexNuc({"info", tmp.filePath("cut.bin")});
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.err.contains("size field says 112 bytes but the file has 100"),
                 qPrintable(run.err));
        QByteArray corrupt = bytes;
        corrupt[40] = char(corrupt[40] ^ 0x01);
        QVERIFY(writeFile(tmp.filePath("corrupt.bin"), corrupt));
        run = orvexNuc({"info", tmp.filePath("corrupt.bin")});
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.out.contains("(does not hold)"));
        QVERIFY(run.err.contains("checksum does not hold"));
    }

    void infoOnFloatMaps()
    {
        const float offsets[3] = {6.0f, 0.0f, 20.0f}, gains[3] = {1.5f, 2.5f, 0.5f};
        const QByteArray map = NucFloatMap::encode(3, 1, offsets, gains);
        QVERIFY(writeFile(tmp.filePath("float.map"), map));
        CliRun run = orvexNuc({"info", tmp.filePath("float.map")});
        QCOMPARE(run.exitCode, 0);
        QVERIFY(run.out.contains("Format:         float map import file\n"));
        QVERIFY(run.out.contains("Width:          3\n"));
        QVERIFY(run.out.contains("Gain values:    min 0.5  max 2.5\n"));
        // 8-bit rule: 4 * offset -> 24, 0, 63 (clamped); gains 512, 1023, 0.
        // 16-bit rule: offset / 4 -> 1, 0, 5.
        QVERIFY2(run.out.contains("Gain code:      min 0  max 1023  mean 511.667  at 0: 1  at "
                                  "1023: 1\n"),
                 qPrintable(run.out));
        QVERIFY(
            run.out.contains("Offset code:    min 0  max 63  mean 29.000  at 0: 1  at 63: 1\n"));
        run = orvexNuc({"info", "--depth", "16", tmp.filePath("float.map")});
        QVERIFY(run.out.contains("Offset code:    min 0  max 5  mean 2.000  at 0: 1  at 63: 0\n"));
        QVERIFY(!run.out.contains("Warning"));

        // A map that cannot be what the operator wanted says why, in plain words.
        const float high[2] = {20.0f, 30.0f}, low[2] = {0.5f, 0.9f};
        QVERIFY(writeFile(tmp.filePath("bad.map"), NucFloatMap::encode(2, 1, high, low)));
        run = orvexNuc({"info", tmp.filePath("bad.map")});
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.out.endsWith(
                     "Warning:        the dark level is above what the map can subtract: check "
                     "the dark images or the target offset\n"
                     "Warning:        100.0 % of the gain codes are 0: the target gain is below 1, "
                     "or the dark and bright images are swapped\n"),
                 qPrintable(run.out));

        QVERIFY(writeFile(tmp.filePath("short.map"), map.left(20)));
        run = orvexNuc({"info", tmp.filePath("short.map")});
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.err.contains("truncated: 1 of 3 pixels present"));

        QVERIFY(writeFile(tmp.filePath("text.txt"), "just some text in a file\n"));
        run = orvexNuc({"info", tmp.filePath("text.txt")});
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.err.contains("not a map file and not a float map: implausible declared size"),
                 qPrintable(run.err));
        run = orvexNuc({"info", tmp.filePath("nothing-here")});
        QCOMPARE(run.exitCode, 1);
    }
};

QTEST_MAIN(TestOrvexNucCli)
#include "TestOrvexNucCli.moc"
