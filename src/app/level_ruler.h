// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QWidget>
#include <vector>

namespace ondarix {

// The strip of one channel, in rows of the wave view.
struct LStrip {
    double top = 0, height = 1;
    double Middle() const { return top + height / 2; }
    // Rows between the centre line and full scale without vertical zoom.
    double HalfSpan() const { return height / 2 > 8 ? height / 2 - 3 : height / 2; }
};
// `channels` strips with small gaps share `height` rows.
LStrip StripOf(int channel, int channels, double height);

// A labelled level of a strip: a magnitude, drawn above and below the centre.
struct LLevelMark {
    double level = 0;
    QString label;
};
// What fits a strip at this vertical zoom: linear in even parts of full scale, or in dB. Largest first.
std::vector<LLevelMark> LevelMarks(const LStrip& strip, double zoom, bool inDb);

// The scale left of a wave view. [ui]
class LLevelRuler final : public QWidget {
  public:
    explicit LLevelRuler(QWidget* parent);
    void Set(int channels, double zoom, bool inDb);
    QSize sizeHint() const override { return {46, 100}; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    int channels_ = 1;
    double zoom_ = 1;
    bool inDb_ = false;
};

}  // namespace ondarix
