#include "NucFloatMap.h"
#include "NucImageInput.h"
#include "NucMapFile.h"
#include "NucMapPipeline.h"
#include "TestImages.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "CliRun.h"

using namespace TestImages;

class TestOrvexNucCli : public QObject
{
    Q_OBJECT

    QTemporaryDir tmp;

    // count 16-bit grey or 8-bit colour images into dir, named in list order.
    // Values differ per pixel and per image, so every rule of the generation
    // is exercised (clamps included), and an 8-bit series, whose map depends
    // on the order, shows an image folded in out of turn. Sizes of work
    // differ, so the decoding workers finish out of order.
    static QStringList writeSeries(const QString& dir, bool sixteen, int count, int base)
    {
        QStringList paths;
        if (!QDir().mkpath(dir))
            return paths;
        for (int k = 0; k < count; ++k) {
            const Pixel value = [=](int x, int y) {
                const int v = base + (x * (k + 3) + y * 7 + k * k * 5) % (sixteen ? 900 : 60);
                return sixteen ? 20 * v : v;
            };
            const QString path = QString("%1/img%2.png").arg(dir).arg(k, 2, 10, QChar('0'));
            if (!(sixteen ? write(grey16(24, 10, value), path, QImage::Format_Grayscale16)
                          : write(rgb(24, 10, value), path, QImage::Format_RGB32)))
                return {};
            paths << path;
        }
        return paths;
    }

    // The map file of the images loaded one after the other in this process.
    static QByteArray reference(const QStringList& dark, const QStringList& bright, float gain,
                                quint16 offset, const NucMapPipeline::FileLayout& layout)
    {
        NucImageInput input;
        for (const QString& path : dark)
            if (!input.loadImagefromFile(path, NucImageInput::Dark))
                return QByteArray();
        for (const QString& path : bright)
            if (!input.loadImagefromFile(path, NucImageInput::Bright))
                return QByteArray();
        if (!NucMapPipeline::generate(input, gain, offset, input.bitDepth == 16))
            return QByteArray();
        return NucMapPipeline::fileImage(input, layout);
    }

    static QStringList options(const QString& option, const QStringList& paths)
    {
        QStringList arguments;
        for (const QString& path : paths)
            arguments << option << path;
        return arguments;
    }

private slots:
    void initTestCase() { QVERIFY(tmp.isValid()); }

    void generate_data()
    {
        QTest::addColumn<bool>("sixteen");
        QTest::addColumn<int>("count");     // images in each series
        QTest::addColumn<bool>("reversed"); // the files named one by one, last first
        QTest::addColumn<QStringList>("targets");
        QTest::addColumn<bool>("userMap");
        QTest::addColumn<int>("mapId");
        QTest::addColumn<double>("gain");
        QTest::addColumn<int>("offset");
        // More images than generate keeps in memory at once, with the defaults.
        QTest::newRow("16-bit, defaults")
            << true << 11 << false << QStringList() << false << 8193 << 1.1 << 16;
        QTest::newRow("8-bit, defaults")
            << false << 11 << false << QStringList() << false << 8193 << 1.1 << 16;
        QTest::newRow("8-bit, reversed")
            << false << 11 << true << QStringList() << false << 8193 << 1.1 << 16;
        const QStringList targets{"--target-gain", "1.2", "--target-offset", "12",
                                  "--map-id",      "8196"};
        QTest::newRow("16-bit, user map")
            << true << 3 << false << targets << true << 8196 << 1.2 << 12;
        QTest::newRow("8-bit, map id 8196")
            << false << 3 << false << targets << false << 8196 << 1.2 << 12;
    }

    void generate()
    {
        QFETCH(bool, sixteen);
        QFETCH(int, count);
        QFETCH(bool, reversed);
        QFETCH(QStringList, targets);
        QFETCH(bool, userMap);
        QFETCH(int, mapId);
        QFETCH(double, gain);
        QFETCH(int, offset);
        const QString dir = tmp.filePath(QTest::currentDataTag());
        QStringList dark = writeSeries(dir + "/dark", sixteen, count, 3);
        QStringList bright = writeSeries(dir + "/bright", sixteen, count, sixteen ? 900 : 150);
        QCOMPARE(dark.size(), count);
        const NucMapPipeline::FileLayout layout{
            userMap ? NucMapFile::Kind::UserMap : NucMapFile::Kind::Bin, quint32(mapId), false};
        const QByteArray inOrder = reference(dark, bright, gain, offset, layout);
        QVERIFY(!inOrder.isEmpty());

        // Forward: one dark file named on its own and repeated through its folder.
        QStringList arguments{"generate"};
        if (reversed) {
            std::reverse(dark.begin(), dark.end());
            std::reverse(bright.begin(), bright.end());
            arguments << options("--dark", dark) << options("--bright", bright);
        } else {
            arguments << "--dark" << dark.first() << "--dark" << dir + "/dark"
                      << "--bright" << dir + "/bright";
        }
        const QString out = dir + (userMap ? "/map.ge3" : "/map.bin");
        const CliRun run =
            orvexNuc(arguments + targets + QStringList{userMap ? "--user-map" : "--output", out});
        QVERIFY2(run.exitCode == 0, qPrintable(run.err));
        const QByteArray actual = readFile(out);
        QCOMPARE(actual.size(), (userMap ? 60 : 32) + 2 * 24 * 10);
        QCOMPARE(actual, reference(dark, bright, gain, offset, layout));
        if (reversed) {
            QVERIFY(actual != inOrder); // the order does matter here
        } else {
            const QString total = QString::number(count + 1);
            QVERIFY2(run.err.contains("Loading dark image 1 of " + total), qPrintable(run.err));
            QVERIFY(run.err.contains("Skipping repeated dark image 2 of " + total));
        }
    }

    void failures_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");

        const QString out = tmp.filePath("never.bin");
        const QString dark16 = tmp.filePath("f/d16.png"), empty = tmp.filePath("f/empty");
        const QStringList ok16{"--dark", dark16, "--bright", dark16};
        QTest::newRow("no command") << QStringList() << 2 << "Usage:";
        QTest::newRow("unknown command") << QStringList{"make"} << 2 << "unknown command 'make'";
        QTest::newRow("no bright") << QStringList{"generate", "--dark", dark16, "--output", out}
                                   << 2 << "at least one --bright PATH is needed";
        QTest::newRow("no output")
            << QStringList{"generate"} + ok16 << 2 << "give exactly one of --output and --user-map";
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
        QTest::newRow("unreadable file")
            << QStringList{"generate", "--dark", tmp.filePath("f/none.png"), "--bright", dark16,
                           "--output", out}
            << 1 << tmp.filePath("f/none.png") + ": failed!";
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
        QVERIFY(write(grey16(4, 2, [](int, int) { return 300; }), tmp.filePath("f/d16.png"),
                      QImage::Format_Grayscale16));

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

    // What info says of a file: lines of its output (or of the error stream
    // when it fails).
    void info_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QStringList>("lines");

        // Gain codes 512, 0, 1023, 0, 1, 2; offset codes 9, 63, 0, 0, 1, 2.
        const QVector<quint16> words{0x2600, 0xFC00, 0x03FF, 0x0000, 0x0401, 0x0802};
        const QByteArray bin = NucMapFile::binFile(8192, 3, 2, words);
        const quint32 checksum = qFromLittleEndian<quint32>(bin.constData() + 8);
        const QString gainCodes =
            "Gain code:      min 0  max 1023  mean 256.333  at 0: 2  at 1023: 1";
        const QString offsetCodes = "Offset code:    min 0  max 63  mean 12.500  at 0: 2  at 63: 1";
        QTest::newRow(".bin")
            << bin << QStringList() << 0
            << QStringList{"Format:         .bin map file",
                           "Magic:          0x1F56ADFC",
                           "File size:      44",
                           QString("Checksum:       0x%1 (holds)")
                               .arg(QString::number(checksum, 16).toUpper().rightJustified(8, '0')),
                           "Map id:         8192",
                           "Block length:   32", // all after the 12-byte header
                           "Width:          3",
                           "Height:         2",
                           gainCodes,
                           offsetCodes};
        QTest::newRow(".ge3") << NucMapFile::userMapFile(3, 2, words) << QStringList() << 0
                              << QStringList{"Format:         .ge3 user map file",
                                             "Checksum:       0x00000000 (not used in user map "
                                             "files)",
                                             "Map block id:   0x00002000", gainCodes, offsetCodes};
        QTest::newRow("truncated .bin")
            << bin.left(40) << QStringList() << 1
            << QStringList{"size field says 44 bytes but the file has 40"};
        QByteArray corrupt = bin;
        corrupt[40] = char(corrupt[40] ^ 0x01);
        QTest::newRow("corrupt .bin") << corrupt << QStringList() << 1
                                      << QStringList{"(does not hold)", "checksum does not hold"};

        // 8-bit rule: 4 * offset -> 24, 0, 63 (clamped); gains 512, 1023, 0.
        // 16-bit rule: offset / 4 -> 1, 0, 5.
        const float offsets[3] = {6.0f, 0.0f, 20.0f}, gains[3] = {1.5f, 2.5f, 0.5f};
        const QByteArray floatMap = NucFloatMap::encode(3, 1, offsets, gains);
        const QString floatGainCodes =
            "Gain code:      min 0  max 1023  mean 511.667  at 0: 1  at 1023: 1";
        QTest::newRow("float map")
            << floatMap << QStringList() << 0
            << QStringList{"Format:         float map import file", "Width:          3",
                           "Gain values:    min 0.5  max 2.5", floatGainCodes,
                           "Offset code:    min 0  max 63  mean 29.000  at 0: 1  at 63: 1"};
        QTest::newRow("float map, 16-bit")
            << floatMap << QStringList{"--depth", "16"} << 0
            << QStringList{floatGainCodes,
                           "Offset code:    min 0  max 5  mean 2.000  at 0: 1  at 63: 0"};
        // A map that cannot be what the operator wanted says why, in plain words.
        const float high[2] = {20.0f, 30.0f}, low[2] = {0.5f, 0.9f};
        QTest::newRow("implausible float map")
            << NucFloatMap::encode(2, 1, high, low) << QStringList() << 0
            << QStringList{"Warning:        the dark level is above what the map can subtract: "
                           "check the dark images or the target offset",
                           "Warning:        100.0 % of the gain codes are 0: the target gain is "
                           "below 1, or the dark and bright images are swapped"};
        QTest::newRow("truncated float map") << floatMap.left(20) << QStringList() << 1
                                             << QStringList{"truncated: 1 of 3 pixels present"};
    }

    void info()
    {
        QFETCH(QByteArray, file);
        QFETCH(QStringList, options);
        QFETCH(int, exitCode);
        QFETCH(QStringList, lines);
        const QString path = tmp.filePath("info.map");
        QVERIFY(writeFile(path, file));
        const CliRun run = orvexNuc(QStringList{"info"} + options + QStringList{path});
        QCOMPARE(run.exitCode, exitCode);
        // Whole lines of a description; parts of a line in a refusal.
        const QString text = run.out + run.err;
        for (const QString& line : lines)
            QVERIFY2(exitCode == 0 ? run.out.split('\n').contains(line) : text.contains(line),
                     qPrintable(line + "\n---\n" + text));
        // Of the maps described, warnings only where the map is implausible.
        if (exitCode == 0)
            QCOMPARE(run.out.count("Warning"), lines.filter("Warning").size());
    }
};

QTEST_MAIN(TestOrvexNucCli)
#include "TestOrvexNucCli.moc"
