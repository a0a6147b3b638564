// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/text.h"

namespace ondarix {

QString CutToFixedText(const QString& text) {
    if (text.size() <= kFixedTextLength) return text;
    const bool splitsPair = text.at(kFixedTextLength - 1).isHighSurrogate();
    return text.left(splitsPair ? kFixedTextLength - 1 : kFixedTextLength);
}

QString LowerExtension(const QString& path) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    if (dot <= slash + 1 || dot == path.size() - 1) return {};
    return path.mid(dot).toLower();
}

}  // namespace ondarix
