#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// What a fuzz target found wrong ends the process, so that the fuzzer keeps the input.
inline void check(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
}
