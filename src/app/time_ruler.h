// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QWidget>

#include "app/view_range.h"
#include "sound/document.h"

namespace ondarix {

// The time scale above a wave view, with the selection and the cursor marked in it. [ui]
class LTimeRuler final : public QWidget {
  public:
    LTimeRuler(LSoundDocumentRef document, LViewRange* range, QWidget* parent);
    // Where the sound is heard; -1: nowhere.
    void SetPlayed(int64_t frame);
    QSize sizeHint() const override { return {100, 26}; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void PaintTicks(QPainter& painter, const QRect& dirty);
    void PaintPlayed(QPainter& painter);
    void PaintSelection(QPainter& painter);

    LSoundDocumentRef document_;
    LViewRange* range_;
    int64_t played_ = -1;
};

}  // namespace ondarix
