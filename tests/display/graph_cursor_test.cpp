// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/graph_cursor.h"

#include <random>

#include "gtest/gtest.h"

namespace ondarix {
namespace {

using Pairs = std::vector<LPeakPair>;

Pairs RandomPairs(int64_t count, int channels, uint32_t seed) {
    std::mt19937 random(seed);
    Pairs pairs(static_cast<size_t>(count * channels));
    for (LPeakPair& pair : pairs) {
        pair.max = static_cast<uint16_t>(random());
        pair.min = static_cast<uint16_t>(random());
    }
    return pairs;
}

// Column by column, from the definition: every record that shares a frame with the column.
Pairs Reference(const Pairs& records, int channels, int64_t total, int64_t pixels) {
    const int64_t width = std::max<int64_t>(1, total / pixels);
    const auto recordCount = static_cast<int64_t>(records.size()) / channels;
    Pairs columns;
    for (int64_t column = 0; column < pixels; ++column) {
        const int64_t first = column * width / 256, last = ((column + 1) * width - 1) / 256;
        if (last >= recordCount) break;
        for (int c = 0; c < channels; ++c) {
            LPeakPair most;
            for (int64_t r = first; r <= last; ++r) {
                const LPeakPair& one = records[static_cast<size_t>(r * channels + c)];
                most.max = std::max(most.max, one.max);
                most.min = std::max(most.min, one.min);
            }
            columns.push_back(most);
        }
    }
    return columns;
}

// Feeds the records in pieces of up to `piece` records.
Pairs InPieces(const Pairs& records, int channels, int64_t total, int64_t pixels, uint32_t seed,
               int64_t piece) {
    std::mt19937 random(seed);
    LGraphCursor cursor;
    cursor.Init(total, pixels);
    const auto count = static_cast<int64_t>(records.size()) / channels;
    Pairs out(static_cast<size_t>((pixels + 1) * channels), LPeakPair{4711, 4712});
    int64_t columns = 0;
    for (int64_t at = 0; at < count;) {
        const int64_t now = std::min<int64_t>(count - at, 1 + static_cast<int64_t>(random()) % piece);
        columns += ReadColumns(records.data() + at * channels, channels, now, out.data() + columns * channels,
                               cursor);
        at += now;
    }
    EXPECT_EQ(columns, cursor.pixelPos);
    EXPECT_EQ(out[static_cast<size_t>(columns * channels)], (LPeakPair{4711, 4712}))
        << "wrote past its columns";
    out.resize(static_cast<size_t>(columns * channels));
    return out;
}

struct View {
    int channels;
    int64_t total, pixels;
};

class GraphCursorViews : public testing::TestWithParam<View> {};

TEST_P(GraphCursorViews, AnySplitOfTheRecordsGivesTheReferenceColumns) {
    const auto [channels, total, pixels] = GetParam();
    const Pairs records = RandomPairs((total + 255) / 256, channels, 7);
    const Pairs expected = Reference(records, channels, total, pixels);
    ASSERT_FALSE(expected.empty());
    for (const int64_t piece : {int64_t{1}, int64_t{3}, int64_t{17}, int64_t{1} << 40})
        for (uint32_t seed = 1; seed < 4; ++seed)
            EXPECT_EQ(InPieces(records, channels, total, pixels, seed, piece), expected)
                << piece << " " << seed;
}

INSTANTIATE_TEST_SUITE_P(Widths, GraphCursorViews,
                         testing::Values(View{1, 256 * 1000, 1000}, View{2, 256 * 1000, 500},
                                         View{1, 300000, 777}, View{2, 100000, 1600}, View{1, 5000, 1600},
                                         View{3, 65536 * 9, 9}, View{2, 257, 1}, View{1, 700, 2000},
                                         View{6, 1234567, 321}, View{1, 255, 1}),
                         [](const auto& row) {
                             return std::to_string(row.param.channels) + "ch" +
                                    std::to_string(row.param.total) + "over" +
                                    std::to_string(row.param.pixels);
                         });

TEST(GraphCursor, NothingInViewGivesNoColumns) {
    const Pairs records = RandomPairs(10, 1, 1);
    Pairs out(10);
    LGraphCursor cursor;
    cursor.Init(0, 100);
    EXPECT_EQ(ReadColumns(records.data(), 1, 10, out.data(), cursor), 0);
    cursor.Init(2560, 0);
    EXPECT_EQ(ReadColumns(records.data(), 1, 10, out.data(), cursor), 0);
    cursor.Init(2560, 5);
    EXPECT_EQ(ReadColumns(records.data(), 1, 0, out.data(), cursor), 0);
}

TEST(MaxPairs, KeepsTheLargestOfEachGroupInPlaceToo) {
    for (const int channels : {1, 2, 5})
        for (const int64_t step : {1, 2, 64, 1000}) {
            Pairs pairs = RandomPairs(333, channels, 11);
            const int64_t groups = (333 + step - 1) / step;
            Pairs expected(static_cast<size_t>(groups * channels));
            for (size_t i = 0; i < pairs.size(); ++i) {
                const size_t frame = i / static_cast<size_t>(channels), c = i % static_cast<size_t>(channels);
                LPeakPair& to =
                    expected[frame / static_cast<size_t>(step) * static_cast<size_t>(channels) + c];
                to = {std::max(to.max, pairs[i].max), std::max(to.min, pairs[i].min)};
            }
            EXPECT_EQ(MaxPairs(pairs.data(), channels, pairs.data(), 333, step), groups);
            pairs.resize(expected.size());
            EXPECT_EQ(pairs, expected) << channels << " channels, step " << step;
        }
}

}  // namespace
}  // namespace ondarix
