// Outside bytes that are damaged or hostile: each is refused with a message
// that names the file and what is wrong, and nothing already loaded changes.
#include "NucFloatMap.h"
#include "OrxNUShadingCorrection.h"
#include "ScriptedDialogs.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <QListWidget>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

namespace {

// The panel with its depth open, as binding a camera leaves it, but without one.
class PanelUnderTest : public OrxNUShadingCorrection
{
public:
    PanelUnderTest() { input.bitDepth = 0; }
    using OrxNUShadingCorrection::_addSelectedFiles;
};

QByteArray le32(quint32 a, quint32 b)
{
    QByteArray out(8, '\0');
    qToLittleEndian(a, out.data());
    qToLittleEndian(b, out.data() + 4);
    return out;
}

QByteArray be32(quint32 value)
{
    char bytes[4];
    qToBigEndian(value, bytes);
    return QByteArray(bytes, 4);
}

QByteArray pngChunk(const QByteArray& type, const QByteArray& data)
{
    const QByteArray body = type + data;
    quint32 crc = 0xFFFFFFFF; // CRC-32, which the decoder checks
    for (char c : body) {
        crc ^= quint8(c);
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320 & (0u - (crc & 1)));
    }
    return be32(quint32(data.size())) + body + be32(~crc);
}

// A small 8-bit grey PNG whose header declares the given size: a few bytes
// of pixel data follow, far fewer than the size needs.
QByteArray pngDeclaring(quint32 width, quint32 height)
{
    return QByteArray::fromHex("89504e470d0a1a0a") +
           pngChunk("IHDR", be32(width) + be32(height) + QByteArray::fromHex("0800000000")) +
           pngChunk("IDAT", qCompress(QByteArray(64, '\0')).mid(4)) + pngChunk("IEND", {});
}

} // namespace

class TestBadInput : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    QString file(const QString& name) const { return dir.filePath(name); }

private slots:
    void floatMapImportRefusesImplausibleSizeAndKeepsTheMap()
    {
        const float offsets[2] = {6.0f, 15.75f}, gains[2] = {1.5f, 2.0f};
        QVERIFY(writeFile(file("good.bin"), NucFloatMap::encode(2, 1, offsets, gains)));
        QVERIFY(writeFile(file("huge.bin"), le32(65535, 65535)));

        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        QSignalSpy log(&panel, &OrxNUShadingCorrection::sendLogMessage);
        dialogs.answer(file("good.bin"));
        QVERIFY(panel.LoadMap());
        QVERIFY(panel.SaveMap(file("before.bin")));

        dialogs.calls.clear();
        dialogs.answer(file("huge.bin"));
        QVERIFY(!panel.LoadMap());
        QStringList titles;
        for (const auto& call : dialogs.calls)
            if (call.kind == ScriptedDialogs::Information)
                titles << call.title;
        QCOMPARE(titles, QStringList({"fread exception", "Load Map Failed"}));
        QCOMPARE(log.size(), 1);
        QCOMPARE(log[0][0].toString(),
                 "Import Map '" + file("huge.bin") +
                     "': implausible declared size 65535 x 65535: no sensor has more than 16384 "
                     "pixels per side or 33554432 pixels in all");
        QCOMPARE(log[0][1].value<LogType>(), LogError);

        // The map imported before is still the one that gets saved.
        QVERIFY(panel.SaveMap(file("after.bin")));
        QCOMPARE(readFile(file("after.bin")), readFile(file("before.bin")));
    }

    void damagedImagesAreRefusedAndTheSeriesStays_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("reason");
        QByteArray png;
        {
            QBuffer buffer(&png);
            buffer.open(QIODevice::WriteOnly);
            TestImages::grey8(64, 48, [](int x, int y) {
                return (x * 7 + y * 13) & 0xff;
            }).save(&buffer, "PNG");
        }
        QTest::newRow("truncated png")
            << png.left(png.size() / 2) << "cannot read the image: Unable to read image data";
        QTest::newRow("65535 square png")
            << pngDeclaring(65535, 65535) << "implausible declared image size 65535 x 65535";
        QTest::newRow("20000 square pgm")
            << QByteArray("P5\n20000 20000\n255\n") + QByteArray(64, '\0')
            << "implausible declared image size 20000 x 20000";
        QByteArray bmp;
        {
            QBuffer buffer(&bmp);
            buffer.open(QIODevice::WriteOnly);
            TestImages::rgb(64, 48, [](int x, int y) { return x + y; }).save(&buffer, "BMP");
        }
        // The decoder would return the rows it found and leave the rest unset.
        QTest::newRow("truncated bmp")
            << bmp.left(bmp.size() - 100)
            << QString("truncated: %1 of %2 bytes").arg(bmp.size() - 100).arg(bmp.size());
        QTest::newRow("not an image") << QByteArray("hello")
                                      << "cannot read the image: "
                                         "Unsupported image format";
    }

    void damagedImagesAreRefusedAndTheSeriesStays()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, reason);
        const QImage good = TestImages::grey8(4, 3, [](int x, int y) { return 10 * y + x; });
        QVERIFY(TestImages::write(good, file("good.png"), QImage::Format_Grayscale8));
        const QString bad = file("bad.img");
        QVERIFY(writeFile(bad, bytes));

        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        QSignalSpy log(&panel, &OrxNUShadingCorrection::sendLogMessage);
        dialogs.answer(QStringList{file("good.png")});
        panel._addSelectedFiles(NucImageInput::Dark);
        dialogs.calls.clear();
        dialogs.answer(QStringList{bad});
        panel._addSelectedFiles(NucImageInput::Dark);

        QCOMPARE(dialogs.calls.last().kind, ScriptedDialogs::Critical);
        QCOMPARE(dialogs.calls.last().title, QString("Load Image"));
        QCOMPARE(dialogs.calls.last().text, bad + ": failed!");
        QCOMPARE(log.size(), 1);
        QCOMPARE(log[0][0].toString(), bad + ": " + reason);
        auto* list = panel.findChild<QListWidget*>("listDarkImagePath");
        QCOMPARE(list->count(), 1);
        QCOMPARE(list->item(0)->text(), file("good.png"));
        // The series is the good image alone: a map saved now is the one it makes.
        dialogs.answer(QStringList{file("good.png")});
        panel._addSelectedFiles(NucImageInput::Bright);
        QVERIFY(panel.create_shading_map());
    }

    void infoRefusesImplausibleSizes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("error");
        QTest::newRow("float map 65535 square")
            << le32(65535, 65535)
            << "not a map file and not a float map: implausible declared size 65535 x 65535: no "
               "sensor has more than 16384 pixels per side or 33554432 pixels in all";
        QTest::newRow(".bin declaring 65535 square")
            << QByteArray::fromHex("fcad561f2400000000000000012000001800000"
                                   "0ffff0000ffff00000000000000000000")
            << "65535 x 65535 pixels need 8589672450 bytes of map data but the file holds 4";
    }

    void infoRefusesImplausibleSizes()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, error);
        QVERIFY(writeFile(file("map.bin"), bytes));
        QProcess cli;
        cli.start(ORVEX_NUC_BINARY, {"info", file("map.bin")});
        QVERIFY(cli.waitForFinished());
        QCOMPARE(cli.exitCode(), 1);
        QCOMPARE(QString::fromUtf8(cli.readAllStandardError()).trimmed(),
                 file("map.bin") + ": " + error);
    }
};

QTEST_MAIN(TestBadInput)
#include "TestBadInput.moc"
