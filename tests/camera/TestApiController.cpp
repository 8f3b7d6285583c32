// The controller and the manager against simulated cameras: error texts,
// information maps, open and close.

#include "ApiController.h"
#include "OxCamera.h"
#include "OxCameraManager.h"
#include "SimSession.h"

#include <Hvx/Camera.h>
#include <Hvx/HvSystem.h>

#include <QFileInfo>
#include <QSignalSpy>
#include <QtTest>

class TestApiController : public QObject
{
    Q_OBJECT

private slots:
    void errorTexts_data();
    void errorTexts();
    void cameraInfo();
    void managerOpenAndClose();
};

void TestApiController::errorTexts_data()
{
    // Codes go through ErrorCodeToMessage; text, if any, through emitApiError.
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("emitted");
    QTest::newRow("-4 trailing blank") << -4 << QString() << "Invalid handle "
                                       << "Error: Invalid handle ";
    QTest::newRow("-9") << -9 << QString() << "More data returned than memory provided."
                        << "Error: More data returned than memory provided.";
    QTest::newRow("1") << 1 << QString() << "Unknown"
                       << "Error: Unknown";
    QTest::newRow("-19") << -19 << QString() << "Unknown"
                         << "Error: Unknown";
    QTest::newRow("with text") << -12 << "Failed to open camera X"
                               << "Timeout."
                               << "Failed to open camera X (error: Timeout.)";
    // The text is not a format: a "%2" in it stays as it is.
    QTest::newRow("percent in text") << -4 << "Camera %2 gone"
                                     << "Invalid handle "
                                     << "Camera %2 gone (error: Invalid handle )";
}

void TestApiController::errorTexts()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    QFETCH(QString, message);
    QFETCH(QString, emitted);
    ApiController controller;
    QCOMPARE(controller.ErrorCodeToMessage(code), message);
    QSignalSpy spy(&controller, &ApiController::ApiError);
    controller.emitApiError(code, text);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), emitted);
}

void TestApiController::cameraInfo()
{
    QJsonObject held = SimSession::cameraJson("SIM-HELD-2", "GigE");
    held.insert("heldByOtherApplication", true);
    QJsonObject noInterface = SimSession::cameraJson("SIM-NOIF-3");
    noInterface.insert("interface", "");
    SimSession sim(QJsonArray{SimSession::cameraJson("SIM-INFO-1"), held, noInterface});
    QVERIFY(sim.ok());
    ApiController controller;
    QSignalSpy errors(&controller, &ApiController::ApiError);

    CameraInfoMap info = controller.GetCameraInfo(sim.camera("SIM-INFO-1"));
    QCOMPARE(info.keys(),
             QStringList({"Camera ID", "Camera Name", "Extended ID", "Full Access", "Interface",
                          "Model Name", "Serial No.", "TL Path", "Transport Layer"}));
    QCOMPARE(info.value("Extended ID"), QVariant("sim::SIM-INFO-1"));
    QCOMPARE(info.value("Camera ID"), QVariant("SIM-INFO-1"));
    QCOMPARE(info.value("Serial No."), QVariant("SN-SIM-INFO-1"));
    QCOMPARE(info.value("Interface"), QVariant("sim-usb3-0"));
    const QFileInfo module(info.value("TL Path").toString());
    QVERIFY2(module.isAbsolute() && module.exists(), qPrintable(module.filePath()));
    QCOMPARE(info.value("Full Access"), QVariant(true));
    // Another application holds this one: only read access is permitted.
    QCOMPARE(controller.GetCameraInfo(sim.camera("SIM-HELD-2")).value("Full Access"),
             QVariant(false));
    QCOMPARE(errors.count(), 0);

    // A camera on no interface: that key stays empty, the steps after it still run.
    info = controller.GetCameraInfo(sim.camera("SIM-NOIF-3"));
    QCOMPARE(info.size(), 9);
    QCOMPARE(info.value("Interface"), QVariant(QString()));
    QCOMPARE(info.value("Transport Layer"), QVariant("Orvex Simulated Transport Layer"));
    QCOMPARE(info.value("Full Access"), QVariant(true));
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.takeFirst().at(0).toString(),
             QString("Failed to get camera interface ID for sim::SIM-NOIF-3 (error: Not found.)"));

    // Without a camera not even the extended ID can be read.
    QVERIFY(controller.GetCameraInfo(Hvx::CameraPtr()).isEmpty());
    QCOMPARE(errors.takeFirst().at(0).toString(),
             QString("Failed to get camera extended ID (error: Bad parameter.)"));

    // Access changes are no news.
    QSignalSpy added(&controller, &ApiController::CameraAdded);
    QSignalSpy removed(&controller, &ApiController::CameraRemoved);
    controller.OnCameraListChanged(sim.camera("SIM-INFO-1"), Hvx::UpdateTriggerAccessChanged);
    QCOMPARE(added.count() + removed.count() + errors.count(), 0);
}

void TestApiController::managerOpenAndClose()
{
    QJsonObject held = SimSession::cameraJson("SIM-HELD-1");
    held.insert("heldByOtherApplication", true);
    SimSession sim(QJsonArray{SimSession::cameraJson("SIM-MGR-1"), held});
    QVERIFY(sim.ok());
    auto controller = std::make_shared<ApiController>();
    QSignalSpy errors(controller.get(), &ApiController::ApiError);
    OxCameraManager manager(controller);
    const QString unknown = "Failed to get camera for sim::NO-SUCH-CAMERA (error: Not found.)";

    QCOMPARE(manager.Open("sim::NO-SUCH-CAMERA"), nullptr);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.takeFirst().at(0).toString(), unknown);
    QCOMPARE(manager.Close("sim::NO-SUCH-CAMERA"), false);
    QCOMPARE(errors.takeFirst().at(0).toString(), unknown);

    // Known but not open: false, and the controller stays silent.
    QCOMPARE(manager.Close("sim::SIM-MGR-1"), false);
    QCOMPARE(controller->CloseCamera("sim::SIM-MGR-1"), HvErrorDeviceNotOpen);
    QCOMPARE(errors.count(), 0);

    QCOMPARE(manager.Open("sim::SIM-HELD-1"), nullptr);
    QCOMPARE(errors.takeFirst().at(0).toString(),
             QString("Failed to open camera sim::SIM-HELD-1 (error: Invalid access.)"));

    std::unique_ptr<OxCamera> camera(manager.Open("sim::SIM-MGR-1"));
    QVERIFY(camera);
    QCOMPARE(camera->GetCameraName(), QString("Camera SIM-MGR-1"));
    QCOMPARE(manager.Close("sim::SIM-MGR-1"), true);
    QCOMPARE(errors.count(), 0);
}

QTEST_GUILESS_MAIN(TestApiController)
#include "TestApiController.moc"
