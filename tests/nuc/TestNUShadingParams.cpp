#include "NUShadingParams.h"

#include <QRandomGenerator>
#include <QtTest>

#include <cstring>

namespace {

// Images used here have padding-free rows (16-bit of even width, 8-bit of a
// width that is a multiple of 4) unless a test is about the padding itself.
QImage grey16(int w, int h, quint16 value)
{
    QImage image(w, h, QImage::Format_Grayscale16);
    for (int y = 0; y < h; ++y) {
        quint16* row = reinterpret_cast<quint16*>(image.scanLine(y));
        for (int x = 0; x < w; ++x)
            row[x] = value;
    }
    return image;
}

QImage indexed8(int w, int h, quint8 value)
{
    QImage image(w, h, QImage::Format_Indexed8);
    QVector<QRgb> table(256, qRgb(255, 255, 255)); // palette deliberately not grey
    image.setColorTable(table);
    for (int y = 0; y < h; ++y)
        std::memset(image.scanLine(y), value, size_t(w));
    return image;
}

quint16 quotient16(const QImage& mean, int i)
{
    return reinterpret_cast<const quint16*>(mean.constBits())[i];
}

} // namespace

class TestNUShadingParams : public QObject
{
    Q_OBJECT
private slots:
    void removingLastImageEmptiesSeries()
    {
        NUShadingParams series;
        QImage image = grey16(4, 2, 500);
        QImage mean = image.copy();
        QVERIFY(series.update(mean, image, 1));
        series.makeNUCDark16();
        QVERIFY(series.map);
        QVERIFY(series.update(mean, image, -1));
        QCOMPARE(series.count, 0u);
        QVERIFY(!series.meanBuffer);
        QVERIFY(!series.remainder16);
        QVERIFY(!series.remainder8);
        QVERIFY(!series.map);
        QCOMPARE(series.mean(), 0.0f);

        // Removing from an empty series is harmless.
        QVERIFY(series.update(mean, image, -1));
        QCOMPARE(series.count, 0u);
    }

    void eightBitPathKeepsCallersMeanImage()
    {
        NUShadingParams series;
        QImage mean(4, 1, QImage::Format_Grayscale8);
        std::memset(mean.bits(), 10, 4);
        QImage a = indexed8(4, 1, 10), b = indexed8(4, 1, 12), c = indexed8(4, 1, 15);
        QVERIFY(series.update(mean, a, 1));
        QVERIFY(series.update(mean, b, 1));
        QVERIFY(series.update(mean, c, 1));
        // With the quotient never written back the seed 10 stays the quotient:
        // 1st: 10 -> r 0; 2nd: 0 + 10*1 + 12 = 22 -> r 0; 3rd: 0 + 10*2 + 15 = 35.
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(mean.constBits()[i], quint8(10));
            QCOMPARE(series.meanBuffer[i], 35.0f / 3.0f);
            QCOMPARE(series.remainder8[i], quint8(2));
        }
        QVERIFY(!series.remainder16);
    }

    void pixelValueByFormat_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<float>("value");

        QImage rgb(4, 1, QImage::Format_RGB32);
        rgb.fill(qRgb(31, 20, 10)); // bytes B=10, G=20, R=31 in memory
        QTest::newRow("RGB32 averages first three bytes, truncated") << rgb << 20.0f;
        QTest::newRow("Indexed8 uses the raw index") << indexed8(4, 1, 5) << 5.0f;
        QTest::newRow("Grayscale16 sample") << grey16(4, 1, 40000) << 40000.0f;
    }

    void pixelValueByFormat()
    {
        QFETCH(QImage, image);
        QFETCH(float, value);
        NUShadingParams series;
        QImage mean(image.width(), image.height(),
                    image.depth() == 16 ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8);
        mean.fill(0);
        QVERIFY(series.update(mean, image, 1));
        for (int i = 0; i < 4; ++i)
            QCOMPARE(series.meanBuffer[i], value);
    }

    void unsupportedFormatChangesNothingButSize()
    {
        NUShadingParams series;
        QImage mean = grey16(4, 2, 0);
        QImage first = grey16(4, 2, 7);
        QVERIFY(series.update(mean, first, 1));

        QImage argb(6, 3, QImage::Format_ARGB32);
        argb.fill(0);
        QVERIFY(!series.update(mean, argb, 1));
        QCOMPARE(series.count, 1u);
        QCOMPARE(series.width, 6u);
        QCOMPARE(series.height, 3u);
        QCOMPARE(series.meanBuffer[0], 7.0f);

        QImage indexed = indexed8(4, 2, 1);
        QVERIFY(!series.update16bit(mean, indexed, 1));
        QCOMPARE(series.count, 1u);
    }

    void paddingIsNotSkipped()
    {
        // A 16-bit image of width 3 has one padding sample per row; the series
        // reads the buffer as 6 contiguous samples, padding included.
        QImage image(3, 2, QImage::Format_Grayscale16);
        QCOMPARE(image.bytesPerLine(), 8);
        quint16* raw = reinterpret_cast<quint16*>(image.bits());
        for (int i = 0; i < 8; ++i)
            raw[i] = quint16(100 + i);
        QImage mean(3, 2, QImage::Format_Grayscale16);
        std::memset(mean.bits(), 0, size_t(mean.sizeInBytes()));
        NUShadingParams series;
        QVERIFY(series.update(mean, image, 1));
        for (int i = 0; i < 6; ++i)
            QCOMPARE(series.meanBuffer[i], float(100 + i));
        QCOMPARE(quotient16(mean, 3), quint16(103)); // lands in row 0's padding
    }

    void darkMap_data()
    {
        QTest::addColumn<bool>("sixteenBit");
        QTest::addColumn<float>("mean");
        QTest::addColumn<float>("map");
        QTest::newRow("8-bit at target") << false << 4.0f << 0.0f;
        QTest::newRow("8-bit code 24") << false << 10.0f << 6.0f;
        QTest::newRow("8-bit clamped to 63") << false << 20.0f << 15.75f;
        QTest::newRow("8-bit below zero") << false << 1.0f << 0.0f;
        QTest::newRow("8-bit nearly saturated") << false << 201.0f << 0.0f;
        QTest::newRow("8-bit at cut-off") << false << 200.0f << 15.75f;
        QTest::newRow("8-bit quarter steps") << false << 4.3f << 0.25f;
        QTest::newRow("16-bit code 9") << true << 100.0f << 36.0f;
        QTest::newRow("16-bit below target") << true << 60.0f << 0.0f;
        QTest::newRow("16-bit clamped") << true << 1000.0f << 252.0f;
        QTest::newRow("16-bit no cut-off") << true << 201.0f << 136.0f;
    }

    void darkMap()
    {
        QFETCH(bool, sixteenBit);
        QFETCH(float, mean);
        NUShadingParams series;
        series.width = 1;
        series.height = 1;
        series.meanBuffer.reset(new float[1]{mean});
        if (sixteenBit)
            series.makeNUCDark16();
        else
            series.makeNUCDark();
        QVERIFY(series.map);
        QTEST(series.map[0], "map");
    }

    void targetsChangeDarkMap()
    {
        NUShadingParams series;
        series.width = 1;
        series.height = 1;
        series.meanBuffer.reset(new float[1]{100.0f});
        series.updateTargetParam(1.3f, 20);
        QCOMPARE(series.targetGain, 1.3f);
        series.makeNUCDark16(); // (100 - 80) / 4 = 5
        QCOMPARE(series.map[0], 20.0f);
    }

    void emptySeriesHasNoMap()
    {
        NUShadingParams series;
        series.makeNUCDark();
        QVERIFY(!series.map);
        series.makeNUCDark16();
        QVERIFY(!series.map);
        float dark[1] = {0.0f};
        QVERIFY(!series.makeNUCBright(dark));
        QCOMPARE(series.mean(), 0.0f);
    }

    void gainClamps()
    {
        NUShadingParams bright;
        bright.width = 5;
        bright.height = 1;
        // After subtracting the dark map: 0, 200, 50, 150, 100 (mean 100, target 110).
        bright.meanBuffer.reset(new float[5]{1, 202, 53, 154, 105});
        float dark[5] = {1, 2, 3, 4, 5};
        QVERIFY(!bright.makeNUCBright(nullptr));
        QVERIFY(bright.makeNUCBright(dark));
        const float expected[5] = {2.0f, 1.0f, 2.0f, 1.0f, 110.0f / 100.0f};
        for (int i = 0; i < 5; ++i)
            QCOMPARE(bright.map[i], expected[i]);

        // The subtraction is in place and happens again on a second call.
        QCOMPARE(bright.meanBuffer[1], 200.0f);
        QVERIFY(bright.makeNUCBright(dark));
        QCOMPARE(bright.meanBuffer[1], 198.0f);
    }

    void meanSumsInDouble()
    {
        NUShadingParams series;
        series.width = 2;
        series.height = 2;
        // Summed in float the small values would vanish (result 4194304.5).
        series.meanBuffer.reset(new float[4]{16777216.0f, 1.0f, 1.0f, 2.0f});
        QCOMPARE(series.mean(), 4194305.0f);
    }

    void sixteenBitPathIsExactUnderRandomAddAndRemove()
    {
        QRandomGenerator random(20261122);
        const int w = 6, h = 4, n = w * h;
        auto randomImage = [&] {
            QImage image(w, h, QImage::Format_Grayscale16);
            quint16* raw = reinterpret_cast<quint16*>(image.bits());
            for (int i = 0; i < n; ++i)
                raw[i] = quint16(random.bounded(65536));
            return image;
        };
        auto sample = [](const QImage& image, int i) {
            return reinterpret_cast<const quint16*>(image.constBits())[i];
        };

        NUShadingParams series;
        QList<QImage> images;
        QVector<qint64> sum(n, 0);
        QImage mean = randomImage(); // the first addition multiplies it by 0
        for (int k = 0; k < 12; ++k) {
            images << randomImage();
            QVERIFY(series.update(mean, images.last(), 1));
            for (int i = 0; i < n; ++i)
                sum[i] += sample(images.last(), i);
        }

        auto snapshot = [&] {
            QByteArray state(reinterpret_cast<const char*>(series.meanBuffer.get()), n * 4);
            state += QByteArray(reinterpret_cast<const char*>(series.remainder16.get()), n * 2);
            state += QByteArray(reinterpret_cast<const char*>(mean.constBits()), n * 2);
            return state;
        };
        // The state is a function of the exact sum only.
        for (int i = 0; i < n; ++i) {
            QCOMPARE(qint64(sample(mean, i)), sum[i] / 12);
            QCOMPARE(qint64(series.remainder16[i]), sum[i] % 12);
            QCOMPARE(series.meanBuffer[i], float(sum[i]) / 12.0f);
        }
        const QByteArray before = snapshot();

        QList<QImage> extra;
        for (int k = 0; k < 9; ++k) {
            extra << randomImage();
            QVERIFY(series.update(mean, extra.last(), 1));
        }
        QVERIFY(snapshot() != before);
        // Remove them again in a shuffled order.
        while (!extra.isEmpty()) {
            QImage image = extra.takeAt(random.bounded(extra.size()));
            QVERIFY(series.update(mean, image, -1));
        }
        QCOMPARE(series.count, 12u);
        QCOMPARE(snapshot(), before);
    }

    void mismatchedSizeIsRefusedBeforeAnyChange()
    {
        NUShadingParams series;
        QImage mean = grey16(4, 2, 0);
        QImage small = grey16(4, 2, 5);
        QVERIFY(series.update(mean, small, 1));
        QImage large = grey16(8, 8, 5);
        QVERIFY(!series.update(mean, large, 1));
        QCOMPARE(series.count, 1u);
    }
};

QTEST_APPLESS_MAIN(TestNUShadingParams)
#include "TestNUShadingParams.moc"
