#pragma once

// What every fuzz target shares: a property check that names the property before aborting,
// so that libFuzzer keeps the input and the log says which rule it broke.

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "property broken: %s (%s:%d)\n", #condition, __FILE__, __LINE__); \
            std::abort();                                                                          \
        }                                                                                          \
    } while (0)
