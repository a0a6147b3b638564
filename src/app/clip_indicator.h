// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QAbstractButton>

namespace ondarix {

// The lamp of the status bar that tells whether the limiter had to lower what was played. A click or Space
// resets it. [ui]
class LClipIndicator final : public QAbstractButton {
    Q_OBJECT
  public:
    explicit LClipIndicator(QWidget* parent);
    void SetClipped(bool on);
    bool IsClipped() const { return clipped_; }
    QSize sizeHint() const override { return {20, 16}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

  private:
    void ShowState();
    bool clipped_ = false;
};

}  // namespace ondarix
