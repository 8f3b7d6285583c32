#pragma once

#include <Hvx/SharedPointers.h>

#include <QImage>
#include <QString>

class OxCamera;

// Frames of an opened camera as the series take them (see NucFrame): Mono8
// as an Indexed8 grey image, Mono10 to Mono16 as Grayscale16.
class CameraFrameSource
{
public:
    explicit CameraFrameSource(OxCamera* camera, unsigned int timeoutMs = 5000);

    // One complete frame, with the camera wrapper's retries. False with the
    // reason otherwise.
    bool grab(QImage* frame, QString* error);

    // Significant bits of the last frame (8 to 16); 0 before the first.
    int significantBits() const { return m_bits; }
    int fullScale() const;
    QString pixelFormatName() const { return m_formatName; }

private:
    OxCamera* m_camera;
    unsigned int m_timeoutMs;
    Hvx::FramePtr m_frame; // reused from frame to frame
    QImage m_image;        // reused once the caller has let go of it
    int m_bits = 0;
    QString m_formatName;
};
