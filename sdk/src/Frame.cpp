#include "Hvx/Frame.h"

#include <algorithm>

namespace Hvx {

Frame::Frame(uint64_t bufferSize)
    : m_buffer(bufferSize), m_imageSize(0), m_status(HvFrameStatusInvalid), m_width(0), m_height(0),
      m_pixelFormat(HvPixelFormatMono8), m_frameId(0), m_timestamp(0)
{
}

Frame::~Frame() = default;

HvErrorType Frame::GetReceiveStatus(HvFrameStatusType& status) const
{
    status = m_status;
    return HvErrorSuccess;
}

HvErrorType Frame::GetImage(const unsigned char*& image) const
{
    image = m_buffer.empty() ? nullptr : m_buffer.data();
    return HvErrorSuccess;
}

HvErrorType Frame::GetBuffer(const unsigned char*& buffer) const
{
    return GetImage(buffer);
}

HvErrorType Frame::GetBufferSize(uint32_t& size) const
{
    size = static_cast<uint32_t>(m_buffer.size());
    return HvErrorSuccess;
}

HvErrorType Frame::GetImageSize(uint32_t& size) const
{
    size = m_imageSize;
    return HvErrorSuccess;
}

HvErrorType Frame::GetWidth(uint32_t& width) const
{
    width = m_width;
    return HvErrorSuccess;
}

HvErrorType Frame::GetHeight(uint32_t& height) const
{
    height = m_height;
    return HvErrorSuccess;
}

HvErrorType Frame::GetPixelFormat(HvPixelFormatType& pixelFormat) const
{
    pixelFormat = m_pixelFormat;
    return HvErrorSuccess;
}

HvErrorType Frame::GetFrameID(uint64_t& frameId) const
{
    frameId = m_frameId;
    return HvErrorSuccess;
}

HvErrorType Frame::GetTimestamp(uint64_t& timestamp) const
{
    timestamp = m_timestamp;
    return HvErrorSuccess;
}

void Frame::Assign(HvFrameStatusType status, uint32_t width, uint32_t height,
                   HvPixelFormatType pixelFormat, uint64_t frameId, uint64_t timestamp,
                   const std::vector<uint8_t>& image)
{
    // A caller's buffer is kept (and may be larger than the image); it grows
    // only when the image does not fit.
    if (m_buffer.size() < image.size())
        m_buffer.resize(image.size());
    std::copy(image.begin(), image.end(), m_buffer.begin());
    m_imageSize = static_cast<uint32_t>(image.size());
    m_status = status;
    m_width = width;
    m_height = height;
    m_pixelFormat = pixelFormat;
    m_frameId = frameId;
    m_timestamp = timestamp;
}

} // namespace Hvx
