// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace ondarix::test {

// Sound passes through servers and recorders in real time, and on a machine that is too busy they lose some
// of it. So what is expected of a recording must hold in one of several attempts; of the last one failures
// count.
template <typename Attempt>
void InOneOfSeveral(Attempt attempt) {
    constexpr int kAttempts = 8;
    testing::TestPartResultArray results;
    for (int tries = 0; tries < kAttempts; ++tries) {
        const int before = results.size();
        {
            const testing::ScopedFakeTestPartResultReporter reporter(
                testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
            attempt();
        }
        if (results.size() == before) return;
        for (int i = before; tries + 1 == kAttempts && i < results.size(); ++i) {
            const testing::TestPartResult& result = results.GetTestPartResult(i);
            if (result.failed()) ADD_FAILURE_AT(result.file_name(), result.line_number()) << result.message();
        }
    }
}

}  // namespace ondarix::test
