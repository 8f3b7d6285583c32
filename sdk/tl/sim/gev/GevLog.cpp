#include "GevLog.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>

namespace hvsim::gev {

namespace {
std::mutex g_mutex;
std::string g_prefix = "orvex-sim-gev";
} // namespace

void setLogPrefix(const char* prefix)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    g_prefix = prefix;
}

void log(const char* format, ...)
{
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    std::lock_guard<std::mutex> lock(g_mutex);
    std::fprintf(stderr, "%s: %s\n", g_prefix.c_str(), text);
}

} // namespace hvsim::gev
