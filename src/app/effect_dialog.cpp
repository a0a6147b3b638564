// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_dialog.h"

#include <QAccessible>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QScopedValueRollback>
#include <QShortcut>
#include <utility>

#include "app/theme.h"

namespace ondarix {
namespace {

const QString kPlayText = QStringLiteral("&Play"), kStopText = QStringLiteral("Sto&p");
constexpr const char* kBypassText = "&Bypass (Hold down to bypass the effect)";
constexpr const char* kReloadText = "&Reload the preview waveform";

QLabel* WrappedLabel(const char* name, QWidget* owner) {
    auto* label = new QLabel(owner);
    label->setObjectName(QLatin1String(name));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

void SayAlert(QWidget* widget) {
    QAccessibleEvent alert(widget, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

}  // namespace

std::optional<LEffectContext> LEffectContext::Of(LCommandCall& call) {
    if (!call.sound) return std::nullopt;
    auto operation = LEffectOperation::Of(call.Document());
    if (!operation) return std::nullopt;
    return LEffectContext{call.frame, *call.sound, std::move(*operation), {}};
}

LEffectDialog::LEffectDialog(LEffectContext context, const QString& name, const QString& title)
    : QDialog(&context.frame),
      context_(std::move(context)),
      sound_(std::make_shared<LPreviewSound>(context_.operation.Range())) {
    setObjectName(name);
    setWindowTitle(title);
    preview_ = std::make_unique<LEffectPreview>(context_.frame.Playback(), context_.frame.EditHost(), sound_,
                                                [this] { return BuildPreview(); });
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(10);
    body_ = new QVBoxLayout;
    layout->addLayout(body_);
}

LEffectDialog::~LEffectDialog() {
    preview_->disconnect(this);
    preview_->Stop();
    if (picture_) picture_->Stop();
}

LPreviewStack LEffectDialog::BuildPreview() { return StackOfEffects(sound_, Effects()); }

void LEffectDialog::Complete() {
    auto* layout = static_cast<QVBoxLayout*>(this->layout());
    if (PresetEffect()) BuildPresets(layout);
    if (!context_.help.isEmpty()) {
        auto* help = WrappedLabel("help", this);
        help->setText(context_.help);
        body_->insertWidget(0, help);
    }
    refusal_ = WrappedLabel("refusal", this);
    QFont bold = refusal_->font();
    bold.setBold(true);
    refusal_->setFont(bold);
    refusal_->hide();
    layout->addWidget(refusal_);
    picture_ = new LEffectPicture(this);
    layout->addWidget(picture_, 1);
    BuildTransport(layout);
    BuildButtons(layout);
    isComplete_ = true;
    ShowPresets();
    ShowPreview();
}

void LEffectDialog::BuildTransport(QVBoxLayout* layout) {
    auto* row = new QHBoxLayout;
    play_ = new QPushButton(kPlayText, this);
    play_->setObjectName(QStringLiteral("previewPlay"));
    play_->setAutoDefault(false);
    connect(play_, &QPushButton::clicked, this, &LEffectDialog::TogglePlay);
    bypass_ = new QPushButton(QLatin1String(kBypassText), this);
    bypass_->setObjectName(QStringLiteral("previewBypass"));
    bypass_->setAutoDefault(false);
    connect(bypass_, &QPushButton::pressed, this, [this] { preview_->SetBypass(true); });
    connect(bypass_, &QPushButton::released, this, [this] { preview_->SetBypass(false); });
    reload_ = new QPushButton(QLatin1String(kReloadText), this);
    reload_->setObjectName(QStringLiteral("previewReload"));
    reload_->setAutoDefault(false);
    connect(reload_, &QPushButton::clicked, this, &LEffectDialog::ReloadPicture);
    for (QPushButton* button : {play_, bypass_, reload_}) row->addWidget(button);
    row->addStretch(1);
    layout->addLayout(row);
    status_ = WrappedLabel("previewStatus", this);
    layout->addWidget(status_);
    auto* keys = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Space), this);
    connect(keys, &QShortcut::activated, this, &LEffectDialog::TogglePlay);
    connect(preview_.get(), &LEffectPreview::StateChanged, this, &LEffectDialog::ShowPreview);
    connect(preview_.get(), &LEffectPreview::PositionChanged, this, [this](qint64 frame) {
        const auto length = static_cast<double>(sound_->Length());
        picture_->ShowPlayed(frame < 0 ? -1 : static_cast<double>(frame) / length);
        context_.window.ShowPlayed(frame < 0 ? -1 : context_.operation.start + frame, false, false);
    });
}

void LEffectDialog::BuildButtons(QVBoxLayout* layout) {
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    apply_ = buttons->button(QDialogButtonBox::Ok);
    apply_->setText(QStringLiteral("&Apply"));
    apply_->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &LEffectDialog::Apply);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

// --- Values

void LEffectDialog::ValuesChanged() {
    if (!isComplete_ || showing_) return;
    ShowRefusal({});
    ShowPresetOfValues();
    picture_->SetOutdated(true);
    if (!PreviewRefusal().isEmpty())
        preview_->Stop();
    else
        preview_->Change();
    ShowPreview();
}

void LEffectDialog::ShowRefusal(const QString& text) {
    refusal_->setText(text);
    refusal_->setVisible(!text.isEmpty());
    if (!text.isEmpty()) SayAlert(refusal_);
}

void LEffectDialog::Apply() {
    if (const QString reason = Refusal(); !reason.isEmpty()) return ShowRefusal(reason);
    preview_->Stop();
    StoreValues();
    accept();
}

void LEffectDialog::done(int result) {
    preview_->Stop();
    picture_->Stop();
    QDialog::done(result);
}

// --- Playing

void LEffectDialog::TogglePlay() {
    if (preview_->State() != LPreviewState::kStopped) return preview_->Stop();
    if (PreviewRefusal().isEmpty()) preview_->Play();
}

void LEffectDialog::ReloadPicture() {
    if (PreviewRefusal().isEmpty()) picture_->Reload(sound_, BuildPreview());
}

void LEffectDialog::ShowPreview() {
    if (!isComplete_) return;
    const bool plays = preview_->State() != LPreviewState::kStopped;
    const QString refusal = PreviewRefusal();
    play_->setText(plays ? kStopText : kPlayText);
    play_->setIcon(ThemedIcon(plays ? QStringLiteral("stop") : QStringLiteral("play")));
    play_->setToolTip(QStringLiteral("Hear the effect over and over (Space, Ctrl + Space)"));
    play_->setEnabled(refusal.isEmpty());
    reload_->setEnabled(refusal.isEmpty());
    const QString text = !refusal.isEmpty()        ? refusal
                         : preview_->IsMeasuring() ? QStringLiteral("Measuring...")
                                                   : QString();
    if (status_->text() == text) return;
    status_->setText(text);
    if (!text.isEmpty()) SayAlert(status_);
}

void LEffectDialog::keyPressEvent(QKeyEvent* event) {
    // Where no field or button has a use for it.
    if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier) {
        if (!event->isAutoRepeat()) TogglePlay();
        return;
    }
    QDialog::keyPressEvent(event);
}

void LEffectDialog::showEvent(QShowEvent* event) {
    if (!event->spontaneous()) ReloadPicture();
    QDialog::showEvent(event);
}

}  // namespace ondarix
