// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <cstdint>

namespace ondarix {

// Frames a second and samples a frame. Valid: rate at least 1, channels at least 1.
struct LSoundFormat {
    int32_t sampleRate = 44100;
    uint8_t channels = 1;
    bool IsValid() const { return sampleRate >= 1 && channels >= 1; }
    int64_t FrameBytes() const { return int64_t{channels} * 4; }
    bool operator==(const LSoundFormat&) const = default;
};

// Frames that are passed through a stack of sources at once.
inline constexpr int32_t kBlockFrames = 8192;

}  // namespace ondarix
