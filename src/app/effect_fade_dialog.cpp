// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_fade_dialog.h"

#include <algorithm>
#include <utility>

#include "app/input_form.h"
#include "effects/envelope.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kFadeSection = QStringLiteral("Effects");
const QString kDurationName = QStringLiteral("ClipFadeDuration");  // ms
constexpr int kUsualFadeMs = 1000;

QString PromptName(const LEffectRow& row) {
    return row.command == kCmdFadeIn ? QStringLiteral("FadeInPrompt") : QStringLiteral("FadeOutPrompt");
}

QString TypeName(bool in) { return in ? QStringLiteral("FadeInType") : QStringLiteral("FadeOutType"); }

}  // namespace

bool AsksForFade(const LEffectRow& row) {
    return row.command == kCmdFadeIn ? GetSettingBool(kFadeSection, QStringLiteral("FadeInPrompt"), true)
                                     : GetSettingBool(kFadeSection, QStringLiteral("FadeOutPrompt"), true);
}

LFadeDialog::LFadeDialog(LEffectContext context, const LEffectRow& row, std::unique_ptr<LEffect> effect,
                         const QString& title)
    : LOneEffectDialog(std::move(context), row, std::move(effect)) {
    setWindowTitle(title);
    AddControls();
    quiet_ = new QCheckBox(QStringLiteral("Do n&ot ask again"), this);
    quiet_->setObjectName(QStringLiteral("doNotAsk"));
    quiet_->setToolTip(
        QStringLiteral("Fades with this type at once; the options turn the question on again"));
    Body()->addWidget(quiet_);
    Complete();
}

void LFadeDialog::StoreValues() {
    LOneEffectDialog::StoreValues();
    if (quiet_->isChecked()) SetSettingBool(kFadeSection, PromptName(Row()), false);
}

std::optional<LClipFade> AskClipFade(QWidget* owner, const LSoundDocument& document, bool in) {
    const LSound& sound = document.Edited();
    const int64_t length = sound.Length();
    const int32_t rate = sound.sampleRate;
    const int64_t usual = GetSettingInt(kFadeSection, kDurationName, kUsualFadeMs);
    const int64_t duration = std::clamp<int64_t>(usual * rate / 1000, 0, length);
    LInputForm form(owner, QStringLiteral("clipFade"),
                    QLatin1String(in ? kFadeInClipStartName : kFadeOutClipEndName));
    form.Note(QLatin1String(kClipFadeText));
    LTimeEdit* time = form.Time(QStringLiteral("&Duration:"), QStringLiteral("duration"), rate, 0, length);
    time->SetFrames(duration);
    LTimeEdit* start = form.Time(QStringLiteral("&Start:"), QStringLiteral("start"), rate, 0, length - 1);
    const int64_t usualStart = in ? 0 : std::clamp<int64_t>(length - duration, 0, length - 1);
    start->SetFrames(usualStart);
    QComboBox* type = form.Choice(QStringLiteral("&Type:"), QStringLiteral("type"),
                                  QString::fromLatin1(kCurveNames).split(QLatin1Char('|')),
                                  GetSettingInt(kFadeSection, TypeName(in), 0));
    bool follows = !in;  // the end of a fade out stays at the end of the clip until a start is typed
    QObject::connect(start, &QLineEdit::textEdited, start, [&follows] { follows = false; });
    QObject::connect(time, &QLineEdit::textEdited, time, [&] {
        if (const auto frames = time->Frames(); follows && frames)
            start->SetFrames(std::clamp<int64_t>(length - *frames, 0, length - 1));
    });
    form.refuse = [&]() -> QString {
        return time->Frames().value_or(0) == 0 ? QLatin1String(kNoFadeDurationText) : QString();
    };
    if (!form.Run()) return std::nullopt;
    LClipFade fade;
    fade.duration = *time->Frames();
    fade.start = !in && follows ? -1 : *start->Frames();
    fade.type = static_cast<uint8_t>(type->currentIndex());
    const int64_t ms = fade.duration / rate * 1000 + fade.duration % rate * 1000 / rate;
    SetSettingInt(static_cast<int32_t>(std::min<int64_t>(ms, INT32_MAX)), kFadeSection, kDurationName);
    SetSettingInt(fade.type, kFadeSection, TypeName(in));
    return fade;
}

}  // namespace ondarix
