// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/crossfade_dialog.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QScopedValueRollback>
#include <algorithm>
#include <tuple>
#include <utility>

#include "effects/presets.h"

namespace ondarix {
namespace {

struct LCrossfadeAction {
    const char* name;
    void (*change)(LCrossfadeSettings& settings);
};
constexpr LCrossfadeAction kActions[] = {
    {"< Select Preset / Actions >", [](LCrossfadeSettings&) {}},
    {"Mirror Fade Of Fade In", &MirrorFadeIn},
    {"Mirror Fade Of Fade Out", &MirrorFadeOut},
    {"Smooth Crossfade At Center", &SmoothAtCenter},
    {"Use Last Saved", [](LCrossfadeSettings& settings) { settings = LastCrossfade(); }},
    {"Restore Defaults", [](LCrossfadeSettings& settings) { settings = {}; }},
};
constexpr int kActionCount = static_cast<int>(std::size(kActions));

struct LCrossfadeTitle {
    const char *name, *title, *help;
};
constexpr LCrossfadeTitle kCrossfadeTitles[] = {
    {"crossfadeDialog", "Crossfade",
     "Lays the two halves of the selection over each other, so that the cut in its middle is not heard."},
    {"crossfadeOtherDialog", "Crossfade to Other Clip", "Lets another sound begin where this one ends."},
    {"crossfadeLoopDialog", "Crossfade Loop",
     "Lets the end run into the beginning, so that it can be repeated without a seam."},
};
const LCrossfadeTitle& TitleOfKind(LCrossfadeKind kind) {
    return kCrossfadeTitles[static_cast<size_t>(kind)];
}

LEffectContext WithHelp(LEffectContext context, LCrossfadeKind kind) {
    context.help = QLatin1String(TitleOfKind(kind).help);
    return context;
}

constexpr int kStepMs = 50;

}  // namespace

// --- Actions and presets

int LCrossfadeMenu::GetPresetCount() const { return kActionCount; }

QString LCrossfadeMenu::GetPresetName(int index) const {
    return index >= 0 && index < kActionCount ? QString::fromLatin1(kActions[index].name) : QString();
}

void LCrossfadeMenu::SetPreset(int index) {
    if (index >= 0 && index < kActionCount) kActions[index].change(params);
}

// None while the values are those of one of the user's.
int LCrossfadeMenu::GetCurrentPreset() const {
    const LPresetOwner owner = PresetOwner(*this);
    const QString values = PresetText();
    for (const QString& name : UserPresets(owner))
        if (PresetTextOf(owner, name) == values) return -1;
    return 0;
}

// --- The dialog

LCrossfadeDialog::LCrossfadeDialog(LEffectContext context, LCrossfadeKind kind,
                                   const QList<LSoundWindow*>& others)
    : LEffectDialog(WithHelp(std::move(context), kind), QLatin1String(TitleOfKind(kind).name),
                    QLatin1String(TitleOfKind(kind).title)),
      curves_(new LCrossfadePicture(this)) {
    const LEffectOperation& operation = Context().operation;
    join_.kind = kind;
    menu_.params = LastCrossfade();
    if (kind == LCrossfadeKind::kSelection)
        std::tie(join_.first, join_.second) =
            HalvesOf(operation.sound, LSelection{operation.start, operation.end});
    else
        join_.first = kind == LCrossfadeKind::kLoop ? operation.Range() : operation.sound;
    if (kind == LCrossfadeKind::kLoop) join_.second = join_.first;
    if (kind == LCrossfadeKind::kOther) BuildOther(others);
    BuildFades();
    BuildGap();
    Body()->addWidget(curves_, 1);
    ShowValues();
    Complete();
    Picture().hide();
    if (auto* reload = findChild<QPushButton*>(QStringLiteral("previewReload"))) reload->hide();
    if (auto* presets = findChild<QComboBox*>(QStringLiteral("presets")))
        presets->setPlaceholderText(menu_.GetPresetName(0));
    static_cast<QVBoxLayout*>(layout())->setStretchFactor(Body(), 1);
    setSizeGripEnabled(true);
    // What is heard is the join, not the sound from its start on.
    disconnect(&Preview(), &LEffectPreview::PositionChanged, this, nullptr);
    connect(&Preview(), &LEffectPreview::PositionChanged, this, &LCrossfadeDialog::ShowHeard);
    controls_[0]->setFocus();
}

LCrossfadeDialog::~LCrossfadeDialog() { Preview().disconnect(this); }

void LCrossfadeDialog::BuildOther(const QList<LSoundWindow*>& others) {
    auto* choice = new QComboBox(this);
    choice->setObjectName(QStringLiteral("otherClip"));
    choice->setAccessibleName(QStringLiteral("Other clip"));
    for (LSoundWindow* other : others) {
        choice->addItem(other->Document().title);
        others_.push_back(other->Document().Edited());
        others_.back().SetLosslessMode(nullptr);
    }
    join_.second = others_.front();
    auto* line = new QHBoxLayout;
    auto* label = new QLabel(QStringLiteral("&Other clip:"), this);
    label->setBuddy(choice);
    line->addWidget(label);
    line->addWidget(choice, 1);
    Body()->addLayout(line);
    connect(choice, &QComboBox::currentIndexChanged, this, &LCrossfadeDialog::TakeOther);
}

QWidget* LCrossfadeDialog::Control(const char* id, const QString& spoken, const QString& none) {
    LEffectParam param;
    int index = 0;
    while (menu_.GetParameterInfo(index, param) && param.id != QLatin1String(id)) ++index;
    QWidget* control = nullptr;
    if (param.type == LParamType::kBool) {
        auto* box = new QCheckBox(QLatin1Char('&') + param.name, this);
        connect(box, &QCheckBox::toggled, this, [this, index](bool on) { Take(index, on); });
        control = box;
    } else if (param.type == LParamType::kChoice) {
        auto* combo = new QComboBox(this);
        combo->addItems(param.choices);
        connect(combo, &QComboBox::currentIndexChanged, this, [this, index](int to) { Take(index, to); });
        control = combo;
    } else {
        auto* spin = new QSpinBox(this);
        spin->setRange(static_cast<int>(param.minimum), static_cast<int>(param.maximum));
        spin->setSuffix(QStringLiteral(" ms"));
        spin->setSingleStep(kStepMs);
        spin->setCorrectionMode(QAbstractSpinBox::CorrectToNearestValue);
        spin->setSpecialValueText(none);
        connect(spin, &QSpinBox::valueChanged, this, [this, index](int ms) { Take(index, ms); });
        control = spin;
    }
    control->setObjectName(param.id);
    control->setAccessibleName(spoken);
    while (controls_.size() <= index) controls_.append(nullptr);
    controls_[index] = control;
    return control;
}

void LCrossfadeDialog::BuildFades() {
    auto* grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(2, 1);
    const auto label = [&](const QString& text, int row, QWidget* buddy) {
        auto* one = new QLabel(text, this);
        one->setBuddy(buddy);
        grid->addWidget(one, row, 0);
    };
    const auto pair = [&](const QString& text, int row, QWidget* out, QWidget* in) {
        label(text, row, out);
        grid->addWidget(out, row, 1);
        grid->addWidget(in, row, 2);
    };
    grid->addWidget(new QLabel(QStringLiteral("Fade out"), this), 0, 1);
    grid->addWidget(new QLabel(QStringLiteral("Fade in"), this), 0, 2);
    QWidget* out = Control("fade-out", QStringLiteral("Fade out length"));
    pair(QStringLiteral("&Length:"), 1, out, Control("fade-in", QStringLiteral("Fade in length")));
    out = Control("fade-out-curve", QStringLiteral("Fade out type"));
    pair(QStringLiteral("T&ype:"), 2, out, Control("fade-in-curve", QStringLiteral("Fade in type")));
    if (join_.kind == LCrossfadeKind::kOther) {
        out =
            Control("fade-out-start", QStringLiteral("Fade out start"), QStringLiteral("To the clip's end"));
        pair(QStringLiteral("Sta&rt:"), 3, out,
             Control("fade-in-start", QStringLiteral("Fade in start"),
                     QStringLiteral("From the clip's start")));
    }
    Body()->addLayout(grid);
}

void LCrossfadeDialog::BuildGap() {
    auto* line = new QHBoxLayout;
    auto* label = new QLabel(QStringLiteral("&Gap (negative: overlap):"), this);
    QWidget* gap = Control("gap", QStringLiteral("Gap, negative for an overlap"));
    label->setBuddy(gap);
    line->addWidget(label);
    line->addWidget(gap);
    line->addSpacing(16);
    line->addWidget(Control("beat-match", QStringLiteral("Beat Match")));
    line->addWidget(Control("phase-match", QStringLiteral("Phase Match")));
    line->addStretch(1);
    Body()->addLayout(line);
}

// --- Values

void LCrossfadeDialog::Take(int index, double value) {
    if (shows_) return;
    menu_.SetParameter(index, value);
    ShowCurves();
    ValuesChanged();
}

void LCrossfadeDialog::TakeOther(int index) {
    join_.second = others_[static_cast<size_t>(index)];
    ShowCurves();
    ValuesChanged();
}

void LCrossfadeDialog::ShowValues() {
    const QScopedValueRollback<bool> guard(shows_, true);
    LEffectParam param;
    for (int i = 0; i < controls_.size(); ++i) {
        menu_.GetParameterInfo(i, param);
        if (auto* box = qobject_cast<QCheckBox*>(controls_[i])) box->setChecked(param.value != 0);
        if (auto* combo = qobject_cast<QComboBox*>(controls_[i]))
            combo->setCurrentIndex(static_cast<int>(param.value));
        if (auto* spin = qobject_cast<QSpinBox*>(controls_[i])) spin->setValue(static_cast<int>(param.value));
    }
    ShowCurves();
}

void LCrossfadeDialog::ShowCurves() {
    const LCrossfadePlan plan = join_.Plan(menu_.params);
    curves_->Show(join_, plan);
    // What bypassing compares with follows only where nobody hears it: another sound starts anew.
    if (Preview().State() == LPreviewState::kStopped)
        Preview().SetSound(std::make_shared<LPreviewSound>(PlainJoin(join_, plan)));
}

void LCrossfadeDialog::ShowHeard(qint64 frame) {
    const int64_t length = Preview().Sound()->Length();
    if (frame < 0 || length <= 0 || Preview().HeardLength() <= 0) return curves_->ShowPlayed(-1);
    const LCrossfadePlan plan = join_.Plan(menu_.params);
    const bool isLoop = join_.kind == LCrossfadeKind::kLoop;
    const int64_t lost = isLoop ? plan.Overlap() : 0;  // of the beginning of a loop
    const int64_t whole = isLoop ? plan.outEnd + std::max<int64_t>(0, plan.gap) - lost
                                 : plan.InAt() - plan.inStart + join_.SecondLength();
    const LJoinRange range = RangeOfJoin(join_, plan, whole);
    const double share = static_cast<double>(frame) / static_cast<double>(length);
    const auto heard = static_cast<int64_t>(share * static_cast<double>(Preview().HeardLength()));
    curves_->ShowPlayed(range.start + lost + heard);
}

}  // namespace ondarix
