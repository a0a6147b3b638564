// SPDX-License-Identifier: GPL-3.0-or-later
// The rows. A new subcommand is one row here and one file with its function.
#include "cli/command.h"
#include "cli/edit_operations.h"
#include "cli/effect_words.h"
#include "cli/sound_files.h"

namespace ondarix {
namespace {

constexpr LOptionRow kInfoOptions[] = {
    {"--level", "", "decode the whole sound and tell its peak and RMS level"},
    kProgressOption,
};
constexpr LOptionRow kWriteOptions[] = {kBitsOption, kNoShapingOption, kNoClobberOption, kProgressOption};
constexpr LOptionRow kEditOptions[] = {kBitsOption, kNoShapingOption, kNoClobberOption, kHistoryOption,
                                       kProgressOption};
constexpr LOptionRow kApplyOptions[] = {kStartOption,     kEndOption,       kChannelOption, kBitsOption,
                                        kNoShapingOption, kNoClobberOption, kProgressOption};
constexpr LOptionRow kChainMakeOptions[] = {kNoClobberOption};
constexpr LOptionRow kPlayOptions[] = {
    {"--from", "POSITION", "begin there, not at the start"},
    {"--to", "POSITION", "end there, not at the end"},
    {"--speed", "FACTOR", "0.1 to 5; the pitch stays"},
    {"--tape", "", "let the pitch follow the speed, as a tape does"},
    {"--loop", "TIMES", "so many passes, or \"forever\""},
    {"--device", "NAME", "where to, not to the device that the editor plays on"},
    {"--volume", "DB", "whole decibels, -127 (silence) to 0"},
    {"--progress", "", "show the time on the terminal"},
};

constexpr LOptionRow kLoudnessOptions[] = {
    {"--from", "POSITION", "begin there, not at the start"},
    {"--to", "POSITION", "end there, not at the end"},
    kProgressOption,
};

constexpr const char* kInfoDetails =
    "Only headers are read, unless --level is given. Every file is looked at, also after one that\n"
    "cannot be read; the status is then 2.\n";
constexpr const char* kLoudnessDetails =
    "Integrated loudness by ITU-R BS.1770-4, the largest momentary (400 ms) and short-term (3 s) loudness,\n"
    "the loudness range by EBU Tech 3342, and the peaks between the samples (dBTP) and of the samples. A\n"
    "sound shorter than a window has no loudness of it. Every file is measured, also after one that cannot\n"
    "be; the status is then 2. Positions are frames or times: 12345, 1.5s, 250ms, 1:02.5, end-10s.\n";
constexpr const char* kConvertDetails =
    "The extension of OUT chooses the kind of file. Without --bits the samples keep the coding that they\n"
    "have in IN where OUT can hold it, and become 16-bit PCM otherwise. OUT is replaced when it exists;\n"
    "it appears under its name only when it is complete, and may be IN itself.\n";
constexpr const char* kPlayDetails =
    "Ends when the last frame has been heard. A file that still grows is played as it grows. Positions are\n"
    "frames or times: 12345, 1.5s, 250ms, 1:02.5, end-10s. NAME is a device as \"ondarix-cli devices\" lists "
    "it,\n"
    "its name or id alone, a sound system (pipewire, pulseaudio, jack, alsa: its default), null for none, "
    "or\n"
    "file:PATH for a file of raw 32-bit floats, which is written as fast as it would have been played.\n";
constexpr const char* kDevicesDetails =
    "A \">\" stands before the output that the editor plays on. With --json it is also told which sound\n"
    "systems answer; a rate or number of channels of 0 is not known before the device is opened.\n";
constexpr const char* kEffectsDetails =
    "With names: what they do, their parameters with ranges and defaults, and their presets. Yours are "
    "marked\n"
    "\"(own)\". With --json all of that is told of every effect, levels in dB with null for silence.\n";
constexpr const char* kCacheCleanDetails =
    "MODE is one of\n"
    "  disk-pressure (1)  by free space only: everything, or what was not used for an hour, a day, 28 days\n"
    "  program-end (2)    what the editor does when it ends: by free space and the days of retention\n"
    "  moderate (3)       what was not used for 14 days, everything when less than 5000 MiB are free\n"
    "  all (4)            everything\n"
    "Incomplete sets of files always go. Fails while an editor that uses the folder is running.\n";
constexpr const char* kSettingsGetDetails =
    "Prints DEFAULT when nothing is stored under the name; without a DEFAULT that is a failure.\n";
constexpr const char* kSettingsListDetails =
    "One line for each value: section, name and value, separated by tab characters. In names and values a\n"
    "tab, a line break and a backslash are written \\t, \\n, \\r and \\\\.\n";

constexpr LCommandRow kCommands[] = {
    {"info", "FILE...", "Tell what sound files hold", kInfoDetails, kInfoOptions, 1, kAnyNumber, &RunInfo},
    {"loudness", "FILE...", "Measure the loudness and true peak of sound files", kLoudnessDetails,
     kLoudnessOptions, 1, kAnyNumber, &RunLoudness},
    {"convert", "IN OUT", "Write a sound file in another kind or coding", kConvertDetails, kWriteOptions, 2,
     2, &RunConvert},
    {"edit", "IN OUT OPERATION...", "Cut, join and split a sound, and save the result", kEditDetails,
     kEditOptions, 3, kAnyNumber, &RunEdit, &EditOperations},
    {"apply", "IN OUT EFFECT [NAME=VALUE]...", "Apply effects to a sound, and save the result", kApplyDetails,
     kApplyOptions, 3, kAnyNumber, &RunApply, nullptr, kPlacedEffectOptions},
    {"effects",
     "[EFFECT]...",
     "List the effects, or tell all about some",
     kEffectsDetails,
     {},
     0,
     kAnyNumber,
     &RunEffects},
    {"chain show", "FILE", "Tell what a stored chain of effects holds", "", {}, 1, 1, &RunChainShow},
    {"chain make", "OUT EFFECT [NAME=VALUE]...", "Store a chain of effects", kChainMakeDetails,
     kChainMakeOptions, 2, kAnyNumber, &RunChainMake, nullptr, kPlacedEffectOptions},
    {"formats", "", "List the kinds of files that can be opened and saved", "", {}, 0, 0, &RunFormats},
    {"play", "FILE", "Play a sound file", kPlayDetails, kPlayOptions, 1, 1, &RunPlay},
    {"devices", "", "List the sound devices", kDevicesDetails, {}, 0, 0, &RunDevices},
    {"cache list", "", "List the editor's working files", "", {}, 0, 0, &RunCacheList},
    {"cache clean",
     "MODE",
     "Remove working files of the editor that are not in use",
     kCacheCleanDetails,
     {},
     1,
     1,
     &RunCacheClean},
    {"settings get",
     "SECTION NAME [DEFAULT]",
     "Print one setting",
     kSettingsGetDetails,
     {},
     2,
     3,
     &RunSettingsGet},
    {"settings set", "SECTION NAME VALUE", "Store one setting", "", {}, 3, 3, &RunSettingsSet},
    {"settings delete", "SECTION NAME", "Delete one setting", "", {}, 2, 2, &RunSettingsDelete},
    {"settings list", "[SECTION]", "List what is stored", kSettingsListDetails, {}, 0, 1, &RunSettingsList},
    {"settings export", "", "Print all settings as a text file", "", {}, 0, 0, &RunSettingsExport},
    {"help", "[COMMAND]", "Show the help of the program or of a command", "", {}, 0, 2, &RunHelp},
};

constexpr LOptionRow kCommonOptions[] = {
    {"--json", "", "print one JSON document instead of text"},
    {"--help", "", "show this help"},
};

}  // namespace

std::span<const LCommandRow> Commands() { return kCommands; }
std::span<const LOptionRow> CommonOptions() { return kCommonOptions; }

}  // namespace ondarix
