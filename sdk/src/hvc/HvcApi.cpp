#include "HvcApi.h"
#include "Hvx/Hvx.h"

static_assert(sizeof(HvCameraInfo) == 80, "HvCameraInfo is an 80-byte record");
