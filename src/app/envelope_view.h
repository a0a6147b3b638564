// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QWidget>
#include <memory>

#include "app/envelope_curve.h"
#include "app/spoken_value.h"
#include "display/wave_columns_worker.h"

namespace ondarix {

// The wave of a sound with the curve of an envelope over it: as it is, dim, and as the curve makes it.
//
// Mouse: a point is dragged, a double click adds one, the right button removes one. Keys: Tab and Shift+Tab
// go from point to point and then on, the arrows move a point by a pixel (with Shift by ten), Home and End
// choose the first and the last one, Insert adds one half-way to the next, Del removes. [ui]
class LEnvelopeView final : public QWidget, public LSpokenValue {
    Q_OBJECT
  public:
    LEnvelopeView(const LSound& sound, QWidget* parent);
    ~LEnvelopeView() override;

    const LEnvelopeCurve& Curve() const { return curve_; }
    // From outside: says nothing.
    void Show(std::vector<LEnvelopePoint> points, LCurve curve);
    void SetInterpolation(LCurve curve);
    // The scale of the level: from silence to 200 % in even parts, or in dB down to kLeastDb.
    void SetInDb(bool on);

    int Selected() const { return selected_; }  // -1: none
    void Select(int index);
    // What the fields and buttons of a dialog do to the selected point.
    void MoveSelected(LEnvelopePoint to);
    void AddPoint();
    void RemovePoint();

    // Frame that is heard; -1: none.
    void ShowPlayed(int64_t frame);
    // Where points are drawn, and what stands at a place.
    QPointF PlaceOf(const LEnvelopePoint& point) const;
    LEnvelopePoint At(QPointF place) const;
    QRectF Plot() const;
    QString SpokenValue() const override;
    // Waits for the wave, `ms` at most.
    bool Complete(int ms);

    QSize sizeHint() const override { return {760, 320}; }
    QSize minimumSizeHint() const override { return {360, 180}; }

    static constexpr double kLeastDb = -60;  // below it the scale is silence
    static constexpr double kUsualTop = 2;   // of the scale, unless a point is higher

  Q_SIGNALS:
    void CurveChanged();      // by the user
    void SelectionChanged();  // another point, or the selected one has moved

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void changeEvent(QEvent* event) override;

  private:
    int PointAt(QPointF place) const;    // -1: none
    double HeightOf(double gain) const;  // share of the plot's height, from below
    double GainAtHeight(double share) const;
    double XOf(double frame) const;
    double YOf(double gain) const;
    void FitScale();
    void Changed();
    void Say(const QString& text);
    bool MoveByKey(const QKeyEvent& event);
    void AskColumns();
    void TakeColumns();
    void UpdateGains();

    void PaintScale(QPainter& painter, const QRectF& plot);
    void PaintTimes(QPainter& painter, const QRectF& plot);
    void PaintWave(QPainter& painter, const QRectF& plot);
    void PaintCurve(QPainter& painter, const QRectF& plot);
    void PaintLabel(QPainter& painter, const QRectF& plot);

    LEnvelopeCurve curve_;
    int32_t sampleRate_;
    std::unique_ptr<LWaveColumnsWorker> worker_;
    uint64_t sound_ = 0;
    int columnCount_ = 0;               // pixels of the screen
    std::vector<LWaveColumn> columns_;  // of all channels together
    std::vector<float> columnGains_;    // of the curve in the middle of each column
    int selected_ = -1, hovered_ = -1;
    bool dragging_ = false;
    QPointF grip_;  // from the mouse to the point that is dragged
    bool inDb_ = false;
    double top_ = kUsualTop;
    int64_t played_ = -1;
};

// "35 %", "-6.0 dB", "silence".
QString GainText(float gain, bool inDb);

}  // namespace ondarix
