// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/positions.h"

#include <QStringList>
#include <algorithm>

namespace ondarix {
namespace {

constexpr int64_t kNanosecondsInSecond = 1'000'000'000;

// Plain decimal digits, at least one, of a value no larger than `most`.
std::optional<int64_t> ParseWhole(QStringView digits, int64_t most) {
    if (digits.isEmpty()) return {};
    int64_t value = 0;
    for (const QChar c : digits) {
        if (c < '0' || c > '9') return {};
        value = value * 10 + (c.unicode() - '0');
        if (value > most) return {};
    }
    return value;
}

// "12.5": units and billionths of one. At least one digit on either side of a point that is there; nothing
// before it counts as 0.
struct LDecimal {
    int64_t whole = 0;
    int64_t billionths = 0;
};
std::optional<LDecimal> ParseDecimal(QStringView text, int64_t most) {
    const qsizetype point = text.indexOf('.');
    if (point < 0) {
        const auto whole = ParseWhole(text, most);
        if (!whole) return {};
        return LDecimal{*whole, 0};
    }
    const QStringView before = text.first(point);
    const QStringView after = text.sliced(point + 1);
    const auto whole = before.isEmpty() ? std::optional<int64_t>(0) : ParseWhole(before, most);
    if (!whole || after.isEmpty()) return {};
    LDecimal decimal{*whole, 0};
    int64_t unit = kNanosecondsInSecond;
    for (const QChar c : after) {
        if (c < '0' || c > '9') return {};
        unit /= 10;
        decimal.billionths += unit * (c.unicode() - '0');
    }
    return decimal;
}

std::optional<LPosition> TimeOf(int64_t seconds, int64_t nanoseconds) {
    if (seconds > kMostSeconds) return {};
    LPosition position;
    position.isTime = true;
    position.whole = seconds;
    position.nanoseconds = nanoseconds;
    return position;
}

// "m:ss.f" and "h:mm:ss.f": all but the first field have two digits before the point and stay below 60.
std::optional<LPosition> ParseClock(QStringView text) {
    const QList<QStringView> fields = text.split(':');
    if (fields.size() > 3) return {};
    const auto first = ParseWhole(fields.first(), kMostSeconds);
    const auto last = ParseDecimal(fields.last(), 59);
    const QStringView lastWhole = fields.last().split('.').first();
    if (!first || !last || lastWhole.size() != 2) return {};
    int64_t minutes = *first;
    if (fields.size() == 3) {
        const auto middle = ParseWhole(fields[1], 59);
        if (!middle || fields[1].size() != 2) return {};
        minutes = *first * 60 + *middle;
    }
    return TimeOf(minutes * 60 + last->whole, last->billionths);
}

std::optional<LPosition> ParseMagnitude(QStringView text) {
    if (text.contains(':')) return ParseClock(text);
    if (text.endsWith(QLatin1String("ms"))) {
        const auto value = ParseDecimal(text.chopped(2), kMostSeconds * 1000);
        if (!value) return {};
        return TimeOf(value->whole / 1000, value->whole % 1000 * 1'000'000 + value->billionths / 1000);
    }
    if (text.endsWith('s')) {
        const auto value = ParseDecimal(text.chopped(1), kMostSeconds);
        if (!value) return {};
        return TimeOf(value->whole, value->billionths);
    }
    const auto frames = ParseWhole(text, kMostFrames);
    if (!frames) return {};
    LPosition position;
    position.whole = *frames;
    return position;
}

}  // namespace

int64_t LPosition::Resolve(int64_t length, int32_t rate) const {
    int64_t frames = whole;
    if (isTime) {
        frames = whole * rate + (nanoseconds * rate + kNanosecondsInSecond / 2) / kNanosecondsInSecond;
    }
    return (fromEnd ? length : 0) + (negative ? -frames : frames);
}

std::optional<LPosition> ParsePosition(const QString& text) {
    QStringView rest(text);
    const bool fromEnd = rest.startsWith(QLatin1String("end"));
    if (fromEnd) {
        rest = rest.sliced(3);
        if (rest.isEmpty()) {
            LPosition position;
            position.fromEnd = true;
            return position;
        }
        if (rest[0] != '-' && rest[0] != '+') return {};
    }
    const bool negative = rest.startsWith('-');
    if (negative || (fromEnd && rest.startsWith('+'))) rest = rest.sliced(1);
    auto position = ParseMagnitude(rest);
    if (position) {
        position->fromEnd = fromEnd;
        position->negative = negative;
    }
    return position;
}

QString TimeText(int64_t frames, int64_t rate) {
    const int64_t perSecond = std::max<int64_t>(rate, 1);
    const int64_t ms = frames / perSecond * 1000 + (frames % perSecond * 1000 + perSecond / 2) / perSecond;
    const QChar zero('0');
    return QString("%1:%2:%3.%4")
        .arg(ms / 3'600'000)
        .arg(ms / 60'000 % 60, 2, 10, zero)
        .arg(ms / 1000 % 60, 2, 10, zero)
        .arg(ms % 1000, 3, 10, zero);
}

}  // namespace ondarix
