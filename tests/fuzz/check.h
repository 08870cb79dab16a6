#pragma once

#include <cstdio>
#include <cstdlib>

// What a fuzz target found wrong ends the process, so that the fuzzer keeps the input.
inline void check(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
}
