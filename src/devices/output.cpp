// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/output.h"

#include <algorithm>
#include <array>

namespace ondarix {
namespace {

constexpr std::array kUsualRates = {6000,  8000,  11025, 16000, 22050,  32000, 44100,
                                    48000, 64000, 88200, 96000, 176400, 192000};

}  // namespace

std::span<const LBackendRow* const> Backends() {
    static const LBackendRow* const rows[] = {&AlsaBackend(), &PulseAudioBackend(), &JackBackend(),
                                              &PipeWireBackend(), &NullBackend()};
    return rows;
}

const LBackendRow& BackendOf(LDeviceMode mode) {
    for (const LBackendRow* row : Backends())
        if (row->mode == mode) return *row;
    return NullBackend();
}

int32_t SearchRate(int32_t rate, const std::function<bool(int32_t)>& takes) {
    const auto here = std::find(kUsualRates.begin(), kUsualRates.end(), rate);
    if (here == kUsualRates.end()) return -1;
    for (auto higher = here; higher != kUsualRates.end(); ++higher)
        if (takes(*higher)) return *higher;
    for (auto lower = here; lower != kUsualRates.begin();)
        if (takes(*--lower)) return *lower;
    return -1;
}

}  // namespace ondarix
