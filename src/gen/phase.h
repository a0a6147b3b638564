// SPDX-License-Identifier: GPL-3.0-or-later
// What the process is doing and which thread is which, for failure reports. [any]
#pragma once
#include <QString>
#include <cstdint>

namespace ondarix {

// Phases below 1000; while a command is handled the variable holds the command's number instead.
enum : int32_t {
    kPhaseGlobalInit = 1,
    kPhaseWindowInit = 2,
    kPhaseWindowDestroy = 3,
    kPhaseGlobalDestroy = 4,
    kPhaseRunning = 5,
};

int32_t ProgramPhase();
void SetProgramPhase(int32_t phase);
// The last command that has ended and was started while no other was in progress; 0 before the first.
int32_t LastCommand();
// "GloIni1", "GuiIni2", "GuiDes3", "GloDes4", otherwise the number in decimal.
QString ProgramPhaseLabel(int32_t phase);
// Label and tag of the calling thread as one line of text in a failure report, "phase GuiIni2, thread MAIN".
// Allocates nothing and waits for nothing. Returns the length, at most `room` - 1.
size_t DescribeProgramPhase(char* text, size_t room);

// Holds the command's number for the time of its handler.
class LCommandPhase {
  public:
    explicit LCommandPhase(int32_t command);
    ~LCommandPhase();
    LCommandPhase(const LCommandPhase&) = delete;
    LCommandPhase& operator=(const LCommandPhase&) = delete;

  private:
    int32_t before_;
    int32_t command_;
};

// Up to 64 threads carry a tag of at most four letters; a full table refuses silently. Registering a
// thread again replaces its tag.
void RegisterThreadTag(const char* tag);
void UnregisterThreadTag();
// The calling thread's tag, or the last four decimal digits of its thread id ("0042").
QString CurrentThreadTag();

}  // namespace ondarix
