// SPDX-License-Identifier: GPL-3.0-or-later
// The effects: each is a row of their table, whatever its command does beyond that stands here.
#include "app/effect_chain_window.h"
#include "app/effect_dialogs.h"
#include "app/effect_fade_dialog.h"
#include "app/frame_handlers.h"
#include "effects/apply.h"
#include "effects/stored_values.h"
#include "sound/clipboard.h"
#include "sound/edits.h"

namespace ondarix {
namespace {

using LEffectHandle = std::unique_ptr<LEffect>;

// What an effect on two channels does about other sounds. False: it is not applied.
bool HasChannels(LCommandCall& call, const LEffectRow& row) {
    if (!(row.flags & kEffectStereoOnly)) return true;
    if (call.id == kCmdChannelSwap) return RequireStereo(call.Document(), call.Host()) == JobResult::kSuccess;
    return EnsureStereo(call.Document(), call.Host()) == JobResult::kSuccess;
}

LApplied Remembers(const LEffectRow& row) {
    return [id = QLatin1String(row.id)](JobResult result) {
        if (result == JobResult::kSuccess) RememberEffect(id);
    };
}

LEffectHandle MakeStored(const LEffectRow& row, const LSoundDocument& document) {
    LEffectHandle effect = row.make();
    effect->SetFormat(document.Edited().Format());
    LoadStoredValues(*effect, row);
    return effect;
}

// Empty: cancelled.
LEffectList Ask(LCommandCall& call, LEffectDialog& dialog) {
    // The sound may have been closed, with the program, while the question was open.
    const QPointer<LSoundWindow> sound = call.sound;
    if (dialog.exec() != QDialog::Accepted || !sound) return {};
    return dialog.Applied();
}

void RunEffect(LCommandCall& call) {
    const LEffectRow* row = FindEffectOfCommand(call.id);
    if (!row || !row->make || !HasChannels(call, *row)) return;
    auto context = LEffectContext::Of(call);
    if (!context) return;
    const LSoundDocumentRef document(&call.Document());
    LEffectList effects;
    effects.push_back(MakeStored(*row, *document));
    const bool asks = !(row->flags & kEffectNoDialog) && effects[0]->GetParameterCount() > 0;
    if (asks) {
        const auto dialog = MakeEffectDialog(std::move(*context), *row, std::move(effects[0]));
        effects = Ask(call, *dialog);
    }
    if (!effects.empty())
        ApplyEffects(document, call.Host(), std::move(effects), QString::fromUtf8(row->undoName),
                     Remembers(*row));
}

// --- Fades

struct LFadeForm {
    int command;
    int fade;  // the command of the plain fade
    const char* title;
    void (*apply)(const LSoundDocumentRef&, LEditHost&, uint8_t type, LApplied);  // null: as any effect
};
constexpr LFadeForm kFadeForms[] = {
    {kCmdFadeIn, kCmdFadeIn, "Fade In", nullptr},
    {kCmdFadeOut, kCmdFadeOut, "Fade Out", nullptr},
    {kCmdFadeInTrim, kCmdFadeIn, kFadeInAndTrimName, &FadeInAndTrim},
    {kCmdFadeOutTrim, kCmdFadeOut, kFadeOutAndTrimName, &FadeOutAndTrim},
};

void RunFade(LCommandCall& call) {
    const LFadeForm* form = kFadeForms;
    while (form->command != call.id) ++form;
    const LEffectRow* row = FindEffectOfCommand(form->fade);
    auto context = LEffectContext::Of(call);
    if (!row || !context) return;
    const LSoundDocumentRef document(&call.Document());
    LEffectList effects;
    effects.push_back(MakeStored(*row, *document));
    if (AsksForFade(*row)) {
        LFadeDialog dialog(std::move(*context), *row, std::move(effects[0]), QLatin1String(form->title));
        effects = Ask(call, dialog);
        if (effects.empty()) return;
    }
    LEffectParam type;
    effects[0]->GetParameterInfo(0, type);
    if (form->apply)
        form->apply(document, call.Host(), static_cast<uint8_t>(type.value), Remembers(*row));
    else
        ApplyEffects(document, call.Host(), std::move(effects), QString::fromUtf8(row->undoName),
                     Remembers(*row));
}

void RunClipFade(LCommandCall& call) {
    const bool in = call.id == kCmdFadeInClip;
    if (!LEffectContext::Of(call)) return;
    const LSoundDocumentRef document(&call.Document());
    const auto fade = AskClipFade(&call.frame, *document, in);
    if (!fade) return;
    if (in)
        FadeInClipStart(document, call.Host(), *fade);
    else
        FadeOutClipEnd(document, call.Host(), *fade);
}

void PasteMixDirect(LCommandCall& call) { PasteMix(call.Document(), call.Host(), Clipboard()); }

constexpr LCommandHandler kEffectHandlers[] = {
    {kCmdAmplify, RunEffect},
    {kCmdNormalize, RunEffect},
    {kCmdAutoNormalize, RunEffect},
    {kCmdAmplifyChannels, RunEffect},
    {kCmdFadeIn, RunFade},
    {kCmdFadeOut, RunFade},
    {kCmdFadeInTrim, RunFade},
    {kCmdFadeOutTrim, RunFade},
    {kCmdFadeInClip, RunClipFade},
    {kCmdFadeOutClip, RunClipFade},
    {kCmdReverse, RunEffect},
    {kCmdMute, RunEffect},
    {kCmdDcOffset, RunEffect},
    {kCmdChannelSwap, RunEffect},
    {kCmdPhaseInversion, RunEffect},
    {kCmdEffectChain, ShowEffectChain},
    {kCmdApplyChain, ApplyStoredChain},
    {kCmdLoudness, ShowLoudness},
    {kCmdPasteMix, PasteMixDirect},
};

}  // namespace

std::span<const LCommandHandler> EffectHandlers() { return kEffectHandlers; }

}  // namespace ondarix
