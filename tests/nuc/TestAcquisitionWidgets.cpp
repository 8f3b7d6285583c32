// The acquisition dialog, driven through the scripted dialog seam.

#include "NucFrame.h"
#include "NucImageInput.h"
#include "OrxAcquisitionDialog.h"
#include "ScriptedDialogs.h"

#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QtTest>

namespace {

// A 12-bit frame: level plus a ramp of x and a per-frame jitter.
QImage frame(int level, int k, int w = 16, int h = 8)
{
    std::vector<uchar> bytes;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int v = level + x + (x * 7 + y * 3 + k * 5) % 4;
            bytes.push_back(uchar(v));
            bytes.push_back(uchar(v >> 8));
        }
    return NucFrame::fromCamera(bytes.data(), qint64(bytes.size()), w, h, 12);
}

// A camera of frames at a level; fails at frame failAt (1-based) if set.
OrxAcquisitionSource camera(int level, int* grabbed, int failAt = 0)
{
    OrxAcquisitionSource s;
    s.camera = "OX1";
    s.exposure = "10000 us";
    s.gain = "0 dB";
    s.grab = [=](QImage* f, QString* error) {
        if (++*grabbed == failAt) {
            *error = "The camera delivered no complete frame.";
            return false;
        }
        *f = frame(level, *grabbed);
        return true;
    };
    s.fullScale = [] { return 4095; };
    return s;
}

} // namespace

class TestAcquisitionWidgets : public QObject
{
    Q_OBJECT
private slots:
    void acquisitionDialog_data()
    {
        QTest::addColumn<int>("series");
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("failAt");
        QTest::addColumn<int>("answer");           // to the level check, when asked
        QTest::addColumn<QStringList>("messages"); // kind title: text
        QTest::addColumn<int>("added");
        QTest::newRow("dark") << int(NucImageInput::Dark) << 190 << 0 << 0 << QStringList() << 16;
        QTest::newRow("bright at half scale")
            << int(NucImageInput::Bright) << 2000 << 0 << 0 << QStringList() << 16;
        const QString dim = "Level Check: The mean is 24.6 % of full scale and 0.00 % of the "
                            "pixels are saturated. Below 30 % of full scale: lengthen the "
                            "exposure or add light.\n\nAcquire anyway?";
        QTest::newRow("dim, acquired anyway") << int(NucImageInput::Bright) << 1000 << 0
                                              << int(QMessageBox::Yes) << QStringList{dim} << 16;
        QTest::newRow("dim, refused") << int(NucImageInput::Bright) << 1000 << 0
                                      << int(QMessageBox::No) << QStringList{dim} << 0;
        QTest::newRow("camera fails at frame 5")
            << int(NucImageInput::Dark) << 190 << 5 << 0
            << QStringList{"Acquire Dark Images: The camera delivered no complete frame."} << 0;
    }

    void acquisitionDialog()
    {
        QFETCH(int, series);
        const auto which = NucImageInput::Series(series);
        QFETCH(int, level);
        QFETCH(int, failAt);
        QFETCH(int, answer);
        QFETCH(QStringList, messages);
        QFETCH(int, added);
        ScriptedDialogs dialogs;
        if (answer)
            dialogs.answer(QMessageBox::StandardButton(answer));
        NucImageInput input;
        QVERIFY(input.addLoadedImage("earlier", frame(level, 0), which));
        int grabbed = 0;
        OrxAcquisitionDialog dialog(input, which, camera(level, &grabbed, failAt));
        QCOMPARE(dialog.findChild<QSpinBox*>("spinFrames")->value(), 16);
        QCOMPARE(dialog.findChild<QLabel*>("lblNote")->text().startsWith("Cover the lens"),
                 which == NucImageInput::Dark);
        QPushButton* acquire = dialog.findChild<QPushButton*>("btnAcquire");
        dialog.start();
        QVERIFY(!acquire->isEnabled());
        // Done: accepted, or stopped with the button back for another try.
        QTRY_VERIFY(dialog.result() == QDialog::Accepted || acquire->isEnabled());
        QStringList shown;
        for (const ScriptedDialogs::Call& c : dialogs.calls)
            shown << c.title + ": " + c.text;
        QCOMPARE(shown, messages);
        QCOMPARE(int(input.series(which)->count), 1 + added);
        QCOMPARE(dialog.items().size(), added);
        if (added)
            QCOMPARE(dialog.items().last(), QString("Camera frame 16 of 16 (OX1)"));
    }

    void cancelTakesTheFramesBack()
    {
        ScriptedDialogs dialogs; // an unexpected question fails the test instead of blocking it
        NucImageInput input;
        int grabbed = 0;
        OrxAcquisitionSource source = camera(190, &grabbed);
        OrxAcquisitionDialog* shown = nullptr;
        const auto grab = source.grab;
        // The operator presses Cancel while the third frame comes in.
        source.grab = [&](QImage* f, QString* error) {
            if (grabbed == 2)
                QTimer::singleShot(0, shown, &QDialog::reject);
            return grab(f, error);
        };
        OrxAcquisitionDialog dialog(input, NucImageInput::Dark, source);
        shown = &dialog;
        bool cancelled = false;
        connect(&dialog, &QDialog::rejected, [&] { cancelled = true; });
        dialog.start();
        QTRY_VERIFY(cancelled);
        QTest::qWait(20);
        QCOMPARE(grabbed, 3); // no frame after the cancel
        QCOMPARE(input.darkParams.count, 0u);
        QCOMPARE(input.bitDepth, 0);
        QVERIFY(input.darkMean.isNull());
        QCOMPARE(dialogs.calls.size(), 0);
    }
};

QTEST_MAIN(TestAcquisitionWidgets)
#include "TestAcquisitionWidgets.moc"
