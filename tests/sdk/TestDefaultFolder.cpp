// Without HVX_TL_PATH the SDK loads the modules of the folder "hvx-tl"
// beside its own library file. This test runs against a copy of libHvx.so
// in a folder of its own, whose hvx-tl folder holds only the fake module.

#include "SdkTestSupport.h"

#include <cstdlib>

using namespace SdkTest;

namespace {

std::string RealPath(const std::string& path)
{
    char* resolved = realpath(path.c_str(), nullptr);
    std::string result = resolved ? resolved : "";
    free(resolved);
    return result;
}

void ExpectOnlyTheInstalledFakeModule()
{
    auto& system = Hvx::HvSystem::GetInstance();
    ASSERT_EQ(HvErrorSuccess, system.Startup());
    unsigned int count = 0;
    ASSERT_EQ(HvErrorSuccess, system.GetTransportLayers(nullptr, count));
    ASSERT_EQ(1u, count);
    Hvx::TransportLayerPtr layer[1];
    ASSERT_EQ(HvErrorSuccess, system.GetTransportLayers(layer, count));
    EXPECT_EQ(RealPath(std::string(INSTALLED_LIB_DIR) + "/hvx-tl/fake_tl_installed.so"),
              Text([&](char* b, unsigned int& l) { return layer[0]->GetPath(b, l); }));
    Hvx::CameraPtr camera;
    EXPECT_EQ(HvErrorSuccess, system.GetCameraByID("fake::CAM-GEV-1", camera));
    ASSERT_EQ(HvErrorSuccess, system.Shutdown());
}

} // namespace

TEST(DefaultModuleFolder, UsedWhenHvxTlPathIsUnset)
{
    unsetenv("HVX_TL_PATH");
    ExpectOnlyTheInstalledFakeModule();
}

TEST(DefaultModuleFolder, UsedWhenHvxTlPathIsEmpty)
{
    setenv("HVX_TL_PATH", "", 1);
    ExpectOnlyTheInstalledFakeModule();
    unsetenv("HVX_TL_PATH");
}

TEST(DefaultModuleFolder, NotUsedWhenHvxTlPathIsSet)
{
    setenv("HVX_TL_PATH", FAKE_TL_DIR, 1);
    auto& system = Hvx::HvSystem::GetInstance();
    ASSERT_EQ(HvErrorSuccess, system.Startup());
    Hvx::TransportLayerPtr layer;
    ASSERT_EQ(HvErrorSuccess, system.GetTransportLayerByID("fake", layer));
    EXPECT_EQ(RealPath(std::string(FAKE_TL_DIR) + "/fake_tl.so"),
              Text([&](char* b, unsigned int& l) { return layer->GetPath(b, l); }));
    ASSERT_EQ(HvErrorSuccess, system.Shutdown());
    unsetenv("HVX_TL_PATH");
}
