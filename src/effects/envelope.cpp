// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/envelope.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "dsp/envelope.h"
#include "dsp/gain.h"
#include "effects/fades.h"
#include "effects/filter.h"

namespace ondarix {
namespace {

constexpr LParamRow<LEnvelopeParams> kEnvelopeRows[] = {
    {"interpolation", "Interpolation", &LEnvelopeParams::interpolation, 0, 3, "", "EnvInterPolation",
     kCurveNames},
};
constexpr int kGainChunk = 1024;  // frames

class LEnvelopeFilter final : public LSoundFilter {
  public:
    LEnvelopeFilter(LSoundSourceRef source, std::vector<LEnvelopePoint> points, LCurve curve)
        : LSoundFilter(std::move(source)), points_(std::move(points)), curve_(curve) {
        float most = 0;
        for (const LEnvelopePoint& point : points_) most = std::max(most, point.gain);
        peak *= most;
    }

  protected:
    void Process(float* block, int32_t frames, int64_t position) override {
        for (int64_t left = frames; left > 0;) {
            const auto next =
                std::upper_bound(points_.begin(), points_.end(), position,
                                 [](int64_t at, const LEnvelopePoint& point) { return at < point.frame; });
            const int64_t piece = next == points_.end() ? left : std::min(left, next->frame - position);
            if (next == points_.begin() || next == points_.end())
                Hold(block, piece, next == points_.begin() ? next->gain : points_.back().gain);
            else
                Follow(block, piece, position, static_cast<size_t>(next - points_.begin()) - 1);
            block += piece * channels;
            position += piece;
            left -= piece;
        }
    }

  private:
    void Hold(float* block, int64_t frames, float gain) const {
        if (gain != 1.0f) ScaleSamples(block, frames * channels, gain);
    }

    void Follow(float* block, int64_t frames, int64_t position, size_t index) {
        const LEnvelopePoint &from = points_[index], &to = points_[index + 1];
        if (from.gain == to.gain) return Hold(block, frames, from.gain);
        if (index != segmentIndex_)
            segment_ = LCurveSegment(curve_, from.gain, to.gain, to.frame - from.frame);
        segmentIndex_ = index;
        float gains[kGainChunk];
        while (frames > 0) {
            const auto piece = static_cast<int>(std::min<int64_t>(kGainChunk, frames));
            CurveGains(segment_, position - from.frame, piece, gains);
            ScaleFrames(block, piece, channels, gains);
            block += int64_t{piece} * channels;
            position += piece;
            frames -= piece;
        }
    }

    std::vector<LEnvelopePoint> points_;
    LCurve curve_;
    size_t segmentIndex_ = SIZE_MAX;
    LCurveSegment segment_;
};

template <typename Effect>
std::unique_ptr<LEffect> MakeCurve() {
    return std::make_unique<Effect>();
}

constexpr LEffectRow kCurveRows[] = {
    {0, "fade-in", "Fade In", "Fade In", 4006, kEffectPlain, "Effects", &MakeCurve<LFadeInEffect>,
     "Let the sound begin from silence"},
    {0, "fade-out", "Fade Out", "Fade Out", 4007, kEffectPlain, "Effects", &MakeCurve<LFadeOutEffect>,
     "Let the sound end in silence"},
    {0, "envelope", "Envelope", "Envelope", 4012, kEffectOwnDialog, "Settings", &MakeCurve<LEnvelopeEffect>,
     "Let the level follow a curve through points"},
};

}  // namespace

std::span<const LEffectRow> EnvelopeEffectRows() { return kCurveRows; }

std::span<const LParamRow<LEnvelopeParams>> LEnvelopeEffect::Rows() { return kEnvelopeRows; }

LEnvelopeEffect::LEnvelopeEffect() : places_(2) { places_[1].share = 1; }

void LEnvelopeEffect::SetDefaults() { *this = LEnvelopeEffect(); }

QString LEnvelopeEffect::PresetText() const {
    return QString::number(params.interpolation.index) + u' ' + EnvelopeText(places_);
}

bool LEnvelopeEffect::SetPresetText(const QString& text) {
    const qsizetype blank = text.indexOf(QLatin1Char(' '));
    bool isNumber = false;
    const int interpolation = text.left(std::max<qsizetype>(blank, 0)).toInt(&isNumber);
    if (!isNumber || !ParseEnvelope(text.mid(blank + 1), places_).isEmpty()) return false;
    SetParameter(0, interpolation);
    return true;
}

QString LEnvelopeEffect::SetOption(const QString& name, const QString& value) {
    if (name.compare(QLatin1String("points"), Qt::CaseInsensitive) == 0) return ParseEnvelope(value, places_);
    if (name.compare(QLatin1String(kEnvelopeRows[0].id), Qt::CaseInsensitive) != 0)
        return QStringLiteral("\"%1\" is no parameter; there are %2, points")
            .arg(name, QLatin1String(kEnvelopeRows[0].id));
    return LTableEffect::SetOption(name, value);
}

std::vector<LEffectOption> LEnvelopeEffect::GetOptions() const {
    return {{QStringLiteral("points"), EnvelopeText(places_),
             QStringLiteral("places and gains: 0:100%,1.5s:0.5,50%:-6dB,end-200ms:0dB,end:0")}};
}

void LEnvelopeEffect::SetPoints(const std::vector<LEnvelopePoint>& points, int64_t length) {
    std::vector<LEnvelopePlace> places;
    for (const LEnvelopePoint& point : points) {
        LEnvelopePlace place{.gain = point.gain};
        if (length > 0)
            place.share = static_cast<double>(point.frame) / static_cast<double>(length);
        else
            place.frames = point.frame;
        places.push_back(place);
    }
    SetPlaces(std::move(places));
}

void LEnvelopeEffect::SetPlaces(std::vector<LEnvelopePlace> places) {
    if (places.empty()) places.emplace_back();
    for (LEnvelopePlace& place : places)
        place.gain = std::isnan(place.gain) ? 1 : std::clamp(place.gain, 0.0f, LEnvelopePlace::kMostGain);
    places_ = std::move(places);
}

std::vector<LEnvelopePoint> LEnvelopeEffect::PointsFor(int64_t rate, int64_t length) const {
    std::vector<LEnvelopePoint> points;
    for (const LEnvelopePlace& place : places_) points.push_back({place.FrameIn(rate, length), place.gain});
    std::stable_sort(points.begin(), points.end(),
                     [](const auto& a, const auto& b) { return a.frame < b.frame; });
    return points;
}

LSoundSourceRef LEnvelopeEffect::CreateFilter(LSoundSourceRef source) const {
    auto points = PointsFor(source->sampleRate, source->GetLength());
    return FollowEnvelope(std::move(source), std::move(points), params.interpolation.index);
}

LSoundSourceRef FollowEnvelope(LSoundSourceRef source, std::vector<LEnvelopePoint> points,
                               uint8_t interpolation) {
    const bool isNeutral =
        std::all_of(points.begin(), points.end(), [](const auto& point) { return point.gain == 1.0f; });
    if (isNeutral || interpolation > static_cast<uint8_t>(LCurve::kSinusoidal)) return source;
    return WrapInFilter<LEnvelopeFilter>(std::move(source), std::move(points),
                                         static_cast<LCurve>(interpolation));
}

}  // namespace ondarix
