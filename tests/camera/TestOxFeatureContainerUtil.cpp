// Feature access through variants, in both families (SDK objects and raw
// handles), against a simulated camera; the camera's trace shows which
// values reached it.

#include "OxFeatureContainer.h"
#include "OxFeatureContainerUtil.h"
#include "SimSession.h"

#include <Hvx/Camera.h>

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QtTest>

namespace {

const char* const kCam = "SIM-FEAT-1";

QJsonObject featureCamera(const QJsonObject& faults = QJsonObject())
{
    QJsonObject cam = SimSession::cameraJson(kCam);
    QJsonObject rw{{"selector", "Userfile"}, {"kind", "plain"}};
    QJsonObject ro{{"selector", "ReadOnly"}, {"kind", "plain"}, {"write", false}};
    cam.insert("files", QJsonArray{rw, ro});
    cam.insert("untypedFeatures", QJsonArray{"SimUntypedFeature"});
    if (!faults.isEmpty())
        cam.insert("faults", faults);
    return cam;
}

enum class Family
{
    Object,
    Handle
};

struct Session
{
    explicit Session(const QJsonObject& camera = featureCamera()) : sim(QJsonArray{camera})
    {
        if (sim.ok())
            cam = sim.openCamera(kCam);
        if (cam)
            sim.clearTrace(kCam);
    }
    HvErrorType get(Family family, const char* name, QVariant& value)
    {
        return family == Family::Object
                   ? OxFeatureContainerUtil::GetFeatureValue(cam, name, value)
                   : OxFeatureContainerUtil::GetFeatureValue(cam->GetHandle(), name, value);
    }
    HvErrorType set(Family family, const char* name, const QVariant& value)
    {
        return family == Family::Object
                   ? OxFeatureContainerUtil::SetFeatureValue(cam, name, value)
                   : OxFeatureContainerUtil::SetFeatureValue(cam->GetHandle(), name, value);
    }
    HvErrorType command(Family family, const char* name, uint64_t timeoutMs)
    {
        return family == Family::Object
                   ? OxFeatureContainerUtil::SetFeatureCommand(cam, name, timeoutMs)
                   : OxFeatureContainerUtil::SetFeatureCommand(cam->GetHandle(), name, timeoutMs);
    }
    QStringList doneAnswers(const char* command)
    {
        QStringList answers;
        const QString prefix = QString(command) + " isdone";
        for (const QString& line : sim.trace(kCam))
            if (line.startsWith(prefix))
                answers << line.mid(prefix.size()).trimmed();
        return answers;
    }

    SimSession sim;
    Hvx::CameraPtr cam;
};

void addForBothFamilies(const char* name, std::function<void(QTestData&)> fill)
{
    fill(QTest::newRow(qPrintable(QStringLiteral("object %1").arg(name))) << Family::Object);
    fill(QTest::newRow(qPrintable(QStringLiteral("handle %1").arg(name))) << Family::Handle);
}

} // namespace

Q_DECLARE_METATYPE(Family)

class TestOxFeatureContainerUtil : public QObject
{
    Q_OBJECT

private slots:
    void getByType_data();
    void getByType();
    void setByType_data();
    void setByType();
    void enumerationAccessors();
    void rangesAndEntries();
    void registersAndQueries();
    void commandWithoutWait_data();
    void commandWithoutWait();
    void commandCompletesLate_data();
    void commandCompletesLate();
    void commandNeverCompletes();
    void stringToDouble_data();
    void stringToDouble();
};

void TestOxFeatureContainerUtil::getByType_data()
{
    QTest::addColumn<Family>("family");
    QTest::addColumn<QByteArray>("feature");
    QTest::addColumn<int>("type"); // QMetaType; UnknownType: the get fails
    QTest::addColumn<QVariant>("value");
    addForBothFamilies("integer", [](QTestData& row) {
        row << QByteArray("Width") << int(QMetaType::LongLong) << QVariant(640LL);
    });
    addForBothFamilies("float", [](QTestData& row) {
        row << QByteArray("ExposureTime") << int(QMetaType::Double) << QVariant(5000.0);
    });
    addForBothFamilies("enumeration", [](QTestData& row) {
        row << QByteArray("PixelFormat") << int(QMetaType::QString) << QVariant("Mono8");
    });
    addForBothFamilies("string", [](QTestData& row) {
        row << QByteArray("DeviceUserID") << int(QMetaType::QString)
            << QVariant("Camera SIM-FEAT-1");
    });
    addForBothFamilies("boolean", [](QTestData& row) {
        row << QByteArray("ReverseX") << int(QMetaType::Bool) << QVariant(false);
    });
    addForBothFamilies("type 0", [](QTestData& row) {
        row << QByteArray("SimUntypedFeature") << int(QMetaType::UnknownType) << QVariant();
    });
    addForBothFamilies("unknown name", [](QTestData& row) {
        row << QByteArray("NoSuchFeature") << int(QMetaType::UnknownType) << QVariant();
    });
}

void TestOxFeatureContainerUtil::getByType()
{
    QFETCH(Family, family);
    QFETCH(QByteArray, feature);
    QFETCH(int, type);
    QFETCH(QVariant, value);
    Session s;
    QVERIFY(s.cam);
    QVariant read;
    const HvErrorType result = s.get(family, feature.constData(), read);
    if (type == QMetaType::UnknownType) {
        QVERIFY(result != HvErrorSuccess);
        QVERIFY(!read.isValid());
        return;
    }
    QCOMPARE(result, HvErrorSuccess);
    QCOMPARE(read.userType(), type);
    QCOMPARE(read, value);
}

void TestOxFeatureContainerUtil::setByType_data()
{
    QTest::addColumn<Family>("family");
    QTest::addColumn<QByteArray>("feature");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("sent"); // what the camera saw; empty: nothing reached it
    addForBothFamilies("integer from int", [](QTestData& row) {
        row << QByteArray("FileAccessOffset") << QVariant(4096) << "4096";
    });
    addForBothFamilies("integer from text", [](QTestData& row) {
        row << QByteArray("FileAccessOffset") << QVariant("8192") << "8192";
    });
    addForBothFamilies("float",
                       [](QTestData& row) { row << QByteArray("Gain") << QVariant(3.5) << "3.5"; });
    addForBothFamilies("enumeration from int", [](QTestData& row) {
        row << QByteArray("UserSetSelector") << QVariant(2) << "UserSet2";
    });
    addForBothFamilies("enumeration from text", [](QTestData& row) {
        row << QByteArray("UserSetSelector") << QVariant("UserSet3") << "UserSet3";
    });
    addForBothFamilies("enumeration from double", [](QTestData& row) {
        row << QByteArray("UserSetSelector") << QVariant(2.0) << QString();
    });
    addForBothFamilies("enumeration from long long", [](QTestData& row) {
        row << QByteArray("UserSetSelector") << QVariant(2LL) << QString();
    });
    addForBothFamilies("string", [](QTestData& row) {
        row << QByteArray("DeviceUserID") << QVariant("Bench 7") << "Bench 7";
    });
    addForBothFamilies("string from int", [](QTestData& row) {
        row << QByteArray("DeviceUserID") << QVariant(42) << "42";
    });
    addForBothFamilies(
        "boolean", [](QTestData& row) { row << QByteArray("ReverseX") << QVariant(true) << "1"; });
    addForBothFamilies("type 0", [](QTestData& row) {
        row << QByteArray("SimUntypedFeature") << QVariant(1) << QString();
    });
}

void TestOxFeatureContainerUtil::setByType()
{
    QFETCH(Family, family);
    QFETCH(QByteArray, feature);
    QFETCH(QVariant, value);
    QFETCH(QString, sent);
    Session s;
    QVERIFY(s.cam);
    const HvErrorType result = s.set(family, feature.constData(), value);
    const QStringList trace = s.sim.trace(kCam);
    if (sent.isEmpty()) {
        QVERIFY(result != HvErrorSuccess);
        QVERIFY2(trace.isEmpty(), qPrintable(trace.join('\n')));
    } else {
        QCOMPARE(result, HvErrorSuccess);
        QCOMPARE(trace, QStringList(QString("%1 set %2").arg(QString(feature), sent)));
    }
}

void TestOxFeatureContainerUtil::enumerationAccessors()
{
    Session s;
    QVERIFY(s.cam);
    QVariant value;
    QCOMPARE(OxFeatureContainerUtil::GetFeatureValueEnum(s.cam, "UserSetSelector", value),
             HvErrorSuccess);
    QCOMPARE(value, QVariant("Default"));
    QVariant entry("UserSet1");
    QCOMPARE(OxFeatureContainerUtil::SetFeatureValueEnum(s.cam, "UserSetSelector", entry),
             HvErrorSuccess);
    QCOMPARE(
        OxFeatureContainerUtil::GetFeatureValueEnum(s.cam->GetHandle(), "UserSetSelector", value),
        HvErrorSuccess);
    QCOMPARE(value, QVariant("UserSet1"));
    entry = QVariant("UserSet2");
    QCOMPARE(
        OxFeatureContainerUtil::SetFeatureValueEnum(s.cam->GetHandle(), "UserSetSelector", entry),
        HvErrorSuccess);
    // Only enumerations.
    QCOMPARE(OxFeatureContainerUtil::GetFeatureValueEnum(s.cam, "Width", value), HvErrorWrongType);
    QCOMPARE(OxFeatureContainerUtil::SetFeatureValueEnum(s.cam->GetHandle(), "DeviceUserID", entry),
             HvErrorWrongType);
    // Texts are read in two calls: length, then characters.
    QCOMPARE(s.sim.trace(kCam),
             QStringList({"UserSetSelector get Default", "UserSetSelector get Default",
                          "UserSetSelector set UserSet1", "UserSetSelector get UserSet1",
                          "UserSetSelector get UserSet1", "UserSetSelector set UserSet2"}));
}

void TestOxFeatureContainerUtil::rangesAndEntries()
{
    Session s;
    QVERIFY(s.cam);
    OxFeatureContainer features(s.cam, nullptr);
    QVariant min, max, inc;
    QVERIFY(features.GetFeatureRange("FileAccessLength", min, max, inc));
    QCOMPARE(min, QVariant(0LL));
    QCOMPARE(max, QVariant(65536LL));
    QCOMPARE(inc, QVariant(1LL));
    QVERIFY(features.GetFeatureRange("Gain", min, max, inc));
    QCOMPARE(min, QVariant(0.0));
    QCOMPARE(max, QVariant(24.0));
    QCOMPARE(inc.userType(), int(QMetaType::Double));
    QVERIFY(!features.GetFeatureRange("PixelFormat", min, max, inc));

    auto names = [&](const char* feature) {
        std::vector<Hvx::EnumEntry> entries;
        QStringList list;
        if (!features.GetSubFeatures(feature, &entries))
            return QStringList{"<failed>"};
        for (const Hvx::EnumEntry& e : entries) {
            unsigned int length = 0;
            e.GetName(nullptr, length);
            QByteArray name(int(length) + 1, '\0');
            e.GetName(name.data(), length);
            list << QString::fromUtf8(name.constData(), int(length));
        }
        return list;
    };
    QVERIFY(features.SetValue("FileSelector", QString("Userfile")));
    QCOMPARE(names("FileOpenMode"), QStringList({"Read", "Write", "ReadWrite"}));
    // Only what the selected file offers right now.
    QVERIFY(features.SetValue("FileSelector", QString("ReadOnly")));
    QCOMPARE(names("FileOpenMode"), QStringList({"Read"}));
    QCOMPARE(names("UserSetSelector"),
             QStringList({"Default", "UserSet1", "UserSet2", "UserSet3"}));
    QVERIFY(!features.GetSubFeatures("FileOpenMode", nullptr));
}

void TestOxFeatureContainerUtil::registersAndQueries()
{
    Session s;
    QVERIFY(s.cam);
    OxFeatureContainer features(s.cam, nullptr);
    const std::vector<uint8_t> written{0xde, 0xad, 0xbe, 0xef, 0x01};
    QVERIFY(features.SetRegisterValue("FileAccessBuffer", written, 4));
    std::vector<uint8_t> read;
    QVERIFY(features.GetRegisterValue("FileAccessBuffer", read, 4));
    QCOMPARE(read, std::vector<uint8_t>({0xde, 0xad, 0xbe, 0xef}));
    // More than the vector holds never reaches the camera.
    QVERIFY(!features.SetRegisterValue("FileAccessBuffer", written, 6));
    QCOMPARE(s.sim.trace(kCam),
             QStringList({"FileAccessBuffer set 4", "FileAccessBuffer get 65536"}));

    bool answer = false;
    QVERIFY(features.HasFeature("Filename", answer));
    QVERIFY(answer);
    QVERIFY(features.HasFeature("NoSuchFeature", answer));
    QVERIFY(!answer);
    QVERIFY(features.IsWritable("FileAccessLength", answer));
    QVERIFY(answer);
    QVERIFY(features.IsWritable("Width", answer));
    QVERIFY(!answer);
    QVERIFY(features.IsReadable("AcquisitionStop", answer));
    QVERIFY(!answer);
    QVERIFY(!features.IsReadable("NoSuchFeature", answer));
}

void TestOxFeatureContainerUtil::commandWithoutWait_data()
{
    QTest::addColumn<Family>("family");
    addForBothFamilies("timeout 0", [](QTestData&) {});
}

void TestOxFeatureContainerUtil::commandWithoutWait()
{
    QFETCH(Family, family);
    Session s;
    QVERIFY(s.cam);
    QCOMPARE(s.sim.control().SetCommandLatency(kCam, "AcquisitionStop", -1), 0);
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(s.command(family, "AcquisitionStop", 0), HvErrorSuccess);
    QVERIFY(clock.elapsed() < 1000);
    QCOMPARE(s.sim.trace(kCam), QStringList({"AcquisitionStop execute"}));
    // A command that cannot start is not waited for either.
    QCOMPARE(s.command(family, "NoSuchCommand", 5000), HvErrorNotFound);
}

void TestOxFeatureContainerUtil::commandCompletesLate_data()
{
    QTest::addColumn<Family>("family");
    addForBothFamilies("late", [](QTestData&) {});
}

void TestOxFeatureContainerUtil::commandCompletesLate()
{
    QFETCH(Family, family);
    Session s;
    QVERIFY(s.cam);
    // Not done at the first question, done by the second one 2 s later;
    // the timeout has passed by then, but the done answer counts.
    QCOMPARE(s.sim.control().SetCommandLatency(kCam, "AcquisitionStop", 1200), 0);
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(s.command(family, "AcquisitionStop", 1000), HvErrorSuccess);
    QVERIFY2(clock.elapsed() >= 1990, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(s.doneAnswers("AcquisitionStop"), QStringList({"0", "1"}));
}

void TestOxFeatureContainerUtil::commandNeverCompletes()
{
    QJsonObject failDone{{"feature", "UserSetLoad"}, {"op", "isdone"}};
    Session s(featureCamera(QJsonObject{{"failFeatures", QJsonArray{failDone}}}));
    QVERIFY(s.cam);
    QCOMPARE(s.sim.control().SetCommandLatency(kCam, "AcquisitionStop", -1), 0);
    QCOMPARE(s.command(Family::Object, "AcquisitionStop", 1000), HvErrorTimeout);
    // One question, one sleep, one more question, then the timeout.
    QCOMPARE(s.doneAnswers("AcquisitionStop"), QStringList({"0", "0"}));
    // A done query that fails ends the wait with its code at once.
    QCOMPARE(s.command(Family::Handle, "UserSetLoad", 180000), HvErrorOther);
}

void TestOxFeatureContainerUtil::stringToDouble_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<double>("value");
    QTest::newRow("comma") << "1,5" << true << 1.5;
    QTest::newRow("point") << "1.5" << true << 1.5;
    QTest::newRow("text") << "abc" << false << 0.0;
}

void TestOxFeatureContainerUtil::stringToDouble()
{
    QFETCH(QString, text);
    QFETCH(bool, ok);
    QFETCH(double, value);
    bool parsed = !ok;
    QCOMPARE(StringToDouble(text, &parsed), value);
    QCOMPARE(parsed, ok);
}

QTEST_GUILESS_MAIN(TestOxFeatureContainerUtil)
#include "TestOxFeatureContainerUtil.moc"
