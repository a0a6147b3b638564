// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QWidget>

#include "app/crossfade_join.h"
#include "app/spoken_value.h"
#include "display/wave_columns.h"

namespace ondarix {

// Both clips where they meet, each as loud as its fade leaves it, with the two curves and where they overlap
// or leave a gap. [ui]
class LCrossfadePicture final : public QWidget, public LSpokenValue {
    Q_OBJECT
  public:
    explicit LCrossfadePicture(QWidget* parent);

    void Show(const LCrossfadeJoin& join, const LCrossfadePlan& plan);
    // Frame of the result that is heard; -1: none.
    void ShowPlayed(int64_t frame);
    // Of either clip at a frame of the result; 0 where it is not heard. As it is applied.
    float FirstGain(int64_t frame) const;
    float SecondGain(int64_t frame) const;
    QString SpokenValue() const override;
    QSize sizeHint() const override { return {620, 220}; }
    QSize minimumSizeHint() const override { return {320, 150}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    using LGainOf = float (LCrossfadePicture::*)(int64_t frame) const;
    QRectF Plot() const;
    double XOf(double frame) const;
    void ReadColumns();
    std::vector<LWaveColumn> ColumnsOf(LWaveColumns& from, const LSound& sound, int64_t start,
                                       int64_t frames);
    void PaintClip(QPainter& painter, const std::vector<LWaveColumn>& columns, LGainOf gain,
                   const QColor& colour);
    void PaintFade(QPainter& painter, LGainOf gain, const QColor& colour);
    void PaintTexts(QPainter& painter);

    LCrossfadeJoin join_;
    LCrossfadePlan plan_;
    LCurveSegment out_, in_;
    LWaveColumns firstWave_, secondWave_;
    std::vector<LWaveColumn> first_, second_;  // of all channels together
    int64_t start_ = 0, end_ = 1;              // what is shown, frames of the result
    int columnCount_ = 0;
    int64_t played_ = -1;
};

}  // namespace ondarix
