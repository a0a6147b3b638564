// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QObject>
#include <cstdint>

namespace ondarix {

// Which frames of a sound the controls of one window show. Everything that displays or moves the view shares
// one of these; it never leaves the sound and never shows fewer than kFewestFrames of it. [ui]
class LViewRange : public QObject {
    Q_OBJECT
  public:
    static constexpr int64_t kFewestFrames = 16;

    int64_t Total() const { return total_; }
    int64_t Start() const { return start_; }
    int64_t Frames() const { return frames_; }  // at least 1
    int64_t End() const { return start_ + frames_; }
    bool ShowsAll() const { return start_ == 0 && frames_ >= total_; }

    // A sound of another length; a view of the whole stays one.
    void SetTotal(int64_t frames);
    void Show(int64_t start, int64_t frames);
    void ShowAll() { Show(0, total_); }
    void MoveTo(int64_t start) { Show(start, frames_); }
    // Frames in view times `factor`, with `anchor` staying where it is.
    void Zoom(double factor, int64_t anchor);
    // Scrolls as little as needed to have `frame` in view, with a margin of a part of the view.
    void Reveal(int64_t frame) { MoveTo(RevealedStart(frame)); }
    int64_t RevealedStart(int64_t frame) const;

    // Place of a frame border in a control `width` wide, and the border nearest to a place.
    double XOf(int64_t frame, int width) const;
    int64_t FrameAt(double x, int width) const;

  Q_SIGNALS:
    void Changed();

  private:
    int64_t total_ = 0, start_ = 0, frames_ = 1;
    int64_t shownTotal_ = -1;  // of which Changed() told last
};

}  // namespace ondarix
