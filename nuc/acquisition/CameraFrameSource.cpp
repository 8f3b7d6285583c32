#include "CameraFrameSource.h"

#include "NucFrame.h"
#include "OxCamera.h"

#include <Hvx/Frame.h>

#include <QCoreApplication>

namespace {

struct Format
{
    HvPixelFormatType code;
    int bits;
    const char* name;
};

const Format kFormats[] = {{HvPixelFormatMono8, 8, "Mono8"},
                           {HvPixelFormatMono10, 10, "Mono10"},
                           {HvPixelFormatMono12, 12, "Mono12"},
                           {HvPixelFormatMono14, 14, "Mono14"},
                           {HvPixelFormatMono16, 16, "Mono16"}};

QString tr(const char* text)
{
    return QCoreApplication::translate("CameraFrameSource", text);
}

} // namespace

CameraFrameSource::CameraFrameSource(OxCamera* camera, unsigned int timeoutMs)
    : m_camera(camera), m_timeoutMs(timeoutMs)
{
}

int CameraFrameSource::fullScale() const
{
    return NucFrame::fullScale(m_bits);
}

bool CameraFrameSource::grab(QImage* frame, QString* error)
{
    auto fail = [error](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    if (!m_camera ||
        !m_camera->AcquireSingleImage(m_frame, m_timeoutMs, Hvx::FrameAllocation_AnnounceFrame))
        return fail(tr("The camera delivered no complete frame."));
    HvPixelFormatType code = 0;
    uint32_t width = 0, height = 0, size = 0;
    const unsigned char* image = nullptr;
    m_frame->GetPixelFormat(code);
    m_frame->GetWidth(width);
    m_frame->GetHeight(height);
    m_frame->GetImageSize(size);
    m_frame->GetImage(image);
    const Format* format = nullptr;
    for (const Format& f : kFormats)
        if (f.code == code)
            format = &f;
    if (!format)
        return fail(tr("The camera's pixel format 0x%1 is not a grey format of 8 to 16 bits.")
                        .arg(code, 8, 16, QChar('0')));
    *frame = QImage(); // lets go of the previous frame, whose memory is used again
    if (!NucFrame::fromCamera(image, size, int(width), int(height), format->bits, &m_image))
        return fail(tr("The camera's frame of %1 x %2 pixels holds only %3 bytes.")
                        .arg(width)
                        .arg(height)
                        .arg(size));
    *frame = m_image;
    m_bits = format->bits;
    m_formatName = format->name;
    return true;
}
