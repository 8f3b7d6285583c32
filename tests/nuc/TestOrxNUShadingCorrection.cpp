#include "NucFloatMap.h"
#include "NucMapFile.h"
#include "OrxPixmapLabel.h"
#include "OrxSettings.h"
#include "PanelUnderTest.h"
#include "ScriptedDialogs.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <QLineEdit>
#include <QListWidget>
#include <QProgressDialog>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using namespace TestImages;

namespace {

QByteArray le16(std::initializer_list<quint16> words)
{
    QByteArray out;
    for (quint16 w : words)
        out.append(char(w & 0xff)).append(char(w >> 8));
    return out;
}

QString savedImageDir()
{
    return OrxSettings::getInstance()->Get("Directory", "SaveImageDir", QVariant()).toString();
}

} // namespace

class TestOrxNUShadingCorrection : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    QString file(const QString& name) const { return dir.filePath(name); }

    template <typename T> static T* child(QWidget& panel, const char* name)
    {
        T* widget = panel.findChild<T*>(name);
        Q_ASSERT(widget);
        return widget;
    }

    static QStringList listTexts(QWidget& panel, const char* name)
    {
        QStringList texts;
        QListWidget* list = child<QListWidget>(panel, name);
        for (int i = 0; i < list->count(); ++i)
            texts << list->item(i)->text();
        return texts;
    }

    // Adds files to a list through the add button and the file dialog.
    static void add(QWidget& panel, ScriptedDialogs& dialogs, int which, const QStringList& paths)
    {
        dialogs.answer(paths);
        child<QPushButton>(panel, which == 1 ? "btnAddDarkImage" : "btnAddBrightImage")->click();
    }

    static void deleteAll(QWidget& panel, int which)
    {
        child<QListWidget>(panel, which == 1 ? "listDarkImagePath" : "listBrightImagePath")
            ->selectAll();
        child<QPushButton>(panel, which == 1 ? "btnDeleteDarkImage" : "btnDeleteBrightImage")
            ->click();
    }

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        auto flat = [](int v) { return [v](int, int) { return v; }; };
        QVERIFY(write(grey16(4, 2, flat(100)), file("d16.png"), QImage::Format_Grayscale16));
        QVERIFY(write(grey16(4, 2, flat(100)), file("d16b.png"), QImage::Format_Grayscale16));
        QVERIFY(write(grey16(8, 8, flat(100)), file("big16.png"), QImage::Format_Grayscale16));
        QVERIFY(write(palette8(4, 2, flat(10)), file("p8.png"), QImage::Format_Indexed8));
        QVERIFY(write(palette8(6, 2, flat(10)), file("wide8.png"), QImage::Format_Indexed8));
        QVERIFY(write(grey8(4, 2, flat(10)), file("g8.png"), QImage::Format_Grayscale8));
        QVERIFY(write(rgb(4, 2, flat(10)), file("rgb.png"), QImage::Format_RGB32));
        QImage alpha(4, 2, QImage::Format_ARGB32);
        alpha.fill(qRgba(1, 2, 3, 4));
        QVERIFY(write(alpha, file("alpha.png"), QImage::Format_ARGB32));
        QFile text(file("notes.png"));
        QVERIFY(text.open(QIODevice::WriteOnly));
        text.write("not an image");
    }

    void refusedFiles_data()
    {
        QTest::addColumn<QStringList>("dark");
        QTest::addColumn<QStringList>("bright");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("darkList");
        QTest::addColumn<QStringList>("brightList");
        QTest::addColumn<QString>("log"); // why, as the log's error line says it

        const QString d16 = file("d16.png"), p8 = file("p8.png");
        QTest::newRow("unreadable")
            << QStringList{file("notes.png")} << QStringList() << int(ScriptedDialogs::Critical)
            << file("notes.png") + ": failed!" << QStringList() << QStringList()
            << file("notes.png") + ": cannot read the image: Unsupported image format";
        QTest::newRow("unsupported format")
            << QStringList{file("alpha.png")} << QStringList() << int(ScriptedDialogs::Information)
            << file("alpha.png") + ": image format not supported!" << QStringList() << QStringList()
            << file("alpha.png") + ": its pixel format (32 bits per pixel) is none the series "
                                   "take: 8-bit grey or palette, 16-bit grey, 32-bit RGB";
        QTest::newRow("16-bit after 8-bit")
            << QStringList{p8} << QStringList{d16} << int(ScriptedDialogs::Critical)
            << d16 + ": failed!" << QStringList{p8} << QStringList()
            << d16 + ": its depth is 16 bits, the series' images have 8 bits";
        QTest::newRow("RGB after 8-bit")
            << QStringList{p8, file("rgb.png")} << QStringList() << int(ScriptedDialogs::Critical)
            << file("rgb.png") + ": failed!" << QStringList{p8} << QStringList()
            << file("rgb.png") + ": its depth is 32 bits, the series' images have 8 bits";
        QTest::newRow("size differs from the other list")
            << QStringList{p8} << QStringList{file("wide8.png")}
            << int(ScriptedDialogs::Information) << file("wide8.png") + ": incompatible image!"
            << QStringList{p8} << QStringList()
            << file("wide8.png") + ": it is 6 x 2 pixels, the series' images are 4 x 2";
        QTest::newRow("second of three unsupported")
            << QStringList{p8, file("alpha.png"), file("g8.png")} << QStringList()
            << int(ScriptedDialogs::Information)
            << file("alpha.png") + ": image format not supported!"
            << QStringList{p8, file("g8.png")} << QStringList()
            << file("alpha.png") + ": its pixel format (32 bits per pixel) is none the series "
                                   "take: 8-bit grey or palette, 16-bit grey, 32-bit RGB";
    }

    void refusedFiles()
    {
        QFETCH(QStringList, dark);
        QFETCH(QStringList, bright);
        QFETCH(int, kind);
        QFETCH(QString, text);
        QFETCH(QStringList, darkList);
        QFETCH(QStringList, brightList);
        QFETCH(QString, log);

        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        QSignalSpy logged(&panel, &OrxNUShadingCorrection::sendLogMessage);
        add(panel, dialogs, 1, dark);
        if (!bright.isEmpty())
            add(panel, dialogs, 2, bright);

        QList<ScriptedDialogs::Call> boxes;
        for (const auto& call : dialogs.calls)
            if (call.kind != ScriptedDialogs::OpenFileNames)
                boxes << call;
        QCOMPARE(boxes.size(), 1);
        QCOMPARE(int(boxes[0].kind), kind);
        QCOMPARE(boxes[0].title, QString("Load Image"));
        QCOMPARE(boxes[0].text, text);
        QCOMPARE(listTexts(panel, "listDarkImagePath"), darkList);
        QCOMPARE(listTexts(panel, "listBrightImagePath"), brightList);
        QCOMPARE(logged.size(), 1);
        QCOMPARE(logged[0][0].toString(), log);
        QCOMPARE(logged[0][1].value<LogType>(), LogError);
    }

    void addDialogAndDepthAtConstruction()
    {
        ScriptedDialogs dialogs;
        OrxNUShadingCorrection panel; // no camera bound: the depth is 16
        dialogs.answer(QStringList{file("p8.png"), file("d16.png")});
        child<QPushButton>(panel, "btnAddDarkImage")->click();
        QCOMPARE(dialogs.calls[0].kind, ScriptedDialogs::OpenFileNames);
        QCOMPARE(dialogs.calls[0].title, QString("Image paths"));
        QCOMPARE(dialogs.calls[0].filter, QString("Images (*.* )"));
        QCOMPARE(dialogs.calls.size(), 2);
        QCOMPARE(dialogs.calls[1].text, file("p8.png") + ": failed!");
        QCOMPARE(listTexts(panel, "listDarkImagePath"), QStringList{file("d16.png")});
    }

    void repeatedPathsAreSkippedSilently()
    {
        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        add(panel, dialogs, 1, {file("d16.png"), file("d16.png")});
        add(panel, dialogs, 1, {file("d16.png"), file("d16b.png")});
        QCOMPARE(listTexts(panel, "listDarkImagePath"),
                 QStringList({file("d16.png"), file("d16b.png")}));
        for (const auto& call : dialogs.calls)
            QCOMPARE(call.kind, ScriptedDialogs::OpenFileNames);
        // The same file may still go to the other list.
        add(panel, dialogs, 2, {file("d16.png")});
        QCOMPARE(listTexts(panel, "listBrightImagePath"), QStringList{file("d16.png")});
    }

    void greyFilesLoadAsIndexed()
    {
        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        add(panel, dialogs, 1, {file("g8.png")});
        QCOMPARE(listTexts(panel, "listDarkImagePath"), QStringList{file("g8.png")});
        const QImage mean = child<OrxPixmapLabel>(panel, "lblMeanImageDark")->image();
        QCOMPARE(mean.format(), QImage::Format_Grayscale8);
        QCOMPARE(mean.pixelColor(3, 1), QColor(10, 10, 10));

        const QImage loaded = NucImageInput::loadImage(file("g8.png"));
        QCOMPARE(loaded.format(), QImage::Format_Indexed8);
        QCOMPARE(loaded.colorTable().size(), 256);
        QCOMPARE(loaded.color(200), qRgb(200, 200, 200));
        QCOMPARE(loaded.pixelIndex(2, 1), 10);
    }

    void removalFreesSizeAndDepthOnlyWhenBothEmpty()
    {
        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        auto* deleteDark = child<QPushButton>(panel, "btnDeleteDarkImage");
        auto* darkLabel = child<OrxPixmapLabel>(panel, "lblMeanImageDark");
        add(panel, dialogs, 1, {file("d16.png"), file("d16b.png")});
        add(panel, dialogs, 2, {file("d16.png")});
        QVERIFY(!deleteDark->isEnabled());
        child<QListWidget>(panel, "listDarkImagePath")->item(0)->setSelected(true);
        QVERIFY(deleteDark->isEnabled());

        // One of two dark files out: the mean image is the other one's.
        deleteDark->click();
        QCOMPARE(listTexts(panel, "listDarkImagePath"), QStringList{file("d16b.png")});
        QVERIFY(!deleteDark->isEnabled());
        QVERIFY(!darkLabel->image().isNull());

        deleteAll(panel, 1);
        QVERIFY(darkLabel->image().isNull());
        QCOMPARE(dialogs.calls.size(), 2);
        // Bright still holds an image: size and depth stay fixed.
        add(panel, dialogs, 1, {file("big16.png")});
        QCOMPARE(dialogs.calls.last().text, file("big16.png") + ": incompatible image!");
        add(panel, dialogs, 1, {file("p8.png")});
        QCOMPARE(dialogs.calls.last().text, file("p8.png") + ": failed!");

        deleteAll(panel, 2);
        QVERIFY(child<OrxPixmapLabel>(panel, "lblMeanImageBright")->image().isNull());
        const int before = dialogs.calls.size();
        add(panel, dialogs, 1, {file("wide8.png")});
        QCOMPARE(dialogs.calls.size(), before + 1); // only the file dialog
        QCOMPARE(listTexts(panel, "listDarkImagePath"), QStringList{file("wide8.png")});
    }

    void itemPressEnablesDelete()
    {
        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        add(panel, dialogs, 2, {file("d16.png"), file("d16b.png")});
        auto* list = child<QListWidget>(panel, "listBrightImagePath");
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        const QRect rect = list->visualItemRect(list->item(1));
        QTest::mousePress(list->viewport(), Qt::LeftButton, {}, rect.center());
        QVERIFY(child<QPushButton>(panel, "btnDeleteBrightImage")->isEnabled());
        QCOMPARE(list->currentItem(), list->item(1));
    }

    void imageDirectoryIsStoredOnlyWhenChanged()
    {
        QTemporaryDir other;
        QVERIFY(write(grey16(4, 2, [](int, int) { return 5; }), other.filePath("o.png"),
                      QImage::Format_Grayscale16));
        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        add(panel, dialogs, 1, {file("d16.png")});
        QCOMPARE(savedImageDir(), QDir::cleanPath(dir.path()));

        // Unchanged directory: the stored value is not written again.
        OrxSettings::getInstance()->Set("Directory", "SaveImageDir", "/elsewhere");
        add(panel, dialogs, 1, {file("d16b.png")});
        QCOMPARE(savedImageDir(), QString("/elsewhere"));
        QCOMPARE(dialogs.calls.last().text, QDir::cleanPath(dir.path())); // start directory

        add(panel, dialogs, 2, {other.filePath("o.png")});
        QCOMPARE(savedImageDir(), QDir::cleanPath(other.path()));
    }

    void cancellingKeepsFilesAlreadyAdded()
    {
        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        auto* list = child<QListWidget>(panel, "listDarkImagePath");
        int progressMaximum = -1;
        connect(list->model(), &QAbstractItemModel::rowsInserted, &panel, [&] {
            auto* progress = panel.findChild<QProgressDialog*>();
            QVERIFY(progress);
            progressMaximum = progress->maximum();
            progress->cancel();
        });
        add(panel, dialogs, 1, {file("d16.png"), file("d16b.png"), file("p8.png")});
        QCOMPARE(progressMaximum, 3);
        QCOMPARE(listTexts(panel, "listDarkImagePath"), QStringList{file("d16.png")});
        QCOMPARE(dialogs.calls.size(), 1);
    }

    void generateMessages()
    {
        ScriptedDialogs dialogs;
        PanelUnderTest noEntries(-1);
        child<QPushButton>(noEntries, "btnGenerateMap")->click();
        PanelUnderTest panel;
        auto* generate = child<QPushButton>(panel, "btnGenerateMap");
        auto* save = child<QPushButton>(panel, "btnSaveMapToFile");
        auto* upload = child<QPushButton>(panel, "btnUploadMapToCam");
        generate->click();
        add(panel, dialogs, 1, {file("d16.png")});
        generate->click();
        QVERIFY(!save->isEnabled());
        add(panel, dialogs, 2, {file("d16b.png")});
        generate->click();
        QVERIFY(save->isEnabled());
        QVERIFY(upload->isEnabled());
        panel.shading_map_reset();
        QVERIFY(!save->isEnabled());
        QVERIFY(!upload->isEnabled());

        QStringList texts;
        for (const auto& call : dialogs.calls) {
            if (call.kind == ScriptedDialogs::OpenFileNames)
                continue;
            QCOMPARE(call.title, QString("Generate Map"));
            QCOMPARE(call.kind, ScriptedDialogs::Information);
            texts << call.text;
        }
        QCOMPARE(texts, QStringList({"Generate map failed: no shading map entry available!",
                                     "Generate map failed: missing dark image parameter!",
                                     "Generate map failed: missing bright image parameter!",
                                     "Generate map successful!"}));
    }

    void savedMapBytes_data()
    {
        QTest::addColumn<QImage>("dark");
        QTest::addColumn<QImage>("bright");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("saved");
        QTest::addColumn<QByteArray>("words");

        auto flat = [](int v) { return [v](int, int) { return v; }; };
        auto row = [](QVector<int> v) { return [v](int x, int) { return v[x]; }; };
        // 16-bit: dark 100 -> offset map 36 (code 9); bright minus 36 is
        // 100, 300 with mean 200 = target at gain 1: gains 2.0 and 1.0.
        QTest::newRow("16-bit, name without extension")
            << grey16(2, 1, flat(100)) << grey16(2, 1, row({136, 336})) << "m16"
            << "m16.bin" << le16({0x27ff, 0x2400});
        // 8-bit: dark 10 -> 4*10-16 = 24 -> 6.0 (code 24); bright minus 6 is
        // 10, 20, 30, 40 (target 25): gains 2.0, 1.25, 1.0, 1.0.
        QTest::newRow("8-bit, .BIN kept")
            << palette8(4, 1, flat(10)) << palette8(4, 1, row({16, 26, 36, 46})) << "M8.BIN"
            << "M8.BIN" << le16({0x63ff, 0x6100, 0x6000, 0x6000});
    }

    void savedMapBytes()
    {
        QFETCH(QImage, dark);
        QFETCH(QImage, bright);
        QFETCH(QString, answer);
        QFETCH(QString, saved);
        QFETCH(QByteArray, words);
        QTemporaryDir out;
        QVERIFY(write(dark, out.filePath("dark.png"), dark.format()));
        QVERIFY(write(bright, out.filePath("bright.png"), bright.format()));

        ScriptedDialogs dialogs;
        PanelUnderTest panel(2432);
        child<QLineEdit>(panel, "TargetGainEdit")->setText("1");
        add(panel, dialogs, 1, {out.filePath("dark.png")});
        add(panel, dialogs, 2, {out.filePath("bright.png")});
        child<QPushButton>(panel, "btnGenerateMap")->click();
        dialogs.answer(out.filePath(answer));
        child<QPushButton>(panel, "btnSaveMapToFile")->click();

        const auto& exportCall = dialogs.calls[dialogs.calls.size() - 2];
        QCOMPARE(exportCall.kind, ScriptedDialogs::SaveFileName);
        QCOMPARE(exportCall.title, QString("Export Map"));
        QCOMPARE(exportCall.filter, QString("Bin (*.bin)"));
        QCOMPARE(dialogs.calls.last().title, QString("Save Map"));
        QCOMPARE(dialogs.calls.last().text, QString("Save to file successful!"));

        const QByteArray bytes = readFile(out.filePath(saved));
        QCOMPARE(QDir(out.path()).entryList(QDir::Files).size(), 3);
        NucMapFile::Info info;
        QVERIFY(NucMapFile::parse(bytes, &info, nullptr));
        QCOMPARE(bytes.mid(32), words);
        QCOMPARE(info.blockId, 2432u);
        QCOMPARE(info.width, quint32(bright.width()));
        QVERIFY(info.checksumHolds);
    }

    void saveWithoutGeneratedMapWritesZeros()
    {
        QTemporaryDir out;
        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        add(panel, dialogs, 2, {file("d16.png")});
        QVERIFY(panel.SaveMap(out.filePath("zero.bin")));
        const QByteArray bytes = readFile(out.filePath("zero.bin"));
        QCOMPARE(bytes.size(), 32 + 16);
        QCOMPARE(bytes.mid(32), QByteArray(16, '\0'));
        QCOMPARE(NucMapFile::wordSum(bytes), 0u);
    }

    void saveFailures()
    {
        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        QSignalSpy log(&panel, &OrxNUShadingCorrection::sendLogMessage);
        const QString missing = file("no/such/dir/map.bin");
        dialogs.answer(missing);
        QMetaObject::invokeMethod(&panel, "on_btnSaveMapToFile_clicked");
        QCOMPARE(log.size(), 1);
        QCOMPARE(log[0][0].toString(), "Save Map: unable to open file '" + missing + "'");
        QCOMPARE(log[0][1].value<LogType>(), LogError);
        QCOMPARE(dialogs.calls.last().text, QString("Save to file failed!"));

        // Cancelled dialog: nothing more is said.
        QMetaObject::invokeMethod(&panel, "on_btnSaveMapToFile_clicked");
        QCOMPARE(dialogs.calls.last().kind, ScriptedDialogs::SaveFileName);

        panel.noMapSelector = true;
        QMetaObject::invokeMethod(&panel, "on_btnSaveMapToFile_clicked");
        QCOMPARE(dialogs.calls.last().title, QString("Save Map"));
        QCOMPARE(dialogs.calls.last().text,
                 QString("Save to file failed: FileAccess is not supported"));
        // Called directly it creates the file but writes nothing into it.
        QVERIFY(!panel.SaveMap(file("empty.bin")));
        QVERIFY(QFile::exists(file("empty.bin")));
        QCOMPARE(readFile(file("empty.bin")), QByteArray());
    }

    void userMapSaveGoesToChosenFolder()
    {
        QTemporaryDir out;
        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        panel.addUserMapEntry("NucUserMap0", 0);
        panel.addUserMapEntry("NucUserMap1", 1);
        add(panel, dialogs, 1, {file("d16.png")});
        add(panel, dialogs, 2, {file("d16b.png")});
        child<QPushButton>(panel, "btnGenerateMap")->click();
        dialogs.answer(out.path());
        child<QPushButton>(panel, "btnSaveMapToFile")->click();

        const auto& chooser = dialogs.calls[dialogs.calls.size() - 2];
        QCOMPARE(chooser.kind, ScriptedDialogs::ExistingDirectory);
        QCOMPARE(chooser.title, QString("Open Directory"));
        QCOMPARE(dialogs.calls.last().text, QString("Save to file successful!"));
        const QByteArray bytes = readFile(out.filePath("nuc_usermap1.ge3"));
        QCOMPARE(bytes.size(), 60 + 16);
        NucMapFile::Info info;
        QVERIFY(NucMapFile::parse(bytes, &info, nullptr));
        QCOMPARE(info.kind, NucMapFile::Kind::UserMap);
        QCOMPARE(OrxSettings::getInstance()->Get("Directory", "SHCSettingsFileDir", QVariant()),
                 QVariant(out.path()));

        // Cancelling the folder dialog saves nothing.
        child<QPushButton>(panel, "btnSaveMapToFile")->click();
        QCOMPARE(dialogs.calls.last().text, QString("Save to file failed!"));
    }

    void importedFloatMapIsPackedOnSave()
    {
        QTemporaryDir out;
        // 2 x 1 declared, only the first pixel present.
        const float offsets[2] = {6.0f, 9.0f}, gains[2] = {1.5f, 9.0f};
        QFile mapFile(out.filePath("import.bin"));
        QVERIFY(mapFile.open(QIODevice::WriteOnly));
        mapFile.write(NucFloatMap::encode(2, 1, offsets, gains).left(16));
        mapFile.close();

        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        QVERIFY(!panel.LoadMap()); // cancelled: no message
        QCOMPARE(dialogs.calls.size(), 1);
        QCOMPARE(dialogs.calls[0].title, QString("Import Map"));
        QCOMPARE(dialogs.calls[0].filter, QString("bin (*.bin)"));

        dialogs.answer(mapFile.fileName());
        QVERIFY(panel.LoadMap());
        QCOMPARE(dialogs.calls.size(), 2);
        QCOMPARE(OrxSettings::getInstance()->Get("Directory", "SHCSettingsFileDir", QVariant()),
                 QVariant(QDir::cleanPath(out.path())));
        QVERIFY(panel.SaveMap(out.filePath("packed.bin")));
        // 8-bit rule: 4 * 6.0 = code 24; gain 1.5 = 512; missing pixel 0.0 / 1.0.
        QCOMPARE(readFile(out.filePath("packed.bin")).mid(20),
                 QByteArray::fromHex("020000000100000000000000") + le16({0x6200, 0x0000}));
    }

    void importFailures()
    {
        QTemporaryDir out;
        QFile shortFile(out.filePath("short.bin"));
        QVERIFY(shortFile.open(QIODevice::WriteOnly));
        shortFile.write("abc");
        shortFile.close();

        ScriptedDialogs dialogs;
        PanelUnderTest panel;
        dialogs.answer(out.filePath("missing.bin"));
        QVERIFY(!panel.LoadMap());
        dialogs.answer(shortFile.fileName());
        QVERIFY(!panel.LoadMap());
        QStringList titles;
        for (const auto& call : dialogs.calls) {
            if (call.kind == ScriptedDialogs::Information) {
                titles << call.title;
                QCOMPARE(call.text, QString());
            }
        }
        QCOMPARE(titles, QStringList({"Open File Failed ", "Load Map Failed", "fread exception",
                                      "Load Map Failed"}));
    }

    void targetEdits()
    {
        PanelUnderTest panel;
        auto* gain = child<QLineEdit>(panel, "TargetGainEdit");
        auto* offset = child<QLineEdit>(panel, "TargetOffsetEdit");
        for (const char* bad : {"abc", "70000", "-1"}) {
            offset->setText(bad);
            emit offset->editingFinished();
            QCOMPARE(offset->text(), QString("16"));
        }
        offset->setText("20");
        emit offset->editingFinished();
        QCOMPARE(offset->text(), QString("20"));
        gain->setText("x1");
        emit gain->editingFinished();
        QCOMPARE(gain->text(), QString("1.1"));
        gain->setText("1.25");
        child<QPushButton>(panel, "Reset")->click();
        QCOMPARE(gain->text(), QString("1.1"));
        QCOMPARE(offset->text(), QString("16"));
    }

    void closeCameraRequest()
    {
        PanelUnderTest panel;
        QSignalSpy close(&panel, &OrxNUShadingCorrection::cameraCloseRequested);
        child<QLabel>(panel, "lblCameraName")->setText("cam");
        child<QPushButton>(panel, "btnCloseCamera")->click();
        QCOMPARE(close.size(), 1);
        QVERIFY(child<QLabel>(panel, "lblCameraName")->text().isEmpty());
    }
};

QTEST_MAIN(TestOrxNUShadingCorrection)
#include "TestOrxNUShadingCorrection.moc"
