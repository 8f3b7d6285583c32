#include "NucImageInput.h"
#include "NucPngDecoder.h"
#include "TestFiles.h"

#include <QColorSpace>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <zlib.h>

namespace {

QByteArray be32(quint32 value)
{
    QByteArray bytes(4, 0);
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray chunk(const QByteArray& type, const QByteArray& data)
{
    const QByteArray named = type + data;
    const uLong crc =
        crc32(0, reinterpret_cast<const Bytef*>(named.constData()), uInt(named.size()));
    return be32(quint32(data.size())) + named + be32(quint32(crc));
}

// A grey PNG made by hand: each row with the filter type y % 5 (the bytes
// are the filtered ones; any bytes make a valid image), the zlib stream cut
// into IDAT chunks of `piece` bytes, `before` chunks between IHDR and IDAT.
struct Png
{
    int width = 67, height = 11, depth = 16, piece = 7;
    QByteArray before;
    QByteArray extraRowData; // appended to the stream: more data than rows
    int flipFromEnd = 0;     // a stream byte changed under valid CRCs (Adler-32)

    QByteArray bytes() const
    {
        const int rowBytes = width * depth / 8;
        QRandomGenerator random(quint32(width * 31 + depth));
        QByteArray rows;
        for (int y = 0; y < height; ++y) {
            rows += char(y % 5);
            for (int i = 0; i < rowBytes; ++i)
                rows += char(i % 9 == 0 ? 0xff : random.bounded(256));
        }
        QByteArray stream = qCompress(rows + extraRowData).mid(4); // zlib, less Qt's prefix
        if (flipFromEnd > 0)
            stream[stream.size() - flipFromEnd] = char(stream[stream.size() - flipFromEnd] ^ 0x10);
        QByteArray ihdr = be32(quint32(width)) + be32(quint32(height));
        ihdr += char(depth);
        ihdr += QByteArray(4, 0); // grey, deflate, adaptive filters, not interlaced
        QByteArray file = QByteArray("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", ihdr) + before;
        for (int at = 0; at < stream.size(); at += piece)
            file += chunk("IDAT", stream.mid(at, piece));
        return file + chunk("IEND", QByteArray());
    }
};

QByteArray withByteFlipped(QByteArray bytes, int at)
{
    bytes[at] = char(bytes[at] ^ 0x10);
    return bytes;
}

// Qt's plug-in, as NucImageInput takes its result.
QImage qtImage(const QString& path)
{
    const QImage image = QImageReader(path).read();
    return image.format() == QImage::Format_Grayscale8 ? NucImageInput::toIndexedGrey(image)
                                                       : image;
}

bool sameImage(const QImage& a, const QImage& b)
{
    return a.format() == b.format() && a == b && a.dotsPerMeterX() == b.dotsPerMeterX() &&
           a.dotsPerMeterY() == b.dotsPerMeterY() && a.offset() == b.offset() &&
           a.textKeys() == b.textKeys() && a.colorSpace() == b.colorSpace();
}

} // namespace

class TestNucPngDecoder : public QObject
{
    Q_OBJECT
private slots:
    // What the decoder takes it decodes to Qt's image; what it declines, Qt
    // decides as before (the loader then says what Qt says). Files written
    // by Qt, in colour and cut short are in the image fuzz corpus, whose
    // replay holds the decoder to Qt likewise.
    void sameAsQt_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<bool>("decodedHere");

        Png every16, every8, resolution, large, text, transparent8;
        every8.depth = transparent8.depth = 8;
        resolution.before = chunk("prVt", "anything") + chunk("pHYs", QByteArray(9, 1));
        large.width = 1500;
        large.height = 900;
        large.piece = 8192;
        text.before = chunk("tEXt", QByteArray("Camera\0OX-1", 11));
        transparent8.before = chunk("tRNS", QByteArray(2, 0));
        QTest::newRow("16-bit, every filter, odd width") << every16.bytes() << true;
        QTest::newRow("8-bit, every filter, padded rows") << every8.bytes() << true;
        QTest::newRow("ancillary chunks, resolution") << resolution.bytes() << true;
        QTest::newRow("16-bit, many blocks") << large.bytes() << true;
        QTest::newRow("16-bit with text") << text.bytes() << false;
        QTest::newRow("8-bit with transparency") << transparent8.bytes() << false;

        const QByteArray good = every16.bytes();
        const int firstIdat = good.indexOf("IDAT");
        QTest::newRow("IDAT checksum wrong") << withByteFlipped(good, firstIdat + 4 + 7) << false;
        QTest::newRow("IHDR checksum wrong") << withByteFlipped(good, 8 + 8 + 13) << false;
        Png adler, overlong, unknownCritical;
        adler.flipFromEnd = 2;
        overlong.extraRowData = QByteArray(3, 0);
        unknownCritical.before = chunk("CRIT", "x");
        QTest::newRow("stream checksum wrong") << adler.bytes() << false;
        QTest::newRow("truncated") << good.left(good.size() / 2) << false;
        QTest::newRow("no IEND") << good.left(good.size() - 12) << false;
        QTest::newRow("more data than rows") << overlong.bytes() << false;
        QTest::newRow("unknown critical chunk") << unknownCritical.bytes() << false;
    }

    void sameAsQt()
    {
        QFETCH(QByteArray, file);
        QFETCH(bool, decodedHere);
        QTemporaryDir dir;
        const QString path = dir.filePath("image.png");
        QVERIFY(writeFile(path, file));

        QImage image;
        QCOMPARE(NucPngDecoder::decode(path, &image), decodedHere);
        const QImage expected = qtImage(path);
        if (decodedHere)
            QVERIFY(sameImage(image, expected));
        QString error;
        const QImage loaded = NucImageInput::loadImage(path, &error);
        QVERIFY(sameImage(loaded, expected));
        QCOMPARE(error.isEmpty(), !expected.isNull());
    }
};

QTEST_GUILESS_MAIN(TestNucPngDecoder)
#include "TestNucPngDecoder.moc"
