// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/wave_view_canvas.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ondarix {
namespace {

QRgb Between(QRgb a, QRgb b, double part) {
    const auto mix = [part](int from, int to) {
        return static_cast<int>(std::lround(from + (to - from) * part));
    };
    return qRgb(mix(qRed(a), qRed(b)), mix(qGreen(a), qGreen(b)), mix(qBlue(a), qBlue(b)));
}

}  // namespace

double LRows::Of(double value) const { return std::clamp(Free(value), top, bottom); }

std::vector<QRgb> RowColours(const LRows& rows, const QColor& outer, const QColor& core) {
    const int first = static_cast<int>(std::floor(rows.top)), last = static_cast<int>(std::ceil(rows.bottom));
    std::vector<QRgb> colours(static_cast<size_t>(std::max(0, last - first)));
    const double half = std::max(1.0, (rows.bottom - rows.top) / 2);
    for (size_t i = 0; i < colours.size(); ++i) {
        const double away = std::fabs(first + static_cast<double>(i) + 0.5 - rows.middle) / half;
        colours[i] = Between(core.rgb(), outer.rgb(), std::clamp(away / 0.7, 0.0, 1.0));
    }
    return colours;
}

void FillBars(QImage& image, const LRows& rows, const std::vector<QRgb>& colours, const LBar* bars, int from,
              int to) {
    if (from >= to) return;
    int first = image.height(), last = 0;
    for (int i = 0; i < to - from; ++i) {
        first = std::min(first, bars[i].from);
        last = std::max(last, bars[i].to);
    }
    const int strip = static_cast<int>(std::floor(rows.top));
    first = std::max({first, strip, 0});
    last = std::min({last, strip + static_cast<int>(colours.size()), image.height()});
    for (int y = first; y < last; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y)) + from;
        const QRgb colour = colours[static_cast<size_t>(y - strip)];
        for (int i = 0; i < to - from; ++i)
            if (y >= bars[i].from && y < bars[i].to) line[i] = colour;
    }
}

void StrokeColumns(QImage& image, const LRows& rows, const QColor& colour, double width, const double* ys,
                   int from, int to) {
    const QRgb rgb = colour.rgb();
    const double top = std::max(0.0, rows.top), bottom = std::min<double>(image.height(), rows.bottom);
    const auto stride = static_cast<size_t>(image.bytesPerLine()) / sizeof(QRgb);
    auto* pixels = reinterpret_cast<QRgb*>(image.bits());
    for (int x = from; x < to; ++x, ys += 2) {
        const double high = std::min({ys[0], ys[1], ys[2]}), low = std::max({ys[0], ys[1], ys[2]});
        if (!(high <= low)) continue;
        // Seen from above, a sloping line is higher than it is wide.
        const double slope = std::min(low - high, 3.0);
        const double half = width / 2 * std::sqrt(1 + slope * slope) - slope / 2;
        const double begin = std::max(top, high - std::max(half, width / 4));
        const double end = std::min(bottom, low + std::max(half, width / 4));
        for (int y = static_cast<int>(begin); y < end; ++y) {
            const double covered = std::min(end, y + 1.0) - std::max(begin, static_cast<double>(y));
            QRgb& pixel = pixels[static_cast<size_t>(y) * stride + static_cast<size_t>(x)];
            pixel = covered >= 1 ? rgb : Between(pixel, rgb, covered);
        }
    }
}

void ShiftColumns(QImage& image, int by) {
    const int kept = image.width() - std::abs(by);
    if (kept <= 0) return;
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        std::memmove(line + std::max(0, -by), line + std::max(0, by),
                     static_cast<size_t>(kept) * sizeof(QRgb));
    }
}

}  // namespace ondarix
