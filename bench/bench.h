// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <algorithm>
#include <chrono>
#include <cstdio>

namespace ondarix::bench {

// Milliseconds of the fastest of `runs` runs: what the machine can do when nothing disturbs it.
template <typename F>
double BestMs(int runs, F&& run) {
    double best = 1e300;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        run();
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count());
    }
    return best;
}

inline bool Report(const char* what, double value, const char* unit, double limit) {
    const bool good = value <= limit;
    std::printf("%-44s %10.3f %-6s limit %.3f%s\n", what, value, unit, limit, good ? "" : "  EXCEEDED");
    return good;
}

}  // namespace ondarix::bench
