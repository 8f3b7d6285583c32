// The whole way an operator goes, through the real main window: the camera SDK
// starts, the list is refreshed, a simulated camera is opened, dark and bright
// image files are added, a map is generated and saved, and the camera closed.
//
// With ORVEX_SCREENSHOT_DIR set, the window is also grabbed at the minimum
// size and at 1280 x 800 in the camera list and in the assistant view, so the
// layout can be looked at without a display.
#include "NucImageInput.h"
#include "NucMapFile.h"
#include "NucMapPipeline.h"
#include "OrxPixmapLabel.h"
#include "ScriptedDialogs.h"
#include "WindowHarness.h"

#include <QComboBox>
#include <QImage>
#include <QtEndian>

namespace {

const QByteArray kCameras = R"js([
  {"id": "LINE-5", "model": "kva640MXGE", "name": "Orvex kva640 Line 5",
   "manufacturerInfo": "3.2.7 (2026-03-14)", "width": 64, "height": 48, "files": [
     {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
     {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8196}]},
  {"id": "LINE-6", "transport": "USB3", "model": "zt1280MLV", "name": "Orvex zt1280 Line 6",
   "width": 64, "height": 48, "nucUserMaps": 2, "files": [{"selector": "Userfile", "kind": "userMap"}]}
])js";

// A lens-cap image: a black level with a little fixed pattern.
QImage darkImage(int level)
{
    QImage image(64, 48, QImage::Format_Grayscale8);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.scanLine(y)[x] = uchar(level + (x + 2 * y) % 5);
    return image;
}

// An evenly lit target seen through a lens that darkens the corners.
QImage brightImage(int level)
{
    QImage image(64, 48, QImage::Format_Grayscale8);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const double dx = (x - 31.5) / 32.0, dy = (y - 23.5) / 24.0;
            image.scanLine(y)[x] = uchar(level - 60.0 * (dx * dx + dy * dy) / 2.0);
        }
    return image;
}

void screenshot(QWidget& window, const QString& name)
{
    const QString dir = QString::fromLocal8Bit(qgetenv("ORVEX_SCREENSHOT_DIR"));
    if (dir.isEmpty())
        return;
    const QSize original = window.size();
    for (const QSize size : {QSize(600, 600), QSize(1280, 800)}) {
        window.resize(size);
        QTest::qWait(50);
        window.grab().save(
            QStringLiteral("%1/%2-%3x%4.png").arg(dir, name).arg(size.width()).arg(size.height()));
    }
    window.resize(original);
}

} // namespace

class TestAssistantFlow : public QObject
{
    Q_OBJECT

private slots:
    void generateAndSaveMap()
    {
        SimConfig config(kCameras);
        QVERIFY(config.ok());
        QStringList darks, brights;
        for (int i = 0; i < 2; ++i) {
            darks << config.path(QString("dark%1.png").arg(i));
            brights << config.path(QString("bright%1.png").arg(i));
            QVERIFY(darkImage(10 + 4 * i).save(darks.last()));
            QVERIFY(brightImage(190 + 6 * i).save(brights.last()));
        }

        ScriptedDialogs dialogs;
        TestWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        WAIT_FOR_CAMERA(window, "sim::LINE-5");
        window.findChild<QPushButton*>("btnRefresh")->click();
        QTRY_VERIFY(window.findChild<QPushButton*>("btnRefresh")->isEnabled());
        QTRY_VERIFY(window.cameraRow("sim::LINE-5").isValid());
        screenshot(window, "camera-list");

        QVERIFY(window.openFromList("sim::LINE-5"));
        QCOMPARE(window.windowTitle(),
                 QString("Varnholt Orvex NUC Correction Assistant - Orvex kva640 Line 5"));
        QVERIFY(window.assistant()->isEnabled());

        dialogs.answer(darks);
        window.panelChild<QPushButton>("btnAddDarkImage")->click();
        dialogs.answer(brights);
        window.panelChild<QPushButton>("btnAddBrightImage")->click();
        QCOMPARE(window.panelChild<QListWidget>("listDarkImagePath")->count(), 2);
        QCOMPARE(window.panelChild<QListWidget>("listBrightImagePath")->count(), 2);
        QVERIFY(!window.panelChild<OrxPixmapLabel>("lblMeanImageBright")->image().isNull());

        auto* selector = window.panelChild<QComboBox>("cmbShadingMapSelector");
        QCOMPARE(selector->count(), 2);
        selector->setCurrentIndex(1); // ShadingMap1, map id 8196
        emit selector->activated(1);
        window.panelChild<QPushButton>("btnGenerateMap")->click();
        QCOMPARE(dialogs.calls.last().title, QString("Generate Map"));
        QCOMPARE(dialogs.calls.last().text, QString("Generate map successful!"));
        QVERIFY(window.panelChild<QPushButton>("btnUploadMapToCam")->isEnabled());
        window.panelChild<QWidget>("tabWidget")->setProperty("currentIndex", 1);
        screenshot(window, "assistant");

        const QString saved = config.path("line5");
        dialogs.answer(saved);
        window.panelChild<QPushButton>("btnSaveMapToFile")->click();
        QCOMPARE(dialogs.calls.last().title, QString("Save Map"));
        QCOMPARE(dialogs.calls.last().text, QString("Save to file successful!"));

        // The file holds the map of exactly these images, for the chosen slot.
        QFile file(saved + ".bin");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        NucImageInput reference;
        for (const QString& path : darks)
            QVERIFY(reference.loadImagefromFile(path, NucImageInput::Dark));
        for (const QString& path : brights)
            QVERIFY(reference.loadImagefromFile(path, NucImageInput::Bright));
        QVERIFY(NucMapPipeline::generate(reference, 1.1f, 16, reference.bitDepth == 16));
        QCOMPARE(bytes, NucMapPipeline::fileImage(reference, {NucMapFile::Kind::Bin, 8196, false}));
        // The corners need more gain than the centre.
        const auto word = [&bytes](int x, int y) {
            return qFromLittleEndian<quint16>(bytes.constData() + 32 + 2 * (y * 64 + x));
        };
        QVERIFY((word(0, 0) & 0x3ff) > (word(32, 24) & 0x3ff));

        window.panelChild<QPushButton>("btnCloseCamera")->click();
        QCOMPARE(window.windowTitle(), QString("Varnholt Orvex NUC Correction Assistant"));
        QVERIFY(window.m_cameraListDock->isVisible());
        QVERIFY(!window.assistantDock()->isVisible());
        QCOMPARE(window.logLines(),
                 (QStringList{"Camera opened: Orvex kva640 Line 5",
                              "Map generated from the dark series (2 images) and the bright "
                              "series (2 images)",
                              "Clamped pixels: gain code 0: 326, gain code 1023: 0, offset code "
                              "0: 0, offset code 63: 0",
                              "Camera closed: Orvex kva640 Line 5"}));

        // For a look at the user map camera's form as well.
        if (!qEnvironmentVariableIsEmpty("ORVEX_SCREENSHOT_DIR")) {
            QVERIFY(window.openFromList("sim::LINE-6"));
            screenshot(window, "assistant-usermaps");
        }
    }
};

QTEST_MAIN(TestAssistantFlow)
#include "TestAssistantFlow.moc"
