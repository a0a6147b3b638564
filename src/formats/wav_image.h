// SPDX-License-Identifier: GPL-3.0-or-later
// A sound as a whole WAV file in memory: what other programs take from the clipboard.
#pragma once
#include <QByteArray>

#include "gen/progress.h"
#include "sound/sound.h"

namespace ondarix {

// The sizes of a WAV file have 32 bits.
inline constexpr int64_t kMaxWavImageBytes = 0xFFFFFFFF;

enum class LWavImageResult : uint8_t { kDone, kCancelled, kTooLong, kNoMemory, kLost };

// Bytes of the image. `bits`: 8, 16 or 24 of PCM where all samples come from integers of that width, so that
// they stay what they are; otherwise 32 of float. INT64_MAX when 64 bits do not hold it.
int64_t WavImageBytes(const LSound& sound, int& bits);
// kLost: a working file of the sound has gone. Otherwise than with kDone `image` is empty. [any]
LWavImageResult RenderWavImage(const LSound& sound, QByteArray& image, LProgress& progress);

// Whether a WAV file says of itself that it is longer than it is. A file that was written to a pipe cannot
// know its length, and says one of the usual placeholders: that is not counted as cut off. [any]
bool IsCutOffWav(const QByteArray& image);

}  // namespace ondarix
