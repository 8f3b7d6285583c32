#include "DeviceFileStore.h"
#include "SimTestUtil.h"

#include <gtest/gtest.h>

#include <dirent.h>

using namespace hvsim;

namespace {

std::vector<std::string> listing(const std::string& dir)
{
    std::vector<std::string> names;
    if (DIR* d = ::opendir(dir.c_str())) {
        while (dirent* e = ::readdir(d))
            if (e->d_name[0] != '.')
                names.push_back(e->d_name);
        ::closedir(d);
    }
    return names;
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
    EXPECT_EQ(listing(dir), std::vector<std::string>{"ShadingMap0"});
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
