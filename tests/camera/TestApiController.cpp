// The controller and the manager against simulated cameras: error texts,
// information maps, list events, open and close.

#include "ApiController.h"
#include "CameraObserver.h"
#include "InterfaceObserver.h"
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
    void errorCodeToMessage_data();
    void errorCodeToMessage();
    void emitApiErrorForms_data();
    void emitApiErrorForms();
    void cameraInfoMap();
    void cameraInfoWithOneFailingKey();
    void listEventsFromTheSdkThread();
    void unhandledReasonsAndObservers();
    void managerOpenAndClose();
    void cameraListCache();
};

void TestApiController::errorCodeToMessage_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");
    QTest::newRow("0") << 0 << "Success.";
    QTest::newRow("-1") << -1 << "Unexpected fault in HvApi or driver.";
    QTest::newRow("-2") << -2 << "API not started.";
    QTest::newRow("-3") << -3 << "Not found.";
    QTest::newRow("-4 trailing blank") << -4 << "Invalid handle ";
    QTest::newRow("-5") << -5 << "Device not open.";
    QTest::newRow("-6") << -6 << "Invalid access.";
    QTest::newRow("-7") << -7 << "Bad parameter.";
    QTest::newRow("-8") << -8 << "Wrong DLL version.";
    QTest::newRow("-9") << -9 << "More data returned than memory provided.";
    QTest::newRow("-10") << -10 << "Wrong type.";
    QTest::newRow("-11") << -11 << "Invalid value.";
    QTest::newRow("-12") << -12 << "Timeout.";
    QTest::newRow("-13") << -13 << "TL error.";
    QTest::newRow("-14") << -14 << "Resource not available.";
    QTest::newRow("-15") << -15 << "Invalid call.";
    QTest::newRow("-16") << -16 << "TL not loaded.";
    QTest::newRow("-17") << -17 << "Not implemented.";
    QTest::newRow("-18") << -18 << "Not supported.";
    QTest::newRow("1") << 1 << "Unknown";
    QTest::newRow("-19") << -19 << "Unknown";
    QTest::newRow("large") << 1000 << "Unknown";
}

void TestApiController::errorCodeToMessage()
{
    QFETCH(int, code);
    QFETCH(QString, message);
    ApiController controller;
    QCOMPARE(controller.ErrorCodeToMessage(code), message);
}

void TestApiController::emitApiErrorForms_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("emitted");
    QTest::newRow("no text") << -12 << QString() << "Error: Timeout.";
    QTest::newRow("with text") << -12 << "Failed to open camera X"
                               << "Failed to open camera X (error: Timeout.)";
    // The text is not a format: a "%2" in it stays as it is.
    QTest::newRow("percent in text") << -4 << "Camera %2 gone"
                                     << "Camera %2 gone (error: Invalid handle )";
    QTest::newRow("unknown code") << 7 << QString() << "Error: Unknown";
}

void TestApiController::emitApiErrorForms()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    QFETCH(QString, emitted);
    ApiController controller;
    QSignalSpy spy(&controller, &ApiController::ApiError);
    controller.emitApiError(code, text);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), emitted);
}

void TestApiController::cameraInfoMap()
{
    QJsonObject held = SimSession::cameraJson("SIM-HELD-2", "GigE");
    held.insert("heldByOtherApplication", true);
    SimSession sim(QJsonArray{SimSession::cameraJson("SIM-INFO-1"), held});
    QVERIFY(sim.ok());
    ApiController controller;
    QSignalSpy errors(&controller, &ApiController::ApiError);

    const CameraInfoMap info = controller.GetCameraInfo(sim.camera("SIM-INFO-1"));
    QCOMPARE(info.keys(),
             QStringList({"Camera ID", "Camera Name", "Extended ID", "Full Access", "Interface",
                          "Model Name", "Serial No.", "TL Path", "Transport Layer"}));
    QCOMPARE(info.value("Extended ID"), QVariant("sim::SIM-INFO-1"));
    QCOMPARE(info.value("Camera ID"), QVariant("SIM-INFO-1"));
    QCOMPARE(info.value("Model Name"), QVariant("kva640MXGE"));
    QCOMPARE(info.value("Camera Name"), QVariant("Camera SIM-INFO-1"));
    QCOMPARE(info.value("Serial No."), QVariant("SN-SIM-INFO-1"));
    QCOMPARE(info.value("Interface"), QVariant("sim-usb3-0"));
    QCOMPARE(info.value("Transport Layer"), QVariant("Orvex Simulated Transport Layer"));
    const QFileInfo module(info.value("TL Path").toString());
    QVERIFY2(module.isAbsolute() && module.exists(), qPrintable(module.filePath()));
    QCOMPARE(module.fileName(), QString("hvx_tl_sim.so"));
    QCOMPARE(info.value("Full Access").userType(), int(QMetaType::Bool));
    QCOMPARE(info.value("Full Access").toBool(), true);

    // Another application holds this one: only read access is permitted.
    const CameraInfoMap heldInfo = controller.GetCameraInfo(sim.camera("SIM-HELD-2"));
    QCOMPARE(heldInfo.value("Full Access"), QVariant(false));
    QCOMPARE(heldInfo.value("Interface"), QVariant("sim-gige-0"));
    QCOMPARE(errors.count(), 0);

    // Without a camera not even the extended ID can be read.
    QVERIFY(controller.GetCameraInfo(Hvx::CameraPtr()).isEmpty());
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.at(0).at(0).toString(),
             QString("Failed to get camera extended ID (error: Bad parameter.)"));
}

void TestApiController::cameraInfoWithOneFailingKey()
{
    // A camera attached to no interface: its interface cannot be asked.
    QJsonObject cam = SimSession::cameraJson("SIM-NOIF-1");
    cam.insert("interface", "");
    SimSession sim(QJsonArray{cam});
    QVERIFY(sim.ok());
    ApiController controller;
    QSignalSpy errors(&controller, &ApiController::ApiError);

    const CameraInfoMap info = controller.GetCameraInfo(sim.camera("SIM-NOIF-1"));
    QCOMPARE(info.size(), 9);
    QVERIFY(info.contains("Interface"));
    QCOMPARE(info.value("Interface"), QVariant(QString()));
    // The steps after the failing one still ran.
    QCOMPARE(info.value("Transport Layer"), QVariant("Orvex Simulated Transport Layer"));
    QVERIFY(!info.value("TL Path").toString().isEmpty());
    QCOMPARE(info.value("Full Access"), QVariant(true));
    QCOMPARE(info.value("Serial No."), QVariant("SN-SIM-NOIF-1"));
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.at(0).at(0).toString(),
             QString("Failed to get camera interface ID for sim::SIM-NOIF-1 (error: Not found.)"));
}

void TestApiController::listEventsFromTheSdkThread()
{
    SimSession sim(QJsonArray{SimSession::cameraJson("SIM-LIST-1")});
    QVERIFY(sim.ok());
    ApiController controller;
    QSignalSpy added(&controller, &ApiController::CameraAdded);
    QSignalSpy removed(&controller, &ApiController::CameraRemoved);
    QSignalSpy openState(&controller, &ApiController::CameraOpenStateChanged);
    QCOMPARE(controller.enableAutomaticDiscovery(true), HvErrorSuccess);

    QJsonObject plugged = SimSession::cameraJson("SIM-HOT-7", "GigE");
    plugged.insert("name", "Hot Camera");
    QCOMPARE(sim.control().AddCamera(QJsonDocument(plugged).toJson().toStdString()), 0);
    QVERIFY(added.wait(5000));
    const CameraInfoMap addedInfo = added.at(0).at(0).value<CameraInfoMap>();
    QCOMPARE(addedInfo.value("Extended ID"), QVariant("sim::SIM-HOT-7"));
    QCOMPARE(addedInfo.value("Camera Name"), QVariant("Hot Camera"));
    QCOMPARE(addedInfo.size(), 9);

    QVERIFY(sim.openCamera("SIM-HOT-7"));
    QVERIFY(openState.wait(5000));
    QCOMPARE(openState.at(0).at(0).value<CameraInfoMap>().value("Extended ID"),
             QVariant("sim::SIM-HOT-7"));

    QCOMPARE(sim.control().RemoveCamera("SIM-HOT-7"), 0);
    QVERIFY(removed.wait(5000));
    const CameraInfoMap gone = removed.at(0).at(0).value<CameraInfoMap>();
    QCOMPARE(gone.keys(), QStringList({"Camera Name", "Extended ID"}));
    QCOMPARE(gone.value("Extended ID"), QVariant("sim::SIM-HOT-7"));
    QCOMPARE(gone.value("Camera Name"), QVariant("Hot Camera"));

    // Unregistered: further changes are not reported.
    QCOMPARE(controller.enableAutomaticDiscovery(false), HvErrorSuccess);
    QCOMPARE(sim.control().AddCamera(
                 QJsonDocument(SimSession::cameraJson("SIM-HOT-8")).toJson().toStdString()),
             0);
    QVERIFY(!added.wait(600));
    QCOMPARE(added.count(), 1);
    QCOMPARE(removed.count(), 1);
}

void TestApiController::unhandledReasonsAndObservers()
{
    SimSession sim(QJsonArray{SimSession::cameraJson("SIM-REASON-1")});
    QVERIFY(sim.ok());
    ApiController controller;
    QSignalSpy added(&controller, &ApiController::CameraAdded);
    QSignalSpy removed(&controller, &ApiController::CameraRemoved);
    QSignalSpy openState(&controller, &ApiController::CameraOpenStateChanged);
    QSignalSpy errors(&controller, &ApiController::ApiError);

    // Reason 2 (permitted access changed) is no news for the program.
    controller.OnCameraListChanged(sim.camera("SIM-REASON-1"), Hvx::UpdateTriggerAccessChanged);
    // A removal without a camera object cannot be named: dropped silently.
    controller.OnCameraListChanged(Hvx::CameraPtr(), Hvx::UpdateTriggerPluggedOut);
    QCOMPARE(added.count() + removed.count() + openState.count() + errors.count(), 0);

    // The observers pass every reason on, filtering is the receiver's job.
    CameraObserver cameraObserver;
    QSignalSpy cameraSpy(&cameraObserver, &CameraObserver::CameraListChangedSignal);
    cameraObserver.CameraListChanged(sim.camera("SIM-REASON-1"), Hvx::UpdateTriggerAccessChanged);
    QCOMPARE(cameraSpy.count(), 1);
    QCOMPARE(cameraSpy.at(0).at(0).value<Hvx::CameraPtr>(), sim.camera("SIM-REASON-1"));
    QCOMPARE(cameraSpy.at(0).at(1).value<Hvx::UpdateTriggerType>(),
             Hvx::UpdateTriggerAccessChanged);
    InterfaceObserver interfaceObserver;
    QSignalSpy interfaceSpy(&interfaceObserver, &InterfaceObserver::InterfaceListChangedSignal);
    interfaceObserver.InterfaceListChanged(Hvx::InterfacePtr(), Hvx::UpdateTriggerPluggedOut);
    QCOMPARE(interfaceSpy.count(), 1);
    QCOMPARE(interfaceSpy.at(0).at(1).value<Hvx::UpdateTriggerType>(),
             Hvx::UpdateTriggerPluggedOut);

    // The names under which the SDK types cross threads.
    QVERIFY(QMetaType::type("Hvx::CameraPtr") != QMetaType::UnknownType);
    QVERIFY(QMetaType::type("Hvx::InterfacePtr") != QMetaType::UnknownType);
    QVERIFY(QMetaType::type("Hvx::UpdateTriggerType") != QMetaType::UnknownType);
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

    QCOMPARE(manager.Open("sim::NO-SUCH-CAMERA"), nullptr);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.takeFirst().at(0).toString(),
             QString("Failed to get camera for sim::NO-SUCH-CAMERA (error: Not found.)"));

    // Known but not open: false, and the controller stays silent.
    QCOMPARE(manager.Close("sim::SIM-MGR-1"), false);
    QCOMPARE(errors.count(), 0);
    QCOMPARE(controller->CloseCamera("sim::SIM-MGR-1"), HvErrorDeviceNotOpen);
    QCOMPARE(errors.count(), 0);

    QCOMPARE(manager.Open("sim::SIM-HELD-1"), nullptr);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.takeFirst().at(0).toString(),
             QString("Failed to open camera sim::SIM-HELD-1 (error: Invalid access.)"));

    std::unique_ptr<OxCamera> camera(manager.Open("sim::SIM-MGR-1"));
    QVERIFY(camera);
    QCOMPARE(camera->GetCameraName(), QString("Camera SIM-MGR-1"));
    HvAccessModeType mode = HvAccessModeNone;
    sim.camera("SIM-MGR-1")->GetOpenAccess(mode);
    QCOMPARE(mode, HvAccessModeType(HvAccessModeFull));
    QCOMPARE(manager.Close("sim::SIM-MGR-1"), true);
    sim.camera("SIM-MGR-1")->GetOpenAccess(mode);
    QCOMPARE(mode, HvAccessModeType(HvAccessModeNone));
    QCOMPARE(errors.count(), 0);

    // Unknown IDs fail the close with the lookup text.
    QCOMPARE(manager.Close("sim::NO-SUCH-CAMERA"), false);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.at(0).at(0).toString(),
             QString("Failed to get camera for sim::NO-SUCH-CAMERA (error: Not found.)"));
}

void TestApiController::cameraListCache()
{
    SimSession sim(
        QJsonArray{SimSession::cameraJson("SIM-A-1"), SimSession::cameraJson("SIM-B-2")});
    QVERIFY(sim.ok());
    ApiController controller;
    QSignalSpy errors(&controller, &ApiController::ApiError);
    QVERIFY(controller.GetCameraModel().empty());
    const std::vector<Hvx::CameraPtr> list = controller.UpdateCamerasList();
    QCOMPARE(list.size(), size_t(2));
    QVERIFY(std::find(list.begin(), list.end(), sim.camera("SIM-B-2")) != list.end());
    QVERIFY(controller.GetCameraModel() == list);

    QCOMPARE(sim.control().RemoveCamera("SIM-A-1"), 0);
    QCOMPARE(controller.GetCameraModel().size(), size_t(2)); // cached until refetched
    QCOMPARE(controller.UpdateCamerasList().size(), size_t(1));
    QCOMPARE(controller.GetCameraModel().size(), size_t(1));

    HvVersionInfo version{};
    QCOMPARE(Hvx::HvSystem::GetInstance().QueryVersion(version), HvErrorSuccess);
    QCOMPARE(QString::fromStdString(controller.GetVersion()),
             QStringLiteral("%1.%2.%3").arg(version.major).arg(version.minor).arg(version.patch));
    QCOMPARE(errors.count(), 0);
}

QTEST_GUILESS_MAIN(TestApiController)
#include "TestApiController.moc"
