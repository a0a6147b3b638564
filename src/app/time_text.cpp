// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/time_text.h"

#include <QLocale>
#include <iterator>

namespace ondarix {
namespace {

QString ClockText(int64_t seconds, bool withHours) {
    const int64_t hours = seconds / 3600;
    if (!withHours && hours == 0)
        return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1:%2:%3")
        .arg(hours)
        .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

}  // namespace

QString TimeText(int64_t frame, int32_t sampleRate) {
    const int64_t rate = sampleRate < 1 ? 44100 : sampleRate;
    const int64_t magnitude = frame < 0 ? -frame : frame;
    const int64_t ms = magnitude / rate * 1000 + (magnitude % rate * 1000 + rate / 2) / rate;
    return QStringLiteral("%1%2.%3")
        .arg(frame < 0 && ms > 0 ? QStringLiteral("-") : QString(), ClockText(ms / 1000, true))
        .arg(ms % 1000, 3, 10, QLatin1Char('0'));
}

LTimeStep TimeStepFor(double seconds) {
    static constexpr struct {
        int64_t units;
        int minorParts;
    } kParts[] = {{1, 5}, {2, 4}, {5, 5}},
      kClock[] = {{1, 5},    {2, 4},    {5, 5},     {10, 5},    {15, 3},    {30, 6},
                  {60, 6},   {120, 4},  {300, 5},   {600, 5},   {900, 3},   {1800, 6},
                  {3600, 6}, {7200, 4}, {14400, 4}, {21600, 6}, {43200, 6}, {86400, 4}};
    for (int64_t perSecond = 1000000; perSecond > 1; perSecond /= 10)
        for (const auto& part : kParts) {
            const LTimeStep step{part.units, perSecond, part.minorParts};
            if (step.Seconds() >= seconds) return step;
        }
    for (const auto& clock : kClock)
        if (static_cast<double>(clock.units) >= seconds) return {clock.units, 1, clock.minorParts};
    return {static_cast<int64_t>(seconds / 86400 + 1) * 86400, 1, 4};
}

QString TimeStepLabel(const LTimeStep& step, int64_t n) {
    const int64_t units = n * step.units;
    QString text = ClockText(units / step.perSecond, false);
    int digits = 0;
    for (int64_t p = step.perSecond; p > 1; p /= 10) ++digits;
    if (digits > 0) text += QStringLiteral(".%1").arg(units % step.perSecond, digits, 10, QLatin1Char('0'));
    return text;
}

QString RateText(int32_t sampleRate) { return QStringLiteral("%1 Hz").arg(sampleRate); }

QString ChannelsText(int channels) {
    switch (channels) {
        case 1:
            return QStringLiteral("Mono");
        case 2:
            return QStringLiteral("Stereo");
        default:
            return QStringLiteral("%1 channels").arg(channels);
    }
}

QString BytesText(int64_t bytes) {
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeTraditionalFormat);
}

}  // namespace ondarix
