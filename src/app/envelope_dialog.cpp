// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/envelope_dialog.h"

#include <QHBoxLayout>
#include <QScopedValueRollback>
#include <cmath>
#include <utility>

#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kCurveSection = QStringLiteral("Settings");
const QString kPointsName = QStringLiteral("EnvPoints");  // places as shares of the length
const QString kScaleName = QStringLiteral("EnvelopeInDb");
enum LLevelUnit : int { kInPercent, kInDb };

double LevelDb(float gain) { return gain > 0 ? 20 * std::log10(double{gain}) : double{kMinusInfinityDb}; }

void LoadLastPoints(LEnvelopeEffect& effect) {
    std::vector<LEnvelopePlace> places;
    const auto text = GetSettingLongString(SettingsKeyPath(kCurveSection), kPointsName);
    if (text && ParseEnvelope(*text, places).isEmpty()) effect.SetPlaces(std::move(places));
}

QLabel* LabelFor(const QString& text, QWidget* buddy, QWidget* owner) {
    auto* label = new QLabel(text, owner);
    label->setBuddy(buddy);
    return label;
}

}  // namespace

LEnvelopeDialog::LEnvelopeDialog(LEffectContext context, const LEffectRow& row,
                                 std::unique_ptr<LEffect> effect)
    : LOneEffectDialog(std::move(context), row, std::move(effect)),
      view_(new LEnvelopeView(Sound()->Range(), this)) {
    LoadLastPoints(Envelope());
    BuildTop();
    Body()->addWidget(view_, 1);
    BuildPointRow();
    setTabOrder(curve_, unit_);
    setTabOrder(unit_, view_);
    connect(view_, &LEnvelopeView::CurveChanged, this, &LEnvelopeDialog::TakeCurve);
    connect(view_, &LEnvelopeView::SelectionChanged, this, &LEnvelopeDialog::ShowPoint);
    ShowValues();
    ShowUnit(unit_->currentIndex());
    Complete();
    // The view itself shows what comes of the curve, at once.
    Picture().hide();
    if (auto* reload = findChild<QPushButton*>(QStringLiteral("previewReload"))) reload->hide();
    static_cast<QVBoxLayout*>(layout())->setStretchFactor(Body(), 1);
    connect(&Preview(), &LEffectPreview::PositionChanged, view_, &LEnvelopeView::ShowPlayed);
    setSizeGripEnabled(true);
    view_->setFocus();
}

void LEnvelopeDialog::BuildTop() {
    auto* line = new QHBoxLayout;
    curve_ = new QComboBox(this);
    curve_->setObjectName(QStringLiteral("interpolation"));
    curve_->setAccessibleName(QStringLiteral("Interpolation"));
    curve_->addItems(QString::fromLatin1(kCurveNames).split(QLatin1Char('|')));
    unit_ = new QComboBox(this);
    unit_->setObjectName(QStringLiteral("levelUnit"));
    unit_->setAccessibleName(QStringLiteral("Scale of the level"));
    unit_->addItems({QStringLiteral("Percent"), QStringLiteral("Decibels")});
    unit_->setCurrentIndex(GetSettingBool(kCurveSection, kScaleName, false) ? kInDb : kInPercent);
    auto* reset = new QPushButton(QStringLiteral("Rese&t"), this);
    reset->setObjectName(QStringLiteral("reset"));
    reset->setToolTip(QStringLiteral("A level line at 100 %"));
    reset->setAutoDefault(false);
    line->addWidget(LabelFor(QStringLiteral("&Interpolation:"), curve_, this));
    line->addWidget(curve_);
    line->addSpacing(12);
    line->addWidget(LabelFor(QStringLiteral("S&cale:"), unit_, this));
    line->addWidget(unit_);
    line->addStretch(1);
    line->addWidget(reset);
    Body()->addLayout(line);
    connect(curve_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!shows_) view_->SetInterpolation(static_cast<LCurve>(index));
    });
    connect(unit_, &QComboBox::currentIndexChanged, this, &LEnvelopeDialog::ShowUnit);
    connect(reset, &QPushButton::clicked, this, &LEnvelopeDialog::Reset);
}

void LEnvelopeDialog::BuildPointRow() {
    point_ = new QLabel(this);
    point_->setObjectName(QStringLiteral("pointNumber"));
    point_->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("Point 100 of 100")));
    time_ = new LTimeEdit(Context().Format().sampleRate, 0, Sound()->Length(), this);
    time_->setObjectName(QStringLiteral("pointTime"));
    time_->setAccessibleName(QStringLiteral("Time of the point"));
    time_->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("00:00:00.000000")));
    percent_ = new QDoubleSpinBox(this);
    percent_->setObjectName(QStringLiteral("pointLevel"));
    percent_->setAccessibleName(QStringLiteral("Level of the point in percent"));
    percent_->setRange(0, double{LEnvelopePlace::kMostGain} * 100);
    percent_->setDecimals(1);
    percent_->setSuffix(QStringLiteral(" %"));
    db_ = new LDBEdit(-90, 40, 1, true, this);
    db_->setObjectName(QStringLiteral("pointLevelDb"));
    db_->setAccessibleName(QStringLiteral("Level of the point in decibels"));
    fields_ = new QStackedWidget(this);
    fields_->addWidget(percent_);
    fields_->addWidget(db_);
    fields_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    add_ = new QPushButton(QStringLiteral("Add Poi&nt"), this);
    add_->setObjectName(QStringLiteral("addPoint"));
    remove_ = new QPushButton(QStringLiteral("Re&move Point"), this);
    remove_->setObjectName(QStringLiteral("removePoint"));
    auto* line = new QHBoxLayout;
    line->addWidget(point_);
    line->addWidget(LabelFor(QStringLiteral("Tim&e:"), time_, this));
    line->addWidget(time_);
    line->addWidget(LabelFor(QStringLiteral("&Level:"), fields_, this));
    line->addWidget(fields_);
    line->addStretch(1);
    for (QPushButton* button : {add_, remove_}) {
        button->setAutoDefault(false);
        line->addWidget(button);
    }
    Body()->addLayout(line);
    connect(time_, &QLineEdit::textEdited, this, &LEnvelopeDialog::TakeTime);
    connect(time_, &QLineEdit::editingFinished, this, &LEnvelopeDialog::ShowPoint);
    connect(percent_, &QDoubleSpinBox::valueChanged, this,
            [this](double percent) { TakeLevel(percent / 100); });
    connect(db_, &QDoubleSpinBox::valueChanged, this,
            [this] { TakeLevel(db_->Level() <= kMinusInfinityDb ? 0 : std::pow(10, db_->Level() / 20)); });
    connect(add_, &QPushButton::clicked, view_, &LEnvelopeView::AddPoint);
    connect(remove_, &QPushButton::clicked, view_, &LEnvelopeView::RemovePoint);
}

// --- From the controls

void LEnvelopeDialog::TakeCurve() {
    const LEnvelopeCurve& curve = view_->Curve();
    Envelope().SetPoints(curve.Points(), curve.Length());
    Envelope().SetParameter(0, static_cast<int>(curve.Curve()));
    ValuesChanged();
}

void LEnvelopeDialog::TakeTime() {
    const auto frames = time_->Frames();
    if (!frames || view_->Selected() < 0) return;
    const QScopedValueRollback<bool> guard(shows_, true);  // what is being typed stays as it is
    LEnvelopePoint point = view_->Curve().Points()[static_cast<size_t>(view_->Selected())];
    point.frame = *frames;
    view_->MoveSelected(point);
}

void LEnvelopeDialog::TakeLevel(double gain) {
    if (shows_ || view_->Selected() < 0) return;
    const QScopedValueRollback<bool> guard(shows_, true);
    LEnvelopePoint point = view_->Curve().Points()[static_cast<size_t>(view_->Selected())];
    point.gain = static_cast<float>(gain);
    view_->MoveSelected(point);
}

void LEnvelopeDialog::Reset() {
    const LEnvelopeCurve neutral(view_->Curve().Length());
    view_->Show(neutral.Points(), view_->Curve().Curve());
    TakeCurve();
}

// --- To the controls

void LEnvelopeDialog::ShowValues() {
    const QScopedValueRollback<bool> guard(shows_, true);
    const int interpolation = Envelope().params.interpolation.index;
    curve_->setCurrentIndex(interpolation);
    view_->Show(Envelope().PointsFor(Context().Format().sampleRate, Sound()->Length()),
                static_cast<LCurve>(interpolation));
    shows_ = false;
    ShowPoint();
}

void LEnvelopeDialog::ShowPoint() {
    if (shows_) return;
    const QScopedValueRollback<bool> guard(shows_, true);
    const int index = view_->Selected(), count = view_->Curve().Count();
    for (QWidget* widget : {static_cast<QWidget*>(time_), static_cast<QWidget*>(fields_)})
        widget->setEnabled(index >= 0);
    remove_->setEnabled(index >= 0 && count > 1);
    if (index < 0) {
        point_->setText(QStringLiteral("%1 points").arg(count));
        time_->clear();
        return;
    }
    point_->setText(QStringLiteral("Point %1 of %2").arg(index + 1).arg(count));
    const LEnvelopePoint& point = view_->Curve().Points()[static_cast<size_t>(index)];
    time_->SetFrames(point.frame);
    percent_->setValue(double{point.gain} * 100);
    db_->SetLevel(LevelDb(point.gain));
}

void LEnvelopeDialog::ShowUnit(int unit) {
    fields_->setCurrentIndex(unit);
    fields_->setFocusProxy(fields_->currentWidget());
    view_->SetInDb(unit == kInDb);
    SetSettingBool(kCurveSection, kScaleName, unit == kInDb);
}

void LEnvelopeDialog::StoreValues() {
    LOneEffectDialog::StoreValues();
    SetSettingString(kCurveSection, kPointsName, EnvelopeText(Envelope().Places()));
}

}  // namespace ondarix
