// orvex-sim-gev against Aravis as the independent client: every feature
// reads what the simulated camera holds, writes land in the camera, the
// control privilege is contended as on a real device, frames arrive whole,
// and slow commands are announced. Addresses 127.0.0.21-29. Files, faults on
// the wire and discovery are tested through the Aravis transport layer
// (tests/sdk/aravis).

#include "GevTestSupport.h"

#include "SensorModel.h"
#include "SimCamera.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <memory>

using namespace hvsim;

namespace {

std::string run(const std::string& command, int* status)
{
    std::string out;
    FILE* p = ::popen(command.c_str(), "r");
    char buffer[4096];
    size_t n;
    while (p && (n = std::fread(buffer, 1, sizeof buffer, p)) > 0)
        out.append(buffer, n);
    *status = p ? ::pclose(p) : -1;
    return out;
}

struct AravisDevice
{
    explicit AravisDevice(const std::string& address) : d(openDevice(address)) {}
    ~AravisDevice()
    {
        if (d)
            g_object_unref(d);
    }
    ArvDevice* d;
};

int errorCode(GError*& e)
{
    const int code = e ? e->code : -1;
    g_clear_error(&e);
    return code;
}

} // namespace

// Every typed feature of each default camera reads over the wire exactly
// what the same camera holds in-process, and arv-tool lists them all.
TEST(GevAravis, EveryFeatureReadsWhatTheCameraHolds)
{
    const std::array<const char*, 4> ids{"SIM-GIGE-1001", "SIM-U3V-2001", "SIM-GIGE-3001",
                                         "SIM-GIGE-4001"};
    for (size_t i = 0; i < ids.size(); ++i) {
        SCOPED_TRACE(ids[i]);
        const std::string address = "127.0.0." + std::to_string(21 + i);
        GevProcess gev(address, ids[i], testDir("features"));
        ASSERT_TRUE(gev.ready);
        SimCamera ref(SimConfig::defaults().cameras[i], testDir("reference"));
        ASSERT_EQ(Ok, ref.open(ref.fullAccessPermitted()));
        AravisDevice dev(address);
        ASSERT_TRUE(dev.d);
        int status = 0;
        const std::string values = run("arv-tool-0.8 -a " + address + " values 2>&1", &status);
        EXPECT_EQ(0, status);
        EXPECT_EQ(std::string::npos, values.find("rror")) << values;

        SimFeatureSet& fs = ref.features();
        for (const auto& name : fs.names()) {
            SCOPED_TRACE(name);
            FeatureType type;
            Access access;
            fs.info(name, type, access);
            EXPECT_NE(std::string::npos, values.find("'" + name + "'"));
            if (!isReadable(access) || type == FeatureType::Command)
                continue;
            GError* e = nullptr;
            const char* n = name.c_str();
            if (type == FeatureType::Integer) {
                int64_t v = 0;
                fs.getInt(name, v);
                EXPECT_EQ(v, arv_device_get_integer_feature_value(dev.d, n, &e));
            } else if (type == FeatureType::Float) {
                double v = 0;
                fs.getFloat(name, v);
                EXPECT_EQ(v, arv_device_get_float_feature_value(dev.d, n, &e));
            } else if (type == FeatureType::Boolean) {
                bool v = false;
                fs.getBool(name, v);
                EXPECT_EQ(v, bool(arv_device_get_boolean_feature_value(dev.d, n, &e)));
            } else if (type == FeatureType::Register) {
                size_t length = 0;
                fs.registerLength(name, length);
                std::vector<uint8_t> bytes(length);
                arv_gc_register_get(ARV_GC_REGISTER(arv_device_get_feature(dev.d, n)),
                                    bytes.data(), length, &e);
            } else {
                std::string v;
                type == FeatureType::String ? fs.getString(name, v) : fs.getEnum(name, v);
                const char* wire = arv_device_get_string_feature_value(dev.d, n, &e);
                EXPECT_EQ(v, wire ? wire : "");
            }
            EXPECT_EQ(nullptr, e) << (e ? e->message : "");
            g_clear_error(&e);
        }
        EXPECT_EQ(0, gev.stop());
    }
}

// Writes change the simulated camera itself: what it stores, its raw
// registers and its bootstrap name follow; refused writes are answered
// with the code a device gives.
TEST(GevAravis, WritesLandInTheCamera)
{
    const std::string state = testDir("writes");
    GevProcess gev("127.0.0.25", "SIM-GIGE-1001", state);
    ASSERT_TRUE(gev.ready);
    AravisDevice dev(gev.address);
    ASSERT_TRUE(dev.d);
    GError* e = nullptr;
    arv_device_set_float_feature_value(dev.d, "ExposureTime", 1234.5, &e);
    arv_device_set_float_feature_value(dev.d, "Gain", 6.0, &e);
    arv_device_set_string_feature_value(dev.d, "UserSetSelector", "UserSet1", &e);
    arv_device_execute_command(dev.d, "UserSetSave", &e);
    arv_device_set_integer_feature_value(dev.d, "Shading_MapSelect", 2, &e);
    arv_device_set_string_feature_value(dev.d, "DeviceUserID", "bench", &e);
    ASSERT_EQ(nullptr, e) << e->message;

    std::ifstream saved(state + "/OX64G1001/UserSet1.json");
    nlohmann::json j = nlohmann::json::parse(saved, nullptr, false);
    EXPECT_EQ(1234.5, j.value("ExposureTime", 0.0));
    EXPECT_EQ(6.0, j.value("Gain", 0.0));
    guint32 selected = 0;
    arv_device_read_register(dev.d, SimCamera::kShadingMapSelectRegister, &selected, &e);
    EXPECT_EQ(2u, selected);
    char name[16] = {};
    arv_device_read_memory(dev.d, 0xE8, sizeof name, name, &e);
    EXPECT_STREQ("bench", name);

    const struct
    {
        const char* feature;
        int64_t value;
        int code;
    } refused[] = {{"Gain", 99, ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_PARAMETER},
                   {"Width", 320, ARV_DEVICE_ERROR_PROTOCOL_ERROR_WRITE_PROTECT},
                   {"Shading_Control", 5, ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_PARAMETER}};
    for (const auto& r : refused) {
        if (std::string(r.feature) == "Gain")
            arv_device_set_float_feature_value(dev.d, r.feature, double(r.value), &e);
        else
            arv_device_set_integer_feature_value(dev.d, r.feature, r.value, &e);
        EXPECT_EQ(r.code, errorCode(e)) << r.feature;
    }
    EXPECT_EQ(6.0, arv_device_get_float_feature_value(dev.d, "Gain", &e));
    EXPECT_EQ(0, gev.stop());
}

// A second host is refused at once (not left to time out); it takes over
// when the first lets go, or when the first's heartbeat runs out.
TEST(GevAravis, ControlPrivilegeIsContended)
{
    GevProcess gev("127.0.0.26", "SIM-GIGE-1001", testDir("control"));
    ASSERT_TRUE(gev.ready);
    RawHost first(gev.address);
    EXPECT_EQ(0, first.writeReg(0x0A00, 2, 1).status);
    AravisDevice second(gev.address);
    ASSERT_TRUE(second.d);
    EXPECT_FALSE(arv_gv_device_is_controller(ARV_GV_DEVICE(second.d)));
    GError* e = nullptr;
    arv_device_set_float_feature_value(second.d, "Gain", 3.0, &e);
    EXPECT_EQ(ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED, errorCode(e));

    // The first lets go: the second takes over at once.
    EXPECT_EQ(0, first.writeReg(0x0A00, 0, 2).status);
    EXPECT_TRUE(arv_gv_device_take_control(ARV_GV_DEVICE(second.d), nullptr));
    EXPECT_EQ(0x8006, first.writeReg(0x0A00, 2, 3).status);
    EXPECT_TRUE(arv_gv_device_leave_control(ARV_GV_DEVICE(second.d), nullptr));

    // The first takes control with a short heartbeat and falls silent.
    EXPECT_EQ(0, first.writeReg(0x0A00, 2, 4).status);
    EXPECT_EQ(0, first.writeReg(0x0938, 500, 5).status);
    EXPECT_FALSE(arv_gv_device_take_control(ARV_GV_DEVICE(second.d), nullptr));
    bool taken = false;
    for (int i = 0; i < 100 && !taken; ++i) {
        g_usleep(100000);
        taken = arv_gv_device_take_control(ARV_GV_DEVICE(second.d), nullptr);
    }
    ASSERT_TRUE(taken);
    arv_device_set_float_feature_value(second.d, "Gain", 3.0, &e);
    EXPECT_EQ(nullptr, e);
    EXPECT_EQ(3.0, arv_device_get_float_feature_value(second.d, "Gain", &e));
    EXPECT_EQ(0x8006, first.writeReg(0x0A00, 2, 6).status);
    EXPECT_EQ(0, gev.stop());
}

// Frames arrive complete, carry the sensor model's pixels and the format
// the camera is configured with.
TEST(GevAravis, FramesArriveComplete)
{
    const struct
    {
        size_t camera;
        const char* address;
    } rows[] = {{0, "127.0.0.27"}, {1, "127.0.0.28"}};
    // The noise of frame k is then the sensor model's for seed k.
    setenv("HVX_SIM_NOISE_SEED", "0", 1);
    for (const auto& row : rows) {
        const CameraConfig config = SimConfig::defaults().cameras[row.camera];
        SCOPED_TRACE(config.id);
        GevProcess gev(row.address, config.id, testDir("frames"));
        ASSERT_TRUE(gev.ready);
        AravisDevice dev(gev.address);
        ASSERT_TRUE(dev.d);
        GError* e = nullptr;
        const gint64 payload = arv_device_get_integer_feature_value(dev.d, "PayloadSize", &e);
        const double exposure = arv_device_get_float_feature_value(dev.d, "ExposureTime", &e);
        ArvStream* stream = arv_device_create_stream(dev.d, nullptr, nullptr, &e);
        ASSERT_TRUE(stream) << e->message;
        for (int i = 0; i < 8; ++i)
            arv_stream_push_buffer(stream, arv_buffer_new(size_t(payload), nullptr));
        arv_device_execute_command(dev.d, "AcquisitionStart", &e);
        SensorModel sensor(config.width, config.height, config.pixelFormat,
                           [&] {
                               uint64_t h = 1469598103934665603ull;
                               for (unsigned char c : config.serial)
                                   h = (h ^ c) * 1099511628211ull;
                               return h;
                           }());
        int complete = 0;
        for (int i = 0; i < 20 && complete < 3; ++i) {
            ArvBuffer* b = arv_stream_timeout_pop_buffer(stream, 5000000);
            if (!b)
                continue;
            if (arv_buffer_get_status(b) == ARV_BUFFER_STATUS_SUCCESS) {
                ++complete;
                size_t size = 0;
                const auto* data = static_cast<const uint8_t*>(arv_buffer_get_data(b, &size));
                EXPECT_EQ(config.width, uint32_t(arv_buffer_get_image_width(b)));
                EXPECT_EQ(config.pixelFormat == "Mono8" ? 0x01080001u : 0x01100005u,
                          arv_buffer_get_image_pixel_format(b));
                EXPECT_EQ(sensor.capture(exposure, 0, 1, arv_buffer_get_frame_id(b)),
                          std::vector<uint8_t>(data, data + size));
            }
            arv_stream_push_buffer(stream, b);
        }
        EXPECT_EQ(3, complete);
        arv_device_execute_command(dev.d, "AcquisitionStop", &e);
        g_object_unref(stream);
        EXPECT_EQ(nullptr, e);
        EXPECT_EQ(0, gev.stop());
    }
}

// A slow command is announced with pending acknowledgements instead of
// timing out (lost answers, BUSY and a silent device are met through the
// transport layer's own tests).
TEST(GevAravis, SlowCommandsAreAnnounced)
{
    const std::string config = writeConfig("wire", R"({"cameras": [{"id": "W",
        "faults": {"commandLatencyMs": {"AcquisitionStop": 2500}}}]})");
    GevProcess gev("127.0.0.29", "W", testDir("wire"), config);
    ASSERT_TRUE(gev.ready);
    AravisDevice dev(gev.address);
    ASSERT_TRUE(dev.d);
    GError* e = nullptr;
    arv_device_execute_command(dev.d, "AcquisitionStop", &e); // 2.5 s, host timeout 0.5 s
    EXPECT_EQ(nullptr, e);
    EXPECT_EQ(0, arv_device_get_integer_feature_value(dev.d, "AcquisitionStop_Reg", &e));
    EXPECT_EQ(0, gev.stop());
}
