#ifndef HVX_FRAMEALLOCATIONMODE_H
#define HVX_FRAMEALLOCATIONMODE_H

namespace Hvx {

// Who provides the image buffer of Camera::AcquireSingleImage.
enum FrameAllocationMode
{
    // Use the frame passed in when it is non-null and its buffer is large
    // enough; otherwise the SDK allocates a new frame.
    FrameAllocation_AnnounceFrame = 0,
    // The SDK always allocates a new frame.
    FrameAllocation_AllocAndAnnounceFrame = 1
};

} // namespace Hvx

#endif
