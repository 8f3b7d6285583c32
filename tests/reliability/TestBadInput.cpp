// Outside bytes that are damaged or hostile: each is refused with a message
// that names the file and what is wrong, and nothing already loaded changes.
#include "NucFloatMap.h"
#include "OrxNUShadingCorrection.h"
#include "ScriptedDialogs.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// The panel with its depth open, as binding a camera leaves it, but without one.
class PanelUnderTest : public OrxNUShadingCorrection
{
public:
    PanelUnderTest() { input.bitDepth = 0; }
};

// An input that once broke a reader, kept by the fuzz targets.
QByteArray regression(const QString& name)
{
    return readFile(QString(FUZZ_REGRESSIONS) + "/" + name);
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
        QVERIFY(writeFile(file("huge.bin"), regression("float_map/declared_65535_square")));

        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        QSignalSpy log(&panel, &OrxNUShadingCorrection::sendLogMessage);
        dialogs.answer(file("good.bin"));
        QVERIFY(panel.LoadMap());
        QVERIFY(panel.SaveMap(file("before.bin")));

        dialogs.answer(file("huge.bin"));
        QVERIFY(!panel.LoadMap());
        QCOMPARE(dialogs.calls.last().title, QString("Load Map Failed"));
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

    void damagedImagesAreRefused_data()
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
            << regression("image_generation/png_declares_65535_square")
            << "implausible declared image size 65535 x 65535";
        QTest::newRow("16384 x 4096 16-bit png")
            << regression("image_generation/png_16bit_declares_16384x4096")
            << "implausible declared image size 16384 x 4096";
        QTest::newRow("20000 square pgm")
            << regression("image_generation/pgm_declares_20000_square")
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
    }

    // The panel shows such a refusal as any other (TestPanel); what is pinned
    // here is what the loader says about each kind of damage.
    void damagedImagesAreRefused()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, reason);
        const QString bad = file("bad.img");
        QVERIFY(writeFile(bad, bytes));
        NucImageInput input;
        NucImageInput::Message message;
        QVERIFY(!input.loadImagefromFile(bad, NucImageInput::Dark, &message));
        QCOMPARE(message.kind, NucImageInput::Message::Critical);
        QCOMPARE(message.text, bad + ": failed!");
        QCOMPARE(message.detail, bad + ": " + reason);
        QCOMPARE(input.darkParams.count, 0);
    }

    // The size a .bin header declares is checked without overflow.
    void infoRefusesImplausibleSize()
    {
        QVERIFY(writeFile(file("map.bin"), regression("map_info/bin_declares_65535_square")));
        QProcess cli;
        cli.start(ORVEX_NUC_BINARY, {"info", file("map.bin")});
        QVERIFY(cli.waitForFinished());
        QCOMPARE(cli.exitCode(), 1);
        QCOMPARE(QString::fromUtf8(cli.readAllStandardError()).trimmed(),
                 file("map.bin") + ": 65535 x 65535 pixels need 8589672450 bytes of map data but "
                                   "the file holds 4");
    }
};

QTEST_MAIN(TestBadInput)
#include "TestBadInput.moc"
