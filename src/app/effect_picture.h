// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QWidget>
#include <memory>
#include <vector>

#include "app/effect_preview.h"

namespace ondarix {

// Largest and smallest sample of all channels in each column of a sound.
struct LPeakColumns {
    std::vector<float> top, bottom;
};
inline constexpr int kPictureColumns = 512;
// A column longer than this many frames is looked at in its first so many: the work does not grow with the
// length of the sound.
inline constexpr int32_t kPictureColumnFrames = 4096;
// Of `source` from its start to its end. False: cancelled. [any]
bool ReadPeakColumns(LSoundSource& source, int columns, LPeakColumns& out, LProgress& progress);

class LPicturePainter;

// The sound as it is above, as the effect makes it below; computed on a worker. [ui]
class LEffectPicture final : public QWidget {
    Q_OBJECT
  public:
    explicit LEffectPicture(QWidget* parent);
    ~LEffectPicture() override;

    // Computes anew; what is computed still is given up.
    void Reload(LPreviewSoundRef sound, LPreviewStack stack);
    // What is computed is given up.
    void Stop();
    // The values have changed since: it is shown dimmed.
    void SetOutdated(bool on);
    bool IsOutdated() const { return outdated_; }
    bool IsReady() const { return ready_; }  // what was asked for last is there
    const LPeakColumns& Before() const { return before_; }
    const LPeakColumns& After() const { return after_; }
    // Share of the way that is heard, below 0: none.
    void ShowPlayed(double share);
    QSize sizeHint() const override { return {480, 130}; }
    QSize minimumSizeHint() const override { return {320, 90}; }

  Q_SIGNALS:
    void Ready();

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void Take(uint32_t run);
    void PaintHalf(QPainter& painter, const QRect& rect, const LPeakColumns& columns, const QString& text);

    std::unique_ptr<LPicturePainter> worker_;
    LPeakColumns before_, after_;
    uint32_t run_ = 0;
    double played_ = -1;
    bool outdated_ = false, ready_ = false;
};

}  // namespace ondarix
