// SPDX-License-Identifier: GPL-3.0-or-later
// The operations of "edit": one table, from which parsing and help come.
#pragma once
#include <QString>
#include <QStringList>
#include <vector>

#include "cli/positions.h"
#include "sound/sound.h"

namespace ondarix {

struct LEditRow;

// One operation of the command line, understood but not yet measured against a sound.
struct LEditStep {
    const LEditRow* row = nullptr;
    LPosition positions[2];  // in the order of the operands
    int64_t number = 0;      // of times, or a percentage
    QString file;
};

// Names what is wrong in `error`, which is empty on success.
std::vector<LEditStep> ParseSteps(const QStringList& words, QString& error);

const char* StepName(const LEditStep& step);
bool StepNeedsFile(const LEditStep& step);

// Applies one step; `inserted` is the sound of its file, of the same format, or null. Answers why it cannot
// be done, empty on success; the sound is unchanged then.
QString ApplyStep(const LEditStep& step, const LSound* inserted, LSound& sound);

inline constexpr const char* kEditDetails =
    "The operations are applied in the order given, each to what the one before has left:\n"
    "  delete START END             take the range out\n"
    "  keep START END               take everything else out\n"
    "  silence START END            make the range silent\n"
    "  insert-silence AT LENGTH     put silence in\n"
    "  insert AT FILE               put all of another file in, converted to the rate and channels\n"
    "  repeat START END TIMES       put so many further copies of the range behind it\n"
    "  scale START END PERCENT      change the level of the range; 100 leaves it, -100 inverts it\n"
    "\n"
    "A position or length is a number of frames (12345) or a time (1.5s, 250ms, 1:02.5, 0:01:02.5), END is\n"
    "not part of the range. \"end\" is the end of the sound at that moment, \"end-1.5s\" is counted from "
    "it.\n"
    "A negative position lies before the start. OUT is treated as by convert.\n";

}  // namespace ondarix
