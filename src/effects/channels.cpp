// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/channels.h"

#include <algorithm>
#include <utility>

#include "dsp/gain.h"
#include "effects/dc_offset.h"
#include "effects/filter.h"
#include "effects/reverse.h"

namespace ondarix {
namespace {

using LStereoKernel = void (*)(float* frames, int64_t count);

class LStereoFilter final : public LSoundFilter {
  public:
    LStereoFilter(LSoundSourceRef source, LStereoKernel kernel)
        : LSoundFilter(std::move(source)), kernel_(kernel) {}

  protected:
    void Process(float* block, int32_t frames, int64_t) override { kernel_(block, frames); }

  private:
    LStereoKernel kernel_;
};

LSoundSourceRef OnStereo(LSoundSourceRef source, LStereoKernel kernel) {
    if (source->channels != 2) return source;
    return WrapInFilter<LStereoFilter>(std::move(source), kernel);
}

class LMuteFilter final : public LSoundFilter {
  public:
    explicit LMuteFilter(LSoundSourceRef source) : LSoundFilter(std::move(source)) { peak = 0; }

  protected:
    void Process(float* block, int32_t frames, int64_t) override {
        std::fill_n(block, int64_t{frames} * channels, 0.0f);
    }
};

template <typename Effect>
std::unique_ptr<LEffect> MakePlain() {
    return std::make_unique<Effect>();
}

constexpr LEffectRow kChannelRows[] = {
    {0, "reverse", "Reverse", "Reverse", 4008, kEffectNoDialog, "Settings", &MakePlain<LReverseEffect>,
     "Play the sound backwards"},
    {0, "dc-offset", "DC Offset Correction", "DC Offset Correction", 4018, kEffectNoDialog, "Settings",
     &MakePlain<LDcOffsetEffect>, "Bring the middle of each channel's wave back to zero"},
    {0, "mute", "Mute", "Mute", 4021, kEffectNoDialog, "Settings", &MakePlain<LMuteEffect>,
     "Silence the sound and keep its length"},
    {0, "channel-swap", "Channel Swap", "Channel Swap", 4057, kEffectStereoOnly | kEffectNoDialog, "Settings",
     &MakePlain<LChannelSwapEffect>, "Exchange the left and the right channel"},
    {0, "phase-inversion", "L/R Channel Phase Inversion", "L/R Channel Phase Inversion", 4058,
     kEffectStereoOnly | kEffectNoDialog, "Settings", &MakePlain<LPhaseInversionEffect>,
     "Turn the wave of the left channel upside down"},
};

}  // namespace

std::span<const LEffectRow> ChannelEffectRows() { return kChannelRows; }

LSoundSourceRef LChannelSwapEffect::CreateFilter(LSoundSourceRef source) const {
    return OnStereo(std::move(source), &SwapStereo);
}

LSoundSourceRef LPhaseInversionEffect::CreateFilter(LSoundSourceRef source) const {
    return OnStereo(std::move(source), &NegateLeft);
}

LSoundSourceRef LMuteEffect::CreateFilter(LSoundSourceRef source) const {
    return WrapInFilter<LMuteFilter>(std::move(source));
}

}  // namespace ondarix
