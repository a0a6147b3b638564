// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/stack.h"

#include <gtest/gtest.h>

#include <limits>

namespace ondarix::test {
namespace {

TEST(MillisecondsToFramesTest, TruncatesAndNeverOverflows) {
    EXPECT_EQ(MillisecondsToFrames(44100, 1), 44);
    EXPECT_EQ(MillisecondsToFrames(44100, 1500), 66150);
    EXPECT_EQ(MillisecondsToFrames(196000, 3'600'000), 705'600'000);
    EXPECT_EQ(MillisecondsToFrames(44100, -5), 0);
    EXPECT_EQ(MillisecondsToFrames(std::numeric_limits<int64_t>::max(), 1000),
              std::numeric_limits<int64_t>::max());
    EXPECT_EQ(MillisecondsToFrames(2, std::numeric_limits<int64_t>::max()),
              std::numeric_limits<int64_t>::max() / 1000 * 2 + 1);
}

}  // namespace
}  // namespace ondarix::test
