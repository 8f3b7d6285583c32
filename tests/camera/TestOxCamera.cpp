// The camera wrapper besides file transfers: packet size adjustment on
// construction, register byte order and the User Set save, against
// simulated cameras.

#include "OxCamera.h"
#include "OxFeatureContainer.h"
#include "OxMapEntry.h"
#include "SimSession.h"

#include <Hvx/Camera.h>
#include <Hvx/Stream.h>

#include <QFile>
#include <QtTest>

namespace {

const char* const kCam = "SIM-CAM-1";
constexpr unsigned long kShadingControl = 0x105FFFE0;
constexpr unsigned long kShadingMapSelect = 0x105FFFE4;

QJsonObject stream(const char* protocol, int packetSize = 1500)
{
    return QJsonObject{{"protocol", protocol}, {"packetSize", packetSize}};
}

QJsonObject camera(const char* transport, const QJsonObject& extra = QJsonObject())
{
    QJsonObject cam = SimSession::cameraJson(kCam, transport);
    cam.insert("shadingControl", true);
    cam.insert(
        "files",
        QJsonArray{
            QJsonObject{{"selector", "ShadingMap0"}, {"kind", "shadingMap"}, {"chunkId", 8193}},
            QJsonObject{{"selector", "ShadingMap1"}, {"kind", "shadingMap"}, {"chunkId", 8196}}});
    for (auto it = extra.begin(); it != extra.end(); ++it)
        cam.insert(it.key(), it.value());
    return cam;
}

QJsonObject failing(const char* feature, const char* op)
{
    return QJsonObject{
        {"faults",
         QJsonObject{{"failFeatures", QJsonArray{QJsonObject{{"feature", feature}, {"op", op}}}}}}};
}

QJsonObject withoutInterfaceType(QJsonObject cam)
{
    cam.insert("faults", QJsonObject{{"failGetInterfaceType", true}});
    return cam;
}

qlonglong packetSize(OpenedSimCamera& f, unsigned int index)
{
    unsigned int count = 0;
    f.handle->GetStreams(nullptr, count);
    std::vector<Hvx::StreamPtr> streams(count);
    f.handle->GetStreams(streams.data(), count);
    QVariant value;
    if (index >= count ||
        !OxFeatureContainer(streams[index], nullptr).GetValue("GVSPPacketSize", value))
        return -1;
    return value.toLongLong();
}

} // namespace

class TestOxCamera : public QObject
{
    Q_OBJECT

private slots:
    void packetSizeOnConstruction_data();
    void packetSizeOnConstruction();
    void packetSizeCommandNeverCompletes();
    void registerByteOrder_data();
    void registerByteOrder();
    void saveToUserSet_data();
    void saveToUserSet();
    void mapEntries();
};

void TestOxCamera::packetSizeOnConstruction_data()
{
    QTest::addColumn<QJsonObject>("config");
    QTest::addColumn<QList<qlonglong>>("packetSizes"); // per stream; the camera adjusts to 8164

    const QJsonObject udpStream{{"streams", QJsonArray{stream("UDP")}}};
    QTest::newRow("GigE Vision over UDP") << camera("GigE", udpStream) << QList<qlonglong>{8164};
    QTest::newRow("GigE Vision over TCP")
        << camera("GigE", {{"streams", QJsonArray{stream("TCP")}}}) << QList<qlonglong>{1500};
    // No protocol feature counts as not TCP; the second stream is left alone.
    QTest::newRow("two streams") << camera("GigE", {{"streams",
                                                     QJsonArray{stream(""), stream("UDP", 9000)}}})
                                 << QList<qlonglong>{8164, 9000};
    QTest::newRow("transport unknown")
        << withoutInterfaceType(camera("GigE", udpStream)) << QList<qlonglong>{1500};
}

void TestOxCamera::packetSizeOnConstruction()
{
    QFETCH(QJsonObject, config);
    QFETCH(QList<qlonglong>, packetSizes);
    OpenedSimCamera f(kCam, config);
    QVERIFY(f.ok());
    for (int i = 0; i < packetSizes.size(); ++i)
        QCOMPARE(packetSize(f, unsigned(i)), packetSizes.at(i));
}

void TestOxCamera::packetSizeCommandNeverCompletes()
{
    QJsonObject config = camera("GigE", {{"streams", QJsonArray{stream("UDP")}}});
    config.insert("faults",
                  QJsonObject{{"commandLatencyMs", QJsonObject{{"GVSPAdjustPacketSize", -1}}}});
    OpenedSimCamera f(kCam, config);
    QVERIFY(f.ok());
    // Asked at once and every 2 s until the 5 s have passed.
    QCOMPARE(f.constructionTrace.count("stream0: GVSPAdjustPacketSize isdone 0"), 4);
    // The camera is usable all the same.
    QCOMPARE(f.wrapper->GetCameraManufacturerInfo(), QString("4.1.0 (2026-05-01)"));
}

void TestOxCamera::registerByteOrder_data()
{
    QTest::addColumn<QJsonObject>("config");
    QTest::addColumn<bool>("bigEndian");
    QTest::addColumn<QByteArray>("rawOne"); // the register holding 1, byte by byte
    QTest::addColumn<unsigned int>("readOne");
    QTest::newRow("GigE Vision") << camera("GigE") << true << QByteArray("\0\0\0\1", 4) << 1u;
    QTest::newRow("USB3 Vision") << camera("USB3") << false << QByteArray("\1\0\0\0", 4) << 1u;
    // Without the transport type the flag keeps its start value, so a
    // little-endian register comes out swapped.
    QTest::newRow("USB3, type unknown")
        << withoutInterfaceType(camera("USB3")) << true << QByteArray("\1\0\0\0", 4) << 0x01000000u;
}

void TestOxCamera::registerByteOrder()
{
    QFETCH(QJsonObject, config);
    QFETCH(bool, bigEndian);
    QFETCH(QByteArray, rawOne);
    QFETCH(unsigned int, readOne);
    OpenedSimCamera f(kCam, config);
    QVERIFY(f.ok());
    QCOMPARE(f.wrapper->IsBigEndian(), bigEndian);
    OxFeatureContainer features(f.handle, nullptr);
    QVERIFY(features.SetValue("Shading_MapSelect", QVariant(1)));

    QByteArray raw(4, '\x55');
    unsigned int size = 4;
    QVERIFY(f.wrapper->Read(kShadingMapSelect, raw.data(), &size));
    QCOMPARE(raw, rawOne);
    unsigned int value = 0xffffffff;
    QVERIFY(f.wrapper->ReadRegister(kShadingMapSelect, &value));
    QCOMPARE(value, readOne);

    // Written in the same order as read: what comes back is what went in.
    QVERIFY(f.wrapper->WriteRegister(kShadingControl, readOne));
    QVariant control;
    QVERIFY(features.GetValue("Shading_Control", control));
    QCOMPARE(control, QVariant(1LL));
}

void TestOxCamera::saveToUserSet_data()
{
    QTest::addColumn<QJsonObject>("config");
    QTest::addColumn<QString>("selected");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("storedSet"); // file the camera stored, empty: none

    // The factory set Default cannot be saved to: UserSet1 takes its place.
    QTest::newRow("from Default") << camera("USB3") << "Default" << true << "UserSet1.json";
    QTest::newRow("UserSet2 selected") << camera("USB3") << "UserSet2" << true << "UserSet2.json";
    QTest::newRow("selection unreadable")
        << camera("USB3", failing("UserSetSelector", "get")) << "Default" << false << QString();
    QTest::newRow("switch refused")
        << camera("USB3", failing("UserSetSelector", "set")) << "Default" << false << QString();
}

void TestOxCamera::saveToUserSet()
{
    QFETCH(QJsonObject, config);
    QFETCH(QString, selected);
    QFETCH(bool, result);
    QFETCH(QString, storedSet);
    OpenedSimCamera f(kCam, config);
    QVERIFY(f.ok());
    if (selected != QLatin1String("Default"))
        QVERIFY(OxFeatureContainer(f.handle, nullptr).SetValue("UserSetSelector", selected));
    QCOMPARE(f.wrapper->SaveToUserSet(), result);
    const QString folder = f.sim.path("state/SN-SIM-CAM-1/");
    for (const char* set : {"UserSet1.json", "UserSet2.json"})
        QCOMPARE(QFile::exists(folder + set), storedSet == QLatin1String(set));
}

// The user maps take the place of the "Userfile" device file they live in.
void TestOxCamera::mapEntries()
{
    QJsonObject config = camera("USB3");
    config.insert("nucUserMaps", 2);
    QJsonArray files = config.value("files").toArray();
    files.append(QJsonObject{{"selector", "Userfile"}, {"kind", "userMap"}});
    config.insert("files", files);
    OpenedSimCamera f(kCam, config);
    QVERIFY(f.ok());
    QStringList listed;
    for (const OxMapEntry& e : OxMapEntry::list(OxFeatureContainer(f.handle, nullptr)))
        listed << e.name + " " + e.fileName + "/" + e.selector;
    QCOMPARE(listed, QStringList({"ShadingMap0 ShadingMap0/ShadingMap0",
                                  "ShadingMap1 ShadingMap1/ShadingMap1",
                                  "NucUserMap0 nuc_usermap0.ge3/Userfile",
                                  "NucUserMap1 nuc_usermap1.ge3/Userfile"}));
}

QTEST_GUILESS_MAIN(TestOxCamera)
#include "TestOxCamera.moc"
