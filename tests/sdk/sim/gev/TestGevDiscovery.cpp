// Broadcast discovery lists every orvex-sim-gev device with its identity.
// Discovery broadcasts on every interface, so this runs only inside a
// network namespace of its own (see in-netns).

#include "GevTestSupport.h"

#include <set>

TEST(GevDiscovery, BroadcastListsEveryDevice)
{
    const std::string state = testDir("discovery");
    GevProcess a("127.0.0.2", "SIM-GIGE-1001", state);
    GevProcess b("127.0.0.3", "SIM-U3V-2001", state);
    ASSERT_TRUE(a.ready && b.ready);
    arv_update_device_list();
    std::set<std::string> found;
    for (unsigned i = 0; i < arv_get_n_devices(); ++i)
        if (std::string(arv_get_device_protocol(i)) == "GigEVision")
            found.insert(std::string(arv_get_device_address(i)) + " " +
                         arv_get_device_vendor(i) + " " + arv_get_device_model(i) + " " +
                         arv_get_device_serial_nbr(i));
    EXPECT_EQ((std::set<std::string>{"127.0.0.2 Orvex kva640MXGE OX64G1001",
                                     "127.0.0.3 Orvex zt1280MLV OX128U2001"}),
              found);
    arv_shutdown();
    EXPECT_EQ(0, a.stop());
    EXPECT_EQ(0, b.stop());
}
