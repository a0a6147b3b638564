// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QTimer>
#include <QWidget>
#include <vector>

#include "app/level_ruler.h"
#include "app/view_range.h"
#include "display/wave_columns.h"
#include "sound/document.h"

namespace ondarix {

// The waveform: one strip a channel, the selection, the cursor. Selects by mouse and keyboard; never changes
// the sound. [ui]
class LWaveView final : public QWidget {
    Q_OBJECT
  public:
    LWaveView(LSoundDocumentRef document, LViewRange* range, LWaveColumns& columns, QWidget* parent);

    void SoundChanged();  // the list of segments is another one
    // [start, end) with the cursor, which the keyboard moves, at `end`. Cut to the sound.
    void Select(int64_t start, int64_t end);
    void SelectAll() { Select(0, range_->Total()); }
    void SelectNone() { Select(document_->selectionStart, document_->selectionStart); }
    // Takes over the document's selection and cursor, which something else has changed.
    void ShowSelection();
    int64_t Cursor() const { return cursor_; }

    double VerticalZoom() const { return verticalZoom_; }
    void SetVerticalZoom(double zoom);  // 1 to 1000
    bool ShowsDb() const { return showsDb_; }
    void SetShowsDb(bool on);
    // Around the cursor where it is in view, otherwise around the middle.
    void Zoom(double factor);
    void ZoomToSelection();
    QSize sizeHint() const override { return {800, 400}; }

  Q_SIGNALS:
    void SelectionChanged();
    void LevelsChanged();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    // Painting.
    void UpdateColumns(int columns);
    void PaintStrip(QPainter& painter, int channel, const QRect& dirty);
    void PaintBars(QPainter& painter, int channel, const LStrip& strip, const QRect& dirty);
    void UpdateBetween(int64_t one, int64_t other);
    void PaintSamples(QPainter& painter, int channel, const LStrip& strip);
    bool ShowsSamples() const;

    // Selecting.
    void ExtendTo(int64_t frame);
    void MoveCursor(int64_t frame, bool extend);
    void DragTo(double x);
    void ScrollWhileDragging();
    int64_t PixelFrames(int pixels) const;  // at least one a pixel

    LSoundDocumentRef document_;
    LViewRange* range_;
    LWaveColumns& columns_;

    std::vector<LWaveColumn> drawn_;  // columns, or each sample in view, of the view below
    int64_t drawnStart_ = -1, drawnFrames_ = -1;
    int drawnColumns_ = 0;

    int64_t anchor_ = 0, cursor_ = 0;
    double verticalZoom_ = 1;
    bool showsDb_ = false;
    bool dragging_ = false;
    double dragX_ = 0;
    QTimer scrollTimer_;
};

}  // namespace ondarix
