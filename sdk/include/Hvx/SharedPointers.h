#ifndef HVX_SHAREDPOINTERS_H
#define HVX_SHAREDPOINTERS_H

#include <memory>

namespace Hvx {

class Camera;
class EnumEntry;
class Feature;
class FeatureContainer;
class Frame;
class ICameraListObserver;
class IInterfaceListObserver;
class Interface;
class Stream;
class TransportLayer;

// Every SDK object is handed out by shared pointer; the SDK keeps its own
// reference for as long as it needs the object.
using CameraPtr = std::shared_ptr<Camera>;
using FeaturePtr = std::shared_ptr<Feature>;
using FeatureContainerPtr = std::shared_ptr<FeatureContainer>;
using FramePtr = std::shared_ptr<Frame>;
using ICameraListObserverPtr = std::shared_ptr<ICameraListObserver>;
using IInterfaceListObserverPtr = std::shared_ptr<IInterfaceListObserver>;
using InterfacePtr = std::shared_ptr<Interface>;
using StreamPtr = std::shared_ptr<Stream>;
using TransportLayerPtr = std::shared_ptr<TransportLayer>;

namespace Internal {
class CameraState;
class FeatureSource;
class InterfaceState;
struct TransportLayerState;
} // namespace Internal

} // namespace Hvx

#endif
