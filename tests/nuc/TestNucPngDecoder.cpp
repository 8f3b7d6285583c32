#include "NucImageInput.h"
#include "NucPngDecoder.h"
#include "TestFiles.h"

#include <QColorSpace>
#include <QImageWriter>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <functional>

namespace {

quint32 crc32(const QByteArray& bytes)
{
    quint32 crc = 0xffffffffu;
    for (char byte : bytes) {
        crc ^= uchar(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

QByteArray be32(quint32 value)
{
    QByteArray bytes(4, 0);
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray chunk(const QByteArray& type, const QByteArray& data)
{
    return be32(quint32(data.size())) + type + data + be32(crc32(type + data));
}

// A grey PNG made by hand: each row with the filter type y % 5 (the bytes
// are the filtered ones; any bytes make a valid image), the zlib stream cut
// into IDAT chunks of `piece` bytes, `before` chunks between IHDR and IDAT.
struct Png
{
    int width = 67, height = 11, depth = 16, piece = 7;
    QByteArray before;
    QByteArray extraRowData; // appended to the stream: more data than rows

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
        const QByteArray stream = qCompress(rows + extraRowData).mid(4); // zlib, less Qt's prefix
        QByteArray ihdr = be32(quint32(width)) + be32(quint32(height));
        ihdr += char(depth);
        ihdr += QByteArray(4, 0); // grey, deflate, adaptive filters, not interlaced
        QByteArray file = QByteArray("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", ihdr) + before;
        for (int at = 0; at < stream.size(); at += piece)
            file += chunk("IDAT", stream.mid(at, piece));
        return file + chunk("IEND", QByteArray());
    }
};

QByteArray written(const QImage& image, const std::function<void(QImageWriter&)>& setUp = {})
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "png");
    if (setUp)
        setUp(writer);
    writer.write(image);
    return buffer.data();
}

QImage noise(int width, int height, QImage::Format format)
{
    QImage image(width, height, format);
    QRandomGenerator random(5);
    for (int y = 0; y < height; ++y)
        for (int i = 0; i < image.bytesPerLine(); ++i)
            image.scanLine(y)[i] = uchar(random.bounded(256));
    if (format == QImage::Format_Indexed8) {
        image.setColorCount(256);
        for (int i = 0; i < 256; ++i)
            image.setColor(i, qRgb(i, 255 - i, i / 2)); // a palette, not grey
    }
    image.setDotsPerMeterX(5000);
    image.setDotsPerMeterY(2000);
    return image;
}

QByteArray withByteFlipped(QByteArray bytes, int at)
{
    bytes[at] = char(bytes[at] ^ 0x10);
    return bytes;
}

// Qt's plug-in, as NucImageInput takes its result.
QImage qtImage(const QString& path, QImage buffer = QImage())
{
    QImageReader reader(path);
    QImage image = std::move(buffer);
    if (!reader.read(&image))
        return QImage();
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
    // decides as before (the loader then says what Qt says).
    void sameAsQt_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<bool>("decodedHere");

        Png every16;
        QTest::newRow("16-bit, every filter, odd width") << every16.bytes() << true;
        Png every8;
        every8.depth = 8;
        QTest::newRow("8-bit, every filter, padded rows") << every8.bytes() << true;
        Png privateChunk;
        privateChunk.before = chunk("prVt", "anything") + chunk("pHYs", QByteArray(9, 1));
        QTest::newRow("ancillary chunks, resolution") << privateChunk.bytes() << true;
        QTest::newRow("16-bit noise, large pieces")
            << written(noise(1500, 900, QImage::Format_Grayscale16)) << true;
        QTest::newRow("8-bit written by Qt")
            << written(noise(301, 200, QImage::Format_Grayscale8)) << true;

        QTest::newRow("colour") << written(noise(40, 30, QImage::Format_RGB32)) << false;
        QTest::newRow("alpha") << written(noise(40, 30, QImage::Format_ARGB32)) << false;
        QTest::newRow("palette") << written(noise(40, 30, QImage::Format_Indexed8)) << false;
        QTest::newRow("16-bit with text")
            << written(noise(40, 30, QImage::Format_Grayscale16),
                       [](QImageWriter& w) { w.setText("Camera", "OX-1"); })
            << false;
        Png srgb;
        srgb.before = chunk("sRGB", QByteArray(1, 0));
        QTest::newRow("16-bit with sRGB") << srgb.bytes() << false;
        Png gamma;
        gamma.before = chunk("gAMA", be32(45455));
        QTest::newRow("16-bit with gamma") << gamma.bytes() << false;
        gamma.depth = 8;
        QTest::newRow("8-bit with gamma, dropped by the loader") << gamma.bytes() << true;
        Png transparent8 = every8;
        transparent8.before = chunk("tRNS", QByteArray(2, 0));
        QTest::newRow("8-bit with transparency") << transparent8.bytes() << false;

        const QByteArray good = every16.bytes();
        const int firstIdat = good.indexOf("IDAT");
        QTest::newRow("IDAT checksum wrong") << withByteFlipped(good, firstIdat + 4 + 7) << false;
        QTest::newRow("IHDR checksum wrong") << withByteFlipped(good, 8 + 8 + 13) << false;
        Png corrupt = every16;
        corrupt.piece = 1 << 20; // one IDAT, rewritten with a valid CRC below
        QByteArray stream = corrupt.bytes();
        const int idat = stream.indexOf("IDAT");
        const int length = qFromBigEndian<quint32>(stream.constData() + idat - 4);
        QByteArray data = withByteFlipped(stream.mid(idat + 4, length), length - 2);
        stream.replace(idat - 4, length + 12, chunk("IDAT", data));
        QTest::newRow("stream checksum wrong") << stream << false;
        QTest::newRow("truncated") << good.left(good.size() / 2) << false;
        QTest::newRow("no IEND") << good.left(good.size() - 12) << false;
        Png overlong = every16;
        overlong.extraRowData = QByteArray(3, 0);
        QTest::newRow("more data than rows") << overlong.bytes() << false;
        Png unknownCritical = every16;
        unknownCritical.before = chunk("CRIT", "x");
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

    // An image handed in to be reused keeps what the file does not set, as
    // with Qt's plug-in.
    void reusedBufferAsQt()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("image.png");
        QVERIFY(writeFile(path, Png().bytes())); // no resolution chunk
        QImage buffer(67, 11, QImage::Format_Grayscale16);
        buffer.setDotsPerMeterX(1234);
        buffer.setOffset(QPoint(3, 4));
        const uchar* memory = buffer.constBits();
        QImage image;
        QImage handedIn = buffer;
        buffer = QImage(); // not shared any more
        QVERIFY(NucPngDecoder::decode(path, &image, &handedIn));
        QVERIFY(handedIn.isNull());
        QCOMPARE(image.constBits(), memory);
        QImage other(67, 11, QImage::Format_Grayscale16);
        other.setDotsPerMeterX(1234);
        other.setOffset(QPoint(3, 4));
        QVERIFY(sameImage(image, qtImage(path, other)));
    }
};

QTEST_GUILESS_MAIN(TestNucPngDecoder)
#include "TestNucPngDecoder.moc"
