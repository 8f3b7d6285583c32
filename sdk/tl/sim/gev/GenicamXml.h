#pragma once

#include "FeatureRegisters.h"
#include "SimCameraConfig.h"

#include <string>
#include <vector>

namespace hvsim::gev {

// The GenICam description (schema 1.1) of a camera whose features are laid
// out by FeatureRegisters: one node per feature over its register on the
// port "Device", grouped in categories under "Root", with the selectors'
// pSelected links of the standard feature naming where both ends exist.
std::string genicamXml(const CameraConfig& camera, const std::vector<FeatureLayout>& features);

} // namespace hvsim::gev
