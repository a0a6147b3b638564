// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/level_meter.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <cmath>

#include "app/theme.h"

namespace ondarix {
namespace {

constexpr int kTickMs = 34;  // a little less than 30 a second
constexpr int kLampWidth = 8, kLampGap = 3, kHoldWidth = 2, kRowGap = 1;
constexpr double kScaleFont = 0.72;  // of the widget's
constexpr int kNarrow = 150;         // pixels, below which only some levels are labelled

struct LMeterZone {
    double fromDb;
    QRgb light, dark;
};
constexpr LMeterZone kZones[] = {
    {kMeterFloorDb, 0xff2a9d6f, 0xff3dbb85},
    {-12, 0xffd9a400, 0xffe8bb32},
    {-3, 0xffd9722b, 0xfff08a45},
    {0, 0xffd93a2b, 0xffff5a4e},
};
constexpr int kLabels[] = {-60, -48, -36, -24, -12, -6, 0};
constexpr int kFewLabels[] = {-60, -24, 0};

QColor ZoneColour(const LMeterZone& zone) { return QColor::fromRgb(IsDarkTheme() ? zone.dark : zone.light); }

QColor Mixed(const QColor& one, const QColor& other, double part) {
    const auto mix = [part](int a, int b) {
        return static_cast<int>(std::lround(a * part + b * (1 - part)));
    };
    return {mix(one.red(), other.red()), mix(one.green(), other.green()), mix(one.blue(), other.blue())};
}

}  // namespace

LLevelMeter::LLevelMeter(QWidget* parent) : QWidget(parent) {
    InstallSpokenValues();
    setObjectName(QStringLiteral("levelMeter"));
    setAccessibleName(QStringLiteral("Level"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * kScaleFont);
    setFont(small);
    timer_.setInterval(kTickMs);
    connect(&timer_, &QTimer::timeout, this, &LLevelMeter::Tick);
}

void LLevelMeter::SetLevels(const LLevelBytes& levels) {
    ballistics_.Put(levels);
    if (timer_.isActive()) return;
    Refresh();
    if (!ballistics_.Advance(0)) return;
    clock_.start();
    timer_.start();
}

void LLevelMeter::Tick() {
    if (!ballistics_.Advance(static_cast<double>(clock_.nsecsElapsed()) * 1e-9)) timer_.stop();
    clock_.start();
    Refresh();
}

void LLevelMeter::ResetClipped() {
    ballistics_.ResetClipped();
    Refresh();
}

// Asks for what is not shown as it is now.
void LLevelMeter::Refresh() {
    if (shownRows_ != ballistics_.Rows()) {
        shownRows_ = ballistics_.Rows();
        Forget();
    }
    for (int row = 0; row < shownRows_; ++row) {
        LShown& shown = shown_[static_cast<size_t>(row)];
        const LShown now{XOf(ballistics_.BarDb(row)), XOf(ballistics_.HoldDb(row))};
        if (now == shown) continue;
        QRect changed = Row(row);
        const int left = changed.left();
        const auto ask = [&](int from, int to) {
            if (from == to) return;
            changed.setLeft(left + std::min(from, to) - kHoldWidth);
            changed.setRight(left + std::max(from, to) + kHoldWidth);
            update(changed);
        };
        ask(shown.bar, now.bar);
        ask(shown.hold, now.hold);
        shown = now;
    }
    if (shownClipped_ == ballistics_.HasClipped()) return;
    shownClipped_ = ballistics_.HasClipped();
    update(Lamp());
}

void LLevelMeter::Forget() {
    lit_ = unlit_ = {};
    for (int row = 0; row < shownRows_; ++row)
        shown_[static_cast<size_t>(row)] = {XOf(ballistics_.BarDb(row)), XOf(ballistics_.HoldDb(row))};
    update();
}

// --- Places

QRect LLevelMeter::Bars() const {
    const int scale = fontMetrics().height();
    return {1, 2, std::max(1, width() - 2 - kLampWidth - kLampGap),
            std::max(kMeterRows, height() - scale - 3)};
}

QRect LLevelMeter::Lamp() const {
    const QRect bars = Bars();
    return {bars.right() + 1 + kLampGap, bars.top(), kLampWidth, bars.height()};
}

QRect LLevelMeter::Row(int row) const {
    const QRect bars = Bars();
    const int rows = ballistics_.Rows();
    const int top = bars.height() * row / rows, bottom = bars.height() * (row + 1) / rows;
    return {bars.left(), bars.top() + top, bars.width(), std::max(1, bottom - top - kRowGap)};
}

int LLevelMeter::XOf(double db) const {
    const double part = (db - kMeterFloorDb) / (kMeterTopDb - kMeterFloorDb);
    return static_cast<int>(std::lround(std::clamp(part, 0.0, 1.0) * Bars().width()));
}

// --- Painting

// All bars, wholly lit or wholly dark.
QPixmap LLevelMeter::Draw(bool lit) const {
    const qreal ratio = devicePixelRatioF();
    QPixmap drawn(size() * ratio);
    drawn.setDevicePixelRatio(ratio);
    drawn.fill(palette().color(QPalette::Window));
    QPainter painter(&drawn);
    const QColor ground = palette().color(QPalette::Mid);
    for (int row = 0; row < ballistics_.Rows(); ++row) {
        QRect bar = Row(row);
        for (const LMeterZone& zone : kZones) {
            bar.setLeft(Row(row).left() + XOf(zone.fromDb));
            painter.fillRect(bar, lit ? ZoneColour(zone) : Mixed(ZoneColour(zone), ground, 0.16));
        }
    }
    if (!lit) PaintScale(painter);
    return drawn;
}

void LLevelMeter::PaintScale(QPainter& painter) const {
    painter.setFont(font());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    const QRect bars = Bars();
    const int top = bars.bottom() + 2;
    const auto label = [&](int db) {
        const QString text = QString::number(db);
        const int width = painter.fontMetrics().horizontalAdvance(text);
        const int x = std::clamp(bars.left() + XOf(db) - width / 2, 0, std::max(0, this->width() - width));
        painter.drawLine(bars.left() + XOf(db), top - 1, bars.left() + XOf(db), top);
        painter.drawText(QRect(x, top, width + 1, height() - top), Qt::AlignLeft | Qt::AlignVCenter, text);
    };
    if (bars.width() < kNarrow)
        for (const int db : kFewLabels) label(db);
    else
        for (const int db : kLabels) label(db);
}

void LLevelMeter::paintEvent(QPaintEvent* event) {
    if (lit_.isNull() || lit_.devicePixelRatio() != devicePixelRatioF()) {
        lit_ = Draw(true);
        unlit_ = Draw(false);
    }
    QPainter painter(this);
    painter.setClipRegion(event->region());
    painter.drawPixmap(0, 0, unlit_);
    const qreal ratio = lit_.devicePixelRatio();
    const auto light = [&](const QRect& part) {
        const QRectF from(QPointF(part.topLeft()) * ratio, QSizeF(part.size()) * ratio);
        if (!part.isEmpty()) painter.drawPixmap(QRectF(part), lit_, from);
    };
    for (int row = 0; row < shownRows_; ++row) {
        const LShown& shown = shown_[static_cast<size_t>(row)];
        const QRect whole = Row(row);
        light({whole.left(), whole.top(), shown.bar, whole.height()});
        if (shown.hold > kHoldWidth)
            light({whole.left() + shown.hold - kHoldWidth, whole.top(), kHoldWidth, whole.height()});
    }
    const QColor red = ZoneColour(*(std::end(kZones) - 1));
    painter.fillRect(Lamp(), shownClipped_ ? red : Mixed(red, palette().color(QPalette::Mid), 0.16));
}

// --- Events

void LLevelMeter::resizeEvent(QResizeEvent*) { Forget(); }

void LLevelMeter::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) Forget();
    QWidget::changeEvent(event);
}

void LLevelMeter::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !ballistics_.HasClipped()) return event->ignore();
    ResetClipped();
    Q_EMIT ClippedReset();
}

bool LLevelMeter::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return QWidget::event(event);
    const QString tip = QStringLiteral("Level: %1").arg(SpokenValue());
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                       ballistics_.HasClipped() ? tip + QStringLiteral(". Click to reset warning.") : tip,
                       this);
    return true;
}

QString LLevelMeter::SpokenValue() const {
    QStringList levels;
    for (int row = 0; row < ballistics_.Rows(); ++row) {
        const double db = ballistics_.BarDb(row);
        levels.append(db > kMeterFloorDb ? QStringLiteral("%1 dB").arg(std::lround(db))
                                         : QStringLiteral("silent"));
    }
    levels.removeDuplicates();
    const QString all = levels.join(QStringLiteral(", "));
    return ballistics_.HasClipped() ? all + QStringLiteral("; peaks have been limited") : all;
}

}  // namespace ondarix
