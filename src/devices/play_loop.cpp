// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/play_loop.h"

#include <algorithm>

namespace ondarix {

LLoopSource::LLoopSource(LSoundSourceRef child, int64_t passes)
    : LPlayWrapper(std::move(child)), wish_(passes) {
    GetLength();
}

// How many there are; the wish to end with this one becomes their number. A pass of which nothing has been
// read yet has not begun.
int64_t LLoopSource::Passes(int64_t passFrames) {
    int64_t wish = wish_.load();
    if (wish != kThisOne) return wish;
    const int64_t begun = std::max<int64_t>((position_ + passFrames - 1) / passFrames, 1);
    return wish_.compare_exchange_strong(wish, begun) ? begun : wish;
}

int64_t LLoopSource::GetLength() {
    const bool growing = child_->IsGrowing();
    const int64_t pass = child_->GetLength();
    int64_t all = pass;
    if (!growing && pass > 0) {
        const int64_t passes = Passes(pass);
        if (passes == kLoopForever || __builtin_mul_overflow(pass, passes, &all) || all > kEndless)
            all = kEndless;
    }
    passFrames_.store(growing ? 0 : pass, std::memory_order_relaxed);
    allFrames_.store(all, std::memory_order_relaxed);
    return all;
}

float* LLoopSource::Read(float* dest, int32_t frames) {
    const int64_t before = std::clamp<int64_t>(-position_, 0, frames);
    dest = Silence(dest, before);
    int64_t real = std::clamp<int64_t>(GetLength() - position_, before, frames) - before;
    const int64_t pass = PassFrames(), behind = frames - before - real;
    int64_t at = position_ + before;
    while (real > 0) {
        const int64_t inPass = pass > 0 ? at % pass : at;
        const int64_t piece = pass > 0 ? std::min(real, pass - inPass) : real;
        dest = ReadChild(dest, inPass, piece);
        at += piece;
        real -= piece;
    }
    position_ += frames;
    return Silence(dest, behind);
}

void LLoopSource::Seek(int64_t frame) { position_ = std::min(frame, GetLength()); }

}  // namespace ondarix
