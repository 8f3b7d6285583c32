#include "OxCameraFeature.h"

#include <Hvx/Camera.h>

OxCameraFeature::OxCameraFeature(std::shared_ptr<Hvx::Camera> camera, QObject* parent)
    : OxFeatureContainer(std::move(camera), parent)
{
}

OxCameraFeature::~OxCameraFeature() = default;
