#include "NucImageInput.h"
#include "NucMapFile.h"
#include "NucMapPacking.h"
#include "NucMapPipeline.h"
#include "TestImages.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "CliRun.h"

using namespace TestImages;

// orvex-nuc generate decodes ahead on worker threads; these runs use more
// images than it keeps in memory at once and compare with loading the same
// files one after the other in this process.
class TestOrvexNucPipeline : public QObject
{
    Q_OBJECT

    QTemporaryDir tmp;

    // count images of one kind; sizes vary in content so that decoding times
    // differ and workers finish out of order.
    QStringList writeImages(const QString& name, const QString& kind, int count, int base)
    {
        QStringList paths;
        const int w = 24, h = 10;
        for (int k = 0; k < count; ++k) {
            const Pixel value = [=](int x, int y) {
                return base + (x * (k + 3) + y * 7 + k * k * 5) % (kind == "png16" ? 900 : 60);
            };
            const QString path =
                tmp.filePath(QString("%1%2.png").arg(name).arg(k, 2, 10, QChar('0')));
            const bool ok =
                kind == "png16"
                    ? write(grey16(w, h, [=](int x, int y) { return 20 * value(x, y); }), path,
                            QImage::Format_Grayscale16)
                    : write(rgb(w, h, value), path, QImage::Format_RGB32);
            if (!ok)
                return {};
            paths << path;
        }
        return paths;
    }

    // The files loaded one after the other, dark then bright, and saved.
    static QByteArray sequential(const QStringList& dark, const QStringList& bright)
    {
        NucImageInput input;
        for (const QString& path : dark)
            if (!input.loadImagefromFile(path, NucImageInput::Dark))
                return QByteArray();
        for (const QString& path : bright)
            if (!input.loadImagefromFile(path, NucImageInput::Bright))
                return QByteArray();
        if (!NucMapPipeline::generate(input, 1.1f, 16, input.bitDepth == 16))
            return QByteArray();
        const QVector<quint16> words =
            NucMapPacking::packedMap(input.darkParams, input.brightParams, input.bitDepth, false);
        return NucMapFile::binFile(8193, input.brightParams.width, input.brightParams.height,
                                   words);
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

    void sameBytesAsSequentialLoading_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("8-bit colour") << "rgb";
        QTest::newRow("16-bit") << "png16";
    }

    // In list order and in reverse: the 8-bit series depend on the order, so
    // an image folded in out of turn shows in the bytes. The file formats
    // themselves are compared with the panel's in TestOrvexNucCli.
    void sameBytesAsSequentialLoading()
    {
        QFETCH(QString, kind);
        const QStringList dark = writeImages(kind + "dark", kind, 11, 3);
        const QStringList bright =
            writeImages(kind + "bright", kind, 9, kind == "png16" ? 900 : 150);
        QCOMPARE(dark.size(), 11);
        QCOMPARE(bright.size(), 9);
        QStringList darkReversed = dark, brightReversed = bright;
        std::reverse(darkReversed.begin(), darkReversed.end());
        std::reverse(brightReversed.begin(), brightReversed.end());

        QByteArray outputs[2];
        for (int reversed = 0; reversed < 2; ++reversed) {
            const QStringList& d = reversed ? darkReversed : dark;
            const QStringList& b = reversed ? brightReversed : bright;
            const QString out = tmp.filePath(QString("%1-%2.bin").arg(kind).arg(reversed));
            const CliRun run = orvexNuc(QStringList{"generate", "--quiet"} + options("--dark", d) +
                                        options("--bright", b) + QStringList{"--output", out});
            QCOMPARE(run.exitCode, 0);
            outputs[reversed] = readFile(out);
            QCOMPARE(outputs[reversed], sequential(d, b));
        }
        if (kind == "rgb")
            QVERIFY(outputs[0] != outputs[1]); // the order does matter here
    }

    // A file that does not load stops the run at its turn: the images before
    // it were announced, none after it.
    void unreadableFileStopsInOrder()
    {
        QStringList dark = writeImages("faildark", "png16", 8, 3);
        const QStringList bright = writeImages("failbright", "png16", 4, 900);
        const QString broken = tmp.filePath("broken.png");
        QFile file(broken);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("not an image");
        file.close();
        dark.insert(5, broken);

        const CliRun run = orvexNuc(QStringList{"generate"} + options("--dark", dark) +
                                    options("--bright", bright) +
                                    QStringList{"--output", tmp.filePath("fail.bin")});
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(
            run.err.contains(QString("Loading dark image 6 of 9: %1\n%1: failed!\n").arg(broken)),
            qPrintable(run.err));
        QVERIFY(run.err.contains("Loading dark image 5 of 9"));
        QVERIFY(!run.err.contains("Loading dark image 7 of 9"));
        QVERIFY(!run.err.contains("bright"));
        QVERIFY(!QFile::exists(tmp.filePath("fail.bin")));
    }
};

QTEST_GUILESS_MAIN(TestOrvexNucPipeline)
#include "TestOrvexNucPipeline.moc"
