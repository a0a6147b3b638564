// SPDX-License-Identifier: GPL-3.0-or-later
// Pixels of a waveform, straight into an image: one column of the image is one column of the sound.
#pragma once
#include <QColor>
#include <QImage>
#include <vector>

namespace ondarix {

// Rows of one strip, in pixels of the image.
struct LRows {
    double middle = 0, perUnit = 1, top = 0, bottom = 0;
    double Of(double value) const;  // kept inside the strip
    double Free(double value) const { return middle - value * perUnit; }
};

// A bar from row `from` to the row before `to`; none where both are equal.
struct LBar {
    int from = 0, to = 0;
};

// Colours of a strip's rows, from `core` at the middle to `outer`.
std::vector<QRgb> RowColours(const LRows& rows, const QColor& outer, const QColor& core);
// bars[x - from] in the columns [from, to) of the image; colours[y - top row of the strip].
void FillBars(QImage& image, const LRows& rows, const std::vector<QRgb>& colours, const LBar* bars, int from,
              int to);
// A line `width` pixels wide through the points (x, ys[2 * (x - from)]) and (x + 0.5, ys[2 * (x - from) +
// 1]), with soft edges; 2 * (to - from) + 1 rows. NaN: no line there.
void StrokeColumns(QImage& image, const LRows& rows, const QColor& colour, double width, const double* ys,
                   int from, int to);
// Moves what the image shows to the left by `by` columns, negative: to the right. What enters is as it was.
void ShiftColumns(QImage& image, int by);

}  // namespace ondarix
