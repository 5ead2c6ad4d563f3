// fuzz_support.h: what the fuzz targets share. A target is tests/fuzz/fuzz_<name>.cpp defining
// LLVMFuzzerTestOneInput; its seed corpus is tests/fuzz/corpus/<name>/. The fuzz build
// (LATOPT_FUZZ=ON, clang) links it with libFuzzer; every build links it with replay_main.cpp,
// which feeds it each corpus file as the ctest test fuzz_replay_<name>.
// Findings are crashes, hangs, leaks and undefined behaviour, and what a target reports through
// finding(). A target whose inputs may end in a fatal stop (a reader that stops on malformed text)
// declares LATOPT_FUZZ_FATAL_IS_NORMAL at namespace scope and runs its work in tolerateFatal():
// in the fuzz build failure() throws FailureUnwind, caught there; the replay driver accepts the
// stop of a child process in the plain build.
#pragma once

#include "base/log.h"

#include <cstdio>
#include <cstdlib>

#define LATOPT_FUZZ_FATAL_IS_NORMAL                                                                          \
    extern "C" int latoptFuzzFatalIsNormal()                                                                 \
    {                                                                                                        \
        return 1;                                                                                            \
    }

namespace latopt::fuzz {

template <class Body>
void tolerateFatal(Body&& body)
{
#ifdef LATOPT_FAILURE_THROWS
    try {
        body();
    } catch (const FailureUnwind&) {
    }
#else
    body();
#endif
}

// A broken property of the code under test: reported and aborted, so libFuzzer keeps the input.
[[noreturn]] inline void finding(const char* what)
{
    std::fprintf(stderr, "\nfuzz finding: %s\n", what);
    std::abort();
}

} // namespace latopt::fuzz
