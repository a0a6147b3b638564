// SPDX-License-Identifier: GPL-3.0-or-later
// Moving the cursor, or what is heard.
#include <algorithm>

#include "app/frame_handlers.h"
#include "app/playback.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

constexpr int kInchPixels = 10, kFinePixels = 1;
constexpr int kBehindMs = 500;

// While it plays, what is heard is past the place that was gone back to just now.
int64_t PlaceBehind(LCommandCall& call) {
    const bool plays =
        call.frame.Playback().Holds(*call.sound) && call.frame.Playback().State() == LPlayState::kPlaying;
    return PlaceHere(call) - (plays ? int64_t{call.Document().sound.sampleRate} * kBehindMs / 1000 : 0);
}

// `pixels` of the view, at least one frame.
void StepBy(LCommandCall& call, int pixels) {
    const double perPixel =
        static_cast<double>(call.sound->Range().Frames()) / std::max(1, call.sound->View().width());
    const auto frames = std::max<int64_t>(1, static_cast<int64_t>(perPixel * std::abs(pixels)));
    GoOrSeek(call, PlaceHere(call) + (pixels < 0 ? -frames : frames));
}

void PageBy(LCommandCall& call, int pages) {
    LViewRange& range = call.sound->Range();
    const int64_t frames = pages * range.Frames();
    const int64_t place = PlaceHere(call) + frames;
    range.MoveTo(range.Start() + frames);
    GoOrSeek(call, place);
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
    const auto next = std::upper_bound(points.begin(), points.end(), PlaceHere(call));
    GoOrSeek(call, next == points.end() ? points.back() : *next);
}

void PreviousCutpoint(LCommandCall& call) {
    const auto points = Cutpoints(call.Document().Edited());
    const auto here = std::lower_bound(points.begin(), points.end(), PlaceBehind(call));
    GoOrSeek(call, here == points.begin() ? 0 : *(here - 1));
}

void GoToMark(LCommandCall& call, const LBookmark* bookmark) {
    if (bookmark) {
        GoOrSeek(call, bookmark->position);
        call.frame.ShowHint(bookmark->name);
    } else {
        call.frame.ShowHint(QStringLiteral("There is no bookmark in this direction"));
    }
}

constexpr LCommandHandler kControlHandlers[] = {
    {kCmdGoToStart, [](LCommandCall& call) { GoOrSeek(call, 0); }},
    {kCmdGoToEnd, [](LCommandCall& call) { GoOrSeek(call, call.sound->Range().Total()); }},
    {kCmdGoToSelectionStart, [](LCommandCall& call) { GoOrSeek(call, call.Document().selectionStart); }},
    {kCmdGoToSelectionEnd, [](LCommandCall& call) { GoOrSeek(call, call.Document().selectionEnd); }},
    {kCmdPageForward, [](LCommandCall& call) { PageBy(call, 1); }},
    {kCmdPageBack, [](LCommandCall& call) { PageBy(call, -1); }},
    {kCmdInchForward, [](LCommandCall& call) { StepBy(call, kInchPixels); }},
    {kCmdInchBack, [](LCommandCall& call) { StepBy(call, -kInchPixels); }},
    {kCmdFineForward, [](LCommandCall& call) { StepBy(call, kFinePixels); }},
    {kCmdFineBack, [](LCommandCall& call) { StepBy(call, -kFinePixels); }},
    {kCmdNextCutpoint, NextCutpoint},
    {kCmdPreviousCutpoint, PreviousCutpoint},
    {kCmdNextBookmark,
     [](LCommandCall& call) { GoToMark(call, BookmarkAfter(call.Document(), PlaceHere(call))); }},
    {kCmdPreviousBookmark,
     [](LCommandCall& call) { GoToMark(call, BookmarkBefore(call.Document(), PlaceBehind(call))); }},
};

}  // namespace

std::span<const LCommandHandler> ControlHandlers() { return kControlHandlers; }

}  // namespace ondarix
