// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/file_dialogs.h"
#include "app/frame_handlers.h"
#include "app/history_window.h"
#include "app/input_dialogs.h"
#include "formats/sound_pieces.h"
#include "sound/edits.h"

namespace ondarix {
namespace {

void Paste(LCommandCall& call) {
    if (call.sound)
        PasteClip(call.Document(), call.Host(), Clipboard());
    else
        PasteToNew(call.Host(), Clipboard(), call.frame.NextTitle());
}

void CopyPicture(LCommandCall& call) {
    const QPointer<LSoundWindow> window(call.sound);
    call.frame.DesktopClipboard().OfferImage([window] { return window ? window->Picture() : QImage(); });
}

void History(LCommandCall& call) {
    call.frame.ShowBeside("history", [&call] { return new LHistoryWindow(call.frame); });
}

void RepeatSelection(LCommandCall& call) {
    if (const auto times = AskRepeatCount(&call.frame)) RepeatLoop(call.Document(), call.Host(), *times);
}

void InsertSilenceAt(LCommandCall& call, int64_t position) {
    const auto frames = AskSilenceLength(&call.frame, call.Document().sound.Format());
    if (frames) InsertSilence(call.Document(), call.Host(), position, *frames);
}

void InsertAtCursor(LCommandCall& call) {
    const QString path = AskOpenFiles(&call.frame).value(0);
    if (!path.isEmpty()) InsertFile(call.Document(), path, call.Host());
}

void InsertAtBegin(LCommandCall& call) {
    const QString path = AskOpenFiles(&call.frame).value(0);
    if (path.isEmpty()) return;
    const LSelection before{call.Document().selectionStart, call.Document().selectionEnd};
    call.sound->View().Select(0, 0);
    if (InsertFile(call.Document(), path, call.Host()) != JobResult::kSuccess)
        call.sound->View().Select(before.start, before.end);
}

void Join(LCommandCall& call) {
    QStringList titles;
    QList<LSoundWindow*> others;
    for (LSoundWindow* window : call.frame.Sounds()) {
        if (window == call.sound) continue;
        others.append(window);
        titles.append(window->Document().title);
    }
    std::vector<LSound> sounds;
    for (const int chosen : AskJoin(&call.frame, titles))
        if (chosen >= 0 && chosen < others.size()) sounds.push_back(others[chosen]->Document().sound);
    if (!sounds.empty()) JoinSounds(call.Document(), call.Host(), sounds);
}

void EditOneChannel(LCommandCall& call) {
    EditChannel(call.Document(), call.Host(), call.id - kCmdEditFirstChannel);
}

constexpr LCommandHandler kEditHandlers[] = {
    {kCmdUndo, [](LCommandCall& call) { UndoChange(call.Document(), call.Host()); }},
    {kCmdRedo, [](LCommandCall& call) { RedoChange(call.Document(), call.Host()); }},
    {kCmdRevert, [](LCommandCall& call) { RevertDocument(call.Document(), call.Host()); }},
    {kCmdHistory, History},
    {kCmdCut, [](LCommandCall& call) { CutSelection(call.Document(), call.Host(), Clipboard()); }},
    {kCmdCopy, [](LCommandCall& call) { CopySelection(call.Document(), call.Host(), Clipboard()); }},
    {kCmdCopyToNew,
     [](LCommandCall& call) { CopyToNew(call.Document(), call.Host(), call.frame.NextTitle()); }},
    {kCmdCopyPicture, CopyPicture},
    {kCmdDuplicate, [](LCommandCall& call) { DuplicateSelection(call.Document(), call.Host()); }},
    {kCmdPaste, Paste},
    {kCmdPasteCycle, [](LCommandCall& call) { PasteCycle(call.Document(), call.Host(), Clipboard()); }},
    {kCmdPasteToNew,
     [](LCommandCall& call) { PasteToNew(call.Host(), Clipboard(), call.frame.NextTitle()); }},
    {kCmdDelete, [](LCommandCall& call) { DeleteSelection(call.Document(), call.Host()); }},
    {kCmdRepeatLoop, RepeatSelection},
    {kCmdInsertAtBegin, InsertAtBegin},
    {kCmdInsertAtCursor, InsertAtCursor},
    {kCmdSilence, [](LCommandCall& call) { SilenceSelection(call.Document(), call.Host()); }},
    {kCmdSilenceAtStart, [](LCommandCall& call) { InsertSilenceAt(call, 0); }},
    {kCmdSilenceAtCursor, [](LCommandCall& call) { InsertSilenceAt(call, call.Document().cursor); }},
    {kCmdSilenceAtEnd, [](LCommandCall& call) { InsertSilenceAt(call, call.Document().Edited().Length()); }},
    {kCmdTrim, [](LCommandCall& call) { TrimToSelection(call.Document(), call.Host()); }},
    {kCmdTrimStart, [](LCommandCall& call) { TrimStart(call.Document(), call.Host()); }},
    {kCmdTrimEnd, [](LCommandCall& call) { TrimEnd(call.Document(), call.Host()); }},
    {kCmdJoin, Join},
    {kCmdEditWhole, [](LCommandCall& call) { EditChannel(call.Document(), call.Host(), -1); }},
    {kCmdEditFirstChannel, EditOneChannel},
    {kCmdEditFirstChannel + 1, EditOneChannel},
    {kCmdEditFirstChannel + 2, EditOneChannel},
    {kCmdEditFirstChannel + 3, EditOneChannel},
    {kCmdEditFirstChannel + 4, EditOneChannel},
    {kCmdEditFirstChannel + 5, EditOneChannel},
    {kCmdEditFirstChannel + 6, EditOneChannel},
    {kCmdEditFirstChannel + 7, EditOneChannel},
};

}  // namespace

std::span<const LCommandHandler> EditHandlers() { return kEditHandlers; }

}  // namespace ondarix
