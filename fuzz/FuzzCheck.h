#pragma once
// How a fuzz target reports a broken expectation: the reason on standard error, then a crash
// that libFuzzer records with the input.

#include <cstdio>
#include <cstdlib>
#include <string>

namespace orrery::fuzz {

[[noreturn]] inline void fail(const std::string& reason) {
    std::fprintf(stderr, "fuzz check failed: %s\n", reason.c_str());
    std::abort();
}

inline void check(bool holds, const std::string& reason) {
    if (!holds) fail(reason);
}

}  // namespace orrery::fuzz
