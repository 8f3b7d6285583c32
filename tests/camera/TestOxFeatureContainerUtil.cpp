// Feature access through variants, in both families (SDK objects and raw
// handles), against a simulated camera; the camera's trace shows which
// values reached it.

#include "OxFeatureContainerUtil.h"
#include "SimSession.h"

#include <Hvx/Camera.h>

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

// Every call goes through both families: the object and the raw handle.
struct Session
{
    explicit Session(const QJsonObject& camera = featureCamera()) : sim(QJsonArray{camera})
    {
        if (sim.ok())
            cam = sim.openCamera(kCam);
        if (cam)
            sim.clearTrace(kCam);
    }
    HvErrorType get(bool handle, const char* name, QVariant& value)
    {
        return handle ? OxFeatureContainerUtil::GetFeatureValue(cam->GetHandle(), name, value)
                      : OxFeatureContainerUtil::GetFeatureValue(cam, name, value);
    }
    HvErrorType set(bool handle, const char* name, const QVariant& value)
    {
        return handle ? OxFeatureContainerUtil::SetFeatureValue(cam->GetHandle(), name, value)
                      : OxFeatureContainerUtil::SetFeatureValue(cam, name, value);
    }
    HvErrorType command(bool handle, const char* name, uint64_t timeoutMs)
    {
        return handle ? OxFeatureContainerUtil::SetFeatureCommand(cam->GetHandle(), name, timeoutMs)
                      : OxFeatureContainerUtil::SetFeatureCommand(cam, name, timeoutMs);
    }
    QStringList trace() { return sim.trace(kCam); }

    SimSession sim;
    Hvx::CameraPtr cam;
};

} // namespace

class TestOxFeatureContainerUtil : public QObject
{
    Q_OBJECT

private slots:
    void getByType_data();
    void getByType();
    void setByType_data();
    void setByType();
    void commandWait_data();
    void commandWait();
};

void TestOxFeatureContainerUtil::getByType_data()
{
    QTest::addColumn<QByteArray>("feature");
    QTest::addColumn<int>("type"); // QMetaType; UnknownType: the get fails
    QTest::addColumn<QVariant>("value");
    QTest::newRow("integer") << QByteArray("Width") << int(QMetaType::LongLong) << QVariant(640LL);
    QTest::newRow("float") << QByteArray("ExposureTime") << int(QMetaType::Double)
                           << QVariant(10000.0);
    QTest::newRow("enumeration") << QByteArray("PixelFormat") << int(QMetaType::QString)
                                 << QVariant("Mono8");
    QTest::newRow("string") << QByteArray("DeviceUserID") << int(QMetaType::QString)
                            << QVariant("Camera SIM-FEAT-1");
    QTest::newRow("boolean") << QByteArray("ReverseX") << int(QMetaType::Bool) << QVariant(false);
    QTest::newRow("type 0") << QByteArray("SimUntypedFeature") << int(QMetaType::UnknownType)
                            << QVariant();
    QTest::newRow("unknown name") << QByteArray("NoSuchFeature") << int(QMetaType::UnknownType)
                                  << QVariant();
}

void TestOxFeatureContainerUtil::getByType()
{
    QFETCH(QByteArray, feature);
    QFETCH(int, type);
    QFETCH(QVariant, value);
    Session s;
    QVERIFY(s.cam);
    for (bool handle : {false, true}) {
        QVariant read;
        const HvErrorType result = s.get(handle, feature.constData(), read);
        QCOMPARE(result == HvErrorSuccess, type != QMetaType::UnknownType);
        QCOMPARE(read.userType(), type);
        QCOMPARE(read, value);
    }
}

void TestOxFeatureContainerUtil::setByType_data()
{
    QTest::addColumn<QByteArray>("feature");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("sent"); // what the camera saw; empty: nothing reached it
    QTest::newRow("integer from int") << QByteArray("FileAccessOffset") << QVariant(4096) << "4096";
    QTest::newRow("integer from text")
        << QByteArray("FileAccessOffset") << QVariant("8192") << "8192";
    QTest::newRow("float") << QByteArray("Gain") << QVariant(3.5) << "3.5";
    QTest::newRow("enumeration from int")
        << QByteArray("UserSetSelector") << QVariant(2) << "UserSet2";
    QTest::newRow("enumeration from text")
        << QByteArray("UserSetSelector") << QVariant("UserSet3") << "UserSet3";
    QTest::newRow("enumeration from double")
        << QByteArray("UserSetSelector") << QVariant(2.0) << QString();
    QTest::newRow("enumeration from long long")
        << QByteArray("UserSetSelector") << QVariant(2LL) << QString();
    QTest::newRow("string from int") << QByteArray("DeviceUserID") << QVariant(42) << "42";
    QTest::newRow("boolean") << QByteArray("ReverseX") << QVariant(true) << "1";
    QTest::newRow("type 0") << QByteArray("SimUntypedFeature") << QVariant(1) << QString();
}

void TestOxFeatureContainerUtil::setByType()
{
    QFETCH(QByteArray, feature);
    QFETCH(QVariant, value);
    QFETCH(QString, sent);
    Session s;
    QVERIFY(s.cam);
    for (bool handle : {false, true}) {
        const HvErrorType result = s.set(handle, feature.constData(), value);
        QCOMPARE(result == HvErrorSuccess, !sent.isEmpty());
        const QStringList expected =
            sent.isEmpty() ? QStringList() : QStringList(QString("%1 set %2").arg(feature, sent));
        QCOMPARE(s.trace(), expected);
        s.sim.clearTrace(kCam);
    }
}

void TestOxFeatureContainerUtil::commandWait_data()
{
    QTest::addColumn<bool>("handle");
    QTest::addColumn<int>("latencyMs"); // -1: never done
    QTest::addColumn<int>("timeoutMs");
    QTest::addColumn<int>("result");
    QTest::addColumn<QStringList>("doneAnswers");
    QTest::newRow("object, timeout 0") << false << -1 << 0 << int(HvErrorSuccess) << QStringList();
    QTest::newRow("handle, timeout 0") << true << -1 << 0 << int(HvErrorSuccess) << QStringList();
    // Not done at the first question, done by the second one 2 s later;
    // the timeout has passed by then, but the done answer counts.
    QTest::newRow("handle, completes late")
        << true << 1200 << 1000 << int(HvErrorSuccess) << QStringList{"0", "1"};
    // One question, one sleep, one more question, then the timeout.
    QTest::newRow("object, never done")
        << false << -1 << 1000 << int(HvErrorTimeout) << QStringList{"0", "0"};
}

void TestOxFeatureContainerUtil::commandWait()
{
    QFETCH(bool, handle);
    QFETCH(int, latencyMs);
    QFETCH(int, timeoutMs);
    QFETCH(int, result);
    QFETCH(QStringList, doneAnswers);
    const QJsonObject failDone{{"feature", "UserSetLoad"}, {"op", "isdone"}};
    Session s(featureCamera(QJsonObject{{"failFeatures", QJsonArray{failDone}}}));
    QVERIFY(s.cam);
    QCOMPARE(s.sim.control().SetCommandLatency(kCam, "AcquisitionStop", latencyMs), 0);
    QCOMPARE(int(s.command(handle, "AcquisitionStop", uint64_t(timeoutMs))), result);
    QCOMPARE(selectLines(s.trace(), "AcquisitionStop isdone "), doneAnswers);
    // A command that cannot start is not waited for, and a done query that
    // fails ends the wait with its code at once.
    QCOMPARE(s.command(handle, "NoSuchCommand", 5000), HvErrorNotFound);
    QCOMPARE(s.command(handle, "UserSetLoad", 180000), HvErrorOther);
}

QTEST_GUILESS_MAIN(TestOxFeatureContainerUtil)
#include "TestOxFeatureContainerUtil.moc"
