// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QElapsedTimer>
#include <QPixmap>
#include <QTimer>
#include <QWidget>
#include <array>

#include "app/meter_ballistics.h"
#include "app/spoken_value.h"

namespace ondarix {

// Levels of what is heard, one bar a channel from -60 to +3 dB, and a lamp that stays lit after the limiter
// was at work until it is clicked. Paints what has changed, 30 times a second at most, and sleeps at rest.
// [ui]
class LLevelMeter final : public QWidget, public LSpokenValue {
    Q_OBJECT
  public:
    explicit LLevelMeter(QWidget* parent);

    void SetLevels(const LLevelBytes& levels);
    void Fall() { SetLevels({}); }  // nothing is heard any more
    void ResetClipped();
    const LMeterBallistics& Ballistics() const { return ballistics_; }

    // "-12 dB, -60 dB; peaks have been limited"
    QString SpokenValue() const override;
    QSize sizeHint() const override { return {260, 36}; }
    QSize minimumSizeHint() const override { return {90, 28}; }

  Q_SIGNALS:
    void ClippedReset();  // by a click

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;

  private:
    struct LShown {  // pixels from the left end of the bars
        int bar = 0, hold = 0;
        bool operator==(const LShown&) const = default;
    };
    void Tick();
    void Refresh();
    void Forget();
    QRect Bars() const;
    QRect Lamp() const;
    QRect Row(int row) const;
    int XOf(double db) const;
    QPixmap Draw(bool lit) const;
    void PaintScale(QPainter& painter) const;

    LMeterBallistics ballistics_;
    std::array<LShown, kMeterRows> shown_{};
    int shownRows_ = 0;
    bool shownClipped_ = false;
    QPixmap lit_, unlit_;  // null: to be drawn
    QTimer timer_;
    QElapsedTimer clock_;
};

}  // namespace ondarix
