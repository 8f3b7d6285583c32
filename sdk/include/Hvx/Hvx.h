#ifndef HVX_HVX_H
#define HVX_HVX_H

// Everything of the object API in one include.
#include "HvTypes.h"
#include "Hvx/Camera.h"
#include "Hvx/EnumEntry.h"
#include "Hvx/Feature.h"
#include "Hvx/FeatureContainer.h"
#include "Hvx/Frame.h"
#include "Hvx/FrameAllocationMode.h"
#include "Hvx/HvSystem.h"
#include "Hvx/ICameraListObserver.h"
#include "Hvx/IInterfaceListObserver.h"
#include "Hvx/Interface.h"
#include "Hvx/SharedPointers.h"
#include "Hvx/Stream.h"
#include "Hvx/TransportLayer.h"
#include "Hvx/UpdateTriggerType.h"

#endif
