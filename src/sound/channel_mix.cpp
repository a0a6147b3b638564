// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/channel_mix.h"

#include <algorithm>
#include <utility>

namespace ondarix {

namespace {

constexpr int kMostSpeakers = 8;
constexpr float kMinus3Db = 0.70710678f;

enum Speaker : int8_t { kLeft, kRight, kCentre, kLfe, kBackLeft, kBackRight, kSideLeft, kSideRight, kBack };

constexpr Speaker kLayouts[kMostSpeakers + 1][kMostSpeakers] = {
    {},
    {kCentre},
    {kLeft, kRight},
    {kLeft, kRight, kCentre},
    {kLeft, kRight, kBackLeft, kBackRight},
    {kLeft, kRight, kCentre, kBackLeft, kBackRight},
    {kLeft, kRight, kCentre, kLfe, kBackLeft, kBackRight},
    {kLeft, kRight, kCentre, kLfe, kBack, kSideLeft, kSideRight},
    {kLeft, kRight, kCentre, kLfe, kBackLeft, kBackRight, kSideLeft, kSideRight},
};

int PlaceOf(Speaker speaker, int channels) {
    const auto* const layout = kLayouts[channels];
    const auto* const found = std::find(layout, layout + channels, speaker);
    return found == layout + channels ? -1 : static_cast<int>(found - layout);
}

// The other pair behind the listener, or the side of the front that a surround is folded into.
void FoldSurround(LMixMatrix& matrix, int input, Speaker other, Speaker front) {
    const auto to = static_cast<int>(matrix.size());
    const int place = PlaceOf(other, to);
    if (place >= 0) {
        matrix[static_cast<size_t>(place)].push_back({input, 1.0f});
    } else {
        matrix[static_cast<size_t>(PlaceOf(front, to))].push_back({input, kMinus3Db});
    }
}

void FoldToPair(LMixMatrix& matrix, int input, Speaker left, Speaker right, float gain) {
    for (const Speaker speaker : {left, right}) {
        const int place = PlaceOf(speaker, static_cast<int>(matrix.size()));
        matrix[static_cast<size_t>(place)].push_back({input, gain});
    }
}

void Place(LMixMatrix& matrix, int input, Speaker speaker) {
    const auto to = static_cast<int>(matrix.size());
    if (const int place = PlaceOf(speaker, to); place >= 0) {
        matrix[static_cast<size_t>(place)].push_back({input, 1.0f});
        return;
    }
    switch (speaker) {
        case kCentre:
            return FoldToPair(matrix, input, kLeft, kRight, kMinus3Db);
        case kBackLeft:
            return FoldSurround(matrix, input, kSideLeft, kLeft);
        case kBackRight:
            return FoldSurround(matrix, input, kSideRight, kRight);
        case kSideLeft:
            return FoldSurround(matrix, input, kBackLeft, kLeft);
        case kSideRight:
            return FoldSurround(matrix, input, kBackRight, kRight);
        case kBack:
            if (PlaceOf(kBackLeft, to) >= 0)
                return FoldToPair(matrix, input, kBackLeft, kBackRight, kMinus3Db);
            return FoldToPair(matrix, input, kLeft, kRight, kMinus3Db * kMinus3Db);
        default:
            return;
    }
}

void LimitToFullScale(LMixMatrix& matrix) {
    float most = 1.0f;
    for (const auto& row : matrix) {
        float sum = 0;
        for (const LMixPart& part : row) sum += part.gain;
        most = std::max(most, sum);
    }
    if (most == 1.0f) return;
    for (auto& row : matrix) {
        for (LMixPart& part : row) part.gain /= most;
    }
}

}  // namespace

LMixMatrix MixMatrix(int from, int to) {
    LMixMatrix matrix(static_cast<size_t>(to));
    if (from == 1) {
        for (auto& row : matrix) row.push_back({0, 1.0f});
    } else if (to > 1 && from <= kMostSpeakers && to <= kMostSpeakers) {
        for (int input = 0; input < from; ++input) Place(matrix, input, kLayouts[from][input]);
        LimitToFullScale(matrix);
    } else {
        for (int input = 0; input < from; ++input) {
            matrix[static_cast<size_t>(input % to)].push_back({input, 1.0f});
        }
        for (auto& row : matrix) {
            for (LMixPart& part : row) part.gain = 1.0f / static_cast<float>(row.size());
        }
    }
    return matrix;
}

LChannelMixSource::LChannelMixSource(LSoundSourceRef child, int channelCount)
    : LSoundSource(child->sampleRate, channelCount), child_(std::move(child)) {
    if (error == kSourceGood) error = child_->error;
    peak = child_->peak;
    matrix_ = MixMatrix(child_->channels, channels);
    onlyCopies_ = std::all_of(matrix_.begin(), matrix_.end(), [](const auto& row) {
        return row.empty() || (row.size() == 1 && row[0].gain == 1.0f);
    });
    block_.resize(static_cast<size_t>(kBlockFrames) * child_->channels);
}

float* LChannelMixSource::Read(float* dest, int32_t frames) {
    const int inputs = child_->channels, outputs = channels;
    while (frames > 0) {
        const int32_t piece = std::min(frames, kBlockFrames);
        child_->Read(block_.data(), piece);
        Silence(dest, piece);
        for (int output = 0; output < outputs; ++output) {
            for (const LMixPart& part : matrix_[static_cast<size_t>(output)]) {
                const float* const from = block_.data() + part.input;
                float* const to = dest + output;
                for (int64_t i = 0; i < piece; ++i) to[i * outputs] += from[i * inputs] * part.gain;
            }
        }
        dest += int64_t{piece} * outputs;
        frames -= piece;
    }
    return dest;
}

bool LChannelMixSource::Query(uint32_t id, void* result) {
    const bool holds = id == kQueryLimited || (id == kQueryIntegerBits && onlyCopies_);
    return holds && child_->Query(id, result);
}

LSoundSourceRef MixChannels(LSoundSourceRef source, int channels) {
    if (source->channels == channels) return source;
    return MakeSource<LChannelMixSource>(std::move(source), channels);
}

}  // namespace ondarix
