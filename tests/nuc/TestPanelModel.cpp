// The assistant panel's model without a widget, against simulated cameras:
// the map slots it reads, the way maps reach each camera, what its map
// workflows ask, log and send, and what the camera holds afterwards.
#include "NucFloatMap.h"
#include "NucMapPacking.h"
#include "NucMapTransfer.h"
#include "NucPanelModel.h"
#include "NucRawMemoryTransfer.h"
#include "NucUserMapTransfer.h"
#include "OrxSettings.h"
#include "OxCamera.h"
#include "OxFeatureContainer.h"
#include "PanelCameras.h"
#include "ScriptedPort.h"
#include "SimSession.h"
#include "TestFiles.h"

#include <Hvx/Camera.h>

#include <QtEndian>
#include <QtTest>

namespace {

// A model bound to a camera of the session; the camera is closed at the end.
struct Bound
{
    NucImageInput input;
    ScriptedPort port;
    NucPanelModel model{input, port};
    Hvx::CameraPtr handle;

    Bound(SimSession& sim, const char* id, bool registerAccess = false) : handle(sim.openCamera(id))
    {
        if (handle)
            model.init(new OxCamera(handle, nullptr), registerAccess);
    }
    ~Bound()
    {
        model.reset();
        if (handle)
            handle->Close();
    }
    QVariant feature(const char* name) const
    {
        QVariant value;
        model.features()->GetValue(name, value);
        return value;
    }
    // A map of the camera's sensor size for the current slot.
    bool generate(int width, int height)
    {
        model.takeMapIdOfCurrent();
        return generateTestMap(input, width, height);
    }
    QByteArray savedMap(const QString& path)
    {
        return model.saveMap(path) ? readFile(path) : QByteArray("<not saved>");
    }
};

QString way(NucMapTransfer& transfer)
{
    if (dynamic_cast<NucUserMapTransfer*>(&transfer))
        return "user maps";
    if (dynamic_cast<NucRawMemoryTransfer*>(&transfer))
        return "raw memory";
    return "map slots";
}

// A valid map for the fault table's camera that differs from every other.
QByteArray otherMap(int seed)
{
    QVector<quint16> words(640 * 512);
    for (int i = 0; i < words.size(); ++i)
        words[i] = quint16(((unsigned(i) + unsigned(seed) * 7919u) * 2654435761u) >> 16);
    return NucMapFile::binFile(8193, 640, 512, words);
}

QByteArray le16(std::initializer_list<quint16> words)
{
    QByteArray out;
    for (quint16 w : words)
        out.append(char(w & 0xff)).append(char(w >> 8));
    return out;
}

} // namespace

class TestPanelModel : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimSession> sim;

private slots:
    void initTestCase()
    {
        sim = std::make_unique<SimSession>(QJsonArray{
            panelCamera("IDS-1", 16, 8, R"({"files": [
                {"selector": "Notes", "kind": "plain"},
                {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8192},
                {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8193},
                {"selector": "ShadingMap2", "kind": "shadingMap", "chunkId": 8194},
                {"selector": "ShadingMap3", "kind": "shadingMap", "chunkId": 8195},
                {"selector": "ShadingMap4", "kind": "shadingMap", "chunkId": 8196},
                {"selector": "ShadingMap5", "kind": "shadingMap", "chunkId": 2432},
                {"selector": "ShadingMap6", "kind": "shadingMap", "chunkId": 8191},
                {"selector": "ShadingMap7", "kind": "shadingMap", "chunkId": 2433}]})"),
            panelCamera("NOZERO-1", 16, 8, R"({"files": [
                {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8193},
                {"selector": "ShadingMap2", "kind": "shadingMap", "chunkId": 8193}]})"),
            panelCamera("BOTH-1", 16, 8, R"({"transport": "USB3", "nucUserMaps": 2, "files": [
                {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
                {"selector": "Userfile", "kind": "userMap"}]})"),
            panelCamera("MODES-1", 16, 8, R"({"files": [
                {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
                {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8193, "write": false},
                {"selector": "ShadingMap2", "kind": "shadingMap", "chunkId": 8193, "read": false}]})"),
            panelCamera("PLAIN-1", 16, 8,
                        R"({"files": [{"selector": "DeviceLog", "kind": "plain"}]})"),
            panelCamera("USER-1", 64, 32, kUserMaps), panelCamera("GEN-1"),
            panelCamera("LOCK-1", 64, 32, R"({"tlParamsLocked": true})"),
            panelCamera("FAULT-1", 640, 512), panelCamera("RAW-1", 300, 200),
            panelCamera("CUT-1", 312, 192), panelCamera("TINY-1", 16, 8),
            // A camera that stores whatever arrives, checking no map.
            panelCamera("PART-1", 64, 32, R"({"files": [
                {"selector": "ShadingMap0", "chunkId": 8193},
                {"selector": "ShadingMap1", "chunkId": 8196}]})")});
        QVERIFY(sim->ok());
        // A close that never completes is given up after one poll.
        qputenv("ORVEX_FILE_CLOSE_WAIT_MS", "100");
        // The fault table's camera starts with a map of its own, not zeros.
        Hvx::CameraPtr cam = sim->openCamera("FAULT-1");
        long written = 0;
        const QByteArray first = otherMap(0);
        QVERIFY(cam && OxCamera(cam, nullptr)
                           .UploadBuffer(std::vector<unsigned char>(first.begin(), first.end()),
                                         "ShadingMap0", "ShadingMap0", &written));
        cam->Close();
    }

    void cleanupTestCase() { sim.reset(); }

    void slotsOfCameras_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QStringList>("expected"); // name, chunk id, device file, blocked modes
        QTest::addColumn<QString>("way");
        QTest::addColumn<bool>("noMapSelector");
        QTest::addColumn<bool>("bigEndian");

        // Only the map ids this program makes; "Notes" is no map slot.
        QTest::newRow("map ids") << "IDS-1"
                                 << QStringList{"ShadingMap0 8192 ShadingMap0/ShadingMap0",
                                                "ShadingMap1 8193 ShadingMap1/ShadingMap1",
                                                "ShadingMap4 8196 ShadingMap4/ShadingMap4",
                                                "ShadingMap5 2432 ShadingMap5/ShadingMap5"}
                                 << "map slots" << false << true;
        // Slots numbered from 1 hold maps of another kind.
        QTest::newRow("no ShadingMap0")
            << "NOZERO-1" << QStringList() << "map slots" << true << true;
        QTest::newRow("no map entry") << "PLAIN-1" << QStringList() << "map slots" << true << true;
        QTest::newRow("slots and user maps")
            << "BOTH-1"
            << QStringList{"ShadingMap0 8193 ShadingMap0/ShadingMap0",
                           "NucUserMap0 0 nuc_usermap0.ge3/Userfile",
                           "NucUserMap1 0 nuc_usermap1.ge3/Userfile"}
            << "user maps" << false << false;
        QTest::newRow("user maps only") << "USER-1"
                                        << QStringList{"NucUserMap0 0 nuc_usermap0.ge3/Userfile",
                                                       "NucUserMap1 0 nuc_usermap1.ge3/Userfile"}
                                        << "user maps" << true << false;
        QTest::newRow("blocked open modes")
            << "MODES-1"
            << QStringList{"ShadingMap0 8193 ShadingMap0/ShadingMap0",
                           "ShadingMap1 8193 ShadingMap1/ShadingMap1 write blocked",
                           "ShadingMap2 8193 ShadingMap2/ShadingMap2 read blocked"}
            << "map slots" << false << true;
    }

    void slotsOfCameras()
    {
        QFETCH(QString, id);
        QFETCH(QStringList, expected);
        Bound b(*sim, qPrintable(id));
        QVERIFY(b.model.camera());
        QStringList actual;
        for (const NucMapSlot& slot : b.model.mapSlots())
            actual << QString("%1 %2 %3/%4%5%6")
                          .arg(slot.name)
                          .arg(slot.chunkId)
                          .arg(slot.fileName, slot.selector,
                               slot.readBlocked ? " read blocked" : "",
                               slot.writeBlocked ? " write blocked" : "");
        QCOMPARE(actual, expected);
        QTEST(way(b.model.transfer()), "way");
        QTEST(b.model.noMapSelector(), "noMapSelector");
        QTEST(b.model.endianess(), "bigEndian");
        // Map words are byte-swapped only for a big-endian camera without
        // map slots and user maps.
        QCOMPARE(b.model.swapsWords(), expected.isEmpty() && b.model.endianess());
        QCOMPARE(b.model.fileAccessAvailable(), !expected.isEmpty());
        QCOMPARE(b.model.current(), expected.isEmpty() ? -1 : 0);

        b.model.reset();
        QVERIFY(!b.model.camera() && b.model.mapSlots().isEmpty());
        QCOMPARE(way(b.model.transfer()), QString("map slots"));
    }

    void fileAccessOfCurrentSlot_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("current");
        QTest::addColumn<bool>("download");
        QTest::addColumn<bool>("upload");
        QTest::newRow("open slot") << "MODES-1" << 0 << true << true;
        QTest::newRow("write blocked") << "MODES-1" << 1 << true << false;
        QTest::newRow("read blocked") << "MODES-1" << 2 << false << true;
        QTest::newRow("user map") << "USER-1" << 1 << true << true;
        QTest::newRow("no slot") << "PLAIN-1" << -1 << false << false;
    }

    void fileAccessOfCurrentSlot()
    {
        QFETCH(QString, id);
        QFETCH(int, current);
        Bound b(*sim, qPrintable(id));
        b.model.setCurrent(current);
        QTEST(b.model.downloadAllowed(), "download");
        QTEST(b.model.uploadAllowed(), "upload");
    }

    // The three ways of switching the correction and choosing the map.
    void shadingCorrection()
    {
        {
            Bound b(*sim, "GEN-1");
            NucMapTransfer& t = b.model.transfer();
            bool on = false;
            QVERIFY(t.setShadingCorrectionEnabled(true));
            QCOMPARE(b.feature("Shading_Control").toLongLong(), 1);
            QVERIFY(t.shadingCorrectionEnabled(&on) && on);
            QVERIFY(t.selectMap(QVariant(qlonglong(1))));
            QCOMPARE(b.feature("Shading_MapSelect").toLongLong(), 1);
            QVariant selected;
            QVERIFY(t.selectedMap(selected));
            QCOMPARE(selected.toLongLong(), 1);

            // The same settings through the registers.
            b.model.init(new OxCamera(b.handle, nullptr), true);
            NucMapTransfer& r = b.model.transfer();
            QCOMPARE(way(r), QString("raw memory"));
            QVERIFY(r.shadingCorrectionEnabled(&on) && on);
            QVERIFY(r.selectedMap(selected));
            QCOMPARE(selected.toUInt(), 1u);
            QVERIFY(r.setShadingCorrectionEnabled(false));
            QVERIFY(r.shadingCorrectionEnabled(&on) && !on);
            QCOMPARE(b.feature("Shading_Control").toLongLong(), 0);
            QVERIFY(r.selectMap(0));
            QCOMPARE(b.feature("Shading_MapSelect").toLongLong(), 0);
        }
        {
            // User map cameras have no switch; the map is passed on, but the
            // answer is always "not done".
            Bound b(*sim, "USER-1");
            NucMapTransfer& t = b.model.transfer();
            bool on = true;
            QVERIFY(!t.shadingCorrectionEnabled(&on));
            QVERIFY(!t.setShadingCorrectionEnabled(true));
            QVERIFY(!t.selectMap(QString("NucUserMap1")));
            QVariant selected;
            QVERIFY(t.selectedMap(selected));
            QCOMPARE(selected.toString(), QString("NucUserMap1"));
        }
    }

    void streamingLocksParameters()
    {
        Bound b(*sim, "GEN-1");
        QVERIFY(!b.model.isParamlocked());
        QVERIFY(b.model.features()->SetCommand("AcquisitionStart", 0));
        QVERIFY(b.model.isParamlocked());
        QVERIFY(b.model.features()->SetCommand("AcquisitionStop", 0));
        QVERIFY(!b.model.isParamlocked());
        b.model.reset();
        QVERIFY(!b.model.isParamlocked()); // no camera
    }

    void mapFileBytes_data()
    {
        QTest::addColumn<QImage>("dark");
        QTest::addColumn<QImage>("bright");
        QTest::addColumn<int>("slot");
        QTest::addColumn<QByteArray>("header"); // from the map id on
        QTest::addColumn<QByteArray>("words");

        auto flat = [](int v) { return [v](int, int) { return v; }; };
        auto row = [](QVector<int> v) { return [v](int x, int) { return v[x]; }; };
        using namespace TestImages;
        // 16-bit: dark 100 -> offset map 36 (code 9); bright minus 36 is
        // 100, 300 with mean 200 = target at gain 1: gains 2.0 and 1.0.
        QTest::newRow("16-bit, map id 8196")
            << grey16(2, 1, flat(100)) << grey16(2, 1, row({136, 336})) << 1
            << QByteArray::fromHex("04200000180000000200000001000000") << le16({0x27ff, 0x2400});
        // 8-bit: dark 10 -> 4*10-16 = 24 -> 6.0 (code 24); bright minus 6 is
        // 10, 20, 30, 40 (target 25): gains 2.0, 1.25, 1.0, 1.0.
        QTest::newRow("8-bit, map id 8193")
            << palette8(4, 1, flat(10)) << palette8(4, 1, row({16, 26, 36, 46})) << 0
            << QByteArray::fromHex("012000001c0000000400000001000000")
            << le16({0x63ff, 0x6100, 0x6000, 0x6000});
    }

    // The .bin of a generated map: the slot's map id, the words, a checksum
    // that makes the file sum to 0.
    void mapFileBytes()
    {
        QFETCH(QImage, dark);
        QFETCH(QImage, bright);
        QFETCH(int, slot);
        QFETCH(QByteArray, header);
        QFETCH(QByteArray, words);
        Bound b(*sim, "GEN-1");
        b.model.setCurrent(slot);
        b.model.takeMapIdOfCurrent();
        QVERIFY(b.input.addLoadedImage("d", dark, NucImageInput::Dark));
        QVERIFY(b.input.addLoadedImage("b", bright, NucImageInput::Bright));
        QVERIFY(NucMapPipeline::generate(b.input, 1.0f, 16, dark.depth() == 16));
        const QByteArray bytes = b.savedMap(sim->path("bytes.bin"));
        QCOMPARE(bytes.mid(12, 16), header);
        QCOMPARE(bytes.mid(32), words);
        QCOMPARE(NucMapFile::wordSum(bytes), 0u);
    }

    void mapFilesWithoutMap()
    {
        Bound b(*sim, "GEN-1");
        // Series without a map pack to zeros.
        QVERIFY(b.input.addLoadedImage("b", TestImages::grey16(4, 2, [](int, int) { return 9; }),
                                       NucImageInput::Bright));
        const QByteArray bytes = b.savedMap(sim->path("zero.bin"));
        QCOMPARE(bytes.size(), 32 + 16);
        QCOMPARE(bytes.mid(32), QByteArray(16, '\0'));

        // A file that cannot be made is logged and reported; a cancelled
        // dialog says nothing more.
        const QString missing = sim->path("no/such/dir/map.bin");
        b.port.answers = {missing};
        b.model.transfer().saveGeneratedMap();
        b.model.transfer().saveGeneratedMap();
        QCOMPARE(b.port.logs, QStringList{"2 Save Map: unable to open file '" + missing + "'"});
        QCOMPARE(b.port.titles(),
                 (QStringList{"save Export Map", "information Save Map", "save Export Map"}));
        QCOMPARE(b.port.calls[1].text, QString("Save to file failed!"));

        // Without map slots the file is made but stays empty.
        Bound none(*sim, "PLAIN-1");
        QVERIFY(!none.model.saveMap(sim->path("empty.bin")));
        QCOMPARE(readFile(sim->path("empty.bin"), "<missing>"), QByteArray());
        none.model.transfer().saveGeneratedMap();
        QCOMPARE(none.port.titles(), QStringList{"information Save Map"});
        QCOMPARE(none.port.last().text,
                 QString("Save to file failed: FileAccess is not supported"));
    }

    void floatMapImport()
    {
        // 2 x 1 declared, only the first pixel present.
        const float offsets[2] = {6.0f, 9.0f}, gains[2] = {1.5f, 9.0f};
        QVERIFY(
            writeFile(sim->path("import.bin"), NucFloatMap::encode(2, 1, offsets, gains).left(16)));
        QVERIFY(writeFile(sim->path("short.bin"), "abc"));

        Bound b(*sim, "GEN-1");
        NucMapTransfer& t = b.model.transfer();
        QVERIFY(!t.importMap()); // cancelled: no message
        b.port.answers = {sim->path("missing.bin"), sim->path("short.bin"),
                          sim->path("import.bin")};
        QVERIFY(!t.importMap());
        QVERIFY(!t.importMap());
        QVERIFY(t.importMap());
        QCOMPARE(b.port.titles(),
                 (QStringList{"open Import Map", "open Import Map", "information Open File Failed ",
                              "information Load Map Failed", "open Import Map",
                              "information fread exception", "information Load Map Failed",
                              "open Import Map"}));
        QCOMPARE(b.port.calls[0].filter, QString("bin (*.bin)"));
        QVERIFY(!b.port.calls[0].owned);
        QCOMPARE(OrxSettings::getInstance()->Get("Directory", "SHCSettingsFileDir", QVariant()),
                 QVariant(QDir::cleanPath(sim->path(""))));
        // 8-bit rule: 4 * 6.0 = code 24; gain 1.5 = 512; missing pixel 0.0 / 1.0.
        QCOMPARE(b.savedMap(sim->path("packed.bin")).mid(20),
                 QByteArray::fromHex("020000000100000000000000") + le16({0x6200, 0x0000}));
    }

    void userMapFiles()
    {
        Bound b(*sim, "USER-1");
        QVERIFY(b.generate(64, 32));
        b.model.setCurrent(1);
        NucMapTransfer& t = b.model.transfer();
        const QString folder = sim->path("user");
        QVERIFY(QDir().mkpath(folder));

        // Save: a folder is asked for; cancelled, nothing is saved.
        t.saveGeneratedMap();
        b.port.answers = {folder};
        t.saveGeneratedMap();
        QCOMPARE(b.port.titles(), (QStringList{"folder Open Directory", "information Save Map",
                                               "folder Open Directory", "information Save Map"}));
        QCOMPARE(b.port.calls[1].text, QString("Save to file failed!"));
        QCOMPARE(b.port.calls[3].text, QString("Save to file successful!"));
        const QByteArray file = readFile(folder + "/nuc_usermap1.ge3");
        NucMapFile::Info info;
        QVERIFY(NucMapFile::parse(file, &info, nullptr));
        QCOMPARE(info.kind, NucMapFile::Kind::UserMap);
        QCOMPARE(info.width, 64u);

        // Selecting a user map: its position + 5; an unknown name changes nothing.
        QVERIFY(b.model.setUserMap("NucUserMap0"));
        QCOMPARE(b.feature("nucControl").toLongLong(), 5);
        QVERIFY(!b.model.setUserMap("nucusermap1"));
        QCOMPARE(b.model.current(), 0);

        // A local user map file goes to the selected slot (dir//file).
        b.model.setCurrent(1);
        QVERIFY(b.model.loadUserMap(folder));
        QCOMPARE(b.feature("nucControl").toLongLong(), 6);
        QCOMPARE(sim->storedFile("USER-1", "Userfile", "nuc_usermap1.ge3"), file);

        // The generated user map as a file task, then back into a folder
        // where a file of that name asks first.
        b.model.setCurrent(0);
        t.uploadUserMap();
        QCOMPARE(sim->storedFile("USER-1", "Userfile", "nuc_usermap0.ge3"), file);
        QVERIFY(writeFile(folder + "/nuc_usermap0.ge3", "old"));
        b.port.calls.clear();
        b.port.answers = {folder, true};
        t.downloadMap();
        QCOMPARE(b.port.titles(),
                 (QStringList{"folder Download seelcted user map", "question Overwrite File"}));
        QVERIFY(!b.port.calls[0].owned);
        QCOMPARE(b.port.calls[1].text,
                 QString("The file already exists. Do you want to overwrite it?"));
        QCOMPARE(readFile(folder + "/nuc_usermap0.ge3"), file);
        QCOMPARE(b.port.tasks, (QStringList{"Upload", "Download"}));
        QCOMPARE(b.port.logs,
                 (QStringList{"0 Upload device file nuc_usermap0.ge3: 4156 bytes written.",
                              "0 Download device file nuc_usermap0.ge3: 4156 bytes written."}));
    }

    // Without user maps a local user map file must be named like a slot.
    void userMapFileNameChecked()
    {
        Bound b(*sim, "GEN-1");
        QVERIFY(writeFile(sim->path("nuc_usermap0.ge3"), "x"));
        b.port.answers = {sim->path("nuc_usermap0.ge3")};
        QVERIFY(!b.model.loadUserMap(QString()));
        QCOMPARE(b.port.titles(), (QStringList{"open Import Map", "information Load User Map"}));
        QCOMPARE(b.port.calls[0].filter, QString("ge3 (nuc_usermap*.ge3)"));
        QCOMPARE(b.port.last().text, QString("Invalid user map file name"));
    }

    void generatedMapUpload_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<bool>("yes");
        QTest::addColumn<QString>("faults");
        QTest::addColumn<int>("kept"); // bytes of the 4128-byte map the camera keeps
        QTest::newRow("yes") << "GEN-1" << true << "{}" << 4128;
        QTest::newRow("no") << "GEN-1" << false << "{}" << 0;
        // The camera closes the file it took only in part: no success.
        QTest::newRow("camera keeps part of it")
            << "PART-1" << true << R"({"failOperations": [{"operation": "Write", "bytes": 4000}]})"
            << 4000;
    }

    void generatedMapUpload()
    {
        QFETCH(QString, id);
        QFETCH(bool, yes);
        QFETCH(QString, faults);
        QFETCH(int, kept);
        const QByteArray plainId = id.toLatin1();
        Bound b(*sim, plainId.constData());
        b.model.setCurrent(1);
        QVERIFY(b.generate(64, 32));
        const QByteArray map = b.savedMap(sim->path("gen.bin"));
        QCOMPARE(map.mid(12, 4), QByteArray::fromHex("04200000")); // map id 8196
        const QByteArray before = sim->storedFile(plainId, "ShadingMap1");
        QCOMPARE(sim->control().SetFaults(plainId.constData(), faults.toStdString()), 0);
        b.port.answers = {yes};
        b.model.transfer().uploadGeneratedMap();
        QCOMPARE(b.port.titles(), QStringList{"question Upload Shadin Map"});
        QCOMPARE(b.port.last().text,
                 QString("The uploaded map would overwrite the selected map 'ShadingMap1'.\n"
                         "Start upload?"));
        QCOMPARE(sim->storedFile(plainId, "ShadingMap1"), yes ? map.left(kept) : before);
        if (!yes) {
            QCOMPARE(b.port.tasks, QStringList());
            QCOMPARE(b.port.logs, QStringList());
            return;
        }
        // A map the camera kept only in part is no success, and the log says why.
        const bool whole = kept == map.size();
        QCOMPARE(b.port.tasks,
                 QStringList{QString("Upload Generated Map") + (whole ? "" : " failed")});
        QStringList expected;
        if (!whole)
            expected << "2 File Access Write of ShadingMap1 at byte 0 failed: the camera moved "
                        "4000 of 4128 bytes.";
        expected << QString("%1 Upload device file ShadingMap1%2: %3 bytes written.")
                        .arg(whole ? 0 : 2)
                        .arg(whole ? "" : " failed")
                        .arg(kept);
        QCOMPARE(b.port.logs, expected);
    }

    void localUploadAndDownload()
    {
        Bound b(*sim, "GEN-1");
        QVERIFY(b.generate(64, 32));
        const QByteArray map = b.savedMap(sim->path("local.bin"));
        OrxSettings::getInstance()->Set("Directory", "SHCSettingsFileDir", "/start");
        NucMapTransfer& t = b.model.transfer();
        b.port.answers = {sim->path("local.bin"), sim->path("back.bin")};
        t.uploadLocalMap();
        QCOMPARE(sim->storedFile("GEN-1", "ShadingMap0"), map);
        t.downloadMap();
        QCOMPARE(readFile(sim->path("back.bin")), map);
        QCOMPARE(b.port.titles(), (QStringList{"open Upload Local Map", "save Download File As"}));
        QCOMPARE(b.port.calls[0].filter, QString("*.bin"));
        QCOMPARE(b.port.calls[0].text, QString("/start"));
        QCOMPARE(b.port.calls[1].filter, QString("Bin (*.bin)"));
        QCOMPARE(b.port.calls[1].text, QDir::cleanPath(sim->path(""))); // remembered
        QCOMPARE(b.port.tasks, (QStringList{"Upload Local File", "Download"}));
        QCOMPARE(b.port.logs,
                 (QStringList{"0 Upload Local Map 'ShadingMap0': 4128 bytes written.",
                              "0 Download device file ShadingMap0: 4128 bytes written."}));
    }

    // A fault at each step of each File Access transfer: what the log says,
    // the camera's map (the previous one, byte for byte; a partial map never
    // stays) and the local files; then the camera takes and gives maps again.
    void faults_data()
    {
        QTest::addColumn<QString>("transfer");
        QTest::addColumn<QString>("faults");
        QTest::addColumn<int>("partial"); // download: bytes left in the local file
        QTest::addColumn<bool>("dropsOff");
        QTest::addColumn<QString>("reason"); // logged before the transfer's own line

        // The map file is 655392 bytes: ten chunks of 65536 and one of 32.
        const int chunk = 65536, size = 655392;
        const struct
        {
            const char* step;
            const char* upload;   // faults for an upload (%1: the operation
            const char* download; // of a chunk, "Write" or "Read")
            int partial;
            const char* reason = nullptr; // the camera layer's log line (%1 as above)
        } steps[] = {
            {"open", R"({"failOperations": [{"operation": "Open"}]})", nullptr, 0},
            {"first chunk", R"({"failOperations": [{"operation": "%1", "chunk": 1}]})", nullptr, 0},
            {"middle chunk", R"({"failOperations": [{"operation": "%1", "chunk": 6}]})", nullptr,
             5 * chunk},
            {"last chunk", R"({"failOperations": [{"operation": "%1", "chunk": 11}]})", nullptr,
             10 * chunk},
            {"buffer", R"({"failFeatures": [{"feature": "FileAccessBuffer", "op": "set"}]})",
             R"({"failFeatures": [{"feature": "FileAccessBuffer", "op": "get"}]})", 0},
            {"close", R"({"failOperations": [{"operation": "Close"}]})", nullptr, size},
            {"close never completes",
             R"({"failOperations": [{"operation": "Close", "hang": true}]})", nullptr, size},
            // A chunk's wait runs out first; a download's open waits too.
            {"no command completes", R"({"commandLatencyMs": {"FileOperationExecute": -1}})",
             nullptr, 0},
            {"camera drops off", R"({"disconnectAfterChunks": 3})", nullptr, 3 * chunk},
            // The camera's execute succeeds; only its report tells.
            {"chunk fails in its status",
             R"({"failOperations": [{"operation": "%1", "chunk": 6, "statusOnly": true}]})",
             nullptr, 5 * chunk,
             "File Access %1 of ShadingMap0 at byte 327680 failed: the camera reports "
             "\"Failure\"."},
            {"chunk moves fewer bytes",
             R"({"failOperations": [{"operation": "%1", "chunk": 6, "bytes": 1000}]})", nullptr,
             5 * chunk,
             "File Access %1 of ShadingMap0 at byte 327680 failed: the camera moved 1000 of "
             "65536 bytes."},
            {"close fails in its status",
             R"({"failOperations": [{"operation": "Close", "statusOnly": true}]})", nullptr, size,
             "File Access Close of ShadingMap0 failed: the camera reports \"Failure\"."},
        };
        for (const auto& step : steps)
            for (const char* transfer : {"generated", "local", "download"}) {
                const bool download = QByteArray(transfer) == "download";
                const QString faults =
                    QString(download && step.download ? step.download : step.upload)
                        .replace("%1", download ? "Read" : "Write");
                QTest::addRow("%s, %s", transfer, step.step)
                    << transfer << faults << (download ? step.partial : -1)
                    << QByteArray(step.step).startsWith("camera drops")
                    << QString(step.reason).replace("%1", download ? "Read" : "Write");
            }
    }

    void faults()
    {
        QFETCH(QString, transfer);
        QFETCH(QString, faults);
        QFETCH(int, partial);
        QFETCH(bool, dropsOff);
        QFETCH(QString, reason);
        const char* id = "FAULT-1";
        auto b = std::make_unique<Bound>(*sim, id);
        QVERIFY(b->generate(640, 512));
        QTemporaryDir folder(sim->path("row-XXXXXX"));
        const QString mapPath = folder.filePath("new.bin");
        const QByteArray map = b->savedMap(mapPath);
        const QByteArray previous = sim->storedFile(id, "ShadingMap0");
        QVERIFY(map.size() == 655392 && previous.size() == map.size() && previous != map);
        QCOMPARE(sim->control().SetFaults(id, faults.toStdString()), 0);

        const QString partialPath = folder.filePath("partial.bin");
        NucMapTransfer& t = b->model.transfer();
        if (transfer == "generated") {
            b->port.answers = {true};
            t.uploadGeneratedMap();
        } else if (transfer == "local") {
            b->port.answers = {mapPath};
            t.uploadLocalMap();
        } else {
            b->port.answers = {partialPath};
            t.downloadMap();
        }
        const QString task = transfer == "generated" ? "Upload Generated Map"
                             : transfer == "local"   ? "Upload Local File"
                                                     : "Download";
        QCOMPARE(b->port.tasks, QStringList{task + " failed"});
        QStringList expected;
        if (!reason.isEmpty())
            expected << "2 " + reason;
        if (transfer == "generated")
            expected << "2 Upload device file ShadingMap0 failed: 0 bytes written.";
        else if (transfer == "local")
            expected << "2 Upload Local Map 'ShadingMap0' failed: 0 bytes written.";
        else
            expected << QString("2 Download device file ShadingMap0 failed: %1 bytes written.")
                            .arg(partial)
                     << QString("1 Partial file left by the failed download: %1 (%2 bytes).")
                            .arg(partialPath)
                            .arg(partial);
        QCOMPARE(b->port.logs, expected);
        QStringList files{"new.bin"};
        if (partial >= 0)
            files << "partial.bin";
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), files);
        QCOMPARE(readFile(mapPath, "<missing>"), map);
        if (partial >= 0)
            QCOMPARE(readFile(partialPath, "<missing>"), previous.left(partial));

        // Without faults (after a camera that dropped off is plugged in
        // again) another map goes up whole and comes back whole.
        if (dropsOff) {
            b.reset();
            // Taken off the list once its leaving is through; then it can return.
            const std::string plugged =
                QJsonDocument(panelCamera(id, 640, 512)).toJson().toStdString();
            QVERIFY(QTest::qWaitFor([&] { return sim->control().AddCamera(plugged) == 0; }));
            QTRY_VERIFY(sim->camera(id) != nullptr);
            b = std::make_unique<Bound>(*sim, id);
            QVERIFY(b->model.camera());
        }
        QCOMPARE(sim->control().ClearFaults(id), 0);
        // (A camera that dropped off shows its files only once it is back.)
        QCOMPARE(sim->storedFile(id, "ShadingMap0"), previous);
        static int rows = 0;
        const QByteArray other = otherMap(++rows);
        QVERIFY(writeFile(folder.filePath("other.bin"), other));
        b->port.tasks.clear();
        b->port.answers = {folder.filePath("other.bin"), folder.filePath("back.bin")};
        b->model.transfer().uploadLocalMap();
        QCOMPARE(sim->storedFile(id, "ShadingMap0"), other);
        b->model.transfer().downloadMap();
        QCOMPARE(readFile(folder.filePath("back.bin"), "<missing>"), other);
        QCOMPARE(b->port.tasks, (QStringList{"Upload Local File", "Download"}));
    }

    void rawMemoryUpload_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("written");         // bytes that reach the map area
        QTest::addColumn<QList<int>>("progress"); // the first, the last and how many
        // 120000 bytes: 234 blocks of 512 and a tail of 192; the end (-101)
        // offers the User Set save.
        QTest::newRow("300 x 200")
            << "RAW-1" << 300 << 200 << 120000 << QList<int>{0, 99, 236, -101};
        // A map area 192 bytes short takes the blocks but refuses the tail.
        QTest::newRow("tail refused")
            << "CUT-1" << 300 << 200 << 234 * 512 << QList<int>{0, 99, 235, 99};
        // 256 bytes: less than a block, so nothing is sent.
        QTest::newRow("16 x 8") << "TINY-1" << 16 << 8 << 0 << QList<int>{};
    }

    void rawMemoryUpload()
    {
        QFETCH(QString, id);
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, written);
        QFETCH(QList<int>, progress);
        Bound b(*sim, qPrintable(id), true);
        QVERIFY(b.generate(width, height));
        const unsigned int size = unsigned(2 * width * height);
        auto mapArea = [&b](unsigned int length) {
            QByteArray bytes(int(length), '\0');
            return b.model.camera()->Read(0x10100000, bytes.data(), &length) ? bytes
                                                                             : QByteArray("?");
        };
        const QByteArray before = mapArea(size);
        QCOMPARE(b.feature("Shading_Control").toInt(), 0);
        // The camera's memory takes the words in network order.
        const QVector<quint16> words =
            NucMapPacking::packedMap(b.input.darkParams, b.input.brightParams, 8, false);
        QByteArray expected(int(size), '\0');
        qToBigEndian<quint16>(words.constData(), words.size(), expected.data());

        QCOMPARE(b.model.transfer().uploadMapByMemory(), written == int(size));
        QCOMPARE(b.port.titles(),
                 written == int(size) ? QStringList() : QStringList{"information Upload NUC Map"});
        if (written != int(size))
            QCOMPARE(b.port.last().text, QString("Upload failed"));
        // Switched on after the blocks, whether or not the tail follows.
        QCOMPARE(b.feature("Shading_Control").toInt(), 1);
        if (written > 0)
            QCOMPARE(mapArea(unsigned(written)), expected.left(written));
        else
            QCOMPARE(mapArea(size), before);
        const QList<int>& p = b.port.progressValues;
        QCOMPARE(p.isEmpty() ? QList<int>()
                             : (QList<int>{p.first(), p[p.size() - 2], p.size(), p.last()}),
                 progress);
    }

    // The local upload of the raw memory way: a float map, imported and written.
    void rawMemoryLocalUpload()
    {
        Bound b(*sim, "TINY-1", true);
        b.model.transfer().uploadLocalMap(); // import cancelled
        b.model.transfer().downloadMap();
        QCOMPARE(b.port.titles(), (QStringList{"open Import Map", "information Load Map"}));
        QCOMPARE(b.port.last().text, QString("Load map failed!"));
        QCOMPARE(b.port.logs, QStringList{"0 Download device file not supported!"});
    }
};

QTEST_GUILESS_MAIN(TestPanelModel)
#include "TestPanelModel.moc"
