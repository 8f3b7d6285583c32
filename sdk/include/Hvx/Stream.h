#ifndef HVX_STREAM_H
#define HVX_STREAM_H

#include "HvExport.h"
#include "HvTypes.h"
#include "Hvx/FeatureContainer.h"

#include <string>

namespace Hvx {

// An image stream of an open camera. Its features (e.g. "GVSPProtocol",
// "GVSPAdjustPacketSize") are usable until the camera is closed.
class HVX_API Stream : public FeatureContainer
{
public:
    Stream(std::shared_ptr<Internal::FeatureSource> source, unsigned int index, const char* id);
    ~Stream() override;

    // Two-call text (see Camera): "<camera extended ID>/Stream<index>".
    HvErrorType GetID(char* id, unsigned int& length) const;
    HvErrorType GetIndex(unsigned int& index) const;

private:
    unsigned int m_index;
    std::string m_id;
};

} // namespace Hvx

#endif
