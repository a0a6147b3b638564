// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QPixmap>
#include <QWidget>

#include "app/view_range.h"
#include "display/wave_columns.h"
#include "sound/document.h"

namespace ondarix {

// The whole sound in one narrow strip with a frame around the part in view, which the mouse drags. [ui]
class LOverviewBar final : public QWidget {
    Q_OBJECT
  public:
    // `columns` is shared with the wave view of the same window, so that a level is built once.
    LOverviewBar(LSoundDocumentRef document, LViewRange* range, LWaveColumns& columns, QWidget* parent);
    void SoundChanged();
    QSize sizeHint() const override { return {100, 48}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void DrawSound();
    double XOf(int64_t frame) const;
    QRectF Frame() const;

    LSoundDocumentRef document_;
    LViewRange* range_;
    LWaveColumns& columns_;
    QPixmap drawn_;       // null: to be drawn
    double grabbed_ = 0;  // pixels from the frame's left side to the mouse
};

}  // namespace ondarix
