// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/wave_view_access.h"

#include <QAccessibleWidget>
#include <algorithm>
#include <cmath>

#include "app/wave_view.h"

namespace ondarix {
namespace {

// The cursor in seconds, as a slider has a value.
class LWaveAccessible final : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    explicit LWaveAccessible(LWaveView* view) : QAccessibleWidget(view, QAccessible::Slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QVariant currentValue() const override { return Seconds(View().Cursor()); }
    void setCurrentValue(const QVariant& value) override {
        const double seconds = std::clamp(value.toDouble(), 0.0, Seconds(View().Total()));
        View().MoveCursor(std::llround(seconds * View().SampleRate()), false);
    }
    QVariant maximumValue() const override { return Seconds(View().Total()); }
    QVariant minimumValue() const override { return 0.0; }
    QVariant minimumStepSize() const override { return Seconds(View().PixelFrames(1)); }

  private:
    LWaveView& View() const { return *static_cast<LWaveView*>(widget()); }
    double Seconds(int64_t frames) const { return static_cast<double>(frames) / View().SampleRate(); }
};

QAccessibleInterface* WaveAccessibleOf(const QString&, QObject* object) {
    auto* view = qobject_cast<LWaveView*>(object);
    return view ? new LWaveAccessible(view) : nullptr;
}

}  // namespace

void InstallWaveAccessibility() {
    static const bool once = [] {
        QAccessible::installFactory(&WaveAccessibleOf);
        return true;
    }();
    (void)once;
}

}  // namespace ondarix
