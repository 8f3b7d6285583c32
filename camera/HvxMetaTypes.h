#pragma once

#include <Hvx/SharedPointers.h>
#include <Hvx/UpdateTriggerType.h>

#include <QMetaType>

// The SDK types that travel through signals. ApiController registers them
// under these exact names so that queued connections from the SDK's
// notification thread can copy them.
Q_DECLARE_METATYPE(Hvx::CameraPtr)
Q_DECLARE_METATYPE(Hvx::InterfacePtr)
Q_DECLARE_METATYPE(Hvx::UpdateTriggerType)
