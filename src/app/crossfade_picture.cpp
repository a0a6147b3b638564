// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/crossfade_picture.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <utility>

#include "app/theme.h"

namespace ondarix {
namespace {

constexpr double kPad = 0.18;  // of what is faded, shown before and behind it
constexpr double kLeastPadSeconds = 0.05;
constexpr int kTextRoom = 24, kMargin = 6;
constexpr double kWaveStrength = 0.55, kZoneStrength = 0.5;

QString SecondsText(int64_t frames, int32_t rate) {
    return QStringLiteral("%1 s").arg(static_cast<double>(frames) / rate, 0, 'f', 3);
}

}  // namespace

LCrossfadePicture::LCrossfadePicture(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("crossfadePicture"));
    setAccessibleName(QStringLiteral("Curves of both clips where they meet"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    InstallSpokenValues();
}

void LCrossfadePicture::Show(const LCrossfadeJoin& join, const LCrossfadePlan& plan) {
    join_ = join;
    plan_ = plan;
    out_ = LCurveSegment(plan.fadeOutCurve, 1, 0, plan.fadeOut);
    in_ = LCurveSegment(plan.fadeInCurve, 0, 1, plan.fadeIn);
    const int64_t from = std::min(plan.ZoneStart(), plan.InAt()), to = plan.ZoneEnd();
    const auto least = static_cast<int64_t>(kLeastPadSeconds * join.first.sampleRate);
    const auto pad = std::max(least, static_cast<int64_t>(kPad * static_cast<double>(to - from)));
    start_ = from - pad;
    end_ = std::max(to + pad, start_ + 2);
    ReadColumns();
    setAccessibleDescription(SpokenValue());
    update();
}

void LCrossfadePicture::ShowPlayed(int64_t frame) {
    if (std::exchange(played_, frame) != frame) update();
}

// --- Gains and places

float LCrossfadePicture::FirstGain(int64_t frame) const {
    if (frame >= plan_.outEnd || frame < 0) return 0;
    const int64_t within = frame - (plan_.outEnd - plan_.fadeOut);
    if (within < 0) return 1;
    float gain = 1;
    CurveGains(out_, within, 1, &gain);
    return gain;
}

float LCrossfadePicture::SecondGain(int64_t frame) const {
    const int64_t within = frame - plan_.InAt();
    if (within < 0) return 0;
    if (within >= plan_.fadeIn) return 1;
    float gain = 1;
    CurveGains(in_, within, 1, &gain);
    return gain;
}

QRectF LCrossfadePicture::Plot() const {
    return QRectF(rect()).adjusted(kMargin, kMargin, -kMargin, -kTextRoom);
}

double LCrossfadePicture::XOf(double frame) const {
    const QRectF plot = Plot();
    const double share = (frame - static_cast<double>(start_)) / static_cast<double>(end_ - start_);
    return plot.left() + std::clamp(share, 0.0, 1.0) * plot.width();
}

// --- The waves

std::vector<LWaveColumn> LCrossfadePicture::ColumnsOf(LWaveColumns& from, const LSound& sound, int64_t start,
                                                      int64_t frames) {
    std::vector<LWaveColumn> all(static_cast<size_t>(columnCount_));
    if (sound.IsEmpty() || frames <= 0) return all;
    from.SetSound(sound);
    from.Refresh();
    const auto channels = static_cast<size_t>(from.Channels());
    std::vector<LWaveColumn> read(all.size() * channels);
    const LColumnGrid grid{start, frames, columnCount_};
    if (from.IsReady(grid, 0, columnCount_))
        from.Columns(grid, 0, columnCount_, read.data());
    else  // of minutes that were never looked at: good enough for a sketch, and at once
        from.Estimate(grid, 0, columnCount_, read.data());
    for (size_t i = 0; i < all.size(); ++i) {
        all[i] = read[i * channels];
        for (size_t c = 1; c < channels; ++c) {
            all[i].top = std::max(all[i].top, read[i * channels + c].top);
            all[i].bottom = std::min(all[i].bottom, read[i * channels + c].bottom);
        }
    }
    return all;
}

void LCrossfadePicture::ReadColumns() {
    columnCount_ = std::max(1, static_cast<int>(std::lround(Plot().width() * devicePixelRatioF())));
    if (join_.first.IsEmpty()) return;
    first_ = ColumnsOf(firstWave_, join_.first, start_, end_ - start_);
    const double scale = static_cast<double>(join_.second.sampleRate) / join_.first.sampleRate;
    const auto scaled = [scale](int64_t frames) { return std::llround(static_cast<double>(frames) * scale); };
    second_ = ColumnsOf(secondWave_, join_.second, scaled(start_ - plan_.InAt() + plan_.inStart),
                        std::max<int64_t>(1, scaled(end_ - start_)));
}

void LCrossfadePicture::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    ReadColumns();
}

void LCrossfadePicture::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) update();
    QWidget::changeEvent(event);
}

// --- Painting

void LCrossfadePicture::PaintClip(QPainter& painter, const std::vector<LWaveColumn>& columns, LGainOf gain,
                                  const QColor& colour) {
    const QRectF plot = Plot();
    const double middle = plot.center().y(), unit = plot.height() / 2;
    const double step = plot.width() / std::max(1, columnCount_);
    const LColumnGrid grid{start_, end_ - start_, std::max(1, columnCount_)};
    QColor soft = colour;
    soft.setAlphaF(kWaveStrength);
    for (size_t i = 0; i < columns.size(); ++i) {
        const auto column = static_cast<int64_t>(i);
        const auto level = double{(this->*gain)((grid.Edge(column) + grid.Edge(column + 1)) / 2)};
        if (level <= 0) continue;
        const double top = std::clamp(double{columns[i].top} * level, -1.0, 1.0);
        const double bottom = std::clamp(double{columns[i].bottom} * level, -1.0, 1.0);
        painter.fillRect(QRectF(plot.left() + static_cast<double>(i) * step, middle - top * unit, step,
                                std::max((top - bottom) * unit, 1 / devicePixelRatioF())),
                         soft);
    }
}

void LCrossfadePicture::PaintFade(QPainter& painter, LGainOf gain, const QColor& colour) {
    const QRectF plot = Plot();
    const LColumnGrid grid{start_, end_ - start_, std::max(1, columnCount_)};
    QPolygonF line;
    for (int i = 0; i < columnCount_; ++i) {
        const int64_t frame = grid.Edge(i);
        line.append({XOf(static_cast<double>(frame)),
                     plot.bottom() - double{(this->*gain)(frame)} * (plot.height() - 2) - 1});
    }
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(QPen(colour, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(line);
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void LCrossfadePicture::PaintTexts(QPainter& painter) {
    const LWaveColours& colours = WaveColours();
    const QRectF plot = Plot();
    const QRectF row(plot.left(), plot.bottom() + 2, plot.width(), kTextRoom - 4);
    const int32_t rate = join_.first.sampleRate;
    painter.setPen(colours.waveCore);
    painter.drawText(row, Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("Fade out ") + SecondsText(plan_.fadeOut, rate));
    painter.setPen(colours.regionText);
    painter.drawText(row, Qt::AlignRight | Qt::AlignVCenter,
                     QStringLiteral("Fade in ") + SecondsText(plan_.fadeIn, rate));
    painter.setPen(colours.rulerText);
    const QString middle = plan_.gap < 0   ? QStringLiteral("Overlap ") + SecondsText(plan_.Overlap(), rate)
                           : plan_.gap > 0 ? QStringLiteral("Gap ") + SecondsText(plan_.gap, rate)
                                           : QStringLiteral("No overlap");
    painter.drawText(row, Qt::AlignHCenter | Qt::AlignVCenter, middle);
}

void LCrossfadePicture::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const LWaveColours& colours = WaveColours();
    const QRectF plot = Plot();
    painter.fillRect(rect(), colours.rulerBackground);
    painter.fillRect(plot, colours.background);
    const double from = XOf(static_cast<double>(std::min(plan_.outEnd, plan_.InAt())));
    const double to = XOf(static_cast<double>(std::max(plan_.outEnd, plan_.InAt())));
    QColor zone = plan_.gap > 0 ? colours.gap : colours.selection;
    zone.setAlphaF(plan_.gap > 0 ? 1 : kZoneStrength);
    painter.fillRect(QRectF(from, plot.top(), to - from, plot.height()), zone);
    painter.setPen(QPen(colours.centre, 1));
    painter.drawLine(QPointF(plot.left(), plot.center().y()), QPointF(plot.right(), plot.center().y()));
    PaintClip(painter, first_, &LCrossfadePicture::FirstGain, colours.wave);
    PaintClip(painter, second_, &LCrossfadePicture::SecondGain, colours.region);
    PaintFade(painter, &LCrossfadePicture::FirstGain, colours.waveCore);
    PaintFade(painter, &LCrossfadePicture::SecondGain, colours.regionText);
    PaintTexts(painter);
    if (played_ < start_ || played_ > end_) return;
    painter.setPen(QPen(colours.played, 1));
    const double x = XOf(static_cast<double>(played_));
    painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
}

QString LCrossfadePicture::SpokenValue() const {
    const int32_t rate = join_.first.sampleRate;
    return QStringLiteral("Fade out of %1, fade in of %2, %3 of %4")
        .arg(SecondsText(plan_.fadeOut, rate), SecondsText(plan_.fadeIn, rate),
             QLatin1String(plan_.gap > 0 ? "gap" : "overlap"), SecondsText(std::abs(plan_.gap), rate));
}

}  // namespace ondarix
