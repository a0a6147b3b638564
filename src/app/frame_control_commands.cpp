// SPDX-License-Identifier: GPL-3.0-or-later
// Moving the cursor.
#include <algorithm>

#include "app/frame_handlers.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

constexpr int kInchPixels = 10, kFinePixels = 1;

// `pixels` of the view, at least one frame.
void StepBy(LCommandCall& call, int pixels) {
    const double perPixel =
        static_cast<double>(call.sound->Range().Frames()) / std::max(1, call.sound->View().width());
    const auto frames = std::max<int64_t>(1, static_cast<int64_t>(perPixel * std::abs(pixels)));
    GoTo(*call.sound, call.Document().cursor + (pixels < 0 ? -frames : frames));
}

void PageBy(LCommandCall& call, int pages) {
    LViewRange& range = call.sound->Range();
    const int64_t frames = pages * range.Frames();
    const int64_t cursor = call.Document().cursor + frames;
    range.MoveTo(range.Start() + frames);
    GoTo(*call.sound, cursor);
}

// Where edits have joined the sound, its start and its end included.
std::vector<int64_t> Cutpoints(const LSound& sound) {
    std::vector<int64_t> points{0};
    for (const LSoundSegment* segment = sound.segments.get(); segment; segment = segment->next.get())
        if (segment->length > 0) points.push_back(points.back() + segment->length);
    return points;
}

void NextCutpoint(LCommandCall& call) {
    const auto points = Cutpoints(call.Document().Edited());
    const auto next = std::upper_bound(points.begin(), points.end(), call.Document().cursor);
    GoTo(*call.sound, next == points.end() ? points.back() : *next);
}

void PreviousCutpoint(LCommandCall& call) {
    const auto points = Cutpoints(call.Document().Edited());
    const auto here = std::lower_bound(points.begin(), points.end(), call.Document().cursor);
    GoTo(*call.sound, here == points.begin() ? 0 : *(here - 1));
}

void GoToMark(LCommandCall& call, const LBookmark* bookmark) {
    if (bookmark) {
        GoTo(*call.sound, bookmark->position);
        call.frame.ShowHint(bookmark->name);
    } else {
        call.frame.ShowHint(QStringLiteral("There is no bookmark in this direction"));
    }
}

constexpr LCommandHandler kControlHandlers[] = {
    {kCmdGoToStart, [](LCommandCall& call) { GoTo(*call.sound, 0); }},
    {kCmdGoToEnd, [](LCommandCall& call) { GoTo(*call.sound, call.sound->Range().Total()); }},
    {kCmdGoToSelectionStart, [](LCommandCall& call) { GoTo(*call.sound, call.Document().selectionStart); }},
    {kCmdGoToSelectionEnd, [](LCommandCall& call) { GoTo(*call.sound, call.Document().selectionEnd); }},
    {kCmdPageForward, [](LCommandCall& call) { PageBy(call, 1); }},
    {kCmdPageBack, [](LCommandCall& call) { PageBy(call, -1); }},
    {kCmdInchForward, [](LCommandCall& call) { StepBy(call, kInchPixels); }},
    {kCmdInchBack, [](LCommandCall& call) { StepBy(call, -kInchPixels); }},
    {kCmdFineForward, [](LCommandCall& call) { StepBy(call, kFinePixels); }},
    {kCmdFineBack, [](LCommandCall& call) { StepBy(call, -kFinePixels); }},
    {kCmdNextCutpoint, NextCutpoint},
    {kCmdPreviousCutpoint, PreviousCutpoint},
    {kCmdNextBookmark,
     [](LCommandCall& call) { GoToMark(call, BookmarkAfter(call.Document(), call.Document().cursor)); }},
    {kCmdPreviousBookmark,
     [](LCommandCall& call) { GoToMark(call, BookmarkBefore(call.Document(), call.Document().cursor)); }},
};

}  // namespace

std::span<const LCommandHandler> ControlHandlers() { return kControlHandlers; }

}  // namespace ondarix
