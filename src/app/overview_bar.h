// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QPixmap>
#include <QWidget>

#include "app/view_range.h"
#include "app/wave_view_columns.h"
#include "sound/document.h"

namespace ondarix {

// The whole sound in one narrow strip with a frame around the part in view, which the mouse drags. [ui]
class LOverviewBar final : public QWidget {
    Q_OBJECT
  public:
    static constexpr int kWorkerView = 1;  // its number with the worker

    // Where the sound is heard; -1: nowhere.
    void SetPlayed(int64_t frame);
    // `worker` is shared with the wave view of the same window, so that a graph is read once.
    LOverviewBar(LSoundDocumentRef document, LViewRange* range, LWaveColumnsWorker& worker, QWidget* parent);
    void SoundChanged(uint64_t number);  // the worker has another sound, of this number
    void TakeColumns();                  // columns have come from the worker
    // The sound as far as it is known, all of it where `ms` (negative: no limit) is enough for that.
    bool Complete(int ms);
    QSize sizeHint() const override { return {100, 48}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void DrawSound();
    void Redraw();
    double XOf(int64_t frame) const;
    QRectF Frame() const;

    LSoundDocumentRef document_;
    LViewRange* range_;
    LWaveColumnsWorker& worker_;
    LColumnStore columns_;
    int64_t askedFrames_ = -1, played_ = -1;
    int askedColumns_ = 0;
    QPixmap drawn_;       // null: to be drawn
    double grabbed_ = 0;  // pixels from the frame's left side to the mouse
};

}  // namespace ondarix
