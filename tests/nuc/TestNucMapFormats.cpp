#include "NUShadingParams.h"
#include "NucFloatMap.h"
#include "NucMapFile.h"
#include "NucMapPacking.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QtTest>

namespace {

void setMaps(NUShadingParams& dark, NUShadingParams& bright, quint32 w, quint32 h,
             const QVector<float>& offsets, const QVector<float>& gains)
{
    bright.width = w;
    bright.height = h;
    dark.map.reset(new float[offsets.size()]);
    bright.map.reset(new float[gains.size()]);
    std::copy(offsets.begin(), offsets.end(), dark.map.get());
    std::copy(gains.begin(), gains.end(), bright.map.get());
}

QByteArray wordBytes(const QVector<quint16>& words)
{
    return QByteArray(reinterpret_cast<const char*>(words.constData()), words.size() * 2);
}

} // namespace

class TestNucMapFormats : public QObject
{
    Q_OBJECT
private slots:
    void gainCode_data()
    {
        QTest::addColumn<float>("gain");
        QTest::addColumn<int>("code");
        QTest::newRow("1.0") << 1.0f << 0;
        QTest::newRow("1.5") << 1.5f << 512;
        QTest::newRow("2.0 clamped") << 2.0f << 1023;
        QTest::newRow("0.9 imported") << 0.9f << 0;
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
        QTest::newRow("8-bit 15.75") << 15.75f << 8 << 63;
        QTest::newRow("8-bit 6.0") << 6.0f << 8 << 24;
        QTest::newRow("8-bit rule after reset (depth 0)") << 6.0f << 0 << 24;
        QTest::newRow("RGB series uses the 8-bit rule") << 0.25f << 32 << 1;
        QTest::newRow("16-bit 36.0") << 36.0f << 16 << 9;
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

    void packsWordInBothByteOrders()
    {
        NUShadingParams dark, bright;
        setMaps(dark, bright, 1, 1, {36.0f}, {1.5f});
        quint16 word = 0;
        NucMapPacking::getBinMap(dark, bright, 16, false, &word);
        QCOMPARE(word, quint16(0x2600));
        QCOMPARE(wordBytes({word}), QByteArray::fromHex("0026"));
        NucMapPacking::getBinMap(dark, bright, 16, true, &word);
        QCOMPARE(wordBytes({word}), QByteArray::fromHex("2600"));
    }

    void swapOnlyForBigEndianCameraWithoutEntries_data()
    {
        QTest::addColumn<bool>("noMapSelector");
        QTest::addColumn<bool>("hasNucControl");
        QTest::addColumn<bool>("endianess");
        QTest::addColumn<bool>("swaps");
        for (int bits = 0; bits < 8; ++bits) {
            const bool a = bits & 1, b = bits & 2, c = bits & 4;
            QTest::addRow("%d%d%d", a, b, c) << a << b << c << (a && !b && c);
        }
    }

    void swapOnlyForBigEndianCameraWithoutEntries()
    {
        QFETCH(bool, noMapSelector);
        QFETCH(bool, hasNucControl);
        QFETCH(bool, endianess);
        QFETCH(bool, swaps);
        QCOMPARE(NucMapPacking::swapsWords(noMapSelector, hasNucControl, endianess), swaps);
    }

    void nothingPackedWithoutMaps()
    {
        NUShadingParams dark, bright;
        bright.width = 2;
        bright.height = 1;
        QCOMPARE(NucMapPacking::packedMap(dark, bright, 8, false), QVector<quint16>({0, 0}));
        QVector<quint16> words{7, 7};
        bright.map.reset(new float[2]{1.5f, 1.5f});
        NucMapPacking::getBinMap(dark, bright, 8, false, words.data()); // dark map missing
        QCOMPARE(words, QVector<quint16>({7, 7}));
    }

    void binFileOfTwoPixels()
    {
        NUShadingParams dark, bright;
        setMaps(dark, bright, 2, 1, {36.0f, 0.0f}, {1.5f, 1.0f});
        const QByteArray file =
            NucMapFile::binFile(8193, 2, 1, NucMapPacking::packedMap(dark, bright, 16, false));
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

        QVERIFY(NucMapFile::parse(NucMapFile::userMapFile(2, 2, words), &info, &error));
        QCOMPARE(info.kind, NucMapFile::Kind::UserMap);
        QCOMPARE(info.fileSize, 68u);
        QCOMPARE(info.blockId, 0x2000u);
        QCOMPARE(info.width, 2u);
        QCOMPARE(info.height, 2u);
        QCOMPARE(info.checksum, 0u);
        QCOMPARE(info.words, words);
    }

    void refusesMalformedFiles_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("error");
        const QByteArray good = NucMapFile::binFile(8193, 2, 1, {1, 2});
        QTest::newRow("no magic") << QByteArray(36, 'x') << "no map file magic 0x1F56ADFC";
        QTest::newRow("header cut")
            << good.left(20) << "truncated header: 20 bytes, a map file needs at least 32";
        QTest::newRow("map cut") << good.left(34) << "size field says 36 bytes but the file has 34";
        QByteArray wide = good;
        wide[20] = 3;
        QTest::newRow("size disagrees")
            << wide << "3 x 1 pixels need 6 bytes of map data but the file holds 4";
        QByteArray block = good;
        block[16] = 25;
        QTest::newRow("block length")
            << block << "map block length 25 does not match 2 pixels (expected 24)";
        QByteArray huge = good;
        huge[22] = 0x7f; // width 0x7f0002 would wrap a 32-bit byte count
        QTest::newRow("huge size") << huge
                                   << "8323074 x 1 pixels need 16646148 bytes of map data but "
                                      "the file holds 4";
    }

    void refusesMalformedFiles()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, error);
        QString actual;
        QVERIFY(!NucMapFile::parse(data, nullptr, &actual));
        QCOMPARE(actual, error);
    }

    void detectsBrokenChecksum()
    {
        QByteArray file = NucMapFile::binFile(8193, 2, 1, {1, 2});
        file[33] = 0x10;
        NucMapFile::Info info;
        QVERIFY(NucMapFile::parse(file, &info, nullptr));
        QVERIFY(!info.checksumHolds);
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
        QCOMPARE(map.width, 2u);
        QCOMPARE(map.height, 2u);
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
        QTest::newRow("65535 square") << QByteArray::fromHex("ffff0000ffff0000")
                                      << "implausible declared size 65535 x 65535: no sensor "
                                         "has more than 16384" +
                                             bound;
        QTest::newRow("text file") << QByteArray("hello world, not a map")
                                   << "implausible declared size 1819043176 x 1870078063: no "
                                      "sensor has more than 16384" +
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

    void floatMapCountsTrailingBytes()
    {
        const float one = 1.0f;
        QByteArray data = NucFloatMap::encode(1, 1, &one, &one) + "xyz";
        QBuffer buffer(&data);
        buffer.open(QIODevice::ReadOnly);
        NucFloatMap map;
        QVERIFY(map.read(buffer));
        QCOMPARE(map.completePixels, 1u);
        QCOMPARE(map.trailingBytes, qint64(3));
    }

    void savesByReplacingTheTarget()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("map.bin");
        QFile old(path);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("old content that is longer than the new one");
        old.close();

        QCOMPARE(NucMapFile::save(path, "abcd"), NucMapFile::SaveResult::Saved);
        QFile saved(path);
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QCOMPARE(saved.readAll(), QByteArray("abcd"));
        // Nothing but the target is left in the folder.
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{"map.bin"});

        QString error;
        QCOMPARE(NucMapFile::save(dir.filePath("missing/map.bin"), "ab", &error),
                 NucMapFile::SaveResult::OpenFailed);
        QVERIFY(!error.isEmpty());
    }
};

QTEST_APPLESS_MAIN(TestNucMapFormats)
#include "TestNucMapFormats.moc"
