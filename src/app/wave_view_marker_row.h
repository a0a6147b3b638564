// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QWidget>
#include <functional>

#include "app/view_range.h"
#include "app/wave_view_markers.h"
#include "sound/edit_host.h"

namespace ondarix {

// Bookmarks and regions above the waveform, as flags and spans with their names. The mouse drags flags, spans
// and their ends; the keyboard walks from one to the next (arrows), moves them (Ctrl and arrows; with Shift
// the end of a region), renames (F2), deletes (Del) and goes there (Return). Escape takes back what is being
// moved. Hidden where there is nothing to show. [ui]
class LMarkerRow final : public QWidget {
    Q_OBJECT
  public:
    LMarkerRow(LSoundDocumentRef document, LViewRange* range, LEditHost& host, QWidget* parent);

    void MarkersChanged();  // bookmarks or regions of the document are others
    // In order of position, with the one that is being moved where it is now.
    const std::vector<LMarker>& Markers() const { return markers_; }
    const LMarker& Focused() const { return focused_; }  // id 0: none
    // Bookmark and region at a place of this row.
    LViewPlace PlaceAt(const QPointF& at) const;
    // Where an edge that the mouse moves comes to lie; not set: where it is put.
    std::function<int64_t(int64_t frame, Qt::KeyboardModifiers modifiers)> snap;
    QSize sizeHint() const override;

  Q_SIGNALS:
    void Moving();  // Markers() are elsewhere
    void GoTo(qint64 frame);
    void RenameRequested(const ondarix::LMarker& marker);
    void ContextMenuRequested(QPoint global, const ondarix::LViewPlace& place);
    void Left();  // by Escape: the keyboard belongs to the waveform again

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    enum class Part : uint8_t { kNone, kWhole, kStart, kEnd };
    struct Hit {
        LMarker marker;
        Part part = Part::kNone;
    };
    Hit HitAt(const QPointF& at) const;
    int LaneHeight() const;
    bool HasRegions() const;
    double RegionTop() const;
    void PaintBookmarks(QPainter& painter);
    void PaintRegions(QPainter& painter);
    void PaintFocus(QPainter& painter, const QRectF& around);
    void ShowHover(const QPointF& at);

    void Focus(const LMarker& marker);
    void FocusNeighbour(int by);
    void MoveByKey(int pixels, bool endOnly);
    void MoveTo(Part part, const LMarker& from, int64_t by);
    void Rearrange();
    void Commit();
    void TakeBack();
    bool Delete(const LMarker& marker);
    bool HandlesKey(const QKeyEvent& event) const;

    LSoundDocumentRef document_;
    LViewRange* range_;
    LEditHost& host_;
    std::vector<LMarker> markers_;
    LMarker focused_;
    LMarker moved_;  // where it is now; id 0: nothing is being moved
    Hit grabbed_;    // as it was when the mouse took it
    double grabbedX_ = 0;
    int64_t grabbedFrame_ = 0;  // under the mouse at that time
    bool dragging_ = false;     // the mouse has left the place where it was pressed
};

}  // namespace ondarix
