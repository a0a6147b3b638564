// SPDX-License-Identifier: GPL-3.0-or-later
// Painting of the wave view. An image as wide as the view in pixels of the screen holds all that stands still
// while the cursor and the markers move. Its columns are counted over the whole sound, so that scrolling
// shifts the image and paints only what enters, and the result is the same as painting everything.
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <limits>

#include "app/start_trace.h"
#include "app/theme.h"
#include "app/wave_view.h"
#include "display/wave_columns_curve.h"

namespace ondarix {
namespace {

constexpr int kPatienceMs = 6;          // what a paint waits for columns: less than half a frame
constexpr double kDotsFromPixels = 6;   // a sample's width from which it is drawn as a dot
constexpr double kCurveFromPixels = 2;  // the same for the line between samples; below it is straight
constexpr double kLineWidth = 1.4;
constexpr double kJointHeight = 5;

QColor Mixed(const QColor& a, const QColor& b, double part) {
    return QColor::fromRgbF(static_cast<float>(a.redF() + (b.redF() - a.redF()) * part),
                            static_cast<float>(a.greenF() + (b.greenF() - a.greenF()) * part),
                            static_cast<float>(a.blueF() + (b.blueF() - a.blueF()) * part));
}

}  // namespace

void LWaveView::paintEvent(QPaintEvent* event) {
    Complete(Ask() ? kPatienceMs : 0);  // what takes longer is not waited for again
    UpdateCanvas();
    QPainter painter(this);
    painter.setClipRegion(event->region());
    painter.drawImage(QPointF(0, 0), canvas_);
    PaintMarkers(painter);
    PaintCursor(painter);
    PaintPlayLine(painter);
    TraceStart("waveform");
    if (!hasFocus()) return;
    QColor ring = WaveColours().focus;
    ring.setAlpha(110);
    painter.setPen(ring);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}

// --- The image

void LWaveView::UpdateCanvas() {
    const qreal ratio = devicePixelRatioF();
    const QSize size(DeviceColumns(), std::max(1, static_cast<int>(std::lround(height() * ratio))));
    const LColumnGrid grid = Grid();
    if (canvas_.size() != size) {
        canvas_ = QImage(size, QImage::Format_RGB32);
        spoiled_.assign(1, {0, size.width()});
    }
    canvas_.setDevicePixelRatio(1);
    if (!(grid == canvasGrid_)) spoiled_.assign(1, {0, size.width()});
    canvasGrid_ = grid;
    ShiftCanvas(FirstColumn());
    std::sort(spoiled_.begin(), spoiled_.end());
    int done = 0;
    for (const auto& [from, to] : spoiled_) {
        const int left = std::max(from, done), right = std::min(to, size.width());
        if (left < right) PaintColumns(left, right);
        done = std::max(done, right);
    }
    spoiled_.clear();
    canvas_.setDevicePixelRatio(ratio);
}

void LWaveView::ShiftCanvas(int64_t first) {
    const int64_t by = first - canvasFirst_;
    canvasFirst_ = first;
    if (by == 0) return;
    const int width = canvas_.width();
    // The soft edges of curves do not lie on whole columns of the image.
    if (std::abs(by) >= width || ShowsSamples()) {
        spoiled_.assign(1, {0, width});
        return;
    }
    const int shift = static_cast<int>(by);
    ShiftColumns(canvas_, shift);
    for (auto& [from, to] : spoiled_) {
        from -= shift;
        to -= shift;
    }
    if (shift > 0)
        spoiled_.push_back({width - shift, width});
    else
        spoiled_.push_back({0, -shift});
}

LRows LWaveView::RowsOf(int strip) const {
    const qreal ratio = devicePixelRatioF();
    const LStrip at = StripOf(strip, Strips(), height());
    return {at.Middle() * ratio, at.HalfSpan() * verticalZoom_ * ratio, std::round(at.top * ratio),
            std::min<double>(canvas_.height(), std::round((at.top + at.height) * ratio))};
}

bool LWaveView::IsDimmed(int channel) const {
    return !monoView_ && document_->channelEditMode == LSoundDocument::kEditsChannel &&
           channel != document_->editedChannel;
}

QColor LWaveView::Dimmed(const QColor& colour) const { return Mixed(colour, WaveColours().background, 0.68); }

void LWaveView::PaintColumns(int from, int to) {
    QPainter painter(&canvas_);
    painter.setClipRect(from, 0, to - from, canvas_.height());
    painter.fillRect(QRect(from, 0, to - from, canvas_.height()), WaveColours().gap);
    const int channels = std::max<int>(1, document_->sound.channels);
    for (int channel = 0; channel < channels; ++channel) {
        const int strip = monoView_ ? 0 : channel;
        if (channel == strip) PaintGround(painter, strip, from, to);
        if (ShowsSamples()) {
            PaintCurve(strip, channel, from, to);
            PaintDots(painter, strip, channel, from, to);
        } else if (channel == strip) {
            PaintBars(strip, channel, from, to);
            PaintClips(painter, strip, channel, from, to);
        }
    }
    if (showsJoints_) PaintJoints(painter, from, to);
}

// Background, selection and lines at levels, as far as the sound goes.
void LWaveView::PaintGround(QPainter& painter, int strip, int from, int to) {
    const LWaveColours& colours = WaveColours();
    const qreal ratio = devicePixelRatioF();
    const LRows rows = RowsOf(strip);
    const int top = static_cast<int>(rows.top), rowCount = static_cast<int>(rows.bottom) - top;
    const auto columnOf = [&](int64_t frame) {
        return static_cast<int>(std::clamp<int64_t>(CanvasX(frame), from, to));
    };
    const int end = range_->End() >= range_->Total() ? columnOf(range_->Total()) : to;
    painter.fillRect(QRect(from, top, end - from, rowCount), colours.background);
    const LSelection selection = document_->EditRange();
    if (!selection.IsEmpty() && !IsDimmed(strip)) {
        const int left = columnOf(selection.start), right = std::min(end, columnOf(selection.end));
        painter.fillRect(QRect(left, top, right - left, rowCount), colours.selection);
    }
    const int thick = std::max(1, static_cast<int>(std::lround(ratio)));
    const auto line = [&](double row, const QColor& colour) {
        painter.fillRect(QRect(from, static_cast<int>(std::floor(row)), end - from, thick), colour);
    };
    const LStrip at = StripOf(strip, Strips(), height());
    for (const LLevelMark& mark : LevelMarks(at, verticalZoom_, showsDb_)) {
        line(rows.Free(mark.level), colours.grid);
        line(rows.Free(-mark.level), colours.grid);
    }
    line(rows.middle, colours.centre);
}

// --- Bars

// One bar a column; over samples it touches the one before it, as the signal does.
std::vector<LBar> LWaveView::BarsOf(const LRows& rows, int channel, int from, int to) const {
    const bool touches = canvasGrid_.FromSamples();
    const int last = monoView_ ? columns_.Channels() : channel + 1;
    std::vector<LBar> bars(static_cast<size_t>(to - from));
    LWaveColumn before;
    bool hasBefore = false;
    for (int x = from - 1; x < to; ++x) {
        const LWaveColumn* column = columns_.At(canvasFirst_ + x);
        if (!column || last > columns_.Channels() || canvasGrid_.Edge(canvasFirst_ + x) >= range_->Total()) {
            hasBefore = false;
            continue;
        }
        LWaveColumn all = column[channel];
        for (int c = channel + 1; c < last; ++c)
            all = {std::max(all.top, column[c].top), std::min(all.bottom, column[c].bottom)};
        const bool joined = touches && hasBefore;
        const float high = joined ? std::max(all.top, before.bottom) : all.top;
        const float low = joined ? std::min(all.bottom, before.top) : all.bottom;
        before = all;
        hasBefore = true;
        if (x < from) continue;
        const int first = static_cast<int>(std::floor(rows.Of(static_cast<double>(high))));
        const int end = static_cast<int>(std::ceil(rows.Of(static_cast<double>(low))));
        bars[static_cast<size_t>(x - from)] = {first, std::max(first + 1, end)};
    }
    return bars;
}

void LWaveView::PaintBars(int strip, int channel, int from, int to) {
    const LRows rows = RowsOf(strip);
    const std::vector<LBar> bars = BarsOf(rows, channel, from, to);
    const LSelection selection = document_->EditRange();
    const auto columnOf = [&](int64_t frame) {
        return static_cast<int>(std::clamp<int64_t>(CanvasX(frame), from, to));
    };
    const bool dimmed = IsDimmed(channel);
    const int left = selection.IsEmpty() || dimmed ? to : columnOf(selection.start);
    const int right = selection.IsEmpty() || dimmed ? to : std::max(left, columnOf(selection.end));
    const auto fill = [&](int first, int end, const QColor& outer, const QColor& core) {
        const auto colours =
            dimmed ? RowColours(rows, Dimmed(outer), Dimmed(core)) : RowColours(rows, outer, core);
        FillBars(canvas_, rows, colours, bars.data() + (first - from), first, end);
    };
    const LWaveColours& colours = WaveColours();
    fill(from, left, colours.wave, colours.waveCore);
    fill(left, right, colours.selectedWave, colours.selectedCore);
    fill(right, to, colours.wave, colours.waveCore);
}

void LWaveView::PaintClips(QPainter& painter, int strip, int channel, int from, int to) {
    const LRows rows = RowsOf(strip);
    const int mark = static_cast<int>(std::lround(3 * devicePixelRatioF()));
    const int last = monoView_ ? columns_.Channels() : channel + 1;
    for (int x = from; x < to; ++x) {
        const LWaveColumn* column = columns_.At(canvasFirst_ + x);
        for (int c = channel; column && c < std::min(last, columns_.Channels()); ++c) {
            const int high = static_cast<int>(std::floor(rows.Of(1))),
                      low = static_cast<int>(std::ceil(rows.Of(-1)));
            if (column[c].top > 1) painter.fillRect(QRect(x, high, 1, mark), WaveColours().clip);
            if (column[c].bottom < -1) painter.fillRect(QRect(x, low - mark, 1, mark), WaveColours().clip);
        }
    }
}

// --- Samples

// A sample with what the pencil has drawn over it; NaN: not there yet.
float LWaveView::SampleAt(int64_t frame, int channel) const {
    const int64_t at = frame - stroke_.start;
    const auto channels = StrokeChannels();
    if (at >= 0 && at < static_cast<int64_t>(stroke_.samples.size()) / channels) {
        if (document_->channelEditMode != LSoundDocument::kEditsChannel)
            return stroke_.samples[static_cast<size_t>(at * channels + channel)];
        if (channel == document_->editedChannel) return stroke_.samples[static_cast<size_t>(at)];
    }
    const LWaveColumn* column = columns_.At(frame);
    return column && channel < columns_.Channels() ? column[channel].top
                                                   : std::numeric_limits<float>::quiet_NaN();
}

// The middle of a sample stands in the middle of its frame, between the two borders that can be selected.
void LWaveView::PaintCurve(int strip, int channel, int from, int to) {
    const double framesPerColumn = static_cast<double>(range_->Frames()) / canvas_.width();
    const bool curved = framesPerColumn * kCurveFromPixels <= 1;
    const int64_t first = range_->Start() - 1 - kCurveReach;
    const int64_t count = range_->Frames() + 3 + 2 * kCurveReach;
    std::vector<float> samples(static_cast<size_t>(count));
    for (int64_t i = 0; i < count; ++i) samples[static_cast<size_t>(i)] = SampleAt(first + i, channel);
    const LRows rows = RowsOf(strip);
    const auto last = static_cast<double>(range_->Total() - 1);
    const double start = static_cast<double>(range_->Start() - first) - 0.5;
    std::vector<double> line(static_cast<size_t>(2 * (to - from) + 1),
                             std::numeric_limits<double>::quiet_NaN());
    for (int i = 0; i <= 2 * (to - from); ++i) {
        const double at = start + (from + i / 2.0) * framesPerColumn;
        const double inSound = at + static_cast<double>(first);
        const auto whole = static_cast<int64_t>(std::floor(at));
        if (inSound < 0 || inSound > last || whole < kCurveReach - 1 || whole + kCurveReach >= count)
            continue;
        const float* sample = samples.data() + whole;
        const double part = at - static_cast<double>(whole);
        const double value =
            curved ? static_cast<double>(CurveAt(sample, part))
                   : static_cast<double>(sample[0]) * (1 - part) + static_cast<double>(sample[1]) * part;
        line[static_cast<size_t>(i)] = rows.Free(value);
    }
    const QColor colour = WaveColours().waveCore;
    StrokeColumns(canvas_, rows, IsDimmed(channel) ? Dimmed(colour) : colour,
                  kLineWidth * devicePixelRatioF(), line.data(), from, to);
}

void LWaveView::PaintDots(QPainter& painter, int strip, int channel, int from, int to) {
    const double pixels = width() / static_cast<double>(range_->Frames());
    if (pixels < kDotsFromPixels) return;
    const LWaveColours& colours = WaveColours();
    const qreal ratio = devicePixelRatioF();
    const LRows rows = RowsOf(strip);
    const double columnsPerFrame = canvas_.width() / static_cast<double>(range_->Frames());
    const double radius = std::min(3.5, 1.2 + pixels / 12) * ratio;
    const LSelection selection = document_->EditRange();
    const bool dimmed = IsDimmed(channel);
    painter.save();
    painter.setClipRect(QRectF(from, rows.top, to - from, rows.bottom - rows.top));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const int64_t end = std::min(range_->End() + 1, range_->Total());
    for (int64_t frame = std::max<int64_t>(0, range_->Start() - 1); frame < end; ++frame) {
        const float value = SampleAt(frame, channel);
        const double x = (static_cast<double>(frame - range_->Start()) + 0.5) * columnsPerFrame;
        if (std::isnan(value) || x < from - radius || x > to + radius) continue;
        const bool drawn =
            frame >= stroke_.start &&
            frame < stroke_.start + static_cast<int64_t>(stroke_.samples.size()) / StrokeChannels() &&
            channel == strokeChannel_;
        const bool inside = frame >= selection.start && frame < selection.end;
        const QColor colour = drawn ? colours.pencil : inside ? colours.selectedCore : colours.wave;
        painter.setBrush(dimmed ? Dimmed(colour) : colour);
        painter.drawEllipse(QPointF(x, rows.Of(static_cast<double>(value))), radius, radius);
    }
    painter.restore();
}

// --- Marks

// One tick a column at most, however many joints fall on it.
void LWaveView::PaintJoints(QPainter& painter, int from, int to) {
    const LColumnGrid grid = Grid();
    const int tick = static_cast<int>(std::lround(kJointHeight * devicePixelRatioF()));
    const int thick = std::max(1, static_cast<int>(std::lround(devicePixelRatioF())));
    auto joint =
        std::lower_bound(joints_.begin(), joints_.end(), grid.Edge(FirstColumn() + from - thick) - 1);
    while (joint != joints_.end()) {
        const int64_t x = CanvasX(*joint);
        if (x >= to) return;
        for (int strip = 0; strip < Strips(); ++strip) {
            if (IsDimmed(strip)) continue;
            const LRows rows = RowsOf(strip);
            const int top = static_cast<int>(rows.top), bottom = static_cast<int>(rows.bottom);
            painter.fillRect(QRect(static_cast<int>(x), top, thick, tick), WaveColours().joint);
            painter.fillRect(QRect(static_cast<int>(x), bottom - tick, thick, tick), WaveColours().joint);
        }
        const int64_t next = grid.Edge(grid.ColumnOf(*joint) + 1);
        joint = std::upper_bound(joint, joints_.end(), std::max(*joint, next - 1));
    }
}

void LWaveView::PaintMarkers(QPainter& painter) {
    const LWaveColours& colours = WaveColours();
    double before = -10;
    const auto line = [&](int64_t frame, QColor colour) {
        const double x = static_cast<double>(CanvasX(frame)) / devicePixelRatioF();
        if (x < 0 || x >= width() || x == before) return;
        before = x;
        colour.setAlpha(190);
        painter.fillRect(QRectF(x, 0, 1, height()), colour);
    };
    for (const LMarker& marker : Markers()) {
        if (marker.start > range_->End()) break;
        if (marker.kind == LMarkerKind::kBookmark) {
            line(marker.start, colours.bookmark);
            continue;
        }
        line(marker.start, colours.region);
        line(marker.end, colours.region);
        const double from = std::max(0.0, range_->XOf(marker.start, width()));
        const double to = std::min<double>(width(), range_->XOf(marker.end, width()));
        QColor band = colours.region;
        band.setAlpha(120);
        if (from < to) painter.fillRect(QRectF(std::floor(from), 0, std::ceil(to - from), 3), band);
    }
}

void LWaveView::PaintCursor(QPainter& painter) {
    const double x = static_cast<double>(CanvasX(cursor_)) / devicePixelRatioF();
    if (x < -1 || x > width()) return;
    const double at = std::min(x, width() - 1.0);
    if (document_->channelEditMode != LSoundDocument::kEditsChannel || monoView_) {
        painter.fillRect(QRectF(at, 0, 1, height()), WaveColours().cursor);
        return;
    }
    const LStrip strip = StripOf(document_->editedChannel, Strips(), height());
    painter.fillRect(QRectF(at, strip.top, 1, strip.height), WaveColours().cursor);
}

void LWaveView::PaintPlayLine(QPainter& painter) {
    const double x = PlayLineX();
    if (x > -kPlayLineWidth && x < width())
        painter.fillRect(QRectF(x, 0, kPlayLineWidth, height()), WaveColours().played);
}

}  // namespace ondarix
