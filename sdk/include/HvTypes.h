#ifndef HVTYPES_H
#define HVTYPES_H

/* Types shared by the object API (Hvx), the flat API (Hvc) and the
   transport-layer modules. Plain C so that the flat API stays usable from C. */

#include <stdint.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Result of every SDK call. 0 is success, everything else is one of the
   negative codes below. An integer rather than an enum so that callers can
   compare, store and pass codes without casts. */
typedef int32_t HvErrorType;

enum HvErrorCodes
{
    HvErrorSuccess = 0,          /* "Success." */
    HvErrorInternalFault = -1,   /* unexpected fault in the SDK or a transport layer */
    HvErrorApiNotStarted = -2,   /* HvSystem::Startup has not been called */
    HvErrorNotFound = -3,        /* no camera, interface, feature or entry of that name */
    HvErrorBadHandle = -4,       /* handle unknown, or object from an earlier SDK session */
    HvErrorDeviceNotOpen = -5,   /* the call needs an opened camera */
    HvErrorInvalidAccess = -6,   /* not permitted: access mode, read-only or write-only */
    HvErrorBadParameter = -7,    /* null pointer or impossible argument */
    HvErrorStructSize = -8,      /* record or module built for another SDK version */
    HvErrorMoreData = -9,        /* the caller's buffer or array is too small */
    HvErrorWrongType = -10,      /* the feature has another data type */
    HvErrorInvalidValue = -11,   /* out of range, off increment or unavailable entry */
    HvErrorTimeout = -12,        /* the operation did not finish in time */
    HvErrorOther = -13,          /* transport-layer error (e.g. device lost mid-transfer) */
    HvErrorResources = -14,      /* resource not available (e.g. camera held elsewhere) */
    HvErrorInvalidCall = -15,    /* call not valid in this state (e.g. open twice) */
    HvErrorNoTL = -16,           /* no transport layer module loaded */
    HvErrorNotImplemented = -17, /* the transport layer does not offer this */
    HvErrorNotSupported = -18    /* the camera or feature does not support this */
};

/* Transport-layer technology of an interface or camera. */
typedef uint32_t HvTransportLayerType;

enum HvTransportLayerTypes
{
    HvTransportLayerTypeUnknown = 0,
    HvTransportLayerTypeGEV = 1, /* GigE Vision */
    HvTransportLayerTypeCL = 2,
    HvTransportLayerTypeIIDC = 3,
    HvTransportLayerTypeUVC = 4,
    HvTransportLayerTypeCXP = 5,
    HvTransportLayerTypeCLHS = 6,
    HvTransportLayerTypeU3V = 7, /* USB3 Vision */
    HvTransportLayerTypeEthernet = 8,
    HvTransportLayerTypePCI = 9,
    HvTransportLayerTypeCustom = 10,
    HvTransportLayerTypeMixed = 11 /* a module serving several technologies */
};

/* Access mode bits: what a camera permits, and how it is opened. Full and
   Exclusive both allow writing. */
typedef uint32_t HvAccessModeType;

enum HvAccessModes
{
    HvAccessModeNone = 0,
    HvAccessModeFull = 1,
    HvAccessModeRead = 2,
    HvAccessModeUnknown = 4,
    HvAccessModeExclusive = 8
};

/* Data type of a feature. */
typedef uint32_t HvFeatureDataType;

enum HvFeatureDataTypes
{
    HvFeatureDataUnknown = 0,
    HvFeatureDataInt = 1,
    HvFeatureDataFloat = 2,
    HvFeatureDataEnum = 3,
    HvFeatureDataString = 4,
    HvFeatureDataBool = 5,
    HvFeatureDataCommand = 6,
    HvFeatureDataRaw = 7, /* register: raw bytes */
    HvFeatureDataNone = 8 /* category, no value */
};

/* Feature flag bits; they reflect the current state (a feature can become
   read-only while the camera streams or its parameters are locked). */
typedef uint32_t HvFeatureFlags;

enum HvFeatureFlagBits
{
    HvFeatureFlagsNone = 0,
    HvFeatureFlagsRead = 1,
    HvFeatureFlagsWrite = 2,
    HvFeatureFlagsVolatile = 8,
    HvFeatureFlagsModifyWrite = 16
};

/* Receive status of a frame. */
typedef int32_t HvFrameStatusType;

enum HvFrameStatus
{
    HvFrameStatusComplete = 0,
    HvFrameStatusIncomplete = -1,
    HvFrameStatusTooSmall = -2,
    HvFrameStatusInvalid = -3
};

/* Pixel format codes (GenICam PFNC values). */
typedef uint32_t HvPixelFormatType;

enum HvPixelFormats
{
    HvPixelFormatMono8 = 0x01080001,
    HvPixelFormatMono10 = 0x01100003,
    HvPixelFormatMono12 = 0x01100005,
    HvPixelFormatMono14 = 0x01100025,
    HvPixelFormatMono16 = 0x01100007
};

/* Which transport-layer modules HvSystem::Startup starts (bits). */
typedef uint32_t HvModuleSelectionType;

enum HvModuleSelections
{
    HvModuleSelectionStandard = 1,  /* modules that start unless told otherwise (simulated cameras) */
    HvModuleSelectionOnRequest = 2, /* modules that start only when asked for: real cameras, whose
                                       discovery sends packets on the machine's networks */
    HvModuleSelectionAll = 3
};

/* Version of the SDK, from HvSystem::QueryVersion. */
typedef struct HvVersionInfo
{
    uint32_t major;
    uint32_t minor;
    uint32_t patch;
} HvVersionInfo;

/* Opaque handle of a feature container (camera, stream, interface) for the
   flat API. Obtained with Hvx::FeatureContainer::GetHandle(); valid while
   that object lives and the SDK session that created it runs. */
typedef void* HvHandle;

#ifdef __cplusplus
}
#endif

#endif
