// SPDX-License-Identifier: GPL-3.0-or-later
// The edits that only rearrange the list.
#include <algorithm>
#include <limits>
#include <utility>

#include "sound/sound.h"

namespace ondarix {

namespace {

constexpr int64_t kLengthLimit = std::numeric_limits<int64_t>::max();  // a sound stays below it

using SegmentLink = std::unique_ptr<LSoundSegment>;

SegmentLink MakeSilence(int64_t frames) {
    return std::make_unique<LSoundSegment>(LSoundCacheRef(), 0, frames);
}

SegmentLink CloneChain(const LSoundSegment* from) {
    SegmentLink head;
    SegmentLink* tail = &head;
    for (; from; from = from->next.get(), tail = &(*tail)->next)
        *tail = std::make_unique<LSoundSegment>(*from);
    return head;
}

SegmentLink* EndOfChain(SegmentLink& chain) {
    SegmentLink* link = &chain;
    while (*link) link = &(*link)->next;
    return link;
}

// Cuts `segment` at `at` frames, which lies inside it; the new second half follows it in the list.
void SplitSegment(LSoundSegment& segment, int64_t at) {
    auto second = std::make_unique<LSoundSegment>(segment);
    second->SkipHead(at);
    second->next = std::move(segment.next);
    segment.length = at;
    segment.next = std::move(second);
}

// The link before which position `pos` lies, a segment being split where it must be. `pos` becomes what
// remains of it: 0 or less at a segment, and the frames that are missing past the end.
SegmentLink* FindPlace(SegmentLink& list, int64_t& pos) {
    SegmentLink* link = &list;
    for (; *link && pos > 0; link = &(*link)->next) {
        LSoundSegment& segment = **link;
        if (pos < segment.length) SplitSegment(segment, pos);
        pos -= segment.length;
    }
    return link;
}

// Frames that Delete(start, end) takes out of `total`.
int64_t FramesDeleted(int64_t start, int64_t end, int64_t total) {
    return std::max<int64_t>(std::min(end, total) - std::max<int64_t>(start, 0), 0);
}

int64_t SaturatedDifference(int64_t a, int64_t b) {
    int64_t difference = 0;
    if (!__builtin_sub_overflow(a, b, &difference)) return difference;
    return a < b ? std::numeric_limits<int64_t>::min() : kLengthLimit;
}

}  // namespace

bool LSound::HasRoomFor(int64_t pos, int64_t length, int64_t removed) const {
    int64_t total = 0;
    const int64_t silenceBehind = pos < 0 ? SaturatedDifference(0, pos) : 0;
    return !__builtin_add_overflow(std::max(Length() - removed, pos), length, &total) &&
           !__builtin_add_overflow(total, silenceBehind, &total) && total < kLengthLimit;
}

void LSound::CopyRange(int64_t start, int64_t end, LSound& dest) const {
    int64_t want = 0;
    if (start > end || &dest == this || __builtin_sub_overflow(end, start, &want)) return;
    dest.CopyFacts(*this);
    Link copies;
    Link* tail = &copies;
    const auto append = [&tail](Link segment) {
        *tail = std::move(segment);
        tail = &(*tail)->next;
    };
    int64_t copied = start >= 0 ? 0 : end <= 0 ? want : -start;  // so far: the silence before the sound
    if (copied > 0) append(MakeSilence(copied));
    const int64_t first = std::max<int64_t>(start, 0), last = std::max<int64_t>(end, 0);
    int64_t base = 0;
    for (const LSoundSegment* at = segments.get(); at; base += at->length, at = at->next.get()) {
        const int64_t from = std::max<int64_t>(first - base, 0);
        const int64_t to = std::min(last - base, at->length);
        if (at->length != 0 && from >= to) continue;
        auto copy = std::make_unique<LSoundSegment>(*at);
        if (at->length != 0) {
            copy->SkipHead(from);
            copy->length = to - from;
            copied += to - from;
        }
        append(std::move(copy));
    }
    if (copied < want) append(MakeSilence(want - copied));
    dest.segments = std::move(copies);
}

void LSound::Delete(int64_t start, int64_t end) {
    if (start > end || end < 0) return;
    start = std::max<int64_t>(start, 0);
    if (start == end) return;
    int64_t base = 0;
    for (Link* link = &segments; *link;) {
        LSoundSegment& segment = **link;
        const int64_t segmentEnd = base + segment.length;
        if (start >= segmentEnd) {
            base = segmentEnd;
            link = &segment.next;
        } else if (end >= segmentEnd) {
            end -= segmentEnd - start;  // the list is about to shrink by so much
            if (start == base) {
                *link = std::move(segment.next);
                continue;
            }
            segment.length = start - base;
            base = start;
            link = &segment.next;
        } else {
            if (start > base) SplitSegment(segment, start - base);
            (start > base ? *segment.next : segment).SkipHead(end - start);
            return;
        }
    }
}

void LSound::Keep(int64_t start, int64_t end) {
    start = std::max<int64_t>(start, 0);
    if (start > 0) Delete(0, start);
    Delete(SaturatedDifference(end, start), Length());
}

void LSound::DeleteHead(int64_t pos) {
    if (pos > 0) Delete(0, pos);
}

void LSound::DeleteTail(int64_t pos) { Delete(pos, Length()); }

void LSound::InsertSilence(int64_t pos, int64_t len) {
    if (len < 0 || pos < -len) return;
    if (pos < 0) {
        len += pos;
        pos = 0;
    }
    if (!HasRoomFor(pos, len)) return;
    Link* place = FindPlace(segments, pos);
    auto silence = MakeSilence(len + pos);  // past the end `pos` is what is missing up to there
    silence->next = std::move(*place);
    *place = std::move(silence);
}

void LSound::InsertChain(int64_t pos, Link chain) {
    int64_t left = pos;
    Link* place = FindPlace(segments, left);
    if (*place && pos < 0) *EndOfChain(chain) = MakeSilence(-pos);
    if (!*place && left > 0) {
        *place = MakeSilence(left);
        place = &(*place)->next;
    }
    *EndOfChain(chain) = std::move(*place);
    *place = std::move(chain);
}

void LSound::Insert(int64_t pos, const LSound& source) {
    if (HasRoomFor(pos, source.Length())) InsertChain(pos, CloneChain(source.segments.get()));
}

void LSound::Replace(int64_t start, int64_t end, const LSound& source) {
    Link chain = CloneChain(source.segments.get());
    if (!HasRoomFor(start, source.Length(), FramesDeleted(start, end, Length()))) return;
    Delete(start, end);
    InsertChain(start, std::move(chain));
}

void LSound::Silence(int64_t start, int64_t end) {
    const int64_t from = std::max<int64_t>(start, 0);
    if (end > from && !HasRoomFor(from, end - from, FramesDeleted(from, end, Length()))) return;
    Delete(start, end);
    InsertSilence(start, SaturatedDifference(end, start));
}

void LSound::Repeat(int64_t start, int64_t end, int64_t times) {
    if (start >= end || times <= 0) return;
    LSound range;
    CopyRange(start, end, range);
    const int64_t before = SaturatedDifference(0, std::min<int64_t>(start, 0));
    int64_t count = 0, added = 0;
    for (const LSoundSegment* at = range.segments.get(); at; at = at->next.get()) ++count;
    if (count == 0 || times > kMaxRepeatedSegments / (count + 1)) return;
    if (__builtin_add_overflow(range.Length(), before, &added) ||
        __builtin_mul_overflow(added, times, &added) || !HasRoomFor(std::max<int64_t>(start, 0), added)) {
        return;
    }
    Link chain;
    for (int64_t i = 0; i < times; ++i) {
        Link copy = CloneChain(range.segments.get());
        Link* tail = EndOfChain(copy);
        if (before > 0 && (segments || i > 0)) {  // what an insertion at a negative place leaves behind
            *tail = MakeSilence(before);
            tail = &(*tail)->next;
        }
        *tail = std::move(chain);
        chain = std::move(copy);
    }
    InsertChain(std::max<int64_t>(start, 0), std::move(chain));
}

void LSound::ScaleRangePercent(int64_t start, int64_t end, int percent) {
    int64_t length = 0;
    if (start > end || percent == 100 || __builtin_sub_overflow(end, start, &length)) return;
    if (!HasRoomFor(start, length, FramesDeleted(start, end, Length()))) return;
    LSound range;
    CopyRange(start, end, range);
    Delete(start, end);
    range.ScalePercent(percent);
    InsertChain(start, std::move(range.segments));
}

void LSound::ScalePercent(int percent) { ScaleBy(static_cast<float>(percent * 0.01)); }

void LSound::ScaleBy(float factor) {
    if (factor == 1.0f) return;
    for (LSoundSegment* at = segments.get(); at; at = at->next.get()) at->gain *= factor;
}

}  // namespace ondarix
