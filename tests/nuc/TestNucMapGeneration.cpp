#include "NUShadingParams.h"
#include "NucImageInput.h"
#include "NucKernels.h"
#include "NucMapFile.h"
#include "NucMapGeneration.h"
#include "NucMapPacking.h"
#include "NucMapPipeline.h"
#include "NucSeriesSum.h"

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
    QList<QImage> darkImages, brightImages;
};

void fill(Series& s, int w, int h, bool sixteenBit, quint32 seed, bool awkward)
{
    QRandomGenerator random(seed);
    const QImage::Format format = sixteenBit ? QImage::Format_Grayscale16 : QImage::Format_Indexed8;
    for (int k = 0; k < 3; ++k) {
        QImage dark(w, h, format), bright(w, h, format);
        // Series read padded rows as if contiguous, so the padding (which
        // QImage::fill leaves alone) must be defined.
        std::memset(dark.bits(), 0, size_t(dark.sizeInBytes()));
        std::memset(bright.bits(), 0, size_t(bright.sizeInBytes()));
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
        s.darkImages << dark;
        s.brightImages << bright;
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

// The two passes a map made from sums takes, through one kernel set: the sums
// turned in place into dark map and corrected bright mean, the target from
// their sum, and the packed words.
struct SumsResult
{
    std::vector<float> dark, corrected;
    float mean; // of the corrected values, as NUShadingParams::mean() takes it
    std::vector<u16> words;
    u32 wordSum;
};

SumsResult fromSums(const KernelSet& set, std::vector<u32> darkSums, std::vector<u32> brightSums,
                    float count, float step, float offset, float gain)
{
    const size n = darkSums.size();
    const SeriesSums in{darkSums.data(), brightSums.data(), n, count, count, step, offset, 64};
    SumsResult r;
    SumFacts facts;
    set.correctSums16(in, &facts);
    r.dark.resize(n);
    r.corrected.resize(n);
    std::memcpy(r.dark.data(), darkSums.data(), n * 4);
    std::memcpy(r.corrected.data(), brightSums.data(), n * 4);
    r.mean = float(sumAfter(set, facts, r.corrected.data(), n) / qint32(n));
    r.words.resize(n);
    r.wordSum = set.gainPackOnly(r.words.data(), r.corrected.data(), r.dark.data(), n,
                                 r.mean * gain, step, 1024, 64, true);
    return r;
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

                std::vector<u16> fusedWords(n);
                const u32 fusedSum32 =
                    set.gainPackOnly(fusedWords.data(), mean.data(), offsets.data(), n, target,
                                     4.0f, 1024, 64, depth == 16);
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

    // generate against the step-by-step calls: maps and bright mean.
    void generationMatchesSteps()
    {
        QFETCH(int, w);
        QFETCH(int, h);
        QFETCH(bool, sixteenBit);
        QFETCH(bool, awkward);
        for (const float gain : {1.1f, 1.7f}) {
            const quint16 offset = sixteenBit ? 16 : 3;
            Series steps, fast;
            fill(steps, w, h, sixteenBit, 5, awkward);
            fill(fast, w, h, sixteenBit, 5, awkward);
            bool stepResult = false;
            stepwise(steps, gain, offset, sixteenBit, &stepResult);
            QVERIFY(stepResult);
            QVERIFY(NucMapGeneration::generate(fast.dark, fast.bright, gain, offset, sixteenBit));
            const size n = pixelsOf(steps.bright);
            QVERIFY(sameBits(fast.dark.map.get(), steps.dark.map.get(), n));
            QVERIFY(sameBits(fast.bright.map.get(), steps.bright.map.get(), n));
            QVERIFY(sameBits(fast.bright.meanBuffer.get(), steps.bright.meanBuffer.get(), n));

            // A second generation subtracts the dark map again, as the steps do.
            stepwise(steps, gain, offset, sixteenBit, &stepResult);
            QVERIFY(NucMapGeneration::generate(fast.dark, fast.bright, gain, offset, sixteenBit));
            QVERIFY(sameBits(fast.bright.map.get(), steps.bright.map.get(), n));
            QVERIFY(sameBits(fast.bright.meanBuffer.get(), steps.bright.meanBuffer.get(), n));
        }
    }

    // Means taken from sums, for counts up to the largest a sum takes and sums
    // over their whole range, through every variant: each corrected value,
    // their sum and the packed words against plain float division; with the
    // offset step 4 (multiplied by its reciprocal) and 3 (divided by).
    void correctedValuesFromSumsMatchDivision()
    {
        QRandomGenerator random(20261123);
        QList<quint32> counts = {1, 2, 3, 7, 255, 1000, 4095, 32765, 32766};
        for (int k = 0; k < 12; ++k)
            counts << random.bounded(1u, 32767u);
        const size n = 2053;
        for (const float step : {4.0f, 3.0f}) {
            for (quint32 count : counts) {
                std::vector<u32> darkSums(n), brightSums(n);
                for (size i = 0; i < n; ++i) {
                    // Dark sums near the offset levels, bright ones anywhere.
                    darkSums[i] = u32(random.bounded(count * 400u));
                    brightSums[i] = u32(random.bounded(count * 65535u + 1u));
                }
                const float fn = float(count);
                std::vector<float> dark(n), corrected(n);
                for (size i = 0; i < n; ++i) {
                    const float darkMean = float(i32(darkSums[i])) / fn;
                    const i32 v = qBound(0, i32((darkMean - 16 * step) / step), 63);
                    dark[i] = float(v) * step;
                    corrected[i] = float(i32(brightSums[i])) / fn - dark[i];
                }
                const float mean = float(sequentialSum(corrected) / qint32(n));
                const float target = mean * 1.1f;
                for (int v = 0; v < variantCount(); ++v) {
                    const KernelSet& set = variant(v);
                    const QByteArray where =
                        QByteArray(set.name) + ", count " + QByteArray::number(count);
                    const SumsResult r =
                        fromSums(set, darkSums, brightSums, fn, step, 16 * step, 1.1f);
                    QVERIFY2(sameBits(r.dark.data(), dark.data(), n), where.constData());
                    QVERIFY2(sameBits(r.corrected.data(), corrected.data(), n), where.constData());
                    QVERIFY2(r.mean == mean, where.constData());
                    for (size i = 0; i < n; ++i) {
                        const float m = corrected[i];
                        const float g = m == 0.0f ? 2.0f : qBound(1.0f, target / m, 2.0f);
                        QCOMPARE(
                            r.words[i],
                            u16(NucMapPacking::gainCode(g, 1024) |
                                (NucMapPacking::offsetCode(dark[i], qint32(step), 64, 16) << 10)));
                    }
                }
            }
        }
    }

    // The one call of the panel and the command-line tool against the series'
    // own steps: the same file whichever way the images are kept.
    void pipelineFileMatchesSteps_data()
    {
        QTest::addColumn<bool>("sixteenBit");
        QTest::addColumn<bool>("sums");
        QTest::addColumn<bool>("userMap");
        QTest::addColumn<bool>("swap");
        QTest::newRow("16-bit sums, .bin") << true << true << false << false;
        QTest::newRow("16-bit sums, .ge3, swapped") << true << true << true << true;
        QTest::newRow("16-bit series, .bin, swapped") << true << false << false << true;
        QTest::newRow("8-bit series, .ge3") << false << false << true << false;
        QTest::newRow("8-bit kept as series although sums are asked for")
            << false << true << false << false;
    }

    void pipelineFileMatchesSteps()
    {
        QFETCH(bool, sixteenBit);
        QFETCH(bool, sums);
        QFETCH(bool, userMap);
        QFETCH(bool, swap);
        Series steps;
        fill(steps, 37, 23, sixteenBit, 9, true);
        bool stepResult = false;
        stepwise(steps, 1.3f, 16, sixteenBit, &stepResult);
        QVERIFY(stepResult);
        NucImageInput input;
        input.sumsOnly = sums;
        for (int k = 0; k < steps.darkImages.size(); ++k)
            QVERIFY(input.addLoadedImage("dark", steps.darkImages[k], NucImageInput::Dark) &&
                    input.addLoadedImage("bright", steps.brightImages[k], NucImageInput::Bright));

        const NucMapPipeline::FileLayout layout{
            userMap ? NucMapFile::Kind::UserMap : NucMapFile::Kind::Bin, 77, swap};
        QByteArray file;
        QVERIFY(NucMapPipeline::makeFile(input, 1.3f, 16, layout, &file));
        QCOMPARE(input.darkSum.count() + input.brightSum.count(), 0u); // the sums are used up
        const QVector<quint16> words =
            NucMapPacking::packedMap(steps.dark, steps.bright, sixteenBit ? 16 : 8, swap);
        QCOMPARE(file, userMap ? NucMapFile::userMapFile(37, 23, words)
                               : NucMapFile::binFile(77, 37, 23, words));
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
        NucImageInput empty;
        QByteArray file("untouched");
        NucImageInput::Message message;
        QVERIFY(!NucMapPipeline::makeFile(empty, 1.1f, 16, {}, &file, &message));
        QCOMPARE(message.text, QString("Generate map failed: missing dark image parameter!"));
        QCOMPARE(file, QByteArray("untouched"));

        // A bright series without images: the dark map is made, generation fails.
        Series s;
        fill(s, 16, 4, true, 3, false);
        s.bright.clear();
        QVERIFY(!NucMapGeneration::generate(s.dark, s.bright, 1.1f, 16, true));
        QVERIFY(s.dark.map);

        // Sums: another size or format is refused and changes nothing; empty
        // or mismatched sums make no map.
        NucSeriesSum darkSum, brightSum;
        QVERIFY(darkSum.add(s.darkImages[0]));
        QVERIFY(!darkSum.add(s.darkImages[0].copy(0, 0, 8, 4)));
        QVERIFY(!darkSum.add(s.darkImages[0].convertToFormat(QImage::Format_Grayscale8)));
        QCOMPARE(darkSum.count(), 1u);
        quint16 word = 0x5555;
        QVERIFY(!NucMapGeneration::packFromSums(darkSum, brightSum, 1.1f, 16, &word));
        QVERIFY(brightSum.add(s.brightImages[0].copy(0, 0, 8, 4)));
        QVERIFY(!NucMapGeneration::packFromSums(darkSum, brightSum, 1.1f, 16, &word));
        QCOMPARE(word, quint16(0x5555));
        QCOMPARE(darkSum.count() + brightSum.count(), 2u);
    }
};

QTEST_GUILESS_MAIN(TestNucMapGeneration)
#include "TestNucMapGeneration.moc"
