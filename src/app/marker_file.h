// SPDX-License-Identifier: GPL-3.0-or-later
// A file that exists while the program runs. One that is found at the start tells of a run that did not end.
//
//   0  u32  time of day, seconds since 1970
//   4  u32  milliseconds since the machine was started; both little-endian and cut to 32 bits
#pragma once
#include <QString>
#include <cstdint>

namespace ondarix {

struct LRunStamp {
    uint32_t timeSeconds = 0;
    uint32_t tickMs = 0;
    static LRunStamp Now();
};

// Whether the run that left `left` behind ended while this machine kept running: the tick count that would
// show `now` without a restart is within 2000 ms of the real one. A restart explains the file otherwise. Both
// counts wrap. [any]
bool EndedWithoutRestart(const LRunStamp& left, const LRunStamp& now);

class LMarkerFile {
  public:
    // "_ondarix_rl_USER" in the temporary folder.
    static QString DefaultPath();

    ~LMarkerFile();  // the file stays
    LMarkerFile() = default;
    LMarkerFile(const LMarkerFile&) = delete;
    LMarkerFile& operator=(const LMarkerFile&) = delete;

    // Makes the file and keeps it open. True when an earlier run left one behind, and should be asked about;
    // what it left is replaced. A file that another running process holds, or that is not this user's, is
    // left alone.
    bool Begin(const QString& path);
    // A clean end: the file goes.
    void End();

  private:
    bool Create();
    bool TakeOver();

    QString path_;
    int fd_ = -1;
};

// Called when the user has said that the last run crashed. Writes one line to standard error by default.
extern void (*gOnCrashReported)();

}  // namespace ondarix
