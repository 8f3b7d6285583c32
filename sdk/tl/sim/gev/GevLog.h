#pragma once

namespace hvsim::gev {

// One line on standard error, prefixed with the program's name and the
// device's address once it is known.
void log(const char* format, ...) __attribute__((format(printf, 1, 2)));
void setLogPrefix(const char* prefix);

} // namespace hvsim::gev
