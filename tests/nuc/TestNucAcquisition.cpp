// Frames from a camera into a series, and the EMVA 1288 figures of frame
// stacks and of a correction report, against synthetic frames of known
// pattern and noise.

#include "NucAcquisition.h"
#include "NucCorrectionReport.h"
#include "NucFrame.h"
#include "NucFrameStack.h"
#include "NucImageInput.h"

#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <cstring>

namespace {

// value(x, y) plus Gaussian noise of sigma, rounded and clamped to the depth.
QImage frame(int w, int h, int bits, quint32 seed, double sigma,
             const std::function<double(int, int)>& value)
{
    QRandomGenerator rng(seed);
    auto normal = [&rng] {
        const double u = qMax(rng.generateDouble(), 1e-12), v = rng.generateDouble();
        return std::sqrt(-2.0 * std::log(u)) * std::cos(2.0 * M_PI * v);
    };
    const int top = (1 << bits) - 1;
    std::vector<uchar> bytes;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int v = qBound(0, int(std::lround(value(x, y) + sigma * normal())), top);
            bytes.push_back(uchar(v));
            if (bits > 8)
                bytes.push_back(uchar(v >> 8));
        }
    return NucFrame::fromCamera(bytes.data(), qint64(bytes.size()), w, h, bits);
}

// A fixed pattern of zero mean and standard deviation 20 (two columns of
// -20 and +20 alternating, so its variance is known exactly).
double pattern(int x, int)
{
    return x % 2 ? 20.0 : -20.0;
}

bool sameSeries(NucImageInput& a, NucImageInput& b, NucImageInput::Series which)
{
    const NUShadingParams* p = a.series(which);
    const NUShadingParams* q = b.series(which);
    const size_t n = size_t(p->width) * p->height;
    const bool wide = bool(p->remainder16);
    return p->count == q->count && n == size_t(q->width) * q->height && n > 0 &&
           std::memcmp(p->meanBuffer.get(), q->meanBuffer.get(), n * sizeof(float)) == 0 &&
           (wide ? std::memcmp(p->remainder16.get(), q->remainder16.get(), 2 * n)
                 : std::memcmp(p->remainder8.get(), q->remainder8.get(), n)) == 0 &&
           *a.meanImage(which) == *b.meanImage(which) && a.bitDepth == b.bitDepth;
}

} // namespace

class TestNucAcquisition : public QObject
{
    Q_OBJECT
private slots:
    void framesGoInAsTheirFilesWould_data()
    {
        QTest::addColumn<int>("bits");
        QTest::newRow("Mono8") << 8;
        QTest::newRow("Mono12") << 12;
    }

    void framesGoInAsTheirFilesWould()
    {
        QFETCH(int, bits);
        QTemporaryDir dir;
        NucImageInput acquired, loaded;
        {
            NucAcquisition acquisition(acquired, NucImageInput::Bright, 5, dir.path(), "CAM");
            for (int k = 0; k < 5; ++k) {
                QString error;
                QVERIFY2(acquisition.add(frame(12, 6, bits, k, 3.0,
                                               [](int x, int y) { return 40 + x + 7 * y; }),
                                         &error),
                         qPrintable(error));
            }
            QVERIFY(acquisition.complete());
            acquisition.commit();
            for (const QString& path : acquisition.items())
                QVERIFY(loaded.loadImagefromFile(path, NucImageInput::Bright));
        }
        // The files hold the camera's samples unscaled: the series match.
        QVERIFY(sameSeries(acquired, loaded, NucImageInput::Bright));
    }

    void aCancelOrARefusalLeavesTheSeriesAsItWas()
    {
        QTemporaryDir dir;
        NucImageInput input, reference;
        const QImage first = frame(8, 4, 12, 99, 2.0, [](int x, int) { return 100 + x; });
        QVERIFY(input.addLoadedImage("first", first, NucImageInput::Dark));
        QVERIFY(reference.addLoadedImage("first", first, NucImageInput::Dark));
        QString error;
        {
            NucAcquisition cancelled(input, NucImageInput::Dark, 3, dir.path());
            QVERIFY(cancelled.add(frame(8, 4, 12, 1, 2.0, pattern), &error));
            QVERIFY(cancelled.add(frame(8, 4, 12, 2, 2.0, pattern), &error));
            QCOMPARE(input.darkParams.count, 3u);
        } // destroyed uncommitted
        QVERIFY(sameSeries(input, reference, NucImageInput::Dark));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList());

        NucAcquisition refused(input, NucImageInput::Dark, 2);
        QVERIFY(!refused.add(frame(9, 4, 12, 3, 2.0, pattern), &error));
        QCOMPARE(error, QString("Camera frame 1 of 2: incompatible image!"));
        QVERIFY(sameSeries(input, reference, NucImageInput::Dark));
    }

    void brightLevelCheck_data()
    {
        QTest::addColumn<double>("level"); // share of full scale
        QTest::addColumn<int>("saturatedPixels");
        QTest::addColumn<QString>("warning");
        // A dim level's text is pinned by the acquisition dialog's test.
        QTest::newRow("bright") << 0.85 << 0
                                << "The mean is 85.0 % of full scale and 0.00 % of "
                                   "the pixels are saturated. Above 80 % of full "
                                   "scale: shorten the exposure or lower the gain.";
        // 2 of 1000 pixels = 0.2 %, 1 = 0.1 % is still accepted.
        QTest::newRow("saturated") << 0.5 << 2
                                   << "The mean is 50.1 % of full scale and 0.20 % "
                                      "of the pixels are saturated. More than 0.1 % "
                                      "saturated pixels: shorten the exposure or "
                                      "lower the gain.";
        QTest::newRow("one saturated") << 0.5 << 1 << QString();
    }

    void brightLevelCheck()
    {
        QFETCH(double, level);
        QFETCH(int, saturatedPixels);
        QFETCH(QString, warning);
        const QImage f = frame(100, 10, 12, 0, 0.0, [&](int x, int y) {
            return y * 100 + x < saturatedPixels ? 4095.0 : level * 4095.0;
        });
        QCOMPARE(NucLevel::of(f, 4095).brightWarning(), warning);
    }

    void reportOfAPerfectCorrection()
    {
        // Bright: 2000 over a dark level of 200 (+-10 of pattern), gains of
        // +-5 %; after: the target 2400 everywhere. Temporal noise 8.
        const int w = 128, h = 128;
        auto darkLevel = [](int x, int y) { return 200.0 + 0.5 * pattern(x, y); };
        auto response = [](int, int y) { return y % 2 ? 1.05 : 0.95; };
        NucFrameStack dark, before, after;
        for (int k = 0; k < 8; ++k) {
            QVERIFY(dark.add(frame(w, h, 12, k, 8.0, darkLevel)));
            QVERIFY(before.add(frame(w, h, 12, 50 + k, 8.0, [&](int x, int y) {
                return darkLevel(x, y) + 2000.0 * response(x, y);
            })));
            QVERIFY(after.add(frame(w, h, 12, 90 + k, 8.0, [](int, int) { return 2400.0; })));
        }
        NucCorrectionReport::Inputs in;
        in.camera = "sim::CAM";
        in.entry = "NucUserMap0";
        in.fullScale = 4095;
        in.before = &before;
        in.after = &after;
        in.darkReference = &dark;
        in.referenceFrames = 16;
        // Gain 1.5 everywhere, offset 16 codes of 4 grey levels: the dark
        // frames read (200 +- 10 - 64) * 1.5 with the map on.
        in.mapWords = QVector<quint16>(w * h, quint16(512 | 16 << 10));
        const NucCorrectionReport r = NucCorrectionReport::compute(in);
        QCOMPARE(r.error, QString());
        QVERIFY(qAbs(r.before.temporalNoise - 8.0) < 0.2);
        // PRNU1288 before: 5 % of the signal, the dark pattern taken out.
        QVERIFY2(qAbs(r.nonuniformityBefore - 5.0) < 0.05, qPrintable(r.lines().join('\n')));
        // After: the dark pattern, corrected, is all the after frames lack.
        QVERIFY2(r.nonuniformityAfter < 0.05, qPrintable(r.lines().join('\n')));
    }

    void clampsAndTheirAdvice()
    {
        QVector<quint16> words(5000, quint16(300 | 20 << 10));
        std::fill_n(words.begin(), 4210, quint16(0 | 20 << 10)); // gain 1.0
        words[4300] = quint16(1023 | 63 << 10);                  // gain 2.0, offset top
        words[4301] = quint16(5 | 0 << 10);                      // offset 0
        const NucCorrectionReport::Clamps c = NucCorrectionReport::clampsOf(words);
        QCOMPARE(
            QVector<quint32>({c.gainAtOne, c.gainAtTwo, c.offsetAtZero, c.offsetAtTop, c.pixels}),
            QVector<quint32>({4210, 1, 1, 1, 4212}));
        QCOMPARE(NucCorrectionReport::adviceFor(c),
                 QStringList({"4,210 pixels clamped at gain 1.0: raise the target gain",
                              "1 pixels clamped at gain 2.0: lower the target gain or light the "
                              "scene more evenly",
                              "1 pixels at offset code 0: their dark level is below the target "
                              "offset; lower the target offset",
                              "1 pixels at offset code 63: their dark level is more than the map "
                              "can take away; raise the target offset or lower exposure and "
                              "gain"}));
    }
};

QTEST_GUILESS_MAIN(TestNucAcquisition)
#include "TestNucAcquisition.moc"
