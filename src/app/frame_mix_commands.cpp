// SPDX-License-Identifier: GPL-3.0-or-later
// The envelope, crossfading, and what is mixed into a sound: each has a dialog of its own.
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

#include "app/crossfade_dialog.h"
#include "app/envelope_dialog.h"
#include "app/frame_handlers.h"
#include "app/mix_dialog.h"
#include "effects/stored_values.h"
#include "formats/file_types.h"
#include "formats/load.h"
#include "gen/settings.h"
#include "sound/edits.h"

namespace ondarix {
namespace {

const QString kMixFolderSection = QStringLiteral("Settings"), kMixFolderName = QStringLiteral("MixFileDir");

// Whether the user agreed, and the sound is still there: it may have been closed, with the program, while the
// question was open.
bool Agreed(LCommandCall& call, QDialog& dialog) {
    const QPointer<LSoundWindow> sound = call.sound;
    return dialog.exec() == QDialog::Accepted && sound;
}

// --- Envelope

void RunEnvelope(LCommandCall& call) {
    const LEffectRow* row = FindEffectOfCommand(kCmdEnvelope);
    auto context = LEffectContext::Of(call);
    if (!row || !context) return;
    const LSoundDocumentRef document(&call.Document());
    auto effect = row->make();
    LoadStoredValues(*effect, *row);
    LEnvelopeDialog dialog(std::move(*context), *row, std::move(effect));
    if (!Agreed(call, dialog)) return;
    ApplyEffects(document, call.Host(), dialog.Applied(), QString::fromUtf8(row->undoName),
                 [id = QLatin1String(row->id)](JobResult result) {
                     if (result == JobResult::kSuccess) RememberEffect(id);
                 });
}

// --- Crossfading

void RunCrossfade(LCommandCall& call) {
    auto context = LEffectContext::Of(call);
    if (!context) return;
    if (call.Document().EditRange().Length() < 2)
        return call.Host().Messages().Tell(
            QStringLiteral("Crossfade"),
            QStringLiteral("Please select the part around the cut that is to be smoothed."));
    const LSoundDocumentRef document(&call.Document());
    LCrossfadeDialog dialog(std::move(*context), LCrossfadeKind::kSelection);
    if (Agreed(call, dialog)) CrossfadeSelection(document, call.Host(), dialog.Settings());
}

void RunCrossfadeLoop(LCommandCall& call) {
    auto context = LEffectContext::Of(call);
    if (!context || context->operation.end - context->operation.start < 2) return;
    const LSoundDocumentRef document(&call.Document());
    LCrossfadeDialog dialog(std::move(*context), LCrossfadeKind::kLoop);
    if (Agreed(call, dialog)) CrossfadeLoop(document, call.Host(), dialog.Settings());
}

void RunCrossfadeOther(LCommandCall& call) {
    auto context = LEffectContext::Of(call);
    if (!context) return;
    QList<LSoundWindow*> others;
    for (LSoundWindow* window : call.frame.Sounds())
        if (window != call.sound && window->Document().Edited().Length() > 0) others.append(window);
    if (others.isEmpty())
        return call.Host().Messages().Tell(
            QStringLiteral("Crossfade to Other Clip"),
            QStringLiteral("There is no other sound to crossfade to. Please open one first."));
    const LSoundDocumentRef document(&call.Document());
    LCrossfadeDialog dialog(std::move(*context), LCrossfadeKind::kOther, others);
    if (Agreed(call, dialog)) CrossfadeToClip(document, call.Host(), dialog.Other(), dialog.Settings());
}

// --- Mixing

bool FetchClip(LCommandCall& call, const QString& title, LSound& clip) {
    if (!MayChange(call.Document(), call.Host())) return false;
    const auto fetch = [&clip](LProgress& progress) { return Clipboard().FetchClip(clip, progress); };
    // Ours is at hand.
    LNullProgress none;
    const JobResult result = Clipboard().IsOwnClip() ? fetch(none) : call.Host().RunJob(title, fetch);
    return result == JobResult::kSuccess && clip.Length() > 0;
}

void AskAndPasteMix(LCommandCall& call) {
    const QString label = QStringLiteral("Paste Mix");
    const LSoundDocumentRef document(&call.Document());
    LSound clip;
    if (!FetchClip(call, label, clip)) return;
    auto context = MixContext(call, clip);
    if (!context) return;
    LMixDialog dialog(std::move(*context), clip);
    if (Agreed(call, dialog)) MixClip(document, call.Host(), clip, dialog.Settings(), label);
}

void AskAndMix(LCommandCall& call, const QString& label, const LSound& music, const QString& name) {
    auto context = LEffectContext::Of(call);
    if (!context) return;
    const LSoundDocumentRef document(&call.Document());
    LBackgroundDialog dialog(std::move(*context), label, music, name);
    if (Agreed(call, dialog)) MixBackground(document, call.Host(), music, dialog.Settings(), label);
}

void PasteBackground(LCommandCall& call) {
    const QString label = QStringLiteral("Paste Background Music");
    LSound music;
    if (!FetchClip(call, label, music)) return;
    const bool isOurs = Clipboard().IsOwnClip() && !Clipboard().sourceName.isEmpty();
    AskAndMix(call, label, music, isOurs ? Clipboard().sourceName : QStringLiteral("clipboard"));
}

QString AskMixFile(QWidget* owner, const QString& title) {
    const QString folder = GetSettingString(kMixFolderSection, kMixFolderName, {});
    QFileDialog dialog(owner, title, QFileInfo(folder).isDir() ? folder : QDir::homePath());
    dialog.setObjectName(QStringLiteral("mixFileDialog"));
    dialog.setFileMode(QFileDialog::ExistingFile);
    QStringList filters;
    for (const LFileTypeRow& row : OpenSoundFileTypes()) filters.append(QtFilter(row));
    dialog.setNameFilters(filters);
    if (dialog.exec() != QDialog::Accepted) return {};
    QString path = dialog.selectedFiles().value(0);
    if (!path.isEmpty()) SetSettingString(kMixFolderSection, kMixFolderName, QFileInfo(path).absolutePath());
    return path;
}

void MixFile(LCommandCall& call, const QString& label) {
    if (!MayChange(call.Document(), call.Host())) return;
    const QPointer<LSoundWindow> sound = call.sound;
    const QString path = AskMixFile(&call.frame, label);
    if (path.isEmpty() || !sound) return;
    LLoadedSound loaded;
    const JobResult result = call.Host().RunJob(label, [&](LProgress& progress) {
        return LoadSound(path, 0, loaded, progress, call.Host().Messages());
    });
    if (result != JobResult::kSuccess || loaded.takenOver || loaded.sound.Length() == 0 || !sound) return;
    AskAndMix(call, label, loaded.sound, QFileInfo(path).fileName());
}

constexpr LCommandHandler kMixHandlers[] = {
    {kCmdEnvelope, RunEnvelope},
    {kCmdCrossfade, RunCrossfade},
    {kCmdCrossfadeOther, RunCrossfadeOther},
    {kCmdCrossfadeLoop, RunCrossfadeLoop},
    {kCmdPasteMixWith, AskAndPasteMix},
    {kCmdPasteBackground, PasteBackground},
    {kCmdMixWithFile, [](LCommandCall& call) { MixFile(call, QStringLiteral("Mix with File")); }},
    {kCmdBackgroundFile, [](LCommandCall& call) { MixFile(call, QStringLiteral("Background Music")); }},
};

}  // namespace

std::span<const LCommandHandler> MixHandlers() { return kMixHandlers; }

}  // namespace ondarix
