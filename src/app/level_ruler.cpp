// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/level_ruler.h"

#include <QPainter>
#include <cmath>

#include "app/theme.h"

namespace ondarix {
namespace {

constexpr double kStripGap = 3;
constexpr double kRowsApart = 15;  // least distance of two labels

std::vector<LLevelMark> LinearMarks(double rowsPerUnit, double most) {
    double step = 1;
    for (const double smaller : {0.5, 0.25, 0.1, 0.05, 0.025, 0.01, 0.005, 0.0025, 0.001})
        if (smaller * rowsPerUnit >= 2 * kRowsApart) step = smaller;
    std::vector<LLevelMark> marks;
    const int digits = step >= 1                       ? 1
                       : step >= 0.1 && step != 0.25   ? 1
                       : step >= 0.01 && step != 0.025 ? 2
                                                       : 4;
    for (int n = static_cast<int>(std::floor(most / step + 1e-9)); n > 0; --n)
        marks.push_back({n * step, QString::number(n * step, 'f', digits)});
    return marks;
}

std::vector<LLevelMark> DbMarks(double rowsPerUnit, double most) {
    std::vector<LLevelMark> marks;
    double rowsOfLast = 1e9;
    for (const int db : {0, -1, -2, -3, -6, -9, -12, -18, -24, -30, -36, -42, -48, -60, -72}) {
        const double level = std::pow(10.0, db / 20.0);
        if (level > most + 1e-9 || level * rowsPerUnit > rowsOfLast - kRowsApart) continue;
        if (level * rowsPerUnit < kRowsApart) break;
        marks.push_back({level, QString::number(db)});
        rowsOfLast = level * rowsPerUnit;
    }
    return marks;
}

}  // namespace

LStrip StripOf(int channel, int channels, double height) {
    const int count = std::max(1, channels);
    const double each = std::max(1.0, (height - kStripGap * (count - 1)) / count);
    return {std::round(channel * (each + kStripGap)), std::round(each)};
}

std::vector<LLevelMark> LevelMarks(const LStrip& strip, double zoom, bool inDb) {
    const double rowsPerUnit = strip.HalfSpan() * zoom;
    return inDb ? DbMarks(rowsPerUnit, 1 / zoom) : LinearMarks(rowsPerUnit, 1 / zoom);
}

LLevelRuler::LLevelRuler(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("levelRuler"));
    setAccessibleName(QStringLiteral("Amplitude scale"));
    setAccessibleDescription(QStringLiteral("Levels of the waveform, linear or in decibels"));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
}

void LLevelRuler::Set(int channels, double zoom, bool inDb) {
    channels_ = channels;
    zoom_ = zoom;
    inDb_ = inDb;
    update();
}

void LLevelRuler::paintEvent(QPaintEvent*) {
    const LWaveColours& colours = WaveColours();
    QPainter painter(this);
    painter.fillRect(rect(), colours.rulerBackground);
    QFont small = font();
    small.setPointSizeF(std::max(7.0, small.pointSizeF() - 1.5));
    painter.setFont(small);
    const int tick = width() - 5;
    const auto label = [&](double row, const QString& text) {
        painter.setPen(colours.rulerTick);
        painter.drawLine(QLineF(tick, row, width(), row));
        painter.setPen(colours.rulerText);
        painter.drawText(QRectF(0, row - 8, tick - 3, 16), Qt::AlignRight | Qt::AlignVCenter, text);
    };
    for (int channel = 0; channel < channels_; ++channel) {
        const LStrip strip = StripOf(channel, channels_, height());
        const double top = strip.top + 6, bottom = strip.top + strip.height - 6;
        for (const LLevelMark& mark : LevelMarks(strip, zoom_, inDb_))
            for (const double sign : {-1.0, 1.0}) {
                const double row = strip.Middle() + sign * mark.level * strip.HalfSpan() * zoom_;
                label(std::clamp(row, std::min(top, bottom), std::max(top, bottom)), mark.label);
            }
        label(strip.Middle(), inDb_ ? QStringLiteral("-∞") : QStringLiteral("0"));
    }
}

}  // namespace ondarix
