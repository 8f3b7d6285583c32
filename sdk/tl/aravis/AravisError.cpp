#include "AravisError.h"

#include <arv.h>

#include <cstdio>

namespace hvaravis {

namespace {

HvErrorType DeviceErrorCode(int code)
{
    switch (code) {
    case ARV_DEVICE_ERROR_WRONG_FEATURE:
        return HvErrorWrongType;
    case ARV_DEVICE_ERROR_FEATURE_NOT_FOUND:
    case ARV_DEVICE_ERROR_NOT_FOUND:
        return HvErrorNotFound;
    case ARV_DEVICE_ERROR_TIMEOUT:
        return HvErrorTimeout;
    case ARV_DEVICE_ERROR_INVALID_PARAMETER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_PARAMETER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_ADDRESS:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BAD_ALIGNMENT:
        return HvErrorBadParameter;
    case ARV_DEVICE_ERROR_NO_STREAM_CHANNEL:
        return HvErrorNotSupported;
    case ARV_DEVICE_ERROR_NOT_CONTROLLER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_WRITE_PROTECT:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED:
        return HvErrorInvalidAccess;
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_NOT_IMPLEMENTED:
        return HvErrorNotImplemented;
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BUSY:
        return HvErrorResources;
    default: // not connected, protocol and transfer errors, no GenICam data, unknown
        return HvErrorOther;
    }
}

HvErrorType GenicamErrorCode(int code)
{
    switch (code) {
    case ARV_GC_ERROR_OUT_OF_RANGE:
    case ARV_GC_ERROR_ENUM_ENTRY_NOT_FOUND:
    case ARV_GC_ERROR_EMPTY_ENUMERATION:
        return HvErrorInvalidValue;
    case ARV_GC_ERROR_NODE_NOT_FOUND:
        return HvErrorNotFound;
    case ARV_GC_ERROR_INVALID_LENGTH:
        return HvErrorBadParameter;
    case ARV_GC_ERROR_READ_ONLY:
        return HvErrorInvalidAccess;
    case ARV_GC_ERROR_SET_FROM_STRING_UNDEFINED:
    case ARV_GC_ERROR_GET_AS_STRING_UNDEFINED:
        return HvErrorWrongType;
    case ARV_GC_ERROR_NO_EVENT_IMPLEMENTATION:
        return HvErrorNotImplemented;
    default: // a broken description: undefined properties, bad formulas and bit ranges
        return HvErrorInternalFault;
    }
}

} // namespace

HvErrorType ErrorCode(const GError* error)
{
    if (error == nullptr)
        return HvErrorSuccess;
    if (error->domain == ARV_DEVICE_ERROR)
        return DeviceErrorCode(error->code);
    if (error->domain == ARV_GC_ERROR)
        return GenicamErrorCode(error->code);
    return HvErrorOther;
}

HvErrorType TakeError(GError* error, const std::string& context)
{
    if (error == nullptr)
        return HvErrorSuccess;
    const HvErrorType code = ErrorCode(error);
    Log(context + ": " + (error->message != nullptr ? error->message : "?"));
    g_error_free(error);
    return code;
}

void Log(const std::string& text)
{
    std::fprintf(stderr, "hvx_tl_aravis: %s\n", text.c_str());
}

} // namespace hvaravis
