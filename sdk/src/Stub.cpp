#include "Hvx/Hvx.h"
#include "Hvx/TransportLayerModule.h"
