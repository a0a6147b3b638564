// SPDX-License-Identifier: GPL-3.0-or-later
// Playing, its speeds, its loop, fast walks and scrubbing.
#include <algorithm>
#include <iterator>

#include "app/frame_handlers.h"
#include "app/playback.h"

namespace ondarix {
namespace {

constexpr int kSpeedCommands[] = {
    kCmdSpeedTenth,      kCmdSpeedFifth,  kCmdSpeedHalf,   kCmdSpeedNormal,   kCmdSpeedOneAndQuarter,
    kCmdSpeedOneAndHalf, kCmdSpeedDouble, kCmdSpeedTriple, kCmdSpeedFivefold,
};
static_assert(std::size(kSpeedCommands) == kPlaySpeeds);

void ChooseSpeed(LCommandCall& call) {
    const auto* found = std::find(std::begin(kSpeedCommands), std::end(kSpeedCommands), call.id);
    call.frame.Playback().SetSpeedIndex(static_cast<int>(found - std::begin(kSpeedCommands)));
}

void ToggleManner(LCommandCall& call, LPlayManner manner) {
    LPlayback& playback = call.frame.Playback();
    playback.SetManner(playback.Manner() == manner ? LPlayManner::kPlain : manner);
}

constexpr LCommandHandler kPlayHandlers[] = {
    {kCmdPlay, [](LCommandCall& call) { call.frame.Playback().PlayOrPause(); }},
    {kCmdPreviewSaved, [](LCommandCall& call) { call.frame.Playback().PlaySaved(*call.sound); }},
    {kCmdPlayAgain, [](LCommandCall& call) { call.frame.Playback().PlayAgain(); }},
    {kCmdStop, [](LCommandCall& call) { call.frame.Playback().Stop(); }},
    {kCmdLoop, [](LCommandCall& call) { call.frame.Playback().SetLoop(!call.frame.Playback().Loop()); }},
    {kCmdRewind, [](LCommandCall& call) { ToggleManner(call, LPlayManner::kRewind); }},
    {kCmdForward, [](LCommandCall& call) { ToggleManner(call, LPlayManner::kForward); }},
    {kCmdScrub, [](LCommandCall& call) { ToggleManner(call, LPlayManner::kScrub); }},
    {kCmdScrubBack, [](LCommandCall& call) { call.frame.Playback().ScrubBy(-1); }},
    {kCmdScrubForward, [](LCommandCall& call) { call.frame.Playback().ScrubBy(1); }},
    {kCmdSpeedTenth, ChooseSpeed},
    {kCmdSpeedFifth, ChooseSpeed},
    {kCmdSpeedHalf, ChooseSpeed},
    {kCmdSpeedNormal, ChooseSpeed},
    {kCmdSpeedOneAndQuarter, ChooseSpeed},
    {kCmdSpeedOneAndHalf, ChooseSpeed},
    {kCmdSpeedDouble, ChooseSpeed},
    {kCmdSpeedTriple, ChooseSpeed},
    {kCmdSpeedFivefold, ChooseSpeed},
};

}  // namespace

std::span<const LCommandHandler> PlayHandlers() { return kPlayHandlers; }

int SpeedCommand(int index) { return kSpeedCommands[std::clamp(index, 0, kPlaySpeeds - 1)]; }

int64_t PlaceHere(LCommandCall& call) {
    const LPlayback& playback = call.frame.Playback();
    return playback.Holds(*call.sound) ? playback.Position() : call.Document().cursor;
}

void GoOrSeek(LCommandCall& call, int64_t frame) {
    LPlayback& playback = call.frame.Playback();
    if (playback.Holds(*call.sound))
        playback.Seek(frame);
    else
        GoTo(*call.sound, frame);
}

}  // namespace ondarix
