#pragma once

#include <HvTypes.h>

#include <glib.h>

#include <string>

namespace hvaravis {

// The SDK code for an Aravis error: device errors (GigE Vision and USB3
// Vision acknowledgements, timeouts, lost devices) and GenICam errors (range,
// access, unknown entries) each map to the code a caller can act on.
HvErrorType ErrorCode(const GError* error);

// Maps `error` to its code and writes it to the log with what was being done,
// e.g. "set Width: [Width] value out of range"; then frees it. Success when
// `error` is null.
HvErrorType TakeError(GError* error, const std::string& context);

// One line on the module's log (standard error), prefixed with the module's name.
void Log(const std::string& text);

} // namespace hvaravis
