// The system object: start-up and shutdown, the module search, listing and
// looking up cameras, and what objects of an ended session do.

#include "SdkTestSupport.h"

#include <algorithm>

using namespace SdkTest;

namespace {

Hvx::HvSystem& System()
{
    return Hvx::HvSystem::GetInstance();
}

template <typename T, typename Name>
std::vector<std::string> Listed(HvErrorType (Hvx::HvSystem::*list)(T*, unsigned int&), Name name)
{
    unsigned int count = 0;
    EXPECT_EQ(HvErrorSuccess, (System().*list)(nullptr, count));
    std::vector<T> items(count);
    EXPECT_EQ(HvErrorSuccess, (System().*list)(items.data(), count));
    std::vector<std::string> names;
    for (const auto& item : items)
        names.push_back(name(item));
    return names;
}

std::vector<std::string> LoadedIds()
{
    return Listed(&Hvx::HvSystem::GetTransportLayers, [](const Hvx::TransportLayerPtr& layer) {
        return Text([&](char* b, unsigned int& l) { return layer->GetID(b, l); });
    });
}

struct SearchCase
{
    const char* name;
    std::string path;
    std::vector<std::string> modules;
};

class ModuleSearch : public ::testing::TestWithParam<SearchCase>
{
};

} // namespace

TEST_P(ModuleSearch, LoadsTheModulesOfTheListedFolders)
{
    ModulePath path(GetParam().path.c_str());
    ASSERT_EQ(HvErrorSuccess, System().Startup());
    EXPECT_EQ(GetParam().modules, LoadedIds());
    unsigned int count = 99;
    EXPECT_EQ(HvErrorSuccess, System().GetCameras(nullptr, count));
    EXPECT_EQ(2 * GetParam().modules.size(), count);
    EXPECT_EQ(HvErrorSuccess, System().Shutdown());
}

// Folder b holds "fake2", a second module with the ID "fake", a module for
// another interface version and a shared object that is no module. Files
// of one folder are taken in name order (fake_tl_same_id.so before
// fake_tl_second.so); the first module of an ID wins.
INSTANTIATE_TEST_SUITE_P(
    HvxTlPath, ModuleSearch,
    ::testing::Values(
        SearchCase{"OneFolder", FAKE_TL_DIR, {"fake"}},
        SearchCase{
            "TwoFoldersInOrder", std::string(FAKE_TL_DIR) + ":" + FAKE_TL_DIR_B, {"fake", "fake2"}},
        SearchCase{"SecondFolderAlone", FAKE_TL_DIR_B, {"fake", "fake2"}},
        SearchCase{"EmptyEntriesIgnored", std::string("::") + FAKE_TL_DIR + ":", {"fake"}},
        SearchCase{"SameFolderTwice", std::string(FAKE_TL_DIR) + ":" + FAKE_TL_DIR, {"fake"}},
        SearchCase{"MissingFolder", "/nonexistent/hvx-modules", {}}),
    [](const ::testing::TestParamInfo<SearchCase>& info) { return info.param.name; });

TEST(ModuleSearchCameras, ExtendedIdsTellTransportLayersApart)
{
    ModulePath path((std::string(FAKE_TL_DIR) + ":" + FAKE_TL_DIR_B).c_str());
    ASSERT_EQ(HvErrorSuccess, System().Startup());
    EXPECT_EQ((std::vector<std::string>{"fake::CAM-GEV-1", "fake::CAM-U3V-2", "fake2::CAM-GEV-1",
                                        "fake2::CAM-U3V-2"}),
              Listed(&Hvx::HvSystem::GetCameras, ExtendedId));
    Hvx::CameraPtr first, second, plain;
    ASSERT_EQ(HvErrorSuccess, System().GetCameraByID("fake::CAM-GEV-1", first));
    ASSERT_EQ(HvErrorSuccess, System().GetCameraByID("fake2::CAM-GEV-1", second));
    EXPECT_NE(first, second);
    // A plain ID that two layers share names the first layer's camera.
    ASSERT_EQ(HvErrorSuccess, System().GetCameraByID("CAM-GEV-1", plain));
    EXPECT_EQ(first, plain);
    ASSERT_EQ(HvErrorSuccess, System().Shutdown());
}

// A module whose discovery broadcasts starts only when the program asks for
// it; the others only unless the program asks for on-request modules alone.
TEST(ModuleSelection, StartsTheSelectedKindsOnly)
{
    ModulePath path(FAKE_TL_DIR_C);
    const struct
    {
        HvModuleSelectionType selection;
        std::vector<std::string> started;
    } cases[] = {
        {HvModuleSelectionStandard, {"fake"}},
        {HvModuleSelectionOnRequest, {"wire"}},
        {HvModuleSelectionAll, {"fake", "wire"}},
    };
    EXPECT_EQ(HvModuleSelectionType(HvModuleSelectionStandard), System().SelectedModules());
    for (const auto& c : cases) {
        ASSERT_EQ(HvErrorSuccess, System().SelectModules(c.selection));
        ASSERT_EQ(HvErrorSuccess, System().Startup());
        std::vector<std::string> ids = LoadedIds();
        std::sort(ids.begin(), ids.end());
        EXPECT_EQ(c.started, ids) << "selection " << c.selection;
        System().Shutdown();
    }
    EXPECT_EQ(HvErrorBadParameter, System().SelectModules(4));
    System().SelectModules(HvModuleSelectionStandard);
}

TEST(HvSystemLifecycle, CallsBeforeStartupSayApiNotStarted)
{
    unsigned int count = 7;
    EXPECT_EQ(HvErrorApiNotStarted, System().GetCameras(nullptr, count));
    Hvx::CameraPtr camera;
    EXPECT_EQ(HvErrorApiNotStarted, System().GetCameraByID("fake::CAM-GEV-1", camera));
    EXPECT_EQ(HvErrorApiNotStarted, System().Shutdown());
    // The version needs no start-up.
    HvVersionInfo version{99, 99, 99};
    ASSERT_EQ(HvErrorSuccess, System().QueryVersion(version));
    EXPECT_EQ((std::vector<uint32_t>{1, 0, 0}),
              (std::vector<uint32_t>{version.major, version.minor, version.patch}));
}

TEST(HvSystemLifecycle, StartupAndShutdownCountAndEndASession)
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
    FakeHooks hooks = FakeHooks::Of(std::string(FAKE_TL_DIR) + "/fake_tl.so");
    ASSERT_TRUE(hooks.Valid());
    EXPECT_EQ(1, hooks.openDevices());
    EXPECT_EQ(HvErrorSuccess, System().Shutdown());
    camera->GetOpenAccess(open);
    EXPECT_EQ(HvAccessModeType(HvAccessModeNone), open);
    EXPECT_EQ(HvErrorApiNotStarted, System().GetCameras(nullptr, count));
    EXPECT_EQ(HvErrorApiNotStarted, camera->Close());
    // The module was unloaded: its hooks are gone with it.
    EXPECT_FALSE(FakeHooks::Of(std::string(FAKE_TL_DIR) + "/fake_tl.so").Valid());

    // Objects of an ended session keep their identity but nothing else.
    ASSERT_EQ(HvErrorSuccess, System().Startup());
    Hvx::CameraPtr fresh;
    ASSERT_EQ(HvErrorSuccess, System().GetCameraByID("CAM-GEV-1", fresh));
    EXPECT_NE(camera, fresh);
    EXPECT_NE(camera->GetHandle(), fresh->GetHandle());
    EXPECT_EQ("fake::CAM-GEV-1", ExtendedId(camera));
    EXPECT_EQ(HvErrorBadHandle, camera->Open(HvAccessModeFull));
    EXPECT_EQ(HvErrorSuccess, fresh->Open(HvAccessModeFull));
    ASSERT_EQ(HvErrorSuccess, System().Shutdown());
}

class HvSystemListing : public FakeSession
{
};

TEST_F(HvSystemListing, CamerasComeCountThenArrayAndByPlainOrExtendedId)
{
    // A short array is filled and reported.
    Hvx::CameraPtr one[1];
    unsigned int count = 1;
    EXPECT_EQ(HvErrorMoreData, system().GetCameras(one, count));
    EXPECT_EQ(1u, count);
    EXPECT_EQ(Camera("CAM-GEV-1"), one[0]);
    EXPECT_EQ(Camera("fake::CAM-GEV-1"), one[0]);

    Hvx::CameraPtr missing;
    EXPECT_EQ(HvErrorNotFound, system().GetCameraByID("other::CAM-GEV-1", missing));
    EXPECT_EQ(HvErrorNotFound, system().GetCameraByID("fake::", missing));
}

TEST_F(HvSystemListing, CameraByAddressJoinsTheListAndIsAnnounced)
{
    auto recorder = std::make_shared<Recorder>();
    ASSERT_EQ(HvErrorSuccess, system().RegisterCameraListObserver(recorder));
    Hvx::CameraPtr camera;
    EXPECT_EQ(HvErrorNotFound, system().AddCameraByAddress("10.0.0.8", camera));
    EXPECT_EQ(HvErrorBadParameter, system().AddCameraByAddress("", camera));
    EXPECT_EQ(nullptr, camera);
    ASSERT_EQ(HvErrorSuccess, system().AddCameraByAddress("10.0.0.7", camera));
    ASSERT_NE(nullptr, camera);
    EXPECT_EQ("fake::CAM-ADDR-7", ExtendedId(camera));
    EXPECT_EQ(camera, Camera("CAM-ADDR-7"));
    EXPECT_EQ((Expected{{"fake::CAM-ADDR-7", Hvx::UpdateTriggerPluggedIn}}),
              Summary(recorder->WaitFor(1)));
    system().UnregisterCameraListObserver(recorder);
}
