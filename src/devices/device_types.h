// SPDX-License-Identifier: GPL-3.0-or-later
// What names a sound device, and what can be wrong with one.
#pragma once
#include <QString>
#include <cstdint>
#include <vector>

namespace ondarix {

// The back ends, in the order of lists. Stored numbers.
enum class LDeviceMode : uint8_t {
    kAlsa = 0,
    kPulseAudio = 1,
    kJack = 2,
    kPipeWire = 3,
    kNull = 4,  // no sound: a clock that consumes, or a file that what is played goes into
};
inline constexpr int kDeviceModes = 5;

struct LDeviceSelection {
    LDeviceMode mode = LDeviceMode::kNull;
    // The back end's own name of the device: an ALSA PCM, a sink, a client with ports, a node; empty: what
    // the system has for its default. Of kNull: the file to write, empty for none.
    QString id;
    QString name;  // for people, without the prefix of the back end, at most 255 UTF-16 units
    bool operator==(const LDeviceSelection&) const = default;
};

enum class LDeviceDirection : uint8_t { kPlayback, kCapture };

struct LDeviceInfo {
    LDeviceSelection selection;
    bool isDefault = false;  // of its back end
    int channels = 0;        // 0: not known before it is opened
    int32_t rate = 0;        // Hz; 0: any, or not known
};

enum LDeviceStatus : uint16_t {
    kDeviceGood = 0,
    kDeviceRateUnsupported = 1,  // PreferredRate() says which one it would take
    kDeviceNoChannels = 2,
    kDeviceNoLibrary = 6,  // the client library of the back end is not installed
    kDeviceRefused = 13,   // neither the chosen device nor the default could be opened
    kDeviceNoPosition = 14,
    kDeviceOpening = 16,
    kDeviceLost = 17,       // the server has gone, or the device was taken away
    kDeviceExclusive = 18,  // in use by another program that does not share it
};

// Signed dB of full scale, one a channel; kNoSignalDb: nothing.
using LLevelBytes = std::vector<int8_t>;
inline constexpr int8_t kNoSignalDb = -127;
inline constexpr int8_t kLimitedLevelDb = 1;  // above full scale: a limiter is at work
// The byte for a largest absolute sample: 20 * log10(peak) - 0.5, truncated; below -126 dB and for peaks
// under 4.467e-7 kNoSignalDb, 127 at most.
int8_t LevelByte(float peak);
// The factor of a volume in dB: 10^(db / 20), 0 for kNoSignalDb.
float VolumeFactor(int8_t db);

}  // namespace ondarix
