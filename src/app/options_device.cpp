// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/options_device.h"

#include <QHBoxLayout>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "devices/device_list.h"

namespace ondarix {
namespace {

constexpr int kTestRate = 48000, kTestChannels = 2;
constexpr double kTestSeconds = 0.9, kTestHertz = 440, kTestPeak = 0.125, kTestEdgeSeconds = 0.03;

// A tone with soft edges, at -18 dB.
class LTestTone final : public LSoundSource {
  public:
    LTestTone() : LSoundSource(kTestRate, kTestChannels) { peak = static_cast<float>(kTestPeak); }
    float* Read(float* dest, int32_t frames) override {
        for (int32_t i = 0; i < frames; ++i, ++at_) {
            const auto value = static_cast<float>(at_ >= 0 && at_ < GetLength() ? At(at_) : 0.0);
            for (int channel = 0; channel < kTestChannels; ++channel) *dest++ = value;
        }
        at_ = std::min(at_, GetLength());
        return dest;
    }
    int64_t GetPosition() override { return at_; }
    int64_t GetLength() override { return static_cast<int64_t>(kTestSeconds * kTestRate); }
    void Seek(int64_t frame) override { at_ = std::min(frame, GetLength()); }

  private:
    static double At(int64_t frame) {
        const double seconds = static_cast<double>(frame) / kTestRate;
        const double edge =
            std::clamp(std::min(seconds, kTestSeconds - seconds) / kTestEdgeSeconds, 0.0, 1.0);
        return kTestPeak * edge * std::sin(2 * std::numbers::pi * kTestHertz * seconds);
    }
    int64_t at_ = 0;
};

}  // namespace

LDeviceOption::LDeviceOption(LMessageHost& messages, QWidget* parent)
    : QWidget(parent), messages_(messages), choices_(this) {
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(0, 0, 0, 0);
    choice_ = new QComboBox(this);
    choice_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    choice_->setMinimumContentsLength(24);
    choice_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    test_ = new QPushButton(QStringLiteral("&Test"), this);
    test_->setObjectName(QStringLiteral("testDevice"));
    test_->setAutoDefault(false);
    test_->setToolTip(QStringLiteral("Plays a short tone on the chosen device"));
    line->addWidget(choice_, 1);
    line->addWidget(test_);
    choice_->addItem(QString::fromUtf8(kDefaultSoundOut), QString::fromUtf8(kDefaultSoundOut));
    player_.SetListener(this);
    connect(test_, &QPushButton::clicked, this, &LDeviceOption::Test);
    connect(&choices_, &LOutputChoices::Changed, this, &LDeviceOption::Fill);
}

LDeviceOption::~LDeviceOption() {
    player_.SetListener(nullptr);
    player_.Stop();
}

void LDeviceOption::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    choices_.Follow();
}

void LDeviceOption::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    choices_.EndFollow();
}

void LDeviceOption::SetValue(const QString& text) {
    int index = choice_->findData(text, Qt::UserRole, Qt::MatchFixedString);
    if (index < 0) {
        choice_->addItem(text, text);
        index = choice_->count() - 1;
    }
    choice_->setCurrentIndex(index);
    if (choices_.IsKnown()) Fill();
}

// With what is there now, and the chosen one in any case.
void LDeviceOption::Fill() {
    const QString chosen = Value();
    QStringList texts = choices_.Texts();
    if (!texts.contains(chosen, Qt::CaseInsensitive)) texts.append(chosen);
    const QSignalBlocker quiet(choice_);
    choice_->clear();
    for (const QString& text : texts)
        choice_->addItem(choices_.IsThere(text) ? text : text + QStringLiteral(" (not connected)"), text);
    choice_->setCurrentIndex(choice_->findData(chosen, Qt::UserRole, Qt::MatchFixedString));
}

// --- The tone

void LDeviceOption::Test() {
    if (player_.IsPlaying()) return player_.Stop();
    const auto device = FindDevice(Value());
    if (!device) return TellFailure(kDeviceRefused, true);
    const bool byDefault = Value() == QString::fromUtf8(kDefaultSoundOut);
    if (byDefault && device->mode == LDeviceMode::kNull) return TellFailure(kDeviceRefused, false);
    player_.SelectDevice(*device);
    if (!player_.Play(MakeSource<LTestTone>())) TellFailure(player_.LastStatus(), true);
}

void LDeviceOption::TellFailure(uint16_t status, bool isThere) {
    if (!isThere)
        messages_.Tell(
            QStringLiteral("No Playback Devices"),
            QStringLiteral(
                "There are no audio playback devices available. Please check your audio settings."));
    else if (status == kDeviceExclusive)
        messages_.Tell(QStringLiteral("Sound Device in Exclusive Mode"),
                       QStringLiteral("Another program uses this device and does not share it."));
    else
        messages_.Tell(
            QStringLiteral("Sound Device Error"),
            QStringLiteral("Cannot open the sound device for playback. Please verify your device is "
                           "operational."));
}

void LDeviceOption::OnPlayStarted(uintptr_t) { test_->setText(QStringLiteral("S&top")); }

void LDeviceOption::OnPlayStopped(uintptr_t) {
    test_->setText(QStringLiteral("&Test"));
    const uint16_t status = player_.LastStatus();
    if (status != kDeviceGood)
        QMetaObject::invokeMethod(
            this, [this, status] { TellFailure(status, true); }, Qt::QueuedConnection);
}

}  // namespace ondarix
