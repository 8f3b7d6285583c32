#ifndef HVX_FRAME_H
#define HVX_FRAME_H

#include "HvExport.h"
#include "HvTypes.h"

#include <cstdint>
#include <vector>

namespace Hvx {

// One image and its description. A frame made by the caller (with a buffer
// size) can be handed to Camera::AcquireSingleImage for reuse.
class HVX_API Frame
{
public:
    explicit Frame(uint64_t bufferSize = 0);
    ~Frame();
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    HvErrorType GetReceiveStatus(HvFrameStatusType& status) const;
    // Image bytes, row after row without padding; valid while the frame lives.
    HvErrorType GetImage(const unsigned char*& image) const;
    HvErrorType GetBuffer(const unsigned char*& buffer) const;
    // Capacity of the buffer; GetImageSize is what the last image filled.
    HvErrorType GetBufferSize(uint32_t& size) const;
    HvErrorType GetImageSize(uint32_t& size) const;
    HvErrorType GetWidth(uint32_t& width) const;
    HvErrorType GetHeight(uint32_t& height) const;
    HvErrorType GetPixelFormat(HvPixelFormatType& pixelFormat) const;
    HvErrorType GetFrameID(uint64_t& frameId) const;
    HvErrorType GetTimestamp(uint64_t& timestamp) const;

    // Used by the SDK to fill the frame.
    void Assign(HvFrameStatusType status, uint32_t width, uint32_t height,
                HvPixelFormatType pixelFormat, uint64_t frameId, uint64_t timestamp,
                const std::vector<uint8_t>& image);

private:
    std::vector<uint8_t> m_buffer;
    uint32_t m_imageSize;
    HvFrameStatusType m_status;
    uint32_t m_width;
    uint32_t m_height;
    HvPixelFormatType m_pixelFormat;
    uint64_t m_frameId;
    uint64_t m_timestamp;
};

} // namespace Hvx

#endif
