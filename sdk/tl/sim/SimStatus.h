#pragma once

// Result codes of the simulator. The numbers are those the SDK hands to its
// callers, so the module glue passes them through unchanged.
namespace hvsim {

enum Status : int
{
    // A command the camera took on but will never finish; the feature set
    // turns it into Ok with a done state that never comes, so it never
    // reaches the SDK.
    Pending = 1,
    Ok = 0,
    InternalFault = -1,
    NotStarted = -2,
    NotFound = -3,
    BadHandle = -4,
    NotOpen = -5,
    InvalidAccess = -6,
    BadParameter = -7,
    MoreData = -9,
    WrongType = -10,
    InvalidValue = -11,
    Timeout = -12,
    TransportError = -13,
    NotAvailable = -14,
    InvalidCall = -15,
    NotImplemented = -17,
    NotSupported = -18,
};

} // namespace hvsim
