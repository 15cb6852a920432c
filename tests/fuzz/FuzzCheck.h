#pragma once
// What the fuzz targets share: a check that stops the run with a message when a property of the
// system fails, so that the fuzzer keeps the input that broke it.
#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(cond)                                                                  \
    do {                                                                                  \
        if (!(cond)) {                                                                    \
            std::fprintf(stderr, "%s:%d: property failed: %s\n", __FILE__, __LINE__, #cond); \
            std::abort();                                                                 \
        }                                                                                 \
    } while (0)
