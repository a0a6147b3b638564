// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/file_dialogs.h"
#include "app/frame_handlers.h"
#include "app/input_dialogs.h"
#include "gen/settings.h"
#include "sound/edits.h"

namespace ondarix {
namespace {

void NewFile(LCommandCall& call) {
    const auto format = AskNewFile(&call.frame);
    if (!format || !call.frame.MayOpenMore()) return;
    LSoundDocumentRef document(new LSoundDocument);
    document->sound = LSound(format->sampleRate, format->channels);
    document->title = call.frame.NextTitle();
    call.frame.AddDocument(document);
}

// Sounds side by side, where they were tabs.
void NewInWindow(LCommandCall& call) {
    const auto before = call.frame.Sounds().size();
    NewFile(call);
    if (call.frame.Sounds().size() > before) call.frame.Area().ShowTabs(false);
}

void OpenFile(LCommandCall& call) { call.frame.OpenFiles(AskOpenFiles(&call.frame)); }

void OpenInWindow(LCommandCall& call) {
    const auto before = call.frame.Sounds().size();
    OpenFile(call);
    if (call.frame.Sounds().size() > before) call.frame.Area().ShowTabs(false);
}

void ConvertRate(LCommandCall& call) {
    const auto rate = AskSampleRate(&call.frame, call.Document().sound.sampleRate);
    if (rate) ConvertSampleRate(call.Document(), call.Host(), *rate);
}

// Without a sound: what new files get.
void ConvertTo(LCommandCall& call, int channels) {
    if (call.sound) {
        ConvertChannels(call.Document(), call.Host(), channels);
        return;
    }
    SetSettingInt(channels, QStringLiteral("Settings"), QStringLiteral("DefaultChannels"));
    call.frame.ShowHint(channels == 1 ? QStringLiteral("New files are mono")
                                      : QStringLiteral("New files are stereo"));
}

void OpenRecentFile(LCommandCall& call) { call.frame.OpenRecent(call.id - kCmdFirstRecent); }

constexpr LCommandHandler kFileHandlers[] = {
    {kCmdNewFile, NewFile},
    {kCmdNewInWindow, NewInWindow},
    {kCmdOpen, OpenFile},
    {kCmdOpenInWindow, OpenInWindow},
    {kCmdSave, [](LCommandCall& call) { call.frame.Save(*call.sound); }},
    {kCmdSaveAs, [](LCommandCall& call) { call.frame.AskAndSaveAs(*call.sound); }},
    {kCmdSaveAll, [](LCommandCall& call) { call.frame.SaveAll(); }},
    {kCmdClose, [](LCommandCall& call) { call.sound->parentWidget()->close(); }},
    {kCmdCloseAll, [](LCommandCall& call) { call.frame.CloseAll(); }},
    {kCmdConvertRate, ConvertRate},
    {kCmdMono, [](LCommandCall& call) { ConvertTo(call, 1); }},
    {kCmdStereo, [](LCommandCall& call) { ConvertTo(call, 2); }},
    {kCmdQuad, [](LCommandCall& call) { ConvertTo(call, 4); }},
    {kCmdExit, [](LCommandCall& call) { call.frame.close(); }},
    {kCmdFirstRecent, OpenRecentFile},
    {kCmdFirstRecent + 1, OpenRecentFile},
    {kCmdFirstRecent + 2, OpenRecentFile},
    {kCmdFirstRecent + 3, OpenRecentFile},
    {kCmdFirstRecent + 4, OpenRecentFile},
    {kCmdFirstRecent + 5, OpenRecentFile},
    {kCmdFirstRecent + 6, OpenRecentFile},
    {kCmdFirstRecent + 7, OpenRecentFile},
    {kCmdFirstRecent + 8, OpenRecentFile},
    {kCmdFirstRecent + 9, OpenRecentFile},
};

}  // namespace

std::span<const LCommandHandler> FileHandlers() { return kFileHandlers; }

}  // namespace ondarix
