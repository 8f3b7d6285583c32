// What the SDK path cannot reach: the wording of configuration mistakes,
// the file store's names and folders, and atomic replacement.

#include "DeviceFileStore.h"
#include "SimCameraConfig.h"
#include "SimTestUtil.h"

#include <dirent.h>

using namespace hvsim;

namespace {

TEST(SimConfig, MistakesAreNamed)
{
    const std::pair<const char*, const char*> cases[] = {
        {"{", "parse"},
        {R"({"cameras": [{"model": "x"}]})", "id"},
        {R"({"cameras": [{"id": "a", "transport": "CXP"}]})", "transport"},
        {R"({"cameras": [{"id": "a", "width": 0}]})", "sensor size"},
        {R"({"cameras": [{"id": "a"}, {"id": "a"}]})", "twice"},
        {R"({"cameras": [{"id": "a", "files": [{"selector": "S", "kind": "odd"}]}]})", "kind"},
        {R"({"cameras": [{"id": "a", "extraFeatures": [{"name": "Q", "type": "Quaternion"}]}]})",
         "Quaternion"},
    };
    for (auto [text, word] : cases) {
        SimConfig config;
        std::string error;
        EXPECT_FALSE(SimConfig::parse(text, config, &error)) << text;
        EXPECT_NE(error.find(word), std::string::npos) << text << " -> " << error;
    }
}

TEST(DeviceFileStore, CommitReplacesWholeFilesAndLeavesNoTemporaries)
{
    const std::string dir = simtest::freshFolder("store") + "/cam/nested";
    DeviceFileStore store(dir);
    std::vector<uint8_t> bytes;
    EXPECT_FALSE(store.load("ShadingMap0", bytes));
    ASSERT_TRUE(store.commit("ShadingMap0", {1, 2, 3}));
    ASSERT_TRUE(store.commit("ShadingMap0", {9}));
    ASSERT_TRUE(store.load("ShadingMap0", bytes));
    EXPECT_EQ(bytes, std::vector<uint8_t>{9});
    std::vector<std::string> names;
    if (DIR* d = ::opendir(dir.c_str())) {
        while (dirent* e = ::readdir(d))
            if (e->d_name[0] != '.')
                names.push_back(e->d_name);
        ::closedir(d);
    }
    EXPECT_EQ(names, std::vector<std::string>{"ShadingMap0"});
    EXPECT_TRUE(store.remove("ShadingMap0"));
    EXPECT_TRUE(store.remove("ShadingMap0")) << "removing what is gone is no error";
    EXPECT_FALSE(store.exists("ShadingMap0"));
}

TEST(DeviceFileStore, NamesCannotLeaveTheFolder)
{
    EXPECT_EQ(DeviceFileStore::safeName("../etc/passwd"), "_.._etc_passwd");
    EXPECT_EQ(DeviceFileStore::safeName("Userfile.nuc_usermap1.ge3"), "Userfile.nuc_usermap1.ge3");
    EXPECT_EQ(DeviceFileStore::safeName(""), "_");
    EXPECT_EQ(DeviceFileStore::safeName("a b/c"), "a_b_c");
}

TEST(DeviceFileStore, StateRootFollowsTheEnvironment)
{
    ::setenv("HVX_SIM_STATE", "/x/state", 1);
    ::setenv("XDG_DATA_HOME", "/x/data", 1);
    ::setenv("HOME", "/x/home", 1);
    EXPECT_EQ(DeviceFileStore::defaultStateRoot(), "/x/state");
    ::setenv("HVX_SIM_STATE", "", 1);
    EXPECT_EQ(DeviceFileStore::defaultStateRoot(), "/x/data/orvex-sim");
    ::unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(DeviceFileStore::defaultStateRoot(), "/x/home/.local/share/orvex-sim");
}

} // namespace
