// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QElapsedTimer>
#include <QImage>
#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>
#include <vector>

#include "app/level_ruler.h"
#include "app/view_range.h"
#include "app/wave_view_canvas.h"
#include "app/wave_view_columns.h"
#include "app/wave_view_markers.h"
#include "sound/edit_host.h"

namespace ondarix {

// The waveform: a strip for each channel, the selection, the cursor, lines of bookmarks and regions. Selects
// by mouse and keyboard; changes the sound by the pencil only. Settings of section "Settings": "bZoomToMouse"
// (true: the wheel zooms around the mouse, otherwise around the cursor), "ExtendZoom" (true: zooming in goes
// on past one sample a pixel, to single samples), "ShowEditMarkers" (true), "SnapSelection" (false; Alt turns
// it round while it is held). [ui]
class LWaveView final : public QWidget {
    Q_OBJECT
  public:
    static constexpr int kWorkerView = 0;  // its number with the worker
    static constexpr double kPlayLineWidth = 2;

    LWaveView(LSoundDocumentRef document, LViewRange* range, LWaveColumnsWorker& worker, LEditHost& host,
              QWidget* parent);

    void SoundChanged(uint64_t number);  // the worker has another sound, of this number
    // Lines of bookmarks and regions, by position.
    void SetMarkers(const std::vector<LMarker>* markers) { markers_ = markers; }
    // Columns have come from the worker.
    void TakeColumns();
    // Waits for everything in view, `ms` at most, negative: without limit. True: all of it is there.
    bool Complete(int ms);
    bool IsComplete() { return Complete(0); }

    // [start, end) with the cursor, which the keyboard moves, at `end`. Cut to the sound.
    void Select(int64_t start, int64_t end);
    void SelectAll() { Select(0, range_->Total()); }
    void SelectNone() { Select(document_->selectionStart, document_->selectionStart); }
    // Takes over the document's selection and cursor, which something else has changed.
    void ShowSelection();
    int64_t Cursor() const { return cursor_; }
    // To a frame, which is brought into view; `extend`: the other end of the selection stays.
    void MoveCursor(int64_t frame, bool extend);
    // The line where the sound is heard; -1: none. Cheap at every frame of the screen.
    void SetPlayLine(int64_t frame);
    int64_t PlayLine() const { return playLine_; }
    // The mouse moves the sound that is heard instead of selecting.
    void SetScrubbing(bool on);
    bool IsDragging() const { return drag_ != Drag::kNone; }
    // The region at a frame, or from one bookmark or end of the sound to the next; no bookmark: everything.
    void SelectAround(int64_t frame);
    // Where an edge that is put at `frame` goes: the best place within a few pixels, as far as the user wants
    // it.
    int64_t Snapped(int64_t frame, Qt::KeyboardModifiers modifiers) const;
    int64_t PixelFrames(int pixels) const;  // at least one a pixel
    LViewPlace PlaceAt(const QPointF& at) const;

    double VerticalZoom() const { return verticalZoom_; }
    void SetVerticalZoom(double zoom);  // 1 to 1000
    // "Zoom to dB Range": full height is what lies `db` (at most 0) below full scale.
    void ZoomToDbRange(double db);
    // The same for the loudest place of the selection, otherwise of the view.
    void ZoomToLoudest();
    bool ShowsDb() const { return showsDb_; }
    void SetShowsDb(bool on);
    // "Mono View": all channels in one strip, laid over each other; otherwise "Multi-Channel View".
    void SetMonoView(bool on);
    bool MonoView() const { return monoView_; }
    int SampleRate() const { return std::max(1, document_->sound.sampleRate); }
    int64_t Total() const { return range_->Total(); }
    int Strips() const { return monoView_ ? 1 : std::max<int>(1, document_->sound.channels); }
    // Around the cursor where it is in view, otherwise around the middle.
    void Zoom(double factor);
    void ZoomToSelection();
    // Moves the view in a short, eased way where the style animates at all.
    void ScrollTo(int64_t start);

    // The pencil: drawing over samples with the mouse, up and down move the sample behind the cursor. Each
    // stroke is one undo step.
    void SetSampleEditing(bool on);
    bool SampleEditing() const { return sampleEditing_; }
    bool CanEditSamples() const;  // single samples are shown, each channel by itself

    QSize sizeHint() const override { return {800, 400}; }

  Q_SIGNALS:
    void SelectionChanged();
    void Clicked(qint64 frame);   // without a drag
    void Scrubbed(qint64 frame);  // the mouse, while scrubbing
    void LevelsChanged();
    void SampleEditingChanged(bool on);
    void Hint(const QString& text);  // for the status bar
    void ContextMenuRequested(QPoint global, const ondarix::LViewPlace& place);

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    enum class Drag : uint8_t { kNone, kSelect, kPencil, kScrub };
    struct Stroke {  // samples that are not in the sound yet, interleaved
        int64_t start = 0;
        std::vector<float> samples;
        bool IsEmpty() const { return samples.empty(); }
    };

    // Painting.
    int DeviceColumns() const;
    bool ShowsSamples() const;
    bool Ask();  // true: something new is asked
    void UpdateCanvas();
    void Spoil();  // all of the canvas is painted anew
    void SpoilFrames(int64_t one, int64_t other);
    void SpoilColumns(int64_t from, int64_t to);  // by number
    void UpdateAround(int64_t frame);
    void ShiftCanvas(int64_t first);
    void PaintColumns(int from, int to);
    LRows RowsOf(int strip) const;
    void PaintGround(QPainter& painter, int strip, int from, int to);
    std::vector<LBar> BarsOf(const LRows& rows, int channel, int from, int to) const;
    void PaintBars(int strip, int channel, int from, int to);
    void PaintClips(QPainter& painter, int strip, int channel, int from, int to);
    void PaintCurve(int strip, int channel, int from, int to);
    void PaintDots(QPainter& painter, int strip, int channel, int from, int to);
    void PaintJoints(QPainter& painter, int from, int to);
    void PaintMarkers(QPainter& painter);
    void PaintCursor(QPainter& painter);
    void PaintPlayLine(QPainter& painter);
    double PlayLineX() const;
    bool IsDimmed(int channel) const;
    QColor Dimmed(const QColor& colour) const;
    LColumnGrid Grid() const { return {0, range_->Frames(), DeviceColumns()}; }
    int64_t FirstColumn() const;
    // The column of the canvas that a frame begins in. Single samples lie where their times are; columns of
    // many frames are whole.
    int64_t CanvasX(int64_t frame) const;
    float SampleAt(int64_t frame, int channel) const;

    // Selecting.
    const std::vector<LMarker>& Markers() const;
    void ExtendTo(int64_t frame);
    int EdgeAt(double x) const;  // of the selection under the mouse: 1 start, 2 end, 0 none
    void PressToSelect(double x, Qt::KeyboardModifiers modifiers);
    void DragTo(double x, Qt::KeyboardModifiers modifiers);
    void ScrollWhileDragging();
    void ShowHover(const QPointF& at);
    void Wheel(double notches, const QPointF& at, Qt::KeyboardModifiers modifiers);
    bool MoveByKey(QKeyEvent* event);
    void ZoomAround(double factor, int64_t anchor);
    void Describe();

    // The pencil.
    int StripAt(double y) const;
    float ValueAt(int strip, double y) const;
    bool MayDraw();  // false: a job works on the document, and that is told
    void PressPencil(const QPointF& at);
    void Draw(const QPointF& at);
    void PutSample(int64_t frame, int channel, float value);
    bool MoveSampleByKey(QKeyEvent* event);
    void CommitStroke();
    void TakeBackStroke();
    void HintAtPencil();
    int StrokeChannels() const;  // of what the pencil writes: one while a channel is edited alone

    LSoundDocumentRef document_;
    LViewRange* range_;
    LWaveColumnsWorker& worker_;
    LEditHost& host_;

    LColumnStore columns_;
    LColumnGrid askedGrid_;
    int64_t askedFrom_ = 0, askedTo_ = 0;
    QImage canvas_;
    std::vector<std::pair<int, int>> spoiled_;  // device columns of the canvas, [from, to)
    int64_t canvasFirst_ = 0;
    LColumnGrid canvasGrid_;
    std::vector<int64_t> joints_;
    const std::vector<LMarker>* markers_ = nullptr;

    int64_t anchor_ = 0, cursor_ = 0, playLine_ = -1;
    bool scrubbing_ = false;
    double verticalZoom_ = 1;
    bool showsDb_ = false, monoView_ = false, showsJoints_ = true;
    Drag drag_ = Drag::kNone;
    Qt::KeyboardModifiers dragModifiers_;
    double dragX_ = 0, pressX_ = 0;
    bool pressedEdge_ = false;  // and not moved from there yet
    QTimer scrollTimer_;
    QElapsedTimer lastDoubleClick_;
    QVariantAnimation scroll_;
    int64_t scrollFrom_ = 0, scrollTo_ = 0;
    bool animating_ = false;  // the view is moved by scroll_ right now
    double wheelRest_ = 0;    // pixels of a touch pad that were less than a frame

    bool sampleEditing_ = false;
    Stroke stroke_;
    int64_t strokeFrame_ = 0;  // where the pencil was last
    float strokeValue_ = 0;
    int strokeChannel_ = 0;
};

}  // namespace ondarix
