// SPDX-License-Identifier: GPL-3.0-or-later
// What is selected: the document stays as it is, so nothing here makes a step of the history.
#include <algorithm>

#include "app/frame_handlers.h"
#include "app/input_dialogs.h"
#include "sound/snap.h"

namespace ondarix {
namespace {

constexpr const char* kFirstMark = "firstMark";  // properties of the sound's window, frames
constexpr const char* kSecondMark = "secondMark";
constexpr const char* kStartMark = "selectionStartMark";
constexpr const char* kEndMark = "selectionEndMark";
constexpr int kSnapMs = 50;  // to each side

int64_t TotalOf(const LCommandCall& call) { return call.sound->Range().Total(); }

std::optional<int64_t> MarkOf(const LSoundWindow& sound, const char* name) {
    const QVariant mark = sound.property(name);
    return mark.isValid() ? std::optional<int64_t>(mark.toLongLong()) : std::nullopt;
}

void SetMark(LCommandCall& call, const char* name, const QString& hint) {
    call.sound->setProperty(name, static_cast<qlonglong>(call.Document().cursor));
    call.frame.ShowHint(hint);
}

void SelectToStart(LCommandCall& call) { call.sound->View().Select(call.Document().EditRange().end, 0); }

void SelectToEnd(LCommandCall& call) {
    call.sound->View().Select(call.Document().EditRange().start, TotalOf(call));
}

void SelectTime(LCommandCall& call) {
    const auto range = AskTimeRange(&call.frame, call.Document());
    if (!range) return;
    call.sound->View().Select(range->start, range->end);
    call.sound->Range().Reveal(range->start);
}

void Jump(LCommandCall& call) {
    if (const auto position = AskPosition(&call.frame, call.Document())) GoOrSeek(call, *position);
}

// Up to the end that was set before, or to that of what is selected; without either to the end of the sound.
void SelectionStartHere(LCommandCall& call) {
    const int64_t here = call.Document().cursor;
    const int64_t selected = call.Document().EditRange().end;
    int64_t end = MarkOf(*call.sound, kEndMark).value_or(selected);
    if (end <= here) end = selected > here ? selected : TotalOf(call);
    call.sound->setProperty(kStartMark, static_cast<qlonglong>(here));
    call.sound->View().Select(end, here);
}

void SelectionEndHere(LCommandCall& call) {
    const int64_t here = call.Document().cursor;
    const int64_t selected = call.Document().EditRange().start;
    int64_t start = MarkOf(*call.sound, kStartMark).value_or(selected);
    if (start >= here) start = selected < here ? selected : 0;
    call.sound->setProperty(kEndMark, static_cast<qlonglong>(here));
    call.sound->View().Select(start, here);
}

// Both edges, or the cursor, to the best places near them; neither passes the other.
void SnapSelection(LCommandCall& call) {
    const LSound& sound = call.Document().Edited();
    const LSelection range = call.Document().EditRange();
    const int64_t reach = std::max<int64_t>(2, int64_t{sound.sampleRate} * kSnapMs / 1000);
    const int64_t middle = range.start + range.Length() / 2;
    const bool selected = !range.IsEmpty();
    LSnapOptions options;
    options.preferNearest = true;
    const auto snap = [&](int64_t place, int64_t least, int64_t most) {
        return SnapPosition(sound, place, std::max(least, place - reach), std::min(most, place + reach),
                            options);
    };
    const int64_t start = snap(range.start, 0, selected ? middle : TotalOf(call));
    const int64_t end = selected ? snap(range.end, middle, TotalOf(call)) : start;
    call.sound->View().Select(start, end);
}

void RecallMarks(LCommandCall& call) {
    const LSelection range = *MarkedRange(*call.sound);
    call.sound->View().Select(range.start, range.end);
    call.sound->Range().Reveal(range.start);
}

constexpr LCommandHandler kSelectHandlers[] = {
    {kCmdSelectAll, [](LCommandCall& call) { call.sound->View().SelectAll(); }},
    {kCmdSelectNone, [](LCommandCall& call) { call.sound->View().SelectNone(); }},
    {kCmdSelectToStart, SelectToStart},
    {kCmdSelectToEnd, SelectToEnd},
    {kCmdSelectTime, SelectTime},
    {kCmdJump, Jump},
    {kCmdSelectionStartHere, SelectionStartHere},
    {kCmdSelectionEndHere, SelectionEndHere},
    {kCmdSnapSelection, SnapSelection},
    {kCmdMarkFirst,
     [](LCommandCall& call) { SetMark(call, kFirstMark, QStringLiteral("First position marked")); }},
    {kCmdMarkSecond,
     [](LCommandCall& call) { SetMark(call, kSecondMark, QStringLiteral("Second position marked")); }},
    {kCmdRecallMarks, RecallMarks},
};

}  // namespace

std::span<const LCommandHandler> SelectHandlers() { return kSelectHandlers; }

std::optional<LSelection> MarkedRange(const LSoundWindow& sound) {
    const auto first = MarkOf(sound, kFirstMark), second = MarkOf(sound, kSecondMark);
    if (!first || !second) return std::nullopt;
    return LSelection{std::min(*first, *second), std::max(*first, *second)};
}

void GoTo(LSoundWindow& sound, int64_t frame) {
    sound.View().MoveCursor(std::clamp<int64_t>(frame, 0, sound.Range().Total()), false);
}

}  // namespace ondarix
