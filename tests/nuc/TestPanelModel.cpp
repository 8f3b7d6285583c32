// The assistant panel's model without a widget, against simulated cameras:
// the map slots it reads, the way maps reach each camera, what its map
// workflows ask, log and send, and what the camera holds afterwards.
#include "NucFloatMap.h"
#include "NucMapBackups.h"
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
            panelCamera("MODES-1", 16, 8, kOpenModes), panelCamera("PLAIN-1", 16, 8, kNoMaps),
            panelCamera("USER-1", 64, 32, kUserMaps), panelCamera("GEN-1"),
            panelCamera("RAW-1", 300, 200), panelCamera("CUT-1", 312, 192),
            panelCamera("TINY-1", 16, 8),
            // A camera that stores whatever arrives, checking no map.
            panelCamera("PART-1", 64, 32, R"({"files": [
                {"selector": "ShadingMap0", "chunkId": 8193},
                {"selector": "ShadingMap1", "chunkId": 8196}]})")});
        QVERIFY(sim->ok());
        // A close that never completes is given up after one poll.
        qputenv("ORVEX_FILE_CLOSE_WAIT_MS", "100");
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

        Bound b(*sim, "GEN-1");
        NucMapTransfer& t = b.model.transfer();
        QVERIFY(!t.importMap()); // cancelled: no message
        b.port.answers = {sim->path("missing.bin"), sim->path("import.bin")};
        QVERIFY(!t.importMap());
        QVERIFY(t.importMap());
        QCOMPARE(b.port.titles(),
                 (QStringList{"open Import Map", "open Import Map", "information Open File Failed ",
                              "information Load Map Failed", "open Import Map"}));
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
        QCOMPARE(b.port.logs, QStringList{"0 User map saved as " + folder + "/nuc_usermap1.ge3"});

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

        // The generated map goes up as the user map's file (a file task),
        // then back into a folder where a file of that name asks first.
        b.model.setCurrent(0);
        b.port.calls.clear();
        b.port.logs.clear();
        b.port.answers = {true, folder, true};
        t.uploadGeneratedMap();
        QCOMPARE(sim->storedFile("USER-1", "Userfile", "nuc_usermap0.ge3"), file);
        QVERIFY(writeFile(folder + "/nuc_usermap0.ge3", "old"));
        t.downloadMap();
        QCOMPARE(b.port.titles(),
                 (QStringList{"question Upload Shadin Map", "folder Download seelcted user map",
                              "question Overwrite File"}));
        QVERIFY(!b.port.calls[1].owned);
        QCOMPARE(b.port.calls[2].text,
                 QString("The file already exists. Do you want to overwrite it?"));
        QCOMPARE(readFile(folder + "/nuc_usermap0.ge3"), file);
        QCOMPARE(b.port.tasks, (QStringList{"Upload", "Download"}));
        QCOMPARE(b.port.logs.mid(1),
                 (QStringList{"0 Upload device file nuc_usermap0.ge3: 4156 bytes written.",
                              "0 Download device file nuc_usermap0.ge3: 4156 bytes written.",
                              "0 Downloaded map saved as " + folder + "/nuc_usermap0.ge3"}));
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
        QTest::addColumn<QVariantList>("answers");
        QTest::addColumn<QString>("faults");
        QTest::addColumn<int>("kept");         // bytes of the 4128-byte map the camera keeps
        QTest::addColumn<QStringList>("logs"); // after the backup's line, if one is kept
        QTest::addColumn<float>("darkLevel");  // > 0: every offset code at 63
        const QString written = "0 Upload device file ShadingMap1: 4128 bytes written.";
        const QString noBackup = "2 No backup of the camera's map 'ShadingMap1': the download "
                                 "of ShadingMap1 failed after 0 bytes.";
        const QString readFails = R"({"failOperations": [{"operation": "Read", "chunk": 1}]})";
        QTest::newRow("yes") << "GEN-1" << QVariantList{true} << "{}" << 4128
                             << QStringList{written} << 0.0f;
        QTest::newRow("no") << "GEN-1" << QVariantList{false} << "{}" << 0 << QStringList() << 0.0f;
        // A map the view warns of is asked about first; No stops there.
        QTest::newRow("warned, no")
            << "GEN-1" << QVariantList{false} << "{}" << 0 << QStringList() << 1e6f;
        // The camera closes the file it took only in part: no success, and
        // the log says why.
        QTest::newRow("camera keeps part of it")
            << "PART-1" << QVariantList{true}
            << R"({"failOperations": [{"operation": "Write", "bytes": 4000}]})" << 4000
            << QStringList{"2 File Access Write of ShadingMap1 at byte 0 failed: the camera "
                           "moved 4000 of 4128 bytes.",
                           "2 Upload device file ShadingMap1 failed: 4000 bytes written."}
            << 0.0f;
        // Without a backup the map goes up only when the operator says so.
        QTest::newRow("backup fails, no upload")
            << "PART-1" << QVariantList{true} << readFails << 0 << QStringList{noBackup} << 0.0f;
        QTest::newRow("backup fails, uploaded all the same")
            << "PART-1" << QVariantList{true, true} << readFails << 4128
            << QStringList{noBackup, written} << 0.0f;
    }

    void generatedMapUpload()
    {
        QFETCH(QString, id);
        QFETCH(QVariantList, answers);
        QFETCH(QString, faults);
        QFETCH(int, kept);
        QFETCH(QStringList, logs);
        QFETCH(float, darkLevel);
        const QByteArray plainId = id.toLatin1();
        Bound b(*sim, plainId.constData());
        b.model.setCurrent(1);
        QVERIFY(b.generate(64, 32));
        if (darkLevel > 0)
            std::fill_n(b.input.darkParams.map.get(), 64 * 32, darkLevel);
        const QByteArray map = b.savedMap(sim->path("gen.bin"));
        QCOMPARE(map.mid(12, 4), QByteArray::fromHex("04200000")); // map id 8196
        // The camera's map before: another map of the slot.
        const QByteArray previousMap =
            NucMapFile::binFile(8196, 64, 32, QVector<quint16>(64 * 32, 0x1234));
        QVERIFY(writeFile(sim->path("previous.bin"), previousMap));
        QCOMPARE(sim->control().ClearFaults(plainId.constData()), 0);
        b.port.answers = {sim->path("previous.bin"), true};
        b.model.transfer().uploadLocalMap();
        const QByteArray before = sim->storedFile(plainId, "ShadingMap1");
        QCOMPARE(before, previousMap);
        QCOMPARE(sim->control().SetFaults(plainId.constData(), faults.toStdString()), 0);
        const NucMapBackups backups;
        const auto previous = backups.list(b.model.serialNumber(), "ShadingMap1");
        b.port.calls.clear();
        b.port.logs.clear();
        b.port.tasks.clear();
        b.port.answers = answers;
        b.model.transfer().uploadGeneratedMap();
        QStringList titles{darkLevel > 0 ? "question Map Warnings" : "question Upload Shadin Map"};
        if (logs.value(0).contains("No backup"))
            titles << "question Map Backup";
        QCOMPARE(b.port.titles(), titles);
        QCOMPARE(b.port.calls[0].text,
                 darkLevel > 0 ? QString("The map may not be what you want:\nthe dark level is "
                                         "above what the map can subtract: check the dark images "
                                         "or the target offset\nUpload it all the same?")
                               : QString("The uploaded map would overwrite the selected map "
                                         "'ShadingMap1'.\nStart upload?"));
        QCOMPARE(sim->storedFile(plainId, "ShadingMap1"), kept ? map.left(kept) : before);
        // A backup holds the camera's previous map byte for byte, and its
        // path is logged.
        const auto now = backups.list(b.model.serialNumber(), "ShadingMap1");
        const bool backedUp = now.size() > previous.size();
        QCOMPARE(backedUp, answers[0].toBool() && !logs.value(0).contains("No backup"));
        if (backedUp) {
            QCOMPARE(readFile(now[0].path), before);
            logs.prepend("0 Backup of the camera's map 'ShadingMap1': " + now[0].path);
        }
        QCOMPARE(b.port.logs, logs);
        QCOMPARE(b.port.tasks.size(), answers[0].toBool() ? 1 : 0);
        if (!b.port.tasks.isEmpty())
            QCOMPARE(b.port.tasks[0].endsWith("failed"), kept != map.size());
        if (!backedUp || kept != map.size())
            return;
        // "Restore Previous Map…" lists the backups, newest first, and brings
        // the chosen one back.
        b.port.answers = {0};
        b.model.transfer().restoreBackup();
        QCOMPARE(b.port.last().kind, QString("item"));
        QStringList items;
        for (const NucMapBackups::Backup& backup : now)
            items << NucMapBackups::describe(backup);
        QCOMPARE(b.port.last().filter.split('\n'), items);
        QCOMPARE(sim->storedFile(plainId, "ShadingMap1"), before);
        QCOMPARE(b.port.tasks.last(), QString("Restore"));
    }

    void localUploadAndDownload()
    {
        OrxSettings::getInstance()->Set("Directory", "SHCSettingsFileDir", "/start");
        Bound b(*sim, "GEN-1");
        QVERIFY(b.generate(64, 32));
        const QByteArray map = b.savedMap(sim->path("local.bin"));
        NucMapTransfer& t = b.model.transfer();
        // A name typed without an extension gets the filter's.
        b.port.answers = {sim->path("local.bin"), sim->path("back")};
        t.uploadLocalMap();
        QCOMPARE(sim->storedFile("GEN-1", "ShadingMap0"), map);
        t.downloadMap();
        QCOMPARE(readFile(sim->path("back.bin")), map);
        QCOMPARE(b.port.titles(), (QStringList{"open Upload Local Map", "save Download File As"}));
        QCOMPARE(b.port.calls[0].filter, QString("*.bin"));
        QCOMPARE(b.port.calls[0].text, QString("/start"));
        QCOMPARE(b.port.calls[1].filter, QString("Bin (*.bin)"));
        // In the remembered folder, named after the camera and the entry.
        QCOMPARE(b.port.calls[1].text, QDir::cleanPath(sim->path("")) + "/" +
                                           b.model.serialNumber() + "-ShadingMap0.bin");
        QVERIFY(!b.model.serialNumber().isEmpty());
        QCOMPARE(b.port.tasks, (QStringList{"Upload Local File", "Download"}));
        QCOMPARE(b.port.logs.mid(1),
                 (QStringList{"0 Upload Local Map 'ShadingMap0': 4128 bytes written.",
                              "0 Download device file ShadingMap0: 4128 bytes written.",
                              "0 Downloaded map saved as " + sim->path("back.bin")}));

        // Transfers whose close fails: the camera keeps its map, and the
        // file a failed download leaves is named. Uploads go on without a
        // backup where it fails too.
        QVERIFY(writeFile(sim->path("other.bin"),
                          NucMapFile::binFile(8193, 64, 32, QVector<quint16>(64 * 32, 0x1234))));
        QCOMPARE(
            sim->control().SetFaults("GEN-1", R"({"failOperations": [{"operation": "Close"}]})"),
            0);
        b.port.logs.clear();
        b.port.answers = {sim->path("other.bin"), true, sim->path("part.bin")};
        t.uploadLocalMap();
        t.downloadMap();
        QCOMPARE(b.port.tasks.mid(2), (QStringList{"Upload Local File failed", "Download failed"}));
        QCOMPARE(b.port.logs.mid(b.port.logs.size() - 3),
                 (QStringList{"2 Upload Local Map 'ShadingMap0' failed: 0 bytes written.",
                              "2 Download device file ShadingMap0 failed: 4128 bytes written.",
                              "1 Partial file left by the failed download: " +
                                  sim->path("part.bin") + " (4128 bytes)."}));
        QCOMPARE(readFile(sim->path("part.bin")), map);
        QCOMPARE(sim->control().ClearFaults("GEN-1"), 0);
        QCOMPARE(sim->storedFile("GEN-1", "ShadingMap0"), map);
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
