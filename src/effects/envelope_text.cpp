// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/envelope_text.h"

#include <QLocale>
#include <QRegularExpression>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <optional>

namespace ondarix {
namespace {

constexpr qsizetype kMostPoints = 100'000;

int64_t Near(int64_t frames) {
    return std::clamp(frames, -LEnvelopePlace::kFarthest, LEnvelopePlace::kFarthest);
}

int64_t NearestFrame(double frames) {
    constexpr auto kMost = static_cast<double>(LEnvelopePlace::kFarthest);
    return std::isnan(frames) ? 0 : std::llround(std::clamp(frames, -kMost, kMost));
}

// One term of a place, without its sign.
bool AddTerm(const QString& term, bool isNegative, LEnvelopePlace& place) {
    const double sign = isNegative ? -1 : 1;
    if (term == QLatin1String("end")) {
        place.share += sign;
        return true;
    }
    bool isNumber = false;
    if (term.back().isDigit() && !term.contains(QLatin1Char('.'))) {
        const qlonglong frames = QLocale::c().toLongLong(term, &isNumber);
        if (isNumber) place.frames = Near(place.frames + (isNegative ? -Near(frames) : Near(frames)));
        return isNumber;
    }
    const auto before = [&](qsizetype unit, const char* scale = "") {
        return QLocale::c().toDouble(term.chopped(unit) + QLatin1String(scale), &isNumber);
    };
    if (term.endsWith(QLatin1String("ms")))
        place.seconds += sign * before(2, "e-3");
    else if (term.endsWith(QLatin1Char('s')))
        place.seconds += sign * before(1);
    else if (term.endsWith(QLatin1Char('%')))
        place.share += sign * before(1, "e-2");
    return isNumber;
}

bool ReadPlace(const QString& text, LEnvelopePlace& place) {
    static const QRegularExpression whole(
        QStringLiteral("^[+-]?(end|[0-9.]+(ms|s|%)?)"
                       "([+-](end|[0-9.]+(ms|s|%)?))*$"));
    static const QRegularExpression term(QStringLiteral("([+-]?)(end|[0-9.]+(?:ms|s|%)?)"));
    const QString plain = QString(text).remove(QLatin1Char(' ')).toLower();
    if (!whole.match(plain).hasMatch()) return false;
    for (auto found = term.globalMatch(plain); found.hasNext();) {
        const auto match = found.next();
        if (!AddTerm(match.captured(2), match.captured(1) == QLatin1String("-"), place)) return false;
    }
    return std::isfinite(place.seconds) && std::isfinite(place.share);
}

std::optional<float> ReadGain(const QString& text) {
    QString word = text.trimmed().toLower();
    const bool isDb = word.endsWith(QLatin1String("db")), isPercent = word.endsWith(QLatin1Char('%'));
    if (isDb || isPercent) word = word.chopped(isDb ? 2 : 1).trimmed();
    if (isDb && word == QLatin1String("-inf")) return 0.0f;
    bool isNumber = false;
    double gain = QLocale::c().toDouble(word, &isNumber);
    if (isDb) gain = std::pow(10.0, gain / 20);
    if (isPercent) gain /= 100;
    if (!isNumber || !(gain >= 0 && gain <= LEnvelopePlace::kMostGain)) return std::nullopt;
    return static_cast<float>(gain);
}

QString ShortNumber(double value) {
    return QLocale::c().toString(value, 'f', QLocale::FloatingPointShortest);
}

// The decimal point is moved in the text: a product with 100 would round, and not always back.
QString SharePercent(double share) {
    QString text = ShortNumber(std::fabs(share));
    qsizetype point = text.indexOf(QLatin1Char('.'));
    if (point < 0) point = text.size();
    text = text.remove(QLatin1Char('.')).leftJustified(point + 2, QLatin1Char('0'));
    if (text.size() > point + 2) text.insert(point + 2, QLatin1Char('.'));
    while (text.size() > 1 && text[0] == QLatin1Char('0') && text[1].isDigit()) text.remove(0, 1);
    return (share < 0 ? QStringLiteral("-") : QString()) + text + u'%';
}

QString PlaceText(const LEnvelopePlace& place) {
    QString text;
    const auto add = [&text](const QString& term) {
        if (!text.isEmpty() && !term.startsWith(QLatin1Char('-'))) text += u'+';
        text += term;
    };
    if (place.share != 0) add(place.share == 1 ? QStringLiteral("end") : SharePercent(place.share));
    if (place.seconds != 0) add(ShortNumber(place.seconds) + u's');
    if (place.frames != 0 || text.isEmpty()) add(QString::number(place.frames));
    return text;
}

}  // namespace

int64_t LEnvelopePlace::FrameIn(int64_t rate, int64_t length) const {
    const int64_t bySeconds = NearestFrame(seconds * static_cast<double>(rate));
    const int64_t byShare = share == 1 ? Near(length) : NearestFrame(share * static_cast<double>(length));
    return Near(Near(Near(frames) + byShare) + bySeconds);
}

QString ParseEnvelope(const QString& text, std::vector<LEnvelopePlace>& out) {
    std::vector<LEnvelopePlace> places;
    const QStringList points = text.split(QLatin1Char(','));
    if (points.size() > kMostPoints) return QStringLiteral("points: more than %1").arg(kMostPoints);
    for (const QString& point : points) {
        const qsizetype colon = point.indexOf(QLatin1Char(':'));
        LEnvelopePlace place;
        if (colon < 0 || !ReadPlace(point.left(colon), place))
            return QStringLiteral(
                       "points: \"%1\" is no PLACE:GAIN; a place is like 1000, 1.5s, 50% or end-200ms")
                .arg(point.trimmed());
        const auto gain = ReadGain(point.mid(colon + 1));
        if (!gain)
            return QStringLiteral("points: \"%1\" is no gain; gains are like 0.5, 50% or -6dB, up to %2")
                .arg(point.mid(colon + 1).trimmed())
                .arg(static_cast<double>(LEnvelopePlace::kMostGain));
        place.gain = *gain;
        places.push_back(place);
    }
    out = std::move(places);
    return {};
}

QString EnvelopeText(const std::vector<LEnvelopePlace>& places) {
    QStringList points;
    for (const LEnvelopePlace& place : places)
        points +=
            PlaceText(place) + u':' + QLocale::c().toString(place.gain, 'f', QLocale::FloatingPointShortest);
    return points.join(QLatin1Char(','));
}

}  // namespace ondarix
