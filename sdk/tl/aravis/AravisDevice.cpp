#include "AravisDevice.h"

#include "AravisError.h"
#include "GvcpProbe.h"

#include <cstring>

namespace hvaravis {

namespace {

// Buffers queued for the stream: enough to take a frame while the previous
// one is still being copied out.
constexpr int kStreamBuffers = 4;

HvErrorType OpenGigE(uint32_t address, ArvDevice*& device)
{
    uint32_t local = 0;
    std::string interfaceName;
    if (!LocalRouteTo(address, local, interfaceName)) {
        Log("open " + Ipv4Text(address) + ": no route to the camera");
        return HvErrorNotFound;
    }
    GInetAddress* interfaceAddress = g_inet_address_new_from_string(Ipv4Text(local).c_str());
    GInetAddress* deviceAddress = g_inet_address_new_from_string(Ipv4Text(address).c_str());
    GError* error = nullptr;
    device = arv_gv_device_new(interfaceAddress, deviceAddress, &error);
    g_object_unref(interfaceAddress);
    g_object_unref(deviceAddress);
    return TakeError(error, "open " + Ipv4Text(address));
}

// Whether Aravis describes the buffer's image; it does so only for a buffer
// that arrived whole.
bool HoldsImage(ArvBuffer* buffer)
{
    const ArvBufferPayloadType type = arv_buffer_get_payload_type(buffer);
    return arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS &&
           (type == ARV_BUFFER_PAYLOAD_TYPE_IMAGE ||
            type == ARV_BUFFER_PAYLOAD_TYPE_EXTENDED_CHUNK_DATA ||
            type == ARV_BUFFER_PAYLOAD_TYPE_MULTIPART) &&
           arv_buffer_get_n_parts(buffer) > 0 &&
           arv_buffer_get_part_data_type(buffer, 0) == ARV_BUFFER_PART_DATA_TYPE_2D_IMAGE;
}

int64_t IntegerOr(ArvDevice* device, const char* feature, int64_t fallback)
{
    GError* error = nullptr;
    const int64_t value = arv_device_get_integer_feature_value(device, feature, &error);
    if (error == nullptr)
        return value;
    g_error_free(error);
    return fallback;
}

} // namespace

HvFrameStatusType FrameStatus(int bufferStatus)
{
    switch (bufferStatus) {
    case ARV_BUFFER_STATUS_SUCCESS:
        return HvFrameStatusComplete;
    case ARV_BUFFER_STATUS_SIZE_MISMATCH:
        return HvFrameStatusTooSmall;
    case ARV_BUFFER_STATUS_TIMEOUT:
    case ARV_BUFFER_STATUS_MISSING_PACKETS:
    case ARV_BUFFER_STATUS_WRONG_PACKET_ID:
    case ARV_BUFFER_STATUS_ABORTED:
        return HvFrameStatusIncomplete;
    default:
        return HvFrameStatusInvalid;
    }
}

AravisDevice::AravisDevice(std::function<void()> closed)
    : m_features(m_thread, m_device), m_closed(std::move(closed))
{
}

HvErrorType AravisDevice::Open(const DeviceLocation& location, HvAccessModeType mode,
                               std::mutex& aravisMutex, std::function<void()> closed,
                               std::unique_ptr<Hvx::Tl::IDevice>& device)
{
    if (location.kind == DeviceLocation::Kind::Denied)
        return HvErrorInvalidAccess;
    std::unique_ptr<AravisDevice> opened(new AravisDevice(std::move(closed)));
    const HvErrorType result = opened->m_thread.Call<HvErrorType>(
        [&] { return opened->OpenOnThread(location, mode, aravisMutex); });
    if (result != HvErrorSuccess)
        return result;
    device = std::move(opened);
    return HvErrorSuccess;
}

HvErrorType AravisDevice::OpenOnThread(const DeviceLocation& location, HvAccessModeType mode,
                                       std::mutex& aravisMutex)
{
    HvErrorType result = HvErrorSuccess;
    if (location.kind == DeviceLocation::Kind::GigE) {
        result = OpenGigE(location.address, m_device);
    } else {
        // Aravis opens these through the interface lists that discovery fills.
        std::lock_guard<std::mutex> lock(aravisMutex);
        GError* error = nullptr;
        m_device = arv_open_device(location.aravisId.c_str(), &error);
        result = TakeError(error, "open " + location.aravisId);
    }
    if (result == HvErrorSuccess && m_device == nullptr)
        result = HvErrorNotFound;
    if (result != HvErrorSuccess)
        return result;

    if (ARV_IS_GV_DEVICE(m_device)) {
        ArvGvDevice* gv = ARV_GV_DEVICE(m_device);
        const bool writing = (mode & (HvAccessModeFull | HvAccessModeExclusive)) != 0;
        if (writing && !arv_gv_device_is_controller(gv)) {
            Log("open " + Ipv4Text(location.address) + ": another host controls the camera");
            g_clear_object(&m_device);
            return HvErrorInvalidAccess;
        }
        // Opening takes control where it can; a camera opened for reading leaves it to others.
        if (!writing && arv_gv_device_is_controller(gv)) {
            GError* error = nullptr;
            arv_gv_device_leave_control(gv, &error);
            TakeError(error, "leave control of " + Ipv4Text(location.address));
        }
    }
    arv_device_set_range_check_policy(m_device, ARV_RANGE_CHECK_POLICY_ENABLE);
    arv_device_set_access_check_policy(m_device, ARV_ACCESS_CHECK_POLICY_ENABLE);
    arv_device_set_register_cache_policy(m_device, ARV_REGISTER_CACHE_POLICY_DISABLE);
    return HvErrorSuccess;
}

AravisDevice::~AravisDevice()
{
    m_thread.Run([this] {
        ReleaseStream();
        g_clear_object(&m_device);
    });
    if (m_closed)
        m_closed();
}

HvErrorType AravisDevice::ReadMemory(uint64_t address, uint8_t* buffer, uint32_t size,
                                     uint32_t& completed)
{
    completed = 0;
    return m_thread.Call<HvErrorType>([&] {
        GError* error = nullptr;
        if (arv_device_read_memory(m_device, address, size, buffer, &error))
            completed = size;
        return TakeError(error, "read memory at " + std::to_string(address));
    });
}

HvErrorType AravisDevice::WriteMemory(uint64_t address, const uint8_t* buffer, uint32_t size,
                                      uint32_t& completed)
{
    completed = 0;
    return m_thread.Call<HvErrorType>([&] {
        GError* error = nullptr;
        // Aravis takes the data as non-const but only reads it.
        if (arv_device_write_memory(m_device, address, size, const_cast<uint8_t*>(buffer), &error))
            completed = size;
        return TakeError(error, "write memory at " + std::to_string(address));
    });
}

void AravisDevice::ReleaseStream()
{
    // Unreferencing the stream stops its thread and frees the queued buffers.
    g_clear_object(&m_stream);
    m_payload = 0;
}

HvErrorType AravisDevice::PrepareStream()
{
    GError* error = nullptr;
    const int64_t payload = arv_device_get_integer_feature_value(m_device, "PayloadSize", &error);
    if (error != nullptr)
        return TakeError(error, "get PayloadSize");
    if (m_stream != nullptr && payload == m_payload) {
        // Frames that arrived after the last acquisition was stopped are stale.
        while (ArvBuffer* stale = arv_stream_try_pop_buffer(m_stream))
            arv_stream_push_buffer(m_stream, stale);
        return HvErrorSuccess;
    }
    ReleaseStream();
    if (payload <= 0)
        return HvErrorNotSupported;
    m_stream = arv_device_create_stream(m_device, nullptr, nullptr, &error);
    if (error != nullptr || m_stream == nullptr) {
        g_clear_object(&m_stream);
        return error != nullptr ? TakeError(error, "create stream") : HvErrorOther;
    }
    for (int i = 0; i < kStreamBuffers; ++i)
        arv_stream_push_buffer(m_stream, arv_buffer_new_allocate(size_t(payload)));
    m_payload = payload;
    return HvErrorSuccess;
}

HvErrorType AravisDevice::AcquireFrame(uint32_t timeoutMs, Hvx::Tl::FrameData& frame)
{
    return m_thread.Call<HvErrorType>([&]() -> HvErrorType {
        HvErrorType result = PrepareStream();
        if (result != HvErrorSuccess)
            return result;
        GError* error = nullptr;
        arv_device_execute_command(m_device, "AcquisitionStart", &error);
        if (error != nullptr)
            return TakeError(error, "execute AcquisitionStart");
        ArvBuffer* buffer = arv_stream_timeout_pop_buffer(m_stream, guint64(timeoutMs) * 1000);
        arv_device_execute_command(m_device, "AcquisitionStop", &error);
        TakeError(error, "execute AcquisitionStop");
        if (buffer == nullptr)
            return HvErrorTimeout;

        frame.status = FrameStatus(arv_buffer_get_status(buffer));
        frame.frameId = arv_buffer_get_frame_id(buffer);
        frame.timestamp = arv_buffer_get_timestamp(buffer);
        size_t size = 0;
        const void* data = nullptr;
        if (HoldsImage(buffer)) {
            frame.width = uint32_t(std::max(0, arv_buffer_get_image_width(buffer)));
            frame.height = uint32_t(std::max(0, arv_buffer_get_image_height(buffer)));
            frame.pixelFormat = HvPixelFormatType(arv_buffer_get_image_pixel_format(buffer));
            data = arv_buffer_get_image_data(buffer, &size);
        } else {
            // A damaged frame: the size and format asked for, with whatever
            // arrived of it.
            frame.width = uint32_t(IntegerOr(m_device, "Width", 0));
            frame.height = uint32_t(IntegerOr(m_device, "Height", 0));
            frame.pixelFormat = HvPixelFormatType(IntegerOr(m_device, "PixelFormat", 0));
            data = arv_buffer_get_data(buffer, &size);
            if (frame.status == HvFrameStatusComplete)
                frame.status = HvFrameStatusInvalid;
        }
        const size_t bytesPerPixel = (ARV_PIXEL_FORMAT_BIT_PER_PIXEL(frame.pixelFormat) + 7) / 8;
        const size_t expected = size_t(frame.width) * frame.height * bytesPerPixel;
        frame.image.assign(expected, 0);
        if (data != nullptr)
            std::memcpy(frame.image.data(), data, std::min(size, expected));
        if (frame.status == HvFrameStatusComplete && size < expected)
            frame.status = HvFrameStatusIncomplete;
        arv_stream_push_buffer(m_stream, buffer);
        return HvErrorSuccess;
    });
}

} // namespace hvaravis
