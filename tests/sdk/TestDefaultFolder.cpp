// Without HVX_TL_PATH the SDK loads the modules of the folder "hvx-tl"
// beside its own library file. This test runs against a copy of libHvx.so
// in a folder of its own, whose hvx-tl folder holds only the fake module.

#include "SdkTestSupport.h"

#include <cstdlib>

using namespace SdkTest;

namespace {

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

TEST(DefaultModuleFolder, UsedWhenHvxTlPathIsUnsetOrEmpty)
{
    unsetenv("HVX_TL_PATH");
    ExpectOnlyTheInstalledFakeModule();
    setenv("HVX_TL_PATH", "", 1);
    ExpectOnlyTheInstalledFakeModule();
    unsetenv("HVX_TL_PATH");
}
