// SPDX-License-Identifier: GPL-3.0-or-later
// The operations of "edit": tables, from which parsing, help and the test of the manual come.
#pragma once
#include <QString>
#include <QStringList>
#include <span>
#include <vector>

#include "cli/command.h"
#include "cli/edit_session.h"
#include "cli/positions.h"

namespace ondarix {

struct LEditRow;

// One operation of the command line, understood but not yet measured against a sound.
struct LEditStep {
    const LEditRow* row = nullptr;
    std::vector<LPosition> positions;  // and lengths, in the order of the operands
    int64_t number = 0;
    double decibels = 0;
    QStringList texts;  // names, files and folders
};

// `kinds` says what an operation takes, one letter an operand:
//   P position, which may lie outside the sound; Q position inside it; L length;
//   N times; % percentage; K count of steps or parts; R sample rate; C channels; H channel or "all" (0);
//   M milliseconds; D decibels; F file; O folder; T name.
// What follows '[' is there altogether or not at all; '+' repeats the letter before it. Two positions at the
// start are a range. The words of `operands` are those of the help.
struct LEditRow {
    const char* name;
    const char* kinds;
    const char* operands;
    const char* help;  // one line
    // `at`: the frames of the step's positions and lengths.
    JobResult (*run)(const LEditStep& step, const std::vector<int64_t>& at, LEditSession& session);
};

// In the order of the help; each group in a file of its own.
std::span<const LEditRow> SoundSteps();    // edit_sound_steps.cpp
std::span<const LEditRow> CommandSteps();  // edit_command_steps.cpp
std::span<const LEditRow> MarkSteps();     // edit_mark_steps.cpp
std::span<const LEditRow> PieceSteps();    // edit_piece_steps.cpp
std::span<const LEditRow> MixSteps();      // edit_mix_steps.cpp

// A piece of a sound takes some hundred bytes of memory, and each step of the history copies the list.
inline constexpr int64_t kMostPieces = 100'000;
int64_t CountPieces(const LSound& sound);

// Names what is wrong in `error`, which is empty on success.
std::vector<LEditStep> ParseSteps(const QStringList& words, QString& error);
// Applies one step. On anything but kSuccess the session's fault says why, unless a message did.
JobResult ApplyStep(const LEditStep& step, LEditSession& session);

inline constexpr LOptionRow kHistoryOption = {"--history", "",
                                              "print the list of changes, \">\" before the present state"};

// For the help.
std::vector<LOperationHelp> EditOperations();

inline constexpr const char* kEditDetails =
    "The operations are applied in the order given, each to what the one before has left. OUT may be \"-\":\n"
    "then the sound itself is not saved, only what the operations write. Nothing is written when one of "
    "them\n"
    "cannot be applied.\n"
    "\n"
    "A position or length is a number of frames (12345) or a time (1.5s, 250ms, 1:02.5, 0:01:02.5), END is\n"
    "not part of the range. \"end\" is the end of the sound at that moment, \"end-1.5s\" is counted from "
    "it.\n"
    "A negative position lies before the start. Operands in brackets may be left out: the selection, or the\n"
    "cursor, counts then. OUT is treated as by convert, and the bookmarks of IN are saved beside it.\n";

}  // namespace ondarix
