// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QWidget>

#include "app/spoken_value.h"

namespace ondarix {

// Where it plays, in large figures, and how long the sound is. [ui]
class LTimeDisplay final : public QWidget, public LSpokenValue {
  public:
    explicit LTimeDisplay(QWidget* parent);
    // Frames; a rate of 0: there is no sound.
    void Show(int64_t position, int64_t length, int32_t rate);
    void SetLengthShown(bool on);
    const QString& PositionText() const { return position_; }

    QString SpokenValue() const override;  // "0:00:01.500 of 0:00:03.000"
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    QFont Large() const;
    int LargeWidth() const;

    QString position_, length_;
    bool lengthShown_ = true;
};

}  // namespace ondarix
