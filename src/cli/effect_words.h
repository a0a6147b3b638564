// SPDX-License-Identifier: GPL-3.0-or-later
// Effects as they are named on a command line, and as results tell of them.
//
//   EFFECT [NAME=VALUE...] [--preset NAME] [--then EFFECT ...] [--chain FILE]
//
// A stored chain stands where an effect can, or behind one.
#pragma once
#include <QJsonObject>
#include <utility>
#include <vector>

#include "cli/command.h"
#include "effects/apply.h"
#include "effects/effect_table.h"

namespace ondarix {

inline constexpr LOptionRow kPresetOption = {"--preset", "NAME", "begin with a preset of the effect before"};
inline constexpr LOptionRow kThenOption = {"--then", "", "what follows is one more effect"};
inline constexpr LOptionRow kChainOption = {"--chain", "FILE", "all effects of a stored chain (.ecf)"};
inline constexpr LOptionRow kPlacedEffectOptions[] = {kPresetOption, kThenOption, kChainOption};

inline constexpr LOptionRow kStartOption = {"--start", "POSITION", "begin there, not at the start"};
inline constexpr LOptionRow kEndOption = {"--end", "POSITION", "end there, not at the end"};
inline constexpr LOptionRow kChannelOption = {"--channel", "NUMBER", "change this channel alone, from 1"};

struct LEffectWords {
    const LEffectRow* row = nullptr;  // null: a stored chain
    QString preset;                   // empty: none
    std::vector<std::pair<QString, QString>> values;
    QString chain;  // path
};

// Names what is wrong in `error`, which is empty on success.
std::vector<LEffectWords> ParseEffectWords(const QStringList& words, QString& error);

// The parameters are others for another number of channels.
bool FollowsFormat(const LEffect& effect);
// With preset and values, for a sound of `format`. Null where one of them cannot be taken; `error` says why.
std::unique_ptr<LEffect> BuildEffect(const LEffectWords& words, LSoundFormat format, QString& error);
// The same for the first number of channels that the parameters fit; null where none does.
std::unique_ptr<LEffect> BuildForAnyLayout(const LEffectWords& words, QString& error);

// Built-in names first, then the user's.
QStringList PresetNames(const LEffect& effect);

// JSON has no infinity: null stands for a level of silence.
QJsonValue ParamToJson(const LEffectParam& param, double value);
// A number where it is one.
QJsonValue OptionToJson(const LEffectOption& option);
// "gain": 50, ...
QJsonObject ValuesToJson(const LEffect& effect);
// gain=50% method="Peak Loudness (RMS)", as a shell takes it; only what differs from `basis`, where one is
// given.
QString ValuesText(const LEffect& effect, const LEffect* basis = nullptr);
// Id, name, number, whether it is on, and its values.
QJsonObject EffectToJson(const LEffect& effect);
bool IsUnknown(const LEffect& effect);
// The word by which the command line knows it; "type-3" where this version knows none.
QString EffectId(const LEffect& effect);

// Why the file cannot be read; empty when it could.
QString ReadChain(const QString& path, LEffectList& effects);

inline constexpr const char* kApplyDetails =
    "EFFECT is one of those that \"ondarix-cli effects\" lists, NAME=VALUE one of its parameters; those that "
    "are\n"
    "not named keep their defaults, or the values of --preset. Effects that follow each other are computed "
    "in\n"
    "one go, each on what the one before gives. --chain may stand where an effect can, or behind one.\n"
    "Positions are frames or times: 12345, 1.5s, 250ms, 1:02.5, end-10s. OUT is treated as by convert, and "
    "the\n"
    "bookmarks of IN are saved beside it.\n";
inline constexpr const char* kChainMakeDetails =
    "Effects are named as for \"ondarix-cli apply\". OUT.ecf is what the editor's Effect Chain Window "
    "opens.\n"
    "Some effects have no stored form: \"ondarix-cli effects EFFECT\" says so.\n";

}  // namespace ondarix
