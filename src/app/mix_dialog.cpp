// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/mix_dialog.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QScopedValueRollback>
#include <utility>

#include "app/time_text.h"

namespace ondarix {
namespace {

using B = LBackgroundSettings;

// Of the rows of LBackgroundForm.
enum LBackgroundRow : int {
    kFixed,
    kVolume,
    kDuck,
    kDuckVolume,
    kLeadIn,
    kLeadInTime,
    kLeadInVolume,
    kLeadOut,
    kLeadOutTime,
    kLeadOutVolume,
    kAdjust,
    kBackgroundRows,
};

int64_t LengthIn(const LSound& sound, int32_t rate) {
    return static_cast<int64_t>(static_cast<double>(sound.Length()) * rate / sound.sampleRate);
}

LSound ForJob(const LSound& sound) {
    LSound copy = sound;
    copy.SetLosslessMode(nullptr);
    return copy;
}

}  // namespace

// --- Music under a voice

LBackgroundDialog::LBackgroundDialog(LEffectContext context, const QString& title, const LSound& music,
                                     const QString& musicName)
    : LEffectDialog(std::move(context), QStringLiteral("backgroundDialog"), title),
      music_(ForJob(music)),
      rows_(kBackgroundRows) {
    LoadForm(form_, kBackgroundSection);
    const int32_t rate = Context().Format().sampleRate;
    auto* name = new QLabel(
        QStringLiteral("Music: %1 (%2)").arg(musicName, TimeText(LengthIn(music_, rate), rate)), this);
    name->setObjectName(QStringLiteral("musicName"));
    name->setTextFormat(Qt::PlainText);
    Body()->addWidget(name);
    BuildLevels();
    BuildLeads();
    plan_ = new QLabel(this);
    plan_->setObjectName(QStringLiteral("plan"));
    plan_->setWordWrap(true);
    Body()->addWidget(plan_);
    ShowValues();
    Complete();
}

QFormLayout* LBackgroundDialog::Group(const QString& title, QBoxLayout& layout) {
    auto* box = new QGroupBox(title, this);
    auto* form = new QFormLayout(box);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    layout.addWidget(box);
    return form;
}

void LBackgroundDialog::AddRow(QFormLayout& form, const char* id, const QString& label) {
    LEffectParam param;
    int index = 0;
    while (form_.GetParameterInfo(index, param) && param.id != QLatin1String(id)) ++index;
    LRow& row = RowOf(index);
    row.form = &form;
    if (param.unit == QLatin1String("ms")) {
        row.field = row.seconds = new QDoubleSpinBox(this);
        row.seconds->setObjectName(param.id);
        row.seconds->setAccessibleName(param.name);
        row.seconds->setDecimals(3);
        row.seconds->setRange(param.minimum / 1000, param.maximum / 1000);
        row.seconds->setSingleStep(0.5);
        row.seconds->setSuffix(QStringLiteral(" s"));
        connect(row.seconds, &QDoubleSpinBox::valueChanged, this,
                [this, index](double seconds) { Take(index, seconds * 1000); });
    } else {
        row.field = row.control = new LParamControl(param, this);
        connect(row.control, &LParamControl::Changed, this,
                [this, index](double value) { Take(index, value); });
    }
    if (row.control && row.control->IsSwitch()) return form.addRow(row.field);
    auto* text = new QLabel(label, this);
    text->setBuddy(row.control ? row.control->Field() : row.field);
    form.addRow(text, row.field);
}

void LBackgroundDialog::BuildLevels() {
    QFormLayout* levels = Group(QStringLiteral("Level of the music"), *Body());
    AddRow(*levels, "fixed", {});
    AddRow(*levels, "volume", QStringLiteral("&Volume:"));
    AddRow(*levels, "duck", {});
    AddRow(*levels, "duck-volume", QStringLiteral("V&olume under the voice:"));
}

void LBackgroundDialog::BuildLeads() {
    // Side by side: low enough for small screens.
    auto* leads = new QHBoxLayout;
    Body()->addLayout(leads);
    QFormLayout* in = Group(QStringLiteral("Before the voice"), *leads);
    AddRow(*in, "lead-in", QStringLiteral("Lead &in:"));
    AddRow(*in, "lead-in-time", QStringLiteral("Ti&me:"));
    AddRow(*in, "lead-in-volume", QStringLiteral("Volum&e:"));
    QFormLayout* out = Group(QStringLiteral("After the voice"), *leads);
    AddRow(*out, "lead-out", QStringLiteral("Lead o&ut:"));
    AddRow(*out, "lead-out-time", QStringLiteral("Time o&r total time:"));
    AddRow(*out, "lead-out-volume", QStringLiteral("Vo&lume:"));
    AddRow(*out, "adjust", QStringLiteral("Total time b&y:"));
}

void LBackgroundDialog::Take(int index, double value) {
    if (shows_) return;
    form_.SetParameter(index, value);
    ShowModes();
    ShowPlan();
    ValuesChanged();
}

void LBackgroundDialog::ShowValues() {
    const QScopedValueRollback<bool> guard(shows_, true);
    LEffectParam param;
    for (int i = 0; i < kBackgroundRows; ++i) {
        form_.GetParameterInfo(i, param);
        if (RowOf(i).control) RowOf(i).control->SetValue(param.value);
        if (RowOf(i).seconds) RowOf(i).seconds->setValue(param.value / 1000);
    }
    ShowModes();
    ShowPlan();
}

// Only what counts can be set.
void LBackgroundDialog::ShowModes() {
    const B& now = form_.params;
    const bool leadsIn = now.leadIn.index != B::kNoLeadIn, leadsOut = now.leadOut.index != B::kNoLeadOut;
    const bool isTotal = now.leadOut.index == B::kTotalTime;
    const bool fits = isTotal && now.leadOutAdjust.index == B::kAdjustLeadIn;
    RowOf(kVolume).field->setEnabled(now.fixedVolume);
    RowOf(kDuckVolume).field->setEnabled(now.duck);
    RowOf(kLeadIn).field->setEnabled(!fits);
    RowOf(kLeadInTime).field->setEnabled(leadsIn && !fits);
    RowOf(kLeadInVolume).field->setEnabled(leadsIn || fits);
    RowOf(kLeadOutTime).field->setEnabled(leadsOut);
    RowOf(kLeadOutVolume).field->setEnabled(leadsOut && !fits);
    RowOf(kAdjust).field->setEnabled(isTotal);
}

bool LBackgroundDialog::Plan(LBackgroundPlan& plan, QString& fault) const {
    return PlanBackground(Context().operation.end - Context().operation.start, Context().Format().sampleRate,
                          form_.params, plan, fault);
}

void LBackgroundDialog::ShowPlan() {
    LBackgroundPlan plan;
    QString fault;
    const int32_t rate = Context().Format().sampleRate;
    if (!Plan(plan, fault)) return plan_->setText(QString());  // told where the preview is refused
    plan_->setText(
        QStringLiteral("Result: %1, of it %2 before and %3 after the voice")
            .arg(TimeText(plan.Length(), rate), TimeText(plan.leadIn, rate), TimeText(plan.leadOut, rate)));
}

LPreviewStack LBackgroundDialog::BuildPreview() {
    LBackgroundPlan plan;
    QString fault;
    Plan(plan, fault);
    LPreviewStack stack;
    stack.build = [voice = Sound(), music = music_, plan, settings = form_.params] {
        return BuildBackgroundMix(voice->Range(), music, plan, settings);
    };
    return stack;
}

QString LBackgroundDialog::PreviewRefusal() const {
    LBackgroundPlan plan;
    QString fault;
    Plan(plan, fault);
    return fault;
}

QString LBackgroundDialog::Refusal() const {
    QString fault = PreviewRefusal();
    if (!fault.isEmpty()) Context().frame.Messages().Tell(QLatin1String(kLeadInTitle), fault);
    return fault;
}

// --- A clip over the selection

std::optional<LEffectContext> MixContext(LCommandCall& call, const LSound& clip) {
    const LMixPlace place = PlaceOfMix(call.Document(), clip);
    if (place.length <= 0) return std::nullopt;
    LEffectOperation operation;
    operation.sound = ForJob(call.Document().Edited());
    operation.start = place.start;
    operation.end = place.start + place.length;
    return LEffectContext{call.frame, *call.sound, std::move(operation),
                          QStringLiteral("Mixes the clipboard over the selection, or from the cursor on.")};
}

LMixDialog::LMixDialog(LEffectContext context, const LSound& clip)
    : LEffectDialog(std::move(context), QStringLiteral("mixDialog"), QStringLiteral("Paste Mix")),
      clip_(ForJob(clip)) {
    LoadForm(form_, kMixSection);
    auto* rows = new QFormLayout;
    rows->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    controls_ = AddParamControls(*rows, form_, this, [this] { ValuesChanged(); });
    Body()->addLayout(rows);
    Complete();
}

void LMixDialog::ShowValues() {
    LEffectParam param;
    for (int i = 0; i < controls_.size(); ++i)
        if (form_.GetParameterInfo(i, param)) controls_[i]->SetValue(param.value);
}

LPreviewStack LMixDialog::BuildPreview() {
    const LMixPlace place{Context().operation.start, Context().operation.end - Context().operation.start};
    LPreviewStack stack;
    stack.build = [sound = Context().operation.sound, place, clip = clip_, settings = form_.params] {
        return BuildMix(sound, place, clip, settings);
    };
    return stack;
}

}  // namespace ondarix
