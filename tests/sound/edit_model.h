// SPDX-License-Identifier: GPL-3.0-or-later
// A document as one row of items, frames and marks, in which a bookmark stands before the frame that it
// marks: what an edit does to marks follows from where they stand, without any arithmetic on positions.
#pragma once
#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "sound/document.h"

namespace ondarix {

struct Item {
    enum Kind : uint8_t { kFrame, kBookmark, kRegionStart, kRegionEnd } kind;
    uint32_t id;  // of a mark
    std::array<float, 2> samples;
};
using Row = std::vector<Item>;

inline bool IsFrame(const Item& item) { return item.kind == Item::kFrame; }

struct ModelState {
    Row row;
    int channels = 2;
    int id = 0;  // the same for the same content
    LSelection selection;
    bool stored = false;

    int64_t Length() const { return std::count_if(row.begin(), row.end(), IsFrame); }
    // The first item at `frame`, or behind the marks at it.
    size_t Before(int64_t frame) const {
        size_t at = 0;
        for (; at < row.size() && frame > 0; ++at) frame -= IsFrame(row[at]) ? 1 : 0;
        return at;
    }
    size_t Behind(int64_t frame) const {
        size_t at = Before(frame);
        while (at < row.size() && !IsFrame(row[at])) ++at;
        return at;
    }
    Row Frames(int64_t start, int64_t end) const {
        Row frames;
        int64_t at = 0;
        for (const Item& item : row) {
            if (IsFrame(item) && at >= start && at < end) frames.push_back(item);
            at += IsFrame(item) ? 1 : 0;
        }
        return frames;
    }
    void DropEmptyRegions() {
        std::map<uint32_t, int64_t> starts;
        std::vector<uint32_t> gone;
        int64_t at = 0;
        for (const Item& item : row) {
            if (item.kind == Item::kRegionStart) starts[item.id] = at;
            if (item.kind == Item::kRegionEnd && starts.count(item.id) && starts[item.id] == at)
                gone.push_back(item.id);
            at += IsFrame(item) ? 1 : 0;
        }
        std::erase_if(row, [&](const Item& item) {
            return item.kind >= Item::kRegionStart && std::count(gone.begin(), gone.end(), item.id) > 0;
        });
    }
    void Replace(int64_t start, int64_t end, const Row& frames) {
        const size_t from = Behind(start), to = end > start ? Before(end) : from;
        Row edges;
        for (size_t i = from; i < to; ++i) {
            if (row[i].kind >= Item::kRegionStart) edges.push_back(row[i]);
        }
        std::stable_sort(edges.begin(), edges.end(), [](auto& a, auto& b) { return a.kind < b.kind; });
        row.erase(row.begin() + static_cast<int64_t>(from), row.begin() + static_cast<int64_t>(to));
        row.insert(row.begin() + static_cast<int64_t>(from), frames.begin(), frames.end());
        row.insert(row.begin() + static_cast<int64_t>(from), edges.begin(), edges.end());
        DropEmptyRegions();
    }
    void Keep(int64_t start, int64_t end) {
        const size_t from = Before(start), to = Behind(end);
        Row kept;
        for (size_t i = 0; i < row.size(); ++i) {
            if ((i >= from && i < to) || row[i].kind >= Item::kRegionStart) kept.push_back(row[i]);
        }
        row = kept;
        DropEmptyRegions();
    }
    void Move(int64_t start, int64_t end, int64_t place) {
        Row travelling;
        const size_t from = Before(start), to = Before(end), behind = Behind(end);
        const auto isInside = [&](uint32_t region) {
            int edges = 0;
            for (size_t i = from; i < behind; ++i)
                edges += row[i].kind >= Item::kRegionStart && row[i].id == region ? 1 : 0;
            return edges == 2;
        };
        std::vector<size_t> taken;
        for (size_t i = from; i < behind; ++i) {
            const Item& item = row[i];
            const bool region = item.kind >= Item::kRegionStart;
            if (region ? !isInside(item.id) : i >= to) continue;
            travelling.push_back(item);
            taken.push_back(i);
        }
        for (auto i = taken.rbegin(); i != taken.rend(); ++i)
            row.erase(row.begin() + static_cast<int64_t>(*i));
        // What is left of the stretch are marks that stay: edges collapse to the start.
        DropEmptyRegions();
        const size_t at = Behind(place);
        row.insert(row.begin() + static_cast<int64_t>(at), travelling.begin(), travelling.end());
    }
};

}  // namespace ondarix
