// Which modules Startup loads from the folders of HVX_TL_PATH.

#include "SdkTestSupport.h"

using namespace SdkTest;

namespace {

std::vector<std::string> LoadedIds()
{
    unsigned int count = 0;
    EXPECT_EQ(HvErrorSuccess, Hvx::HvSystem::GetInstance().GetTransportLayers(nullptr, count));
    std::vector<Hvx::TransportLayerPtr> layers(count);
    EXPECT_EQ(HvErrorSuccess,
              Hvx::HvSystem::GetInstance().GetTransportLayers(layers.data(), count));
    std::vector<std::string> ids;
    for (const auto& layer : layers)
        ids.push_back(Text([&](char* b, unsigned int& l) { return layer->GetID(b, l); }));
    return ids;
}

std::vector<std::string> CameraIds()
{
    unsigned int count = 0;
    EXPECT_EQ(HvErrorSuccess, Hvx::HvSystem::GetInstance().GetCameras(nullptr, count));
    std::vector<Hvx::CameraPtr> cameras(count);
    EXPECT_EQ(HvErrorSuccess, Hvx::HvSystem::GetInstance().GetCameras(cameras.data(), count));
    std::vector<std::string> ids;
    for (const auto& camera : cameras)
        ids.push_back(ExtendedId(camera));
    return ids;
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
    const SearchCase& c = GetParam();
    ModulePath path(c.path.c_str());
    ASSERT_EQ(HvErrorSuccess, Hvx::HvSystem::GetInstance().Startup());
    EXPECT_EQ(c.modules, LoadedIds());
    EXPECT_EQ(HvErrorSuccess, Hvx::HvSystem::GetInstance().Shutdown());
}

// Folder b holds "fake2", a second module with the ID "fake", a module for
// another interface version and a shared object that is no module. Files
// of one folder are taken in name order; the first module of an ID wins.
INSTANTIATE_TEST_SUITE_P(
    HvxTlPath, ModuleSearch,
    ::testing::Values(
        SearchCase{"OneFolder", FAKE_TL_DIR, {"fake"}},
        SearchCase{
            "TwoFoldersInOrder", std::string(FAKE_TL_DIR) + ":" + FAKE_TL_DIR_B, {"fake", "fake2"}},
        // fake_tl_same_id.so comes before fake_tl_second.so.
        SearchCase{"SecondFolderAlone", FAKE_TL_DIR_B, {"fake", "fake2"}},
        SearchCase{"EmptyEntriesIgnored", std::string("::") + FAKE_TL_DIR + ":", {"fake"}},
        SearchCase{"SameFolderTwice", std::string(FAKE_TL_DIR) + ":" + FAKE_TL_DIR, {"fake"}},
        SearchCase{"MissingFolder", "/nonexistent/hvx-modules", {}}),
    [](const ::testing::TestParamInfo<SearchCase>& info) { return info.param.name; });

TEST(ModuleSearchCameras, ExtendedIdsTellTransportLayersApart)
{
    ModulePath path((std::string(FAKE_TL_DIR) + ":" + FAKE_TL_DIR_B).c_str());
    auto& system = Hvx::HvSystem::GetInstance();
    ASSERT_EQ(HvErrorSuccess, system.Startup());
    const std::vector<std::string> expected{"fake::CAM-GEV-1", "fake::CAM-U3V-2",
                                            "fake2::CAM-GEV-1", "fake2::CAM-U3V-2"};
    EXPECT_EQ(expected, CameraIds());

    Hvx::CameraPtr first, second, plain;
    ASSERT_EQ(HvErrorSuccess, system.GetCameraByID("fake::CAM-GEV-1", first));
    ASSERT_EQ(HvErrorSuccess, system.GetCameraByID("fake2::CAM-GEV-1", second));
    EXPECT_NE(first, second);
    // A plain ID that two layers share names the first layer's camera.
    ASSERT_EQ(HvErrorSuccess, system.GetCameraByID("CAM-GEV-1", plain));
    EXPECT_EQ(first, plain);

    // Each camera is served by its own module.
    ASSERT_EQ(HvErrorSuccess, second->Open(HvAccessModeFull));
    EXPECT_EQ(0, FakeHooks::Of(std::string(FAKE_TL_DIR) + "/fake_tl.so").openDevices());
    EXPECT_EQ(1, FakeHooks::Of(std::string(FAKE_TL_DIR_B) + "/fake_tl_second.so").openDevices());
    ASSERT_EQ(HvErrorSuccess, system.Shutdown());
}

TEST(ModuleSearchCameras, NoModuleMeansEmptyListsNotFailure)
{
    ModulePath path("/nonexistent");
    auto& system = Hvx::HvSystem::GetInstance();
    ASSERT_EQ(HvErrorSuccess, system.Startup());
    unsigned int count = 99;
    EXPECT_EQ(HvErrorSuccess, system.GetCameras(nullptr, count));
    EXPECT_EQ(0u, count);
    count = 99;
    EXPECT_EQ(HvErrorSuccess, system.GetInterfaces(nullptr, count));
    EXPECT_EQ(0u, count);
    Hvx::CameraPtr camera;
    EXPECT_EQ(HvErrorNotFound, system.GetCameraByID("fake::CAM-GEV-1", camera));
    ASSERT_EQ(HvErrorSuccess, system.Shutdown());
}
