// The map view: statistics and plain-word warnings of generated maps, and
// map files opened from disk. orvex-nuc info shows the same statistics and
// warnings of map files.
#include "NucContrastStretch.h"
#include "NucImageInput.h"
#include "NucMapFile.h"
#include "NucMapPacking.h"
#include "NucMapPipeline.h"
#include "OrxCodePlots.h"
#include "OrxMapView.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <QLabel>
#include <QTemporaryDir>
#include <QtTest>

using namespace TestImages;

namespace {

// A map generated from one flat dark and one bright image of 8 x 4 pixels;
// the bright image holds a brighter and a darker column.
struct Generated
{
    QVector<quint16> words;
    QImage brightMean;
};

Generated generate(const QImage& dark, const QImage& bright)
{
    NucImageInput input;
    input.addLoadedImage("dark", dark, NucImageInput::Dark);
    input.addLoadedImage("bright", bright, NucImageInput::Bright);
    if (!NucMapPipeline::generate(input, 1.1f, 16,
                                  input.darkMean.format() == QImage::Format_Grayscale16))
        return {};
    return {NucMapPacking::packedMap(input.darkParams, input.brightParams, input.bitDepth, false),
            input.brightMean};
}

QString label(const QWidget& view, const char* name)
{
    return view.findChild<QLabel*>(name)->text();
}

} // namespace

class TestOrxMapView : public QObject
{
    Q_OBJECT

private slots:
    void statisticsAndWarnings_data()
    {
        QTest::addColumn<QImage>("dark");
        QTest::addColumn<QImage>("bright");
        QTest::addColumn<QString>("gain");
        QTest::addColumn<QString>("offset");
        QTest::addColumn<QStringList>("warnings");

        auto flat = [](int v) { return [v](int, int) { return v; }; };
        auto columns = [](int v) { return [v](int x, int) { return x == 0 ? v + 20 : v; }; };
        auto grey = [](const Pixel& pixel) {
            return NucImageInput::toIndexedGrey(grey8(8, 4, pixel));
        };
        // 8-bit: offset code 4 x 6 - 16 = 8, so the dark map takes 2 off the
        // bright pixels; the gain of 148 and 168 to 1.1 x 150.5 is 1.119 (code
        // 121) and 0.985 (clamped to code 0).
        QTest::newRow("good map") << grey(flat(6)) << grey(columns(150))
                                  << "min 0  max 121  mean 105.875  at 0: 4  at 1023: 0"
                                  << "min 8  max 8  mean 8.000  at 0: 0  at 63: 0" << QStringList();
        // The bright mean image averages (4 x 255 + 28 x 235) / 32 = 237.5.
        QTest::newRow("bright mean near saturation")
            << grey(flat(6)) << grey(columns(235))
            << "min 24  max 114  mean 102.750  at 0: 0  at 1023: 0"
            << "min 8  max 8  mean 8.000  at 0: 0  at 63: 0"
            << QStringList{"the bright mean image is at 93.1 % of full scale, near saturation: "
                           "pixels that clip cannot be corrected; lower the light or the "
                           "exposure"};
    }

    void statisticsAndWarnings()
    {
        QFETCH(QImage, dark);
        QFETCH(QImage, bright);
        QFETCH(QString, gain);
        QFETCH(QString, offset);
        QFETCH(QStringList, warnings);

        const Generated map = generate(dark, bright);
        QCOMPARE(map.words.size(), 32);
        QStringList more;
        const QString saturation = NucMapStatistics::saturationWarning(map.brightMean);
        if (!saturation.isEmpty())
            more << saturation;
        OrxMapView view;
        view.setMap(map.words, 8, 4, "generated map", more);
        QCOMPARE(label(view, "lblGainStatistics"), gain);
        QCOMPARE(label(view, "lblOffsetStatistics"), offset);
        QCOMPARE(view.warnings(), warnings);
        const QString shown = label(view, "lblWarnings");
        for (const QString& warning : warnings)
            QVERIFY2(shown.contains(warning.toHtmlEscaped()), qPrintable(shown));
        if (warnings.isEmpty())
            QCOMPARE(shown, QString("No warnings: the codes look like a usable map."));
        // The histograms count every pixel once, the clamped ones at the ends.
        const QVector<quint32> counts =
            view.findChild<OrxCodeHistogram*>("histogramGain")->counts();
        QCOMPARE(counts.size(), 1024);
        QCOMPARE(std::accumulate(counts.begin(), counts.end(), 0u), 32u);
        QCOMPARE(counts[0], view.statistics().gain.atZero);
    }

    void contrastStretch_data()
    {
        QTest::addColumn<QImage>("mean");
        QTest::addColumn<QVector<int>>("shown"); // first row, as stretched
        // Levels 2 to 6 of a lens-capped camera fill the whole range.
        QTest::newRow("dark 8-bit")
            << grey8(5, 40, [](int x, int) { return 2 + x; }) << QVector<int>{0, 63, 127, 191, 255};
        QTest::newRow("16-bit") << grey16(5, 40, [](int x, int) { return 1000 + 10 * x; })
                                << QVector<int>{0, 63, 127, 191, 255};
        // One hot pixel in 400 does not decide the scale.
        QTest::newRow("hot pixel") << grey8(5, 80, [](int x, int y) {
            return x == 4 && y == 79 ? 255 : 10 + (x == 4 ? 3 : x);
        }) << QVector<int>{0, 85, 170, 255, 255};
        QTest::newRow("flat") << grey8(5, 1, [](int, int) { return 7; })
                              << QVector<int>{128, 128, 128, 128, 128};
    }

    void contrastStretch()
    {
        QFETCH(QImage, mean);
        QFETCH(QVector<int>, shown);
        const QImage stretched = NucContrastStretch::stretched(mean);
        QCOMPARE(stretched.format(), QImage::Format_Grayscale8);
        QCOMPARE(stretched.size(), mean.size());
        QVector<int> row;
        for (int x = 0; x < stretched.width(); ++x)
            row << stretched.constScanLine(0)[x];
        QCOMPARE(row, shown);
    }

    void opensMapFiles()
    {
        QTemporaryDir dir;
        const QVector<quint16> words{0x2600, 0xFC00, 0x03FF, 0x0000, 0x0401, 0x0802};
        const QString bin = dir.filePath("map.bin"), ge3 = dir.filePath("nuc_usermap1.ge3"),
                      cut = dir.filePath("cut.bin");
        QVERIFY(writeFile(bin, NucMapFile::binFile(8193, 3, 2, words)));
        QVERIFY(writeFile(ge3, NucMapFile::userMapFile(3, 2, words)));
        QVERIFY(writeFile(cut, NucMapFile::binFile(8193, 3, 2, words).left(40)));

        OrxMapView view;
        QString error;
        for (const QString& path : {bin, ge3}) {
            QVERIFY2(view.openFile(path, &error), qPrintable(error));
            QCOMPARE(view.windowTitle(), "Map View - " + QDir::toNativeSeparators(path));
            QCOMPARE(label(view, "lblGainStatistics"),
                     QString("min 0  max 1023  mean 256.333  at 0: 2  at 1023: 1"));
            QCOMPARE(label(view, "lblOffsetStatistics"),
                     QString("min 0  max 63  mean 12.500  at 0: 2  at 63: 1"));
            QCOMPARE(view.findChild<QLabel*>("lblGainImage")->pixmap(Qt::ReturnByValue).size(),
                     QSize(3, 2) * view.zoom());
        }
        QVERIFY(!view.openFile(cut, &error));
        QCOMPARE(error,
                 QDir::toNativeSeparators(cut) + ": size field says 44 bytes but the file has 40");
        // A refused file leaves the map that was shown.
        QCOMPARE(view.windowTitle(), "Map View - " + QDir::toNativeSeparators(ge3));
    }
};

QTEST_MAIN(TestOrxMapView)
#include "TestOrxMapView.moc"
