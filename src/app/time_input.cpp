// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/time_input.h"

#include <QStringList>

namespace ondarix {
namespace {

constexpr int64_t kInputBillion = 1'000'000'000;
constexpr int64_t kMostInputSeconds = kInputBillion;

struct LTypedDecimal {
    int64_t whole = 0;
    int64_t billionths = 0;
};

bool IsDigits(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

// "12", "12.5", ".5", "12."; digits beyond the billionth are dropped.
std::optional<LTypedDecimal> ParseTypedDecimal(const QString& text, int64_t most) {
    const QStringList parts = text.split(u'.');
    if (parts.size() > 2 || !IsDigits(parts[0]) || !IsDigits(parts.value(1))) return {};
    if (parts[0].isEmpty() && parts.value(1).isEmpty()) return {};
    LTypedDecimal decimal;
    for (const QChar c : parts[0]) {
        decimal.whole = decimal.whole * 10 + (c.unicode() - u'0');
        if (decimal.whole > most) return {};
    }
    decimal.billionths = parts.value(1).leftJustified(9, u'0', true).toLongLong();
    return decimal;
}

std::optional<LTypedDecimal> ParseTypedClock(const QString& text) {
    const QStringList fields = text.split(u':');
    if (fields.size() > 3) return {};
    LTypedDecimal time;
    for (qsizetype i = 0; i < fields.size(); ++i) {
        const bool last = i + 1 == fields.size();
        const auto field = ParseTypedDecimal(fields[i], i == 0 ? kMostInputSeconds : 59);
        if (!field || (!last && fields[i].contains(u'.')) || (i > 0 && fields[i].startsWith(u'.'))) return {};
        time.whole = time.whole * 60 + field->whole;
        time.billionths = field->billionths;
    }
    return time;
}

// A unit at the end, taken off.
bool TakeUnit(QString& text, const QStringList& units) {
    for (const QString& unit : units)
        if (text.endsWith(unit)) {
            text.chop(unit.size());
            return true;
        }
    return false;
}

std::optional<int64_t> WithinLimit(int64_t frames) {
    return frames <= kMostInputFrames ? std::optional(frames) : std::nullopt;
}

}  // namespace

std::optional<int64_t> ParseTimeInput(const QString& text, int32_t sampleRate) {
    QString rest = text.toLower();
    rest.remove(u' ').remove(QChar::Nbsp).replace(u',', u'.');
    if (sampleRate < 1) return {};
    if (TakeUnit(rest, {QStringLiteral("frames"), QStringLiteral("frame")})) {
        const auto frames = ParseTypedDecimal(rest, kMostInputFrames);
        return frames && !rest.contains(u'.') ? std::optional(frames->whole) : std::nullopt;
    }
    std::optional<LTypedDecimal> time;
    if (rest.contains(u':')) {
        time = ParseTypedClock(rest);
    } else if (TakeUnit(rest, {QStringLiteral("ms")})) {
        time = ParseTypedDecimal(rest, kMostInputSeconds * 1000);
        if (time) *time = {time->whole / 1000, time->whole % 1000 * 1'000'000 + time->billionths / 1000};
    } else {
        TakeUnit(rest, {QStringLiteral("s")});
        time = ParseTypedDecimal(rest, kMostInputSeconds);
    }
    if (!time || time->whole > kMostInputSeconds) return {};
    return WithinLimit(time->whole * sampleRate +
                       (time->billionths * sampleRate + kInputBillion / 2) / kInputBillion);
}

QString TimeInputText(int64_t frames, int32_t sampleRate) {
    const int64_t rate = std::max(sampleRate, 1);
    int64_t power = 1;
    for (const int digits : {3, 6, 9}) {
        power *= 1000;
        int64_t seconds = frames / rate;
        int64_t parts = (frames % rate * power + rate / 2) / rate;
        if (parts == power) {
            ++seconds;
            parts = 0;
        }
        QString text = QStringLiteral("%1:%2:%3.%4")
                           .arg(seconds / 3600)
                           .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
                           .arg(seconds % 60, 2, 10, QLatin1Char('0'))
                           .arg(parts, digits, 10, QLatin1Char('0'));
        if (digits == 9 || ParseTimeInput(text, sampleRate) == frames) return text;
    }
    return {};
}

QString FramesInputText(int64_t frames) { return QStringLiteral("%1 frames").arg(frames); }

QValidator::State LTimeValidator::validate(QString& text, int&) const {
    if (ParseTimeInput(text, sampleRate_)) return Acceptable;
    static const QString kTyped = QStringLiteral("0123456789.,: \u00a0msframe");
    for (const QChar c : text.toLower())
        if (!kTyped.contains(c)) return Invalid;
    return Intermediate;
}

LTimeEdit::LTimeEdit(int32_t sampleRate, int64_t least, int64_t most, QWidget* parent)
    : QLineEdit(parent), sampleRate_(sampleRate), least_(least), most_(most) {
    setValidator(new LTimeValidator(sampleRate, this));
    setToolTip(QString::fromUtf8(kTimeInputHelp));
    setAccessibleDescription(QString::fromUtf8(kTimeInputHelp));
}

QString LTimeEdit::TextOf(int64_t frames) const {
    return showsFrames_ ? FramesInputText(frames) : TimeInputText(frames, sampleRate_);
}

void LTimeEdit::SetFrames(int64_t frames) { setText(TextOf(std::clamp(frames, least_, most_))); }

void LTimeEdit::ShowFrames(bool frames) {
    const auto value = Frames();
    showsFrames_ = frames;
    if (value) setText(TextOf(*value));
}

QString LTimeEdit::Refusal() const {
    const auto frames = Frames();
    if (!frames) return QString::fromUtf8(kTimeInputHelp);
    if (*frames >= least_ && *frames <= most_) return {};
    if (*frames < least_) return QStringLiteral("The time must be at least %1.").arg(TextOf(least_));
    return QStringLiteral("The time must be at most %1.").arg(TextOf(most_));
}

}  // namespace ondarix
