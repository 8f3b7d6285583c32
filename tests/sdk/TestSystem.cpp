// The system object: start-up and shutdown, listing and looking up cameras,
// interfaces and transport layers, and what objects of an ended session do.

#include "SdkTestSupport.h"

#include <climits>
#include <cstdlib>

using namespace SdkTest;

namespace {

Hvx::HvSystem& System()
{
    return Hvx::HvSystem::GetInstance();
}

std::string RealPath(const std::string& path)
{
    char* resolved = realpath(path.c_str(), nullptr);
    std::string result = resolved ? resolved : "";
    free(resolved);
    return result;
}

} // namespace

TEST(HvSystemLifecycle, CallsBeforeStartupSayApiNotStarted)
{
    unsigned int count = 7;
    EXPECT_EQ(HvErrorApiNotStarted, System().GetCameras(nullptr, count));
    EXPECT_EQ(7u, count);
    Hvx::CameraPtr camera;
    EXPECT_EQ(HvErrorApiNotStarted, System().GetCameraByID("fake::CAM-GEV-1", camera));
    EXPECT_EQ(nullptr, camera);
    EXPECT_EQ(HvErrorApiNotStarted, System().GetInterfaces(nullptr, count));
    EXPECT_EQ(HvErrorApiNotStarted, System().GetTransportLayers(nullptr, count));
    EXPECT_EQ(HvErrorApiNotStarted, System().Shutdown());
}

TEST(HvSystemLifecycle, VersionIsAvailableWithoutStartup)
{
    HvVersionInfo version{99, 99, 99};
    ASSERT_EQ(HvErrorSuccess, System().QueryVersion(version));
    EXPECT_EQ(1u, version.major);
    EXPECT_EQ(0u, version.minor);
    EXPECT_EQ(0u, version.patch);
}

TEST(HvSystemLifecycle, StartupAndShutdownCount)
{
    ModulePath path(FAKE_TL_DIR);
    ASSERT_EQ(HvErrorSuccess, System().Startup());
    ASSERT_EQ(HvErrorSuccess, System().Startup());
    Hvx::CameraPtr camera;
    ASSERT_EQ(HvErrorSuccess, System().GetCameraByID("fake::CAM-GEV-1", camera));
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull));

    // The inner shutdown leaves everything running.
    EXPECT_EQ(HvErrorSuccess, System().Shutdown());
    HvAccessModeType open = HvAccessModeNone;
    camera->GetOpenAccess(open);
    EXPECT_EQ(HvAccessModeType(HvAccessModeFull), open);
    unsigned int count = 0;
    EXPECT_EQ(HvErrorSuccess, System().GetCameras(nullptr, count));

    // The outer one closes the camera and stops the SDK.
    const FakeHooks hooks = FakeHooks::Of(std::string(FAKE_TL_DIR) + "/fake_tl.so");
    ASSERT_TRUE(hooks.Valid());
    EXPECT_EQ(1, hooks.openDevices());
    EXPECT_EQ(HvErrorSuccess, System().Shutdown());
    camera->GetOpenAccess(open);
    EXPECT_EQ(HvAccessModeType(HvAccessModeNone), open);
    EXPECT_EQ(HvErrorApiNotStarted, System().GetCameras(nullptr, count));
    EXPECT_EQ(HvErrorApiNotStarted, camera->Close());
    // The module was unloaded: its hooks are gone with it.
    EXPECT_FALSE(FakeHooks::Of(std::string(FAKE_TL_DIR) + "/fake_tl.so").Valid());
}

TEST(HvSystemLifecycle, ObjectsOfAnEndedSessionKeepTheirIdentityButNothingElse)
{
    ModulePath path(FAKE_TL_DIR);
    ASSERT_EQ(HvErrorSuccess, System().Startup());
    Hvx::CameraPtr old;
    ASSERT_EQ(HvErrorSuccess, System().GetCameraByID("CAM-GEV-1", old));
    const HvHandle oldHandle = old->GetHandle();
    ASSERT_EQ(HvErrorSuccess, System().Shutdown());

    ASSERT_EQ(HvErrorSuccess, System().Startup());
    Hvx::CameraPtr fresh;
    ASSERT_EQ(HvErrorSuccess, System().GetCameraByID("CAM-GEV-1", fresh));
    EXPECT_NE(old, fresh);
    EXPECT_NE(oldHandle, fresh->GetHandle());
    EXPECT_EQ("fake::CAM-GEV-1", ExtendedId(old));
    EXPECT_EQ(HvErrorBadHandle, old->Open(HvAccessModeFull));
    Hvx::FeaturePtr feature;
    EXPECT_EQ(HvErrorBadHandle, old->GetFeatureByName("Width", feature));
    HvTransportLayerType type = 0;
    EXPECT_EQ(HvErrorBadHandle, old->GetInterfaceType(type));
    EXPECT_EQ(HvErrorSuccess, fresh->Open(HvAccessModeFull));
    EXPECT_EQ(HvErrorSuccess, fresh->Close());
    ASSERT_EQ(HvErrorSuccess, System().Shutdown());
}

class HvSystemListing : public FakeSession
{
};

TEST_F(HvSystemListing, CamerasComeCountThenArray)
{
    unsigned int count = 0;
    ASSERT_EQ(HvErrorSuccess, system().GetCameras(nullptr, count));
    ASSERT_EQ(2u, count);

    std::vector<Hvx::CameraPtr> cameras(count);
    ASSERT_EQ(HvErrorSuccess, system().GetCameras(cameras.data(), count));
    EXPECT_EQ(2u, count);
    EXPECT_EQ("fake::CAM-GEV-1", ExtendedId(cameras[0]));
    EXPECT_EQ("fake::CAM-U3V-2", ExtendedId(cameras[1]));

    // A larger array is filled as far as the list goes.
    std::vector<Hvx::CameraPtr> larger(5);
    count = 5;
    ASSERT_EQ(HvErrorSuccess, system().GetCameras(larger.data(), count));
    EXPECT_EQ(2u, count);
    EXPECT_EQ(nullptr, larger[2]);

    // A short one is filled and reported.
    Hvx::CameraPtr one[1];
    count = 1;
    EXPECT_EQ(HvErrorMoreData, system().GetCameras(one, count));
    EXPECT_EQ(1u, count);
    EXPECT_EQ(cameras[0], one[0]);
}

TEST_F(HvSystemListing, CameraIdentity)
{
    const Hvx::CameraPtr camera = Camera("fake::CAM-U3V-2");
    ASSERT_NE(nullptr, camera);
    EXPECT_EQ("CAM-U3V-2", PlainId(camera));
    EXPECT_EQ("Fake USB 1280",
              Text([&](char* b, unsigned int& l) { return camera->GetModel(b, l); }));
    EXPECT_EQ("Busy one", Text([&](char* b, unsigned int& l) { return camera->GetName(b, l); }));
    EXPECT_EQ("US-0002",
              Text([&](char* b, unsigned int& l) { return camera->GetSerialNumber(b, l); }));
    EXPECT_EQ("fake-if-1",
              Text([&](char* b, unsigned int& l) { return camera->GetInterfaceID(b, l); }));
    HvAccessModeType access = 0;
    ASSERT_EQ(HvErrorSuccess, camera->GetPermittedAccess(access));
    EXPECT_EQ(HvAccessModeType(HvAccessModeRead), access);
    HvTransportLayerType type = 0;
    ASSERT_EQ(HvErrorSuccess, camera->GetInterfaceType(type));
    EXPECT_EQ(HvTransportLayerType(HvTransportLayerTypeU3V), type);
}

TEST_F(HvSystemListing, LookupByPlainOrExtendedIdGivesTheSameObject)
{
    Hvx::CameraPtr byPlain, byExtended, listed[2];
    ASSERT_EQ(HvErrorSuccess, system().GetCameraByID("CAM-GEV-1", byPlain));
    ASSERT_EQ(HvErrorSuccess, system().GetCameraByID("fake::CAM-GEV-1", byExtended));
    unsigned int count = 2;
    ASSERT_EQ(HvErrorSuccess, system().GetCameras(listed, count));
    EXPECT_EQ(byPlain, byExtended);
    EXPECT_EQ(byPlain, listed[0]);

    Hvx::CameraPtr missing;
    EXPECT_EQ(HvErrorNotFound, system().GetCameraByID("CAM-NONE", missing));
    EXPECT_EQ(HvErrorNotFound, system().GetCameraByID("other::CAM-GEV-1", missing));
    EXPECT_EQ(HvErrorNotFound, system().GetCameraByID("fake::", missing));
    EXPECT_EQ(nullptr, missing);
    EXPECT_EQ(HvErrorBadParameter, system().GetCameraByID(nullptr, missing));
}

TEST_F(HvSystemListing, TransportLayerReportsItsModuleFile)
{
    unsigned int count = 0;
    ASSERT_EQ(HvErrorSuccess, system().GetTransportLayers(nullptr, count));
    ASSERT_EQ(1u, count);
    Hvx::TransportLayerPtr layers[1];
    ASSERT_EQ(HvErrorSuccess, system().GetTransportLayers(layers, count));

    Hvx::TransportLayerPtr ofCamera;
    ASSERT_EQ(HvErrorSuccess, Camera("CAM-GEV-1")->GetTransportLayer(ofCamera));
    EXPECT_EQ(layers[0], ofCamera);
    EXPECT_EQ("fake", Text([&](char* b, unsigned int& l) { return ofCamera->GetID(b, l); }));
    EXPECT_EQ("Fake transport layer fake",
              Text([&](char* b, unsigned int& l) { return ofCamera->GetName(b, l); }));
    EXPECT_EQ(RealPath(std::string(FAKE_TL_DIR) + "/fake_tl.so"),
              Text([&](char* b, unsigned int& l) { return ofCamera->GetPath(b, l); }));

    Hvx::TransportLayerPtr byId;
    EXPECT_EQ(HvErrorSuccess, system().GetTransportLayerByID("fake", byId));
    EXPECT_EQ(ofCamera, byId);
    EXPECT_EQ(HvErrorNotFound, system().GetTransportLayerByID("sim", byId));
}

TEST_F(HvSystemListing, InterfacesAndTheirFeatures)
{
    unsigned int count = 0;
    ASSERT_EQ(HvErrorSuccess, system().GetInterfaces(nullptr, count));
    ASSERT_EQ(2u, count);

    Hvx::InterfacePtr ofCamera;
    ASSERT_EQ(HvErrorSuccess, Camera("CAM-GEV-1")->GetInterface(ofCamera));
    Hvx::InterfacePtr byId, byExtendedId;
    ASSERT_EQ(HvErrorSuccess, system().GetInterfaceByID("fake-if-0", byId));
    ASSERT_EQ(HvErrorSuccess, system().GetInterfaceByID("fake::fake-if-0", byExtendedId));
    EXPECT_EQ(ofCamera, byId);
    EXPECT_EQ(ofCamera, byExtendedId);
    EXPECT_EQ("Fake network card",
              Text([&](char* b, unsigned int& l) { return byId->GetName(b, l); }));
    HvTransportLayerType type = 0;
    byId->GetType(type);
    EXPECT_EQ(HvTransportLayerType(HvTransportLayerTypeGEV), type);

    // Interface features need no open camera.
    Hvx::FeaturePtr speed;
    ASSERT_EQ(HvErrorSuccess, byId->GetFeatureByName("InterfaceSpeed", speed));
    int64_t value = 0;
    EXPECT_EQ(HvErrorSuccess, speed->GetIntValue(value));
    EXPECT_EQ(1000, value);
    EXPECT_EQ(HvErrorInvalidAccess, speed->SetIntValue(100));

    // An interface without features has none to find.
    Hvx::InterfacePtr usb;
    ASSERT_EQ(HvErrorSuccess, system().GetInterfaceByID("fake-if-1", usb));
    EXPECT_EQ(HvErrorNotFound, usb->GetFeatureByName("InterfaceSpeed", speed));
    EXPECT_EQ(HvErrorNotFound, system().GetInterfaceByID("fake-if-9", usb));
}

TEST_F(HvSystemListing, OpenCameraByIdOpensTheListedObject)
{
    Hvx::CameraPtr camera;
    ASSERT_EQ(HvErrorSuccess, system().OpenCameraByID("CAM-GEV-1", HvAccessModeFull, camera));
    EXPECT_EQ(Camera("fake::CAM-GEV-1"), camera);
    Hvx::CameraPtr again;
    EXPECT_EQ(HvErrorInvalidCall, system().OpenCameraByID("CAM-GEV-1", HvAccessModeFull, again));
    EXPECT_EQ(nullptr, again);
    EXPECT_EQ(HvErrorInvalidAccess, system().OpenCameraByID("CAM-U3V-2", HvAccessModeFull, again));
    EXPECT_EQ(HvErrorNotFound, system().OpenCameraByID("CAM-X", HvAccessModeFull, again));
    EXPECT_EQ(HvErrorSuccess, camera->Close());
}
