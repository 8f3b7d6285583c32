#pragma once

#include <cstdio>
#include <cstdlib>

// A broken property is a crash, so libFuzzer keeps the input and the replay
// test fails on it exactly as on a sanitizer report.
#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: property does not hold: %s\n", __FILE__, __LINE__,        \
                         #condition);                                                              \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)
