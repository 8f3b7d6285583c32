#ifndef HVCAPI_H
#define HVCAPI_H

/* Flat C API of the camera SDK (libHvc.so).
 *
 * Feature functions work on a raw HvHandle of a feature container. A handle
 * comes from the object API: Hvx::FeatureContainer::GetHandle() on a camera,
 * stream or interface (for a camera's own features the camera must be open).
 * Results are HvErrorType codes with the same meaning as in the object API:
 * an unknown or stale handle gives HvErrorBadHandle (-4).
 *
 * Texts are read in two calls: pass buffer = NULL to learn *length, the
 * number of characters WITHOUT the terminating NUL; then pass a buffer of at
 * least *length + 1 bytes with *length unchanged. A *length smaller than the
 * text gives HvErrorMoreData (-9), writes nothing and sets *length to the
 * text's length. On success the text and its NUL are written and *length is
 * the number of characters. Texts are UTF-8.
 */

#include "HvExport.h"
#include "HvTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Camera information record; 80 bytes on the 64-bit platforms the SDK
   supports. The text pointers stay valid for the life of the process. */
typedef struct HvCameraInfo
{
    const char* cameraIdString;   /* plain camera ID */
    const char* cameraIdExtended; /* extended ID, unique across transport layers */
    const char* cameraName;       /* camera (user-defined) name */
    const char* modelName;        /* model name */
    const char* serialString;     /* serial number */
    const char* interfaceIdString;
    const char* transportLayerName;
    HvAccessModeType permittedAccess;
    HvTransportLayerType interfaceType;
    HvHandle cameraHandle; /* GetHandle() of the camera object; its features need it open */
    uint32_t reserved[2];
} HvCameraInfo;

/* Static description of a feature, from HvFeatureInfoQuery. */
typedef struct HvFeatureInfo
{
    HvFeatureDataType featureDataType;
    HvFeatureFlags featureFlags; /* current access flags */
    uint32_t reserved[2];
} HvFeatureInfo;

/* Fills *info for the camera with the plain or extended ID. sizeofInfo must be
   at least sizeof(HvCameraInfo) (80), else HvErrorStructSize. */
HVC_API HvErrorType HvCameraInfoQuery(const char* idString, HvCameraInfo* info,
                                      uint32_t sizeofInfo);

HVC_API HvErrorType HvFeatureInfoQuery(HvHandle handle, const char* name, HvFeatureInfo* info,
                                       uint32_t sizeofInfo);

HVC_API HvErrorType HvFeatureIntGet(HvHandle handle, const char* name, int64_t* value);
HVC_API HvErrorType HvFeatureIntSet(HvHandle handle, const char* name, int64_t value);
HVC_API HvErrorType HvFeatureIntRangeQuery(HvHandle handle, const char* name, int64_t* min,
                                           int64_t* max);
HVC_API HvErrorType HvFeatureIntIncrementQuery(HvHandle handle, const char* name,
                                               int64_t* increment);

HVC_API HvErrorType HvFeatureFloatGet(HvHandle handle, const char* name, double* value);
HVC_API HvErrorType HvFeatureFloatSet(HvHandle handle, const char* name, double value);
HVC_API HvErrorType HvFeatureFloatRangeQuery(HvHandle handle, const char* name, double* min,
                                             double* max);
/* An increment of 0 means the value is continuous. */
HVC_API HvErrorType HvFeatureFloatIncrementQuery(HvHandle handle, const char* name,
                                                 double* increment);

/* Enumerations by entry name (two-call text) or by the entry's integer value. */
HVC_API HvErrorType HvFeatureEnumGet(HvHandle handle, const char* name, char* buffer,
                                     uint32_t* length);
HVC_API HvErrorType HvFeatureEnumSet(HvHandle handle, const char* name, const char* value);
HVC_API HvErrorType HvFeatureEnumIntGet(HvHandle handle, const char* name, int64_t* value);
HVC_API HvErrorType HvFeatureEnumIntSet(HvHandle handle, const char* name, int64_t value);
HVC_API HvErrorType HvFeatureEnumIsAvailable(HvHandle handle, const char* name, const char* entry,
                                             bool* available);

HVC_API HvErrorType HvFeatureBoolGet(HvHandle handle, const char* name, bool* value);
HVC_API HvErrorType HvFeatureBoolSet(HvHandle handle, const char* name, bool value);

HVC_API HvErrorType HvFeatureStringGet(HvHandle handle, const char* name, char* buffer,
                                       uint32_t* length);
HVC_API HvErrorType HvFeatureStringSet(HvHandle handle, const char* name, const char* value);

HVC_API HvErrorType HvFeatureCommandRun(HvHandle handle, const char* name);
HVC_API HvErrorType HvFeatureCommandIsDone(HvHandle handle, const char* name, bool* isDone);

/* Register features: reads or writes the first `size` bytes. */
HVC_API HvErrorType HvFeatureRawLengthQuery(HvHandle handle, const char* name, int64_t* length);
HVC_API HvErrorType HvFeatureRawGet(HvHandle handle, const char* name, unsigned char* buffer,
                                    uint32_t size);
HVC_API HvErrorType HvFeatureRawSet(HvHandle handle, const char* name, const unsigned char* buffer,
                                    uint32_t size);

#ifdef __cplusplus
}
#endif

#endif
