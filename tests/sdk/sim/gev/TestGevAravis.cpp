// orvex-sim-gev against Aravis as the independent client: every feature
// reads what the simulated camera holds. Addresses 127.0.0.21-24. The control
// privilege, slow commands, frames, files, faults on the wire and discovery
// are tested through the Aravis transport layer (tests/sdk/aravis).

#include "GevTestSupport.h"

#include "SimCamera.h"

#include <arv.h>

using namespace hvsim;

// Every typed feature of each default camera reads over the wire exactly
// what the same camera holds in-process, and a read-only one is refused as
// a device refuses it.
TEST(GevAravis, EveryFeatureReadsWhatTheCameraHolds)
{
    const std::vector<CameraConfig> cameras = SimConfig::defaults().cameras;
    for (size_t i = 0; i < cameras.size(); ++i) {
        SCOPED_TRACE(cameras[i].id);
        const std::string address = "127.0.0." + std::to_string(21 + i);
        GevProcess gev(address, cameras[i].id, testDir("features"));
        ASSERT_TRUE(gev.ready);
        SimCamera ref(cameras[i], testDir("reference"));
        ASSERT_EQ(Ok, ref.open(ref.fullAccessPermitted()));
        g_autoptr(GInetAddress) host = g_inet_address_new_from_string("127.0.0.1");
        g_autoptr(GInetAddress) device = g_inet_address_new_from_string(address.c_str());
        g_autoptr(ArvDevice) dev = arv_gv_device_new(host, device, nullptr);
        ASSERT_TRUE(dev);

        SimFeatureSet& fs = ref.features();
        for (const auto& name : fs.names()) {
            SCOPED_TRACE(name);
            FeatureType type;
            Access access;
            fs.info(name, type, access);
            if (!isReadable(access) || type == FeatureType::Command)
                continue;
            GError* e = nullptr;
            const char* n = name.c_str();
            if (type == FeatureType::Integer) {
                int64_t v = 0;
                fs.getInt(name, v);
                EXPECT_EQ(v, arv_device_get_integer_feature_value(dev, n, &e));
                // A read-only one refuses a write as a device does (a camera
                // another application holds refuses every write).
                if (!isWritable(access)) {
                    arv_device_set_integer_feature_value(dev, n, v, &e);
                    EXPECT_EQ(ref.config().heldByOtherApplication
                                  ? ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED
                                  : ARV_DEVICE_ERROR_PROTOCOL_ERROR_WRITE_PROTECT,
                              e ? e->code : -1);
                    g_clear_error(&e);
                }
            } else if (type == FeatureType::Float) {
                double v = 0;
                fs.getFloat(name, v);
                EXPECT_EQ(v, arv_device_get_float_feature_value(dev, n, &e));
            } else if (type == FeatureType::Boolean) {
                bool v = false;
                fs.getBool(name, v);
                EXPECT_EQ(v, bool(arv_device_get_boolean_feature_value(dev, n, &e)));
            } else if (type == FeatureType::Register) {
                std::vector<uint8_t> v;
                fs.getRegister(name, v);
                std::vector<uint8_t> wire(v.size());
                arv_gc_register_get(ARV_GC_REGISTER(arv_device_get_feature(dev, n)), wire.data(),
                                    wire.size(), &e);
                EXPECT_EQ(v, wire);
            } else {
                std::string v;
                type == FeatureType::String ? fs.getString(name, v) : fs.getEnum(name, v);
                const char* wire = arv_device_get_string_feature_value(dev, n, &e);
                EXPECT_EQ(v, wire ? wire : "");
            }
            EXPECT_EQ(nullptr, e) << (e ? e->message : "");
            g_clear_error(&e);
        }
        // The camera's raw registers are on the wire too.
        guint32 raw = 0;
        int64_t selected = -1;
        if (fs.getInt("Shading_MapSelect", selected) == Ok) {
            EXPECT_TRUE(arv_device_read_register(dev, SimCamera::kShadingMapSelectRegister, &raw,
                                                 nullptr) &&
                        raw == selected);
        }
        EXPECT_EQ(0, gev.stop());
    }
}
