// SPDX-License-Identifier: GPL-3.0-or-later
// The effect chain window with the sounds: what is heard, and what is applied.
#include <QAccessible>

#include "app/effect_chain_files.h"
#include "app/effect_chain_window.h"
#include "app/frame_handlers.h"
#include "app/theme.h"
#include "effects/chain_file.h"

namespace ondarix {
namespace {

constexpr const char* kApplyingName = "Applying Effect";
constexpr LSoundFormat kFormatWithoutSound{44100, 2};

// -1: none is passed over.
LEffectList ListOf(const LEffectChain& chain, int leftOut) {
    LEffectList effects;
    for (int i = 0; i < chain.Count(); ++i)
        if (i != leftOut) effects.push_back(chain.At(i)->Clone());
    return effects;
}

bool AnyIsOn(const LEffectChain& chain) {
    for (int i = 0; i < chain.Count(); ++i)
        if (chain.IsOn(i)) return true;
    return false;
}

}  // namespace

LEffectList LEffectChainWindow::Effects() const { return ListOf(Chain(), leftOut_); }

// What cannot be heard and applied now, or what it would be done to.
QString LEffectChainWindow::Hint() const {
    LSoundWindow* sound = frame_.ActiveSound();
    if (!sound) return QStringLiteral("Open a sound to hear the effects and to apply them.");
    const LSoundDocument& document = sound->Document();
    if (document.isBusy) return QStringLiteral("\"%1\" is being worked on.").arg(document.title);
    if (document.Edited().Length() == 0) return QStringLiteral("\"%1\" is empty.").arg(document.title);
    if (preview_ && preview_->IsMeasuring()) return QStringLiteral("Measuring...");
    if (Chain().Count() > 0 && !AnyIsOn(Chain())) return QStringLiteral("All effects are switched off.");
    return (document.HasSelection() ? QStringLiteral("Works on what is selected in \"%1\".")
                                    : QStringLiteral("Works on the whole of \"%1\"."))
        .arg(document.title);
}

bool LEffectChainWindow::CanWork() const {
    LSoundWindow* sound = frame_.ActiveSound();
    return sound && !sound->Document().isBusy && sound->Document().Edited().Length() > 0;
}

bool LEffectChainWindow::HasEffects() {
    if (Chain().Count() > 0) return true;
    const LChainMessage message = ChainMessage(LChainWrite::kEmpty);
    Tell(QStringLiteral("Effect Chain"), message.text);
    return false;
}

void LEffectChainWindow::Follow() {
    if (preview_ && !heard_) StopPreview();
    const LSoundWindow* sound = frame_.ActiveSound();
    const LSoundFormat format =
        sound ? frame_.ActiveSound()->Document().Edited().Format() : kFormatWithoutSound;
    if (format != format_) {
        format_ = format;
        values_->SetEffect(nullptr);
        list_->Effects().SetFormat(format);
        ShowChosen();
    }
    ShowTransport();
}

void LEffectChainWindow::ShowTransport() {
    const bool plays = preview_ && preview_->State() != LPreviewState::kStopped;
    const bool works = CanWork();
    play_->setText(plays ? QStringLiteral("Sto&p") : QStringLiteral("&Play with Effects..."));
    play_->setIcon(ThemedIcon(plays ? QStringLiteral("stop") : QStringLiteral("play")));
    play_->setEnabled(works || plays);
    bypass_->setEnabled(works || plays);
    apply_->setEnabled(works && (Chain().Count() == 0 || AnyIsOn(Chain())));
    if (const QString hint = Hint(); hint != hint_->text()) {
        hint_->setText(hint);
        if (!works) {
            QAccessibleEvent alert(hint_, QAccessible::Alert);
            QAccessible::updateAccessibility(&alert);
        }
    }
}

// --- Playing

void LEffectChainWindow::MakePreview(LPreviewSoundRef sound) {
    preview_ =
        std::make_unique<LEffectPreview>(frame_.Playback(), frame_.EditHost(), std::move(sound),
                                         [this] { return StackOfEffects(preview_->Sound(), Effects()); });
    connect(preview_.get(), &LEffectPreview::StateChanged, this, &LEffectChainWindow::ShowTransport);
    connect(preview_.get(), &LEffectPreview::PositionChanged, this, [this](qint64 frame) {
        if (heard_) heard_->ShowPlayed(frame < 0 ? -1 : heardStart_ + frame, false, false);
    });
}

// And lets go of the sound.
void LEffectChainWindow::StopPreview() {
    reread_.stop();
    if (!preview_) return;
    preview_->disconnect(this);
    preview_.reset();
    if (heard_) heard_->ShowPlayed(-1, false, false);
}

void LEffectChainWindow::TogglePlay() {
    if (preview_ && preview_->State() != LPreviewState::kStopped) return preview_->Stop();
    if (!CanWork() || !HasEffects()) return;
    LSoundWindow* sound = frame_.ActiveSound();
    const auto operation = LEffectOperation::Of(sound->Document());
    if (!operation) return;
    heard_ = sound;
    heardStart_ = operation->start;
    auto range = std::make_shared<LPreviewSound>(operation->Range());
    if (preview_)
        preview_->SetSound(std::move(range));
    else
        MakePreview(std::move(range));
    preview_->Play();
}

void LEffectChainWindow::BypassChosen(bool on) {
    leftOut_ = on ? list_->Row() : -1;
    if (preview_) preview_->Change();
}

// --- Applying

void LEffectChainWindow::Apply() {
    if (!CanWork() || !HasEffects()) return;
    if (preview_) preview_->Stop();
    ApplyEffects(LSoundDocumentRef(&frame_.ActiveSound()->Document()), frame_.EditHost(), ListOf(Chain(), -1),
                 QLatin1String(kApplyingName));
}

void ShowEffectChain(LCommandCall& call) {
    LMainFrame& frame = call.frame;
    frame.ShowBeside("effectChain", [&frame] { return new LEffectChainWindow(frame); });
}

void ApplyStoredChain(LCommandCall& call) {
    // The sound may have been closed while the question was open.
    const QPointer<LSoundWindow> sound = call.sound;
    const QString path = AskChainToOpen(&call.frame, QStringLiteral("Apply Effect Chain"));
    if (path.isEmpty() || !sound) return;
    LEffectChain chain;
    LChainMessage message = ChainMessage(ReadEffectChainFile(path, chain));
    if (message.text.isEmpty() && chain.Count() == 0) message = ChainMessage(LChainWrite::kEmpty);
    if (!message.text.isEmpty()) return call.frame.Messages().Tell(message.title, message.text);
    ApplyEffects(LSoundDocumentRef(&sound->Document()), call.Host(), ListOf(chain, -1),
                 QLatin1String(kApplyingName));
}

}  // namespace ondarix
