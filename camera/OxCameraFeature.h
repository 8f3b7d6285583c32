#pragma once

#include "OxFeatureContainer.h"

#include <Hvx/SharedPointers.h>

// The camera's own features (the camera must be open to use them).
class OxCameraFeature : public OxFeatureContainer
{
    Q_OBJECT

public:
    OxCameraFeature(std::shared_ptr<Hvx::Camera> camera, QObject* parent);
    ~OxCameraFeature() override;
};
