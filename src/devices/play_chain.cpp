// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/play_chain.h"

#include <algorithm>
#include <iterator>

#include "devices/play_loop.h"
#include "devices/play_range.h"
#include "devices/play_skip.h"

namespace ondarix {
namespace {

constexpr double kSpeedFactors[] = {0.1, 0.2, 0.5, 1.0, 1.25, 1.5, 2.0, 3.0, 5.0};
static_assert(std::size(kSpeedFactors) == kPlaySpeeds && kSpeedFactors[kNormalSpeed] == 1.0);

}  // namespace

double PlaySpeedFactor(int index) {
    return index >= 0 && index < kPlaySpeeds ? kSpeedFactors[index] : kSpeedFactors[kNormalSpeed];
}

// The speed stands behind the loop, so that it goes over the joints as if the passes were one sound.
LPlayChain::LPlayChain(const LPlayRequest& request)
    : request_(request), speed_(LPlayRatio::Of(request.speed)), looping_(request.loops != 1) {
    request_.start = std::max<int64_t>(request.start, 0);
    auto range = MakeSource<LRangeSource>(request.sound, request_.start, request.end);
    const int64_t first =
        request.first < 0 ? 0 : std::clamp<int64_t>(request.first - request_.start, 0, range->GetLength());
    if (request.skip != 0) {
        speed_ = {};
        skip_ = new LSkipSource(std::move(range), first, request.skip);
        source_ = LSoundSourceRef(skip_);
        return;
    }
    const int64_t passes = request.loops == kLoopForever ? kLoopForever : std::max(request.loops, 1);
    loop_ = new LLoopSource(std::move(range), passes);
    source_ = PlayAtSpeed(LSoundSourceRef(loop_), speed_, request.keepPitch);
    source_->Seek(speed_.FromChild(first));
}

int64_t LPlayChain::ToPasses(int64_t played) const { return speed_.ToChild(played); }

int64_t LPlayChain::ToSound(int64_t played) const {
    if (skip_) return request_.start + skip_->ToChild(played);
    const int64_t pass = loop_->PassFrames();
    const int64_t frame = std::min(ToPasses(played), loop_->AllFrames());
    if (pass <= 0) return request_.start + frame;
    return request_.start + (frame == loop_->AllFrames() ? pass : frame % pass);
}

int64_t LPlayChain::FromSound(int64_t frame, int64_t played) const {
    const int64_t inRange = std::max<int64_t>(frame - request_.start, 0);
    if (skip_) return skip_->FromChild(inRange);
    const int64_t pass = loop_->PassFrames(), all = loop_->AllFrames();
    if (pass <= 0) return speed_.FromChild(std::min(inRange, all));
    const int64_t begin = std::min(ToPasses(played), all - 1) / pass * pass;
    const int64_t wanted = begin + std::min(inRange, pass);
    const int64_t found = speed_.FromChild(wanted);
    // Rounding does not lead into another pass.
    if (ToPasses(found) < begin) return found + 1;
    if (inRange < pass && ToPasses(found) >= begin + pass) return found - 1;
    return found;
}

void LPlayChain::SetLooping(bool on, int64_t played) {
    if (!loop_) return;
    looping_ = on;
    const int64_t pass = loop_->PassFrames();
    if (on)
        loop_->SetPasses(kLoopForever);
    else if (played >= 0 && pass > 0)
        loop_->SetPasses(ToPasses(played) / pass + 1);
    else
        loop_->EndPass();
}

}  // namespace ondarix
