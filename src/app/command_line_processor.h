// SPDX-License-Identifier: GPL-3.0-or-later
// What arguments mean: those of the first process, of a second one, and of a client of the automation socket.
//
// Single requests, answered with a text:
//   -testapi TEXT   "API Test OK [TEXT]."
//   -version        the program's version
//   -state          one line of JSON: {"pid": 1, "open": ["/a.wav"], "listeners": ["name"]}
//   -commands       one line of JSON: [{"id": 2001, "text": "Undo"}, ...]
//   -commands MENU  those of a menu, with their paths, keys and whether they can run now
//
// Everything else goes through the switch loop, see kSwitches in the source. Names compare without case. A
// command in it answers too; the answer of the last one counts.
#pragma once
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <functional>

#include "app/frame_actions.h"

namespace ondarix {

// What "-state" tells beside the process number.
struct LProgramState {
    QStringList open;  // paths of the open sounds, in order; the title where there is no path yet
    QStringList listeners;
    QJsonObject active{};    // of the active sound; empty: none
    QJsonObject playback{};  // "state": "stopped", "playing", "paused"; else "title" and "position" in frames
};

class LCommandLineProcessor {
  public:
    enum Code : int { kSuccess = 0, kNoData = -1, kNoCommand = -2, kNotNow = -3 };

    explicit LCommandLineProcessor(LFrameActions& frame, std::function<LProgramState()> state = nullptr)
        : frame_(frame), state_(std::move(state)) {}
    // `arguments` with argument 0, which is skipped. `reply` is emptied first. [ui]
    int Process(const QStringList& arguments, QString& reply);

  private:
    LFrameActions& frame_;
    std::function<LProgramState()> state_;
};

// The link of a hand-over that consists of argument 0 and a link to this program; otherwise empty.
QString LinkArgument(const QStringList& arguments);

// The arguments as they mean the same in a process with another current folder: paths of existing files and
// the paths that switches take become absolute, "file:" URLs become paths; everything else stays. [any]
QStringList MakeArgumentsPortable(const QStringList& arguments, const QString& currentFolder);

// The lines of a list of paths, empty ones left out: UTF-8 with or without its mark or UTF-16 with it, any
// line ends. Text that is no UTF-8 is read as Latin 1; text beyond kListBytes not at all. [any]
QStringList PathsOfList(const QByteArray& text);
inline constexpr qint64 kListBytes = 16 << 20;

}  // namespace ondarix
