// SPDX-License-Identifier: GPL-3.0-or-later
// The settings that the program reads, as the user sees them. A fallback here says what the code that reads
// the setting answers where nothing is stored.
#include <QDir>
#include <QFileInfo>
#include <QTemporaryFile>
#include <algorithm>

#include "app/options_dialog.h"
#include "devices/device_list.h"
#include "formats/sound_pieces.h"
#include "gen/paths.h"
#include "gen/settings.h"
#include "gen/text.h"

namespace ondarix {
namespace {

constexpr const char* kGeneralPage = "General";
constexpr const char* kViewPage = "View";
constexpr const char* kEditPage = "Editing";
constexpr const char* kAudioPage = "Audio";
constexpr const char* kNewPage = "New Sounds";
constexpr const char* kRegionPage = "Regions";
constexpr const char* kDiskPage = "Working Folder";
constexpr const char* kSettings = "Settings";
constexpr auto kSwitch = LOptionKind::kSwitch;
constexpr auto kNumber = LOptionKind::kNumber;

// page, kind, section, name, label, help, fallback, least, most, choices or unit, only with, subsystem
constexpr LOptionRow kOptions[] = {
    {kGeneralPage, LOptionKind::kChoice, kSettings, "Theme",
     "&Theme:", "How the windows look. \"As the desktop\" follows it when it changes.", "0", 0, 2,
     "As the desktop|Light|Dark"},
    {kGeneralPage, kSwitch, kSettings, "FileModAlert", "&Warn when an open file changes on disk",
     "Asks what to do when another program changes or removes the file of an open sound.", "1"},
    {kGeneralPage, kSwitch, kSettings, "SaveSameFileFormat", "&Save in the coding that the file had",
     "Otherwise a WAV file is written in the coding chosen last.", "1"},
    {kGeneralPage, kSwitch, kSettings, "MaximizeWindows", "&Open sounds maximised",
     "Each sound fills the whole area when it is opened.", "0"},
    {kViewPage, kSwitch, kSettings, "ShowDBLines", "Levels in &decibels",
     "The ruler at the waveform shows decibels instead of percent.", "0"},
    {kViewPage, kSwitch, kSettings, "ShowEditMarkers", "Show &joints",
     "Marks the places where an edit has joined two stretches of sound. Counts for sounds opened from now "
     "on.",
     "1"},
    {kViewPage, kSwitch, kSettings, "bZoomToMouse", "&Wheel zooms around the mouse",
     "Otherwise the wheel with Ctrl zooms around the cursor.", "1"},
    {kViewPage, kSwitch, kSettings, "ExtendZoom", "&Zoom in to single samples",
     "Otherwise zooming in ends at one sample a pixel.", "1"},
    {kEditPage, kSwitch, kSettings, "SnapSelection", "Edges of the selection &snap",
     "Edges that the mouse moves go to the nearest joint, pause or zero crossing; Alt turns it round.", "0"},
    {kEditPage, kSwitch, kSettings, "MarkPastedClip", "&Mark what is pasted",
     "A pasted stretch becomes a bookmark with the name of the file that it was copied from.", "1"},
    {kEditPage, kSwitch, kSettings, "AutoPlaybackAfterEffects", "&Play after each effect",
     "Plays what an effect or another edit has changed.", "0", 0, 0, "", "", LSubsystem::kPlayback},
    {kEditPage, kSwitch, "Effects", "FadeInPrompt", "Ask for the type of a fade &in",
     "Otherwise \"Fade In\" fades at once, with the type that was used last.", "1", 0, 0, "", "",
     LSubsystem::kEffects},
    {kEditPage, kSwitch, "Effects", "FadeOutPrompt", "Ask for the type of a fade &out",
     "Otherwise \"Fade Out\" fades at once, with the type that was used last.", "1", 0, 0, "", "",
     LSubsystem::kEffects},
    {kEditPage, kSwitch, "Analyzers", "EnableDCOffsetAnalyzer", "Offer to &correct DC offset",
     "Looks at each sound that is opened and offers the correction where the wave seems not to lie around "
     "zero.",
     "1", 0, 0, "", "", LSubsystem::kEffects},
    {kAudioPage, LOptionKind::kDevice, "Player", "Device",
     "&Output device:", "Where sounds are played; the first entry is what the desktop has for its default.",
     kDefaultSoundOut, 0, 0, "", "", LSubsystem::kPlayback},
    {kAudioPage, kSwitch, kSettings, "AutoScroll", "&Scroll while playing",
     "The waveform follows what is heard.", "1", 0, 0, "", "", LSubsystem::kPlayback},
    {kAudioPage, kSwitch, kSettings, "PlaySpeedKeepPitch", "&Keep the pitch at other speeds",
     "Otherwise a faster sound is higher, as a tape that runs faster.", "1", 0, 0, "", "",
     LSubsystem::kPlayback},
    {kAudioPage, kSwitch, kSettings, "ReduceVolWhenRewind", "Rewind and forward more &quietly",
     "By 8 dB, while a sound is walked through fast.", "1", 0, 0, "", "", LSubsystem::kPlayback},
    {kNewPage, kNumber, kSettings, "DefaultSampleRate", "Sample &rate:", "What \"New File\" offers at first.",
     "44100", 8000, 384000, " Hz"},
    {kNewPage, kNumber, kSettings, "DefaultChannels", "&Channels:", "What \"New File\" offers at first.", "2",
     1, 255, ""},
    {kNewPage, LOptionKind::kText, kSettings, "FileNameFormat", "&Name:",
     "How sounds without a file are called; %autonumber% stands for their number.", "Untitled_%autonumber%"},
    {kRegionPage, kSwitch, kSettings, "RegionsWarnUserWhenClosing", "&Warn before regions are lost",
     "Asks before a sound with regions is closed, because no file of a sound holds them.", "1"},
    {kRegionPage, kSwitch, kSettings, "AutoGap", "&Silence between joined regions",
     "When regions are joined in one new sound.", "0"},
    {kRegionPage, kNumber, kSettings, "AutoGapTime", "&Length of that silence:", "", "300", 1, 600'000, " ms",
     "AutoGap"},
    {kRegionPage, kNumber, kSettings, "SaveRegionDigits", "&Digits in the names of saved regions:",
     "\"Save Selected Region As\" numbers its files with so many digits at least.", "3", 1, 9, ""},
    {kDiskPage, kSwitch, kSettings, "UseDefaultWorkingDir", "&Keep working files in the program's own folder",
     "Working files hold the samples of open sounds and of everything that can be undone.", "1"},
    {kDiskPage, LOptionKind::kFolder, kSettings, "WorkingFolder", "&Folder:",
     "On a disk with much room. Counts from the next start of the program on; the files of the old folder "
     "stay "
     "there.",
     "", 0, 0, "", "!UseDefaultWorkingDir"},
    {kDiskPage, kNumber, "Cache", "RetentionDays", "Keep &decoded files for:",
     "A file opened again within this time is there at once. Less while the disk is nearly full; 0 keeps "
     "none.",
     "28", 0, 3650, " days"},
};

QString WhyNotFolder(const QString& path) {
    if (path.isEmpty()) return QStringLiteral("Choose a folder.");
    if (path.size() > kFixedTextLength)
        return QStringLiteral("The path of the folder is longer than %1 characters.").arg(kFixedTextLength);
    if (QDir::isRelativePath(path)) return QStringLiteral("Give the whole path of the folder.");
    QFileInfo info(QDir::cleanPath(path));
    while (!info.exists() && !info.isRoot()) info = QFileInfo(info.absolutePath());
    if (!info.isDir()) return QStringLiteral("\"%1\" is not a folder.").arg(info.filePath());
    QTemporaryFile probe(info.filePath() + QStringLiteral("/ondarix-XXXXXX.tmp"));
    if (!probe.open()) return QStringLiteral("The folder \"%1\" cannot be written.").arg(info.filePath());
    return {};
}

}  // namespace

std::span<const LOptionRow> OptionTable() { return kOptions; }

QString StoredOption(const LOptionRow& row) {
    const QString section = QLatin1String(row.section), name = QLatin1String(row.name);
    const QString fallback = QString::fromUtf8(row.fallback);
    switch (row.kind) {
        case LOptionKind::kSwitch:
            return GetSettingBool(section, name, fallback == QLatin1String("1")) ? QStringLiteral("1")
                                                                                 : QStringLiteral("0");
        case LOptionKind::kNumber:
        case LOptionKind::kChoice:
            return QString::number(
                std::clamp(GetSettingInt(section, name, fallback.toInt()), row.least, row.most));
        case LOptionKind::kFolder: {
            const QString folder = GetSettingString(section, name, DataFolder());
            return folder.isEmpty() ? DataFolder() : folder;
        }
        case LOptionKind::kDevice:
            return ChosenOutputText();
        default:
            return GetSettingString(section, name, fallback);
    }
}

QString WhyNotOption(const LOptionRow& row, const QString& value) {
    if (row.kind == LOptionKind::kFolder) return WhyNotFolder(value);
    if (row.kind != LOptionKind::kText || IsFileName(value)) return {};
    return QStringLiteral("\"%1\" cannot be the name of a file.").arg(value);
}

}  // namespace ondarix
