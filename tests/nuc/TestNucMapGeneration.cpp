#include "NUShadingParams.h"
#include "NucKernels.h"
#include "NucMapFile.h"
#include "NucMapGeneration.h"
#include "NucMapPacking.h"

#include <QRandomGenerator>
#include <QtTest>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

using namespace NucKernels;

namespace {

bool sameBits(const float* a, const float* b, size n)
{
    return n == 0 || std::memcmp(a, b, n * sizeof(float)) == 0;
}

double sequentialSum(const std::vector<float>& values)
{
    double sum = 0.0;
    for (float v : values)
        sum += v;
    return sum;
}

// Float values as generation meets them, plus the awkward ones: zeros of
// both signs, NaN, infinities, subnormals, negatives, huge and tiny values.
std::vector<float> awkwardValues(QRandomGenerator& random, size n, float scale)
{
    const float special[] = {0.0f,
                             -0.0f,
                             std::numeric_limits<float>::quiet_NaN(),
                             std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(),
                             std::numeric_limits<float>::denorm_min(),
                             1e-30f,
                             -3.5f,
                             1e30f,
                             200.0f,
                             200.00002f,
                             0.999999f,
                             1.0f,
                             2.0f};
    std::vector<float> values(n);
    for (size i = 0; i < n; ++i)
        values[i] = i % 13 == 0 ? special[random.bounded(int(std::size(special)))]
                                : float(random.generateDouble() * scale);
    return values;
}

std::vector<float> plainDarkMap16(const std::vector<float>& mean, float s, float o, i32 levels)
{
    std::vector<float> map(mean.size());
    for (size i = 0; i < mean.size(); ++i) {
        i32 v = i32((mean[i] - o) / s);
        v = qMax(v, 0);
        if (v >= levels)
            v = levels - 1;
        map[i] = float(v) * s;
    }
    return map;
}

std::vector<float> plainGainMap(const std::vector<float>& mean, float target)
{
    std::vector<float> map(mean.size());
    for (size i = 0; i < mean.size(); ++i) {
        if (mean[i] == 0.0f) {
            map[i] = 2.0f;
            continue;
        }
        float g = target / mean[i];
        if (g < 1.0f)
            g = 1.0f;
        else if (g > 2.0f)
            g = 2.0f;
        map[i] = g;
    }
    return map;
}

// Two series of w x h with a generated 16-bit (or 8-bit) history.
struct Series
{
    NUShadingParams dark, bright;
    QImage darkMean, brightMean;
};

void fill(Series& s, int w, int h, bool sixteenBit, quint32 seed, bool awkward)
{
    QRandomGenerator random(seed);
    const QImage::Format format = sixteenBit ? QImage::Format_Grayscale16 : QImage::Format_Indexed8;
    for (int k = 0; k < 3; ++k) {
        QImage dark(w, h, format), bright(w, h, format);
        if (!sixteenBit) {
            QVector<QRgb> grey(256);
            for (int i = 0; i < 256; ++i)
                grey[i] = qRgb(i, i, i);
            dark.setColorTable(grey);
            bright.setColorTable(grey);
        }
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                int d = sixteenBit ? 40 + random.bounded(400) : 2 + random.bounded(30);
                int b = sixteenBit ? 20000 + random.bounded(20000) : 100 + random.bounded(150);
                // Dead pixels make tiny or zero corrected values, which rule out
                // the order-free sum.
                if (awkward && (x + y) % 17 == 0)
                    b = d;
                if (sixteenBit) {
                    reinterpret_cast<quint16*>(dark.scanLine(y))[x] = quint16(d);
                    reinterpret_cast<quint16*>(bright.scanLine(y))[x] = quint16(b);
                } else {
                    dark.scanLine(y)[x] = uchar(d);
                    bright.scanLine(y)[x] = uchar(b);
                }
            }
        const QImage::Format meanFormat =
            sixteenBit ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
        if (k == 0) {
            s.darkMean = dark.convertToFormat(meanFormat);
            s.brightMean = bright.convertToFormat(meanFormat);
        }
        QVERIFY(s.dark.update(s.darkMean, dark, 1));
        QVERIFY(s.bright.update(s.brightMean, bright, 1));
    }
}

void stepwise(Series& s, float gain, quint16 offset, bool sixteenBit, bool* result)
{
    s.dark.updateTargetParam(gain, offset);
    s.bright.updateTargetParam(gain, offset);
    if (sixteenBit)
        s.dark.makeNUCDark16();
    else
        s.dark.makeNUCDark();
    *result = s.bright.makeNUCBright(s.dark.map.get());
}

size pixelsOf(const NUShadingParams& p)
{
    return size(p.width) * p.height;
}

} // namespace

class TestNucMapGeneration : public QObject
{
    Q_OBJECT
private slots:
    void kernelsMatchPlainLoops_data()
    {
        QTest::addColumn<int>("variant");
        for (int v = 0; v < variantCount(); ++v)
            QTest::newRow(variant(v).name) << v;
    }

    // Each loop of each instruction set against the plain loop, on sizes
    // with a tail and on every awkward float value.
    void kernelsMatchPlainLoops()
    {
        QFETCH(int, variant);
        const KernelSet& set = NucKernels::variant(variant);
        QRandomGenerator random(99);
        for (size n : {size(0), size(1), size(7), size(8), size(9), size(1001), size(65543)}) {
            const std::vector<float> darkMean = awkwardValues(random, n, 800.0f);
            const std::vector<float> brightMean = awkwardValues(random, n, 60000.0f);

            std::vector<float> map16(n);
            set.darkMap16(map16.data(), darkMean.data(), n, 4.0f, 64.0f, 64);
            QVERIFY(sameBits(map16.data(), plainDarkMap16(darkMean, 4.0f, 64.0f, 64).data(), n));

            std::vector<float> map8(n), expected8(n);
            set.darkMap8(map8.data(), darkMean.data(), n, 4.0f, 16.0f, 64);
            for (size i = 0; i < n; ++i) {
                i32 v = qMax(i32(std::fma(4.0f, darkMean[i], -16.0f)), 0);
                v = qMin(v, 63);
                expected8[i] = darkMean[i] > 200.0f ? 0.0f : float(v) / 4.0f;
            }
            QVERIFY(sameBits(map8.data(), expected8.data(), n));

            // Subtraction with the sum the plain mean() takes afterwards.
            std::vector<float> expectedMean(n);
            for (size i = 0; i < n; ++i)
                expectedMean[i] = brightMean[i] - map16[i];
            const double expectedSum = sequentialSum(expectedMean);
            std::vector<float> mean = brightMean;
            const double sum = subtractDarkAndSum(set, mean.data(), map16.data(), n);
            QVERIFY(sameBits(mean.data(), expectedMean.data(), n));
            QVERIFY(std::memcmp(&sum, &expectedSum, sizeof sum) == 0 ||
                    (std::isnan(sum) && std::isnan(expectedSum)));

            std::vector<float> fusedMap(n);
            mean = brightMean;
            SumFacts facts;
            set.darkMap16Subtract(fusedMap.data(), darkMean.data(), mean.data(), n, 4.0f, 64.0f, 64,
                                  &facts);
            QVERIFY(sameBits(fusedMap.data(), map16.data(), n));
            QVERIFY(sameBits(mean.data(), expectedMean.data(), n));
            const double fusedSum = sumAfter(set, facts, mean.data(), n);
            QVERIFY(std::memcmp(&fusedSum, &expectedSum, sizeof sum) == 0 ||
                    (std::isnan(fusedSum) && std::isnan(expectedSum)));

            const float target = 31000.5f;
            std::vector<float> gains(n);
            set.gainMap(gains.data(), mean.data(), n, target);
            const std::vector<float> expectedGains = plainGainMap(mean, target);
            QVERIFY(sameBits(gains.data(), expectedGains.data(), n));

            for (int depth : {16, 8}) {
                std::vector<u16> words(n), expectedWords(n);
                // Imported maps bring any offset, generated ones the map values.
                std::vector<float> offsets =
                    n % 2 ? awkwardValues(random, n, 300.0f) : (depth == 16 ? map16 : map8);
                // Imported maps bring gains outside 1..2 and any offset.
                std::vector<float> anyGains = awkwardValues(random, n, 3.0f);
                u32 expectedSum32 = 0;
                for (size i = 0; i < n; ++i) {
                    expectedWords[i] =
                        u16(NucMapPacking::gainCode(anyGains[i], 1024) |
                            (NucMapPacking::offsetCode(offsets[i], 4, 64, depth) << 10));
                    expectedSum32 += i % 2 ? u32(expectedWords[i]) << 16 : expectedWords[i];
                }
                const u32 sum32 = set.pack(words.data(), offsets.data(), anyGains.data(), n, 4.0f,
                                           1024, 64, depth == 16);
                QVERIFY(words == expectedWords);
                QCOMPARE(sum32, expectedSum32);

                std::vector<float> packedGains(n);
                std::vector<u16> fusedWords(n);
                const u32 fusedSum32 =
                    set.gainPack(packedGains.data(), fusedWords.data(), mean.data(), offsets.data(),
                                 n, target, 4.0f, 1024, 64, depth == 16);
                QVERIFY(sameBits(packedGains.data(), expectedGains.data(), n));
                u32 expectedFused = 0;
                for (size i = 0; i < n; ++i) {
                    const u16 w = u16(NucMapPacking::gainCode(expectedGains[i], 1024) |
                                      (NucMapPacking::offsetCode(offsets[i], 4, 64, depth) << 10));
                    QCOMPARE(fusedWords[i], w);
                    expectedFused += i % 2 ? u32(w) << 16 : w;
                }
                QCOMPARE(fusedSum32, expectedFused);
            }
        }
    }

    // The lane sums are taken only when every partial sum is exact. Here one
    // huge value makes the eight-lane sum differ from the index-order sum;
    // the result must still be the index-order one.
    void sumFallsBackWhenOrderMatters()
    {
        std::vector<float> values(64, 1.0f);
        values[0] = 1e17f;
        values[8] = -1e17f;
        double lanes[8] = {};
        for (size i = 0; i < values.size(); ++i)
            lanes[i % 8] += values[i];
        double laneSum = 0.0;
        for (double l : lanes)
            laneSum += l;
        const double expected = sequentialSum(values);
        QVERIFY(laneSum != expected); // the case bites
        const std::vector<float> zeros(values.size(), 0.0f);
        for (int v = 0; v < variantCount(); ++v) {
            std::vector<float> mean = values;
            QCOMPARE(subtractDarkAndSum(variant(v), mean.data(), zeros.data(), mean.size()),
                     expected);
        }
    }

    void generationMatchesSteps_data()
    {
        QTest::addColumn<int>("w");
        QTest::addColumn<int>("h");
        QTest::addColumn<bool>("sixteenBit");
        QTest::addColumn<bool>("awkward");
        QTest::newRow("16-bit") << 64 << 48 << true << false;
        QTest::newRow("16-bit odd size, dead pixels") << 37 << 23 << true << true;
        QTest::newRow("8-bit") << 64 << 48 << false << false;
        QTest::newRow("8-bit odd size, dead pixels") << 36 << 19 << false << true;
    }

    // generate, binFile, packedMap and generateBinFile against the step-by-
    // step calls the panel makes: maps, bright mean and file bytes.
    void generationMatchesSteps()
    {
        QFETCH(int, w);
        QFETCH(int, h);
        QFETCH(bool, sixteenBit);
        QFETCH(bool, awkward);
        const int depth = sixteenBit ? 16 : 8;
        for (const float gain : {1.1f, 1.7f}) {
            const quint16 offset = sixteenBit ? 16 : 3;
            Series steps, fast, fastFile;
            fill(steps, w, h, sixteenBit, 5, awkward);
            fill(fast, w, h, sixteenBit, 5, awkward);
            fill(fastFile, w, h, sixteenBit, 5, awkward);
            bool stepResult = false;
            stepwise(steps, gain, offset, sixteenBit, &stepResult);
            QVERIFY(stepResult);
            QVERIFY(NucMapGeneration::generate(fast.dark, fast.bright, gain, offset, sixteenBit));
            const size n = pixelsOf(steps.bright);
            QVERIFY(sameBits(fast.dark.map.get(), steps.dark.map.get(), n));
            QVERIFY(sameBits(fast.bright.map.get(), steps.bright.map.get(), n));
            QVERIFY(sameBits(fast.bright.meanBuffer.get(), steps.bright.meanBuffer.get(), n));

            for (bool swap : {false, true}) {
                const QByteArray expected = NucMapFile::binFile(
                    8193, steps.bright.width, steps.bright.height,
                    NucMapPacking::packedMap(steps.dark, steps.bright, depth, swap));
                QCOMPARE(NucMapGeneration::binFile(fast.dark, fast.bright, depth, swap, 8193),
                         expected);
            }
            QCOMPARE(NucMapGeneration::packedMap(fast.dark, fast.bright, depth),
                     NucMapPacking::packedMap(steps.dark, steps.bright, depth, false));

            QByteArray file;
            QVERIFY(NucMapGeneration::generateBinFile(fastFile.dark, fastFile.bright, gain, offset,
                                                      sixteenBit, depth, 77, &file));
            QCOMPARE(file, NucMapFile::binFile(
                               77, steps.bright.width, steps.bright.height,
                               NucMapPacking::packedMap(steps.dark, steps.bright, depth, false)));
            QCOMPARE(NucMapFile::wordSum(file), 0u);
            QVERIFY(sameBits(fastFile.bright.map.get(), steps.bright.map.get(), n));

            // A second generation subtracts the dark map again, as the steps do.
            stepwise(steps, gain, offset, sixteenBit, &stepResult);
            QVERIFY(NucMapGeneration::generate(fast.dark, fast.bright, gain, offset, sixteenBit));
            QVERIFY(sameBits(fast.bright.map.get(), steps.bright.map.get(), n));
            QVERIFY(sameBits(fast.bright.meanBuffer.get(), steps.bright.meanBuffer.get(), n));
        }
    }

    // A map made again keeps its memory; one that an importer replaced by a
    // smaller buffer is never written past its end but replaced.
    void mapMemoryReusedOnlyWhenLargeEnough()
    {
        Series s;
        fill(s, 64, 40, true, 8, false);
        s.dark.makeNUCDark16();
        const std::vector<float> expected(s.dark.map.get(), s.dark.map.get() + 64 * 40);
        s.dark.map.reset(new float[4]{-1, -1, -1, -1});
        const float* small = s.dark.map.get();
        s.dark.makeNUCDark16();
        QVERIFY(s.dark.map.get() != small);
        QVERIFY(sameBits(s.dark.map.get(), expected.data(), expected.size()));
#if defined(__GLIBC__)
        const float* first = s.dark.map.get();
        std::fill(s.dark.map.get(), s.dark.map.get() + expected.size(), -7.0f);
        s.dark.makeNUCDark16();
        QCOMPARE(s.dark.map.get(), first);
        QVERIFY(sameBits(s.dark.map.get(), expected.data(), expected.size()));
#endif
    }

    // Where the steps fail or write nothing, so do the fast functions.
    void failuresMatchSteps()
    {
        NUShadingParams dark, bright;
        QVERIFY(!NucMapGeneration::generate(dark, bright, 1.1f, 16, true));
        QVERIFY(!dark.map);
        QByteArray file("untouched");
        QVERIFY(!NucMapGeneration::generateBinFile(dark, bright, 1.1f, 16, true, 16, 1, &file));
        QCOMPARE(file, QByteArray("untouched"));

        // A bright series without images: the dark map is made, generation fails.
        Series s;
        fill(s, 16, 4, true, 3, false);
        s.bright.clear();
        QVERIFY(!NucMapGeneration::generate(s.dark, s.bright, 1.1f, 16, true));
        QVERIFY(s.dark.map);

        // Nothing generated: a map of zeros, as the panel's save writes it.
        Series none;
        fill(none, 16, 4, true, 3, false);
        const QByteArray zeros = NucMapFile::binFile(5, 16, 4, QVector<quint16>(64, 0));
        QCOMPARE(NucMapGeneration::binFile(none.dark, none.bright, 16, false, 5), zeros);
    }
};

QTEST_GUILESS_MAIN(TestNucMapGeneration)
#include "TestNucMapGeneration.moc"
