// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_normalize_dialog.h"

#include <cmath>
#include <utility>

#include "effects/loudness_report.h"
#include "effects/stack.h"

namespace ondarix {
namespace {

struct LMethodRow {
    const char* id;
    bool (*counts)(LNormalizeMethod method);
};
constexpr LMethodRow kMethodRows[] = {
    {"level", [](LNormalizeMethod method) { return method != LNormalizeMethod::kStandard; }},
    {"percentile", [](LNormalizeMethod method) { return method == LNormalizeMethod::kLoudWindows; }},
    {"window", [](LNormalizeMethod method) { return method == LNormalizeMethod::kLoudWindows; }},
    {"loudness", [](LNormalizeMethod method) { return method == LNormalizeMethod::kStandard; }},
    {"ceiling", [](LNormalizeMethod method) { return method == LNormalizeMethod::kStandard; }},
};

QString FoundText(const LNormalizeEffect& effect) {
    const auto measured = effect.MeasuredLevel();
    if (!measured) return QStringLiteral("Measured: silence, nothing changes");
    const double level = 20 * std::log10(*measured), gain = 20 * std::log10(double{effect.Gain()});
    const QString change =
        QStringLiteral("%1%2 dB").arg(QLatin1String(gain >= 0 ? "+" : "")).arg(gain, 0, 'f', 1);
    if (effect.params.Method() == LNormalizeMethod::kStandard)
        return QStringLiteral("Measured: %1, gain %2").arg(LufsText(level), change);
    return QStringLiteral("Measured: %1 dB, gain %2").arg(level, 0, 'f', 1).arg(change);
}

}  // namespace

LNormalizeDialog::LNormalizeDialog(LEffectContext context, const LEffectRow& row,
                                   std::unique_ptr<LEffect> effect)
    : LOneEffectDialog(std::move(context), row, std::move(effect)) {
    AddControls();
    found_ = new QLabel(this);
    found_->setObjectName(QStringLiteral("measured"));
    found_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    Body()->addWidget(found_);
    note_ = new QLabel(
        QStringLiteral("The level is relative to the method's reference of -23 dB: 0 dB is much louder than "
                       "a broadcast. For a number of LUFS choose Loudness (ITU-R BS.1770-4)."),
        this);
    note_->setWordWrap(true);
    Body()->addWidget(note_);
    for (LParamControl* control : Controls())
        connect(control, &LParamControl::Changed, this, &LNormalizeDialog::ShowMethod);
    ShowMethod();
    Complete();
}

void LNormalizeDialog::ShowValues() {
    LOneEffectDialog::ShowValues();
    ShowMethod();
}

void LNormalizeDialog::ShowMethod() {
    const LNormalizeMethod method = Normalize().params.Method();
    for (LParamControl* control : Controls())
        for (const LMethodRow& row : kMethodRows)
            if (control->Param().id == QLatin1String(row.id))
                static_cast<QFormLayout*>(control->parentWidget()->layout())
                    ->setRowVisible(control, row.counts(method));
    note_->setVisible(method == LNormalizeMethod::kRunningGate);
    if (IsMeasured())
        Take(measured_);
    else
        found_->setText(QStringLiteral("Measured when it is played or shown"));
}

bool LNormalizeDialog::IsMeasured() const {
    if (!measured_) return false;
    const LNormalizeParams &then = measured_->params, &now = Normalize().params;
    return then.method == now.method && then.percentile == now.percentile && then.windowMs == now.windowMs;
}

void LNormalizeDialog::Take(const LMeasured& measured) {
    measured_ = measured;
    LNormalizeEffect present = *measured_;
    present.params = Normalize().params;
    found_->setText(IsMeasured() ? FoundText(present) : QString());
}

LPreviewStack LNormalizeDialog::BuildPreview() {
    auto effects = std::make_shared<LEffectList>();
    auto effect = std::make_unique<LNormalizeEffect>(IsMeasured() ? *measured_ : Normalize());
    effect->params = Normalize().params;
    LNormalizeEffect* const one = effect.get();
    effects->push_back(std::move(effect));
    LPreviewStack stack;
    stack.build = [sound = Sound(), effects] { return sound->Stack(*effects); };
    if (IsMeasured()) return stack;
    stack.prepare = [this, sound = Sound(), effects, one](LProgress& progress) {
        const JobResult result = one->Measure([&sound] { return sound->Open(); }, progress);
        if (result == JobResult::kSuccess)
            QMetaObject::invokeMethod(
                this, [this, found = std::make_shared<const LNormalizeEffect>(*one)] { Take(found); },
                Qt::QueuedConnection);
        return result;
    };
    return stack;
}

}  // namespace ondarix
