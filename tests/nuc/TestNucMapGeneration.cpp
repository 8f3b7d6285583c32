#include "NUShadingParams.h"
#include "NucFloatMap.h"
#include "NucImageInput.h"
#include "NucKernels.h"
#include "NucMapFile.h"
#include "NucMapGeneration.h"
#include "NucMapPacking.h"
#include "NucMapPipeline.h"
#include "NucSeriesSum.h"
#include "TestImages.h"

#include <QBuffer>
#include <QRandomGenerator>
#include <QtEndian>
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

bool sameSum(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
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

// The plain definitions of the maps, with the offset step s (4 unless told)
// and 64 levels: a 16-bit dark map holds code * s with code = trunc((mean -
// s * offset) / s), an 8-bit one code / s with code = trunc(s * mean - offset)
// in one rounding, and none for nearly saturated pixels (above 200).
std::vector<float> plainDarkMap(const std::vector<float>& mean, quint16 offset, bool sixteenBit,
                                float s = 4.0f)
{
    std::vector<float> map(mean.size());
    for (size i = 0; i < mean.size(); ++i) {
        const float m = mean[i];
        const i32 v = qBound(
            0, sixteenBit ? i32((m - s * offset) / s) : i32(std::fma(s, m, -float(offset))), 63);
        map[i] = sixteenBit ? float(v) * s : (m > 200.0f ? 0.0f : float(v) / s);
    }
    return map;
}

// The correction only brightens: gains clamp to 1..2, a zero mean gets 2,
// NaN passes through.
float plainGain(float mean, float target)
{
    if (mean == 0.0f)
        return 2.0f;
    const float g = target / mean;
    return g < 1.0f ? 1.0f : (g > 2.0f ? 2.0f : g);
}

u16 plainWord(float gain, float dark, int depth, i32 step = 4)
{
    return u16(NucMapPacking::gainCode(gain, 1024) |
               (NucMapPacking::offsetCode(dark, step, 64, depth) << 10));
}

// Three dark and three bright images of w x h (rows without padding), as
// a series of 16-bit or 8-bit palette camera images.
struct Images
{
    QList<QImage> dark, bright;
};

Images makeImages(int w, int h, bool sixteenBit, quint32 seed)
{
    QRandomGenerator random(seed);
    Images images;
    for (int k = 0; k < 3; ++k) {
        QVector<int> d(w * h), b(w * h);
        for (int i = 0; i < w * h; ++i) {
            d[i] = sixteenBit ? 40 + random.bounded(400) : 2 + random.bounded(30);
            // Dead pixels make tiny or zero corrected values, which rule out
            // the order-free sum.
            b[i] = i % 17 == 0  ? d[i]
                   : sixteenBit ? 20000 + random.bounded(20000)
                                : 100 + random.bounded(150);
        }
        const auto make = sixteenBit ? &TestImages::grey16 : &TestImages::palette8;
        images.dark << make(w, h, [&](int x, int y) { return d[y * w + x]; });
        images.bright << make(w, h, [&](int x, int y) { return b[y * w + x]; });
    }
    return images;
}

bool addAll(NucImageInput& input, const Images& images)
{
    for (int k = 0; k < images.dark.size(); ++k)
        if (!input.addLoadedImage("dark", images.dark[k], NucImageInput::Dark) ||
            !input.addLoadedImage("bright", images.bright[k], NucImageInput::Bright))
            return false;
    return true;
}

std::vector<float> meanOf(const NUShadingParams& series)
{
    return std::vector<float>(series.meanBuffer.get(),
                              series.meanBuffer.get() + size(series.width) * series.height);
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

    // Each loop of each instruction set against the plain definition, on
    // sizes with a tail and on every awkward float value.
    void kernelsMatchPlainLoops()
    {
        QFETCH(int, variant);
        const KernelSet& set = NucKernels::variant(variant);
        QRandomGenerator random(99);
        for (size n :
             {size(0), size(1), size(7), size(8), size(9), size(64), size(1001), size(65543)}) {
            std::vector<float> darkMean = awkwardValues(random, n, 800.0f);
            std::vector<float> brightMean = awkwardValues(random, n, 60000.0f);
            if (n == 64) {
                // The lane sums are taken only when every partial sum is exact:
                // here one huge pair makes them differ from the index-order sum,
                // which must still be the result.
                darkMean.assign(n, 0.0f);
                brightMean.assign(n, 1.0f);
                brightMean[0] = 1e17f;
                brightMean[8] = -1e17f;
            }

            const std::vector<float> map16 = plainDarkMap(darkMean, 16, true);
            std::vector<float> map8(n);
            set.darkMap8(map8.data(), darkMean.data(), n, 4.0f, 16.0f, 64);
            QVERIFY(sameBits(map8.data(), plainDarkMap(darkMean, 16, false).data(), n));

            // Subtraction with the sum the plain loop takes afterwards.
            std::vector<float> expectedMean(n);
            for (size i = 0; i < n; ++i)
                expectedMean[i] = brightMean[i] - map16[i];
            const double expectedSum = sequentialSum(expectedMean);
            std::vector<float> mean = brightMean;
            QVERIFY(sameSum(subtractDarkAndSum(set, mean.data(), map16.data(), n), expectedSum));
            QVERIFY(sameBits(mean.data(), expectedMean.data(), n));

            std::vector<float> fusedMap(n);
            mean = brightMean;
            SumFacts facts;
            set.darkMap16Subtract(fusedMap.data(), darkMean.data(), mean.data(), n, 4.0f, 64.0f, 64,
                                  &facts);
            QVERIFY(sameBits(fusedMap.data(), map16.data(), n));
            QVERIFY(sameBits(mean.data(), expectedMean.data(), n));
            QVERIFY(sameSum(sumAfter(set, facts, mean.data(), n), expectedSum));

            // Dead pixels: a corrected mean of 0 gets the top gain.
            for (size i = 5; i < n; i += 97)
                mean[i] = 0.0f;
            const float target = 31000.5f;
            std::vector<float> gains(n), expectedGains(n);
            set.gainMap(gains.data(), mean.data(), n, target);
            for (size i = 0; i < n; ++i)
                expectedGains[i] = plainGain(mean[i], target);
            QVERIFY(sameBits(gains.data(), expectedGains.data(), n));

            for (int depth : {16, 8}) {
                // Imported maps bring gains outside 1..2 and any offset,
                // generated ones the map values.
                const std::vector<float> offsets =
                    n % 2 ? awkwardValues(random, n, 300.0f) : (depth == 16 ? map16 : map8);
                const std::vector<float> anyGains = awkwardValues(random, n, 3.0f);
                std::vector<u16> words(n), expected(n);
                for (size i = 0; i < n; ++i)
                    expected[i] = plainWord(anyGains[i], offsets[i], depth);
                set.pack(words.data(), offsets.data(), anyGains.data(), n, 4.0f, 1024, 64,
                         depth == 16);
                QVERIFY(words == expected);
            }
        }
    }

    void sumsMatchPlainDivision_data() { kernelsMatchPlainLoops_data(); }

    // Means taken from sums, for counts up to the largest a sum takes and sums
    // over their whole range: each corrected value, their sum and the packed
    // words against plain float division; with the offset step 4 (multiplied
    // by its reciprocal) and 3 (divided by).
    void sumsMatchPlainDivision()
    {
        QFETCH(int, variant);
        const KernelSet& set = NucKernels::variant(variant);
        QRandomGenerator random(20261123);
        QList<quint32> counts = {1, 2, 3, 7, 255, 1000, 4095, 32765, 32766};
        for (int k = 0; k < 12; ++k)
            counts << random.bounded(1u, 32767u);
        const size n = 2053;
        for (const float step : {4.0f, 3.0f}) {
            for (quint32 count : counts) {
                const float fn = float(count);
                std::vector<u32> darkSums(n), brightSums(n);
                std::vector<float> darkMean(n), corrected(n);
                for (size i = 0; i < n; ++i) {
                    // Dark sums near the offset levels, bright ones anywhere.
                    darkSums[i] = u32(random.bounded(count * 400u));
                    brightSums[i] = u32(random.bounded(count * 65535u + 1u));
                    darkMean[i] = float(i32(darkSums[i])) / fn;
                }
                const std::vector<float> dark = plainDarkMap(darkMean, 16, true, step);
                for (size i = 0; i < n; ++i) {
                    // Dead pixels: a corrected mean of 0 gets the top gain.
                    if (i % 97 == 5)
                        brightSums[i] = u32(dark[i]) * count;
                    corrected[i] = float(i32(brightSums[i])) / fn - dark[i];
                }
                const float mean = float(sequentialSum(corrected) / qint32(n));
                std::vector<u16> words(n), expected(n);
                for (size i = 0; i < n; ++i)
                    expected[i] =
                        plainWord(plainGain(corrected[i], mean * 1.1f), dark[i], 16, i32(step));

                SumFacts facts;
                set.correctSums16(
                    {darkSums.data(), brightSums.data(), n, fn, fn, step, 16 * step, 64}, &facts);
                const auto* darkOut = reinterpret_cast<const float*>(darkSums.data());
                const auto* correctedOut = reinterpret_cast<const float*>(brightSums.data());
                set.gainPackOnly(words.data(), correctedOut, darkOut, n, mean * 1.1f, step, 1024,
                                 64, true);
                QVERIFY2(sameBits(darkOut, dark.data(), n) &&
                             sameBits(correctedOut, corrected.data(), n) &&
                             float(sumAfter(set, facts, correctedOut, n) / qint32(n)) == mean &&
                             words == expected,
                         qPrintable(QString("step %1, count %2").arg(step).arg(count)));
            }
        }
    }

    // The one call of the panel and the command-line tool against the plain
    // definition on the series' means: the same file whichever way the
    // images are kept.
    void pipelineFileMatchesPlainDefinition_data()
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

    void pipelineFileMatchesPlainDefinition()
    {
        QFETCH(bool, sixteenBit);
        QFETCH(bool, sums);
        QFETCH(bool, userMap);
        QFETCH(bool, swap);
        const Images images = makeImages(36, 23, sixteenBit, 9);
        NucImageInput reference, input;
        input.sumsOnly = sums;
        QVERIFY(addAll(reference, images) && addAll(input, images));

        const float gain = 1.3f;
        const std::vector<float> dark = plainDarkMap(meanOf(reference.darkParams), 16, sixteenBit);
        std::vector<float> corrected = meanOf(reference.brightParams);
        for (size i = 0; i < corrected.size(); ++i)
            corrected[i] -= dark[i];
        const float target = float(sequentialSum(corrected) / qint32(corrected.size())) * gain;
        QVector<quint16> words;
        for (size i = 0; i < corrected.size(); ++i) {
            const u16 word =
                plainWord(plainGain(corrected[i], target), dark[i], sixteenBit ? 16 : 8);
            words << (swap ? qbswap(word) : word);
        }

        const NucMapPipeline::FileLayout layout{
            userMap ? NucMapFile::Kind::UserMap : NucMapFile::Kind::Bin, 77, swap};
        QByteArray file;
        QVERIFY(NucMapPipeline::makeFile(input, gain, 16, layout, &file));
        QCOMPARE(input.darkSum.count() + input.brightSum.count(), 0u); // the sums are used up
        QCOMPARE(file, userMap ? NucMapFile::userMapFile(36, 23, words)
                               : NucMapFile::binFile(77, 36, 23, words));
    }

    // The series' own steps define the maps; generate() makes them in fewer
    // passes and must agree to the bit, also on a second generation (which
    // subtracts the dark map again).
    void stepsMatchGeneration_data()
    {
        QTest::addColumn<bool>("sixteenBit");
        QTest::newRow("16-bit") << true;
        QTest::newRow("8-bit") << false;
    }

    void stepsMatchGeneration()
    {
        QFETCH(bool, sixteenBit);
        const Images images = makeImages(36, 11, sixteenBit, 5);
        NucImageInput steps, fast;
        QVERIFY(addAll(steps, images) && addAll(fast, images));
        const quint16 offset = sixteenBit ? 16 : 3;
        const size n = 36 * 11;
        for (int round = 0; round < 2; ++round) {
            steps.darkParams.updateTargetParam(1.4f, offset);
            steps.brightParams.updateTargetParam(1.4f, offset);
            sixteenBit ? steps.darkParams.makeNUCDark16() : steps.darkParams.makeNUCDark();
            QVERIFY(steps.brightParams.makeNUCBright(steps.darkParams.map.get()));
            QVERIFY(NucMapGeneration::generate(fast.darkParams, fast.brightParams, 1.4f, offset,
                                               sixteenBit));
            QVERIFY(sameBits(fast.darkParams.map.get(), steps.darkParams.map.get(), n));
            QVERIFY(sameBits(fast.brightParams.map.get(), steps.brightParams.map.get(), n));
            QVERIFY(sameBits(fast.brightParams.meanBuffer.get(),
                             steps.brightParams.meanBuffer.get(), n));
        }
        const std::vector<float> corrected = meanOf(steps.brightParams);
        QCOMPARE(steps.brightParams.mean(),
                 float(sequentialSum(corrected) / qint32(corrected.size())));
    }

    // A map buffer that an importer replaced by a smaller one is never
    // written past its end but replaced.
    void mapMemoryReplacedWhenTooSmall()
    {
        QRandomGenerator random(8);
        const std::vector<float> mean = awkwardValues(random, 64 * 40, 250.0f);
        const std::vector<float> expected = plainDarkMap(mean, 16, false);
        NUShadingParams series;
        series.width = 64;
        series.height = 40;
        series.meanBuffer.reset(new float[mean.size()]);
        std::copy(mean.begin(), mean.end(), series.meanBuffer.get());
        series.map.reset(new float[4]{-1, -1, -1, -1});
        const float* small = series.map.get();
        series.makeNUCDark();
        QVERIFY(series.map.get() != small);
        QVERIFY(sameBits(series.map.get(), expected.data(), expected.size()));
    }

    // Where nothing can be made, nothing is written.
    void failuresLeaveEverythingAlone()
    {
        NUShadingParams dark, bright;
        QVERIFY(!NucMapGeneration::generate(dark, bright, 1.1f, 16, true));
        QVERIFY(!dark.map);
        // Empty or mismatched sums make no map and are left alone.
        const Images images = makeImages(16, 4, true, 3);
        NucSeriesSum darkSum, brightSum;
        QVERIFY(darkSum.add(images.dark[0]));
        quint16 word = 0x5555;
        QVERIFY(!NucMapGeneration::packFromSums(darkSum, brightSum, 1.1f, 16, &word));
        QVERIFY(brightSum.add(images.bright[0].copy(0, 0, 8, 4)));
        QVERIFY(!NucMapGeneration::packFromSums(darkSum, brightSum, 1.1f, 16, &word));
        QCOMPARE(word, quint16(0x5555));
        QCOMPARE(darkSum.count() + brightSum.count(), 2u);
    }

    // Codes, map files and float maps. The codes orvex-nuc info shows for a
    // float map are pinned by its test; these are the other edges.
    void gainCode_data()
    {
        QTest::addColumn<float>("gain");
        QTest::addColumn<int>("code");
        QTest::newRow("1.0") << 1.0f << 0;
        QTest::newRow("2.0 clamped") << 2.0f << 1023;
        QTest::newRow("1.1 truncated") << 1.1f << 102;
        QTest::newRow("NaN imported") << std::numeric_limits<float>::quiet_NaN() << 0;
        QTest::newRow("huge imported") << 1e30f << 1023;
    }

    void gainCode()
    {
        QFETCH(float, gain);
        QFETCH(int, code);
        QCOMPARE(int(NucMapPacking::gainCode(gain, 1024)), code);
    }

    void offsetCode_data()
    {
        QTest::addColumn<float>("offset");
        QTest::addColumn<int>("depth");
        QTest::addColumn<int>("code");
        QTest::newRow("8-bit rule after reset (depth 0)") << 6.0f << 0 << 24;
        QTest::newRow("RGB series uses the 8-bit rule") << 0.25f << 32 << 1;
        QTest::newRow("16-bit 300.0") << 300.0f << 16 << 63;
        QTest::newRow("negative") << -3.0f << 16 << 0;
    }

    void offsetCode()
    {
        QFETCH(float, offset);
        QFETCH(int, depth);
        QFETCH(int, code);
        QCOMPARE(int(NucMapPacking::offsetCode(offset, 4, 64, depth)), code);
    }

    // Each of the three conditions alone keeps the words as they are.
    void swapOnlyForBigEndianCameraWithoutEntries()
    {
        QVERIFY(NucMapPacking::swapsWords(true, false, true));
        QVERIFY(!NucMapPacking::swapsWords(false, false, true)); // has a map selector
        QVERIFY(!NucMapPacking::swapsWords(true, true, true));   // has NUC control
        QVERIFY(!NucMapPacking::swapsWords(true, false, false)); // little-endian
    }

    // A half-imported map (no dark map) packs nothing rather than crash.
    void nothingPackedWithoutDarkMap()
    {
        NUShadingParams dark, bright;
        bright.width = 2;
        bright.height = 1;
        QVector<quint16> words{7, 7};
        bright.map.reset(new float[2]{1.5f, 1.5f});
        NucMapPacking::getBinMap(dark, bright, 8, false, words.data());
        QCOMPARE(words, QVector<quint16>({7, 7}));
    }

    void binFileOfTwoPixels()
    {
        // Offset code 9, gain code 512 (0x2600) and a zero word.
        const QByteArray file = NucMapFile::binFile(8193, 2, 1, {0x2600, 0});
        QCOMPARE(file, QByteArray::fromHex("fcad561f24000000c40ba9e00120000018000000"
                                           "020000000100000000000000"
                                           "00260000"));
    }

    void checksumCountsPartialTail()
    {
        // 6 bytes: one whole word and a 2-byte tail taken zero-extended.
        QCOMPARE(NucMapFile::wordSum(QByteArray::fromHex("010000000200")), 3u);
        QCOMPARE(NucMapFile::wordSum(QByteArray::fromHex("ffffffff02")), 1u);
        // An odd pixel count leaves such a tail in a .bin; the sum still closes.
        const QByteArray file = NucMapFile::binFile(8192, 3, 1, {0x1234, 0xffff, 0x0401});
        QCOMPARE(file.size(), 38);
        QCOMPARE(NucMapFile::wordSum(file), 0u);
    }

    void userMapFileOfEightPixels()
    {
        const QVector<quint16> words{0x2600, 1, 2, 3, 4, 5, 6, 0xffff};
        const QByteArray file = NucMapFile::userMapFile(4, 2, words);
        QCOMPARE(file, QByteArray::fromHex("fcad561f4c00000000000000"
                                           "800900001c000000"
                                           "00000000000000000000000000000000"
                                           "00000000"
                                           "0020000024000000040000000200000000000000"
                                           "0026010002000300040005000600ffff"));
    }

    void parsesWhatItWrites()
    {
        const QVector<quint16> words{0x2600, 0x0000, 0xfc00, 0x03ff};
        NucMapFile::Info info;
        QString error;
        QVERIFY(NucMapFile::parse(NucMapFile::binFile(2432, 2, 2, words), &info, &error));
        // Map id 2432 with four pixels mimics the user map's first block.
        QCOMPARE(info.kind, NucMapFile::Kind::Bin);
        QCOMPARE(info.blockId, 2432u);
        QCOMPARE(info.blockLength, 28u);
        QVERIFY(info.checksumHolds);
        QCOMPARE(info.words, words);
    }

    void refusesMalformedFiles_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("error");
        const QByteArray good = NucMapFile::binFile(8193, 2, 1, {1, 2});
        QTest::newRow("header cut")
            << good.left(20) << "truncated header: 20 bytes, a map file needs at least 32";
        QByteArray block = good;
        block[16] = 25;
        QTest::newRow("block length")
            << block << "map block length 25 does not match 2 pixels (expected 24)";
    }

    void refusesMalformedFiles()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, error);
        QString actual;
        QVERIFY(!NucMapFile::parse(data, nullptr, &actual));
        QCOMPARE(actual, error);
    }

    void readsShortFloatMap()
    {
        // Declares 2 x 2 pixels but holds two full pixels and one offset.
        QByteArray data = NucFloatMap::encode(2, 2, std::vector<float>{1.5f, 2.5f, 3.5f, 9}.data(),
                                              std::vector<float>{1.25f, 1.75f, 9, 9}.data());
        data.chop(12);
        QBuffer buffer(&data);
        buffer.open(QIODevice::ReadOnly);
        NucFloatMap map;
        QVERIFY(map.read(buffer));
        QCOMPARE(map.completePixels, 2u);
        const float offsets[4] = {1.5f, 2.5f, 3.5f, 0.0f};
        const float gains[4] = {1.25f, 1.75f, 1.0f, 1.0f};
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(map.offsets[i], offsets[i]);
            QCOMPARE(map.gains[i], gains[i]);
        }
    }

    void floatMapHeaderAndBounds_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("error");
        QTest::newRow("empty") << QByteArray()
                               << "truncated header: 0 of 8 bytes for width and height";
        QTest::newRow("half header") << QByteArray::fromHex("020000")
                                     << "truncated header: 3 of 8 bytes for width and height";
        const QString bound = " pixels per side or 33554432 pixels in all";
        QTest::newRow("side too long") << QByteArray::fromHex("0140000001000000")
                                       << "implausible declared size 16385 x 1: no sensor has "
                                          "more than 16384" +
                                              bound;
        // Each side passes on its own; the pixel count (2 GiB of floats) does not.
        QTest::newRow("too many pixels") << QByteArray::fromHex("0040000000400000")
                                         << "implausible declared size 16384 x 16384: no sensor "
                                            "has more than 16384" +
                                                bound;
    }

    void floatMapHeaderAndBounds()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, error);
        QBuffer buffer(&data);
        buffer.open(QIODevice::ReadOnly);
        NucFloatMap map;
        QString actual;
        QVERIFY(!map.read(buffer, &actual));
        QCOMPARE(actual, error);
        QVERIFY(!map.offsets);
    }
};

QTEST_GUILESS_MAIN(TestNucMapGeneration)
#include "TestNucMapGeneration.moc"
