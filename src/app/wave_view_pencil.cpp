// SPDX-License-Identifier: GPL-3.0-or-later
// Drawing over single samples in the wave view.
#include <QKeyEvent>
#include <algorithm>
#include <cmath>

#include "app/document_job.h"
#include "app/wave_view.h"
#include "sound/edits.h"

namespace ondarix {
namespace {

constexpr int kFarStepPixels = 10;  // of a sample moved by keyboard with Shift

}  // namespace

void LWaveView::SetSampleEditing(bool on) {
    if (sampleEditing_ == on) return;
    TakeBackStroke();
    sampleEditing_ = on;
    ShowHover({-100, 0});
    if (on && !CanEditSamples()) HintAtPencil();
    Q_EMIT SampleEditingChanged(on);
}

bool LWaveView::CanEditSamples() const {
    return ShowsSamples() && range_->Total() > 0 && (!monoView_ || document_->sound.channels == 1);
}

void LWaveView::HintAtPencil() {
    Q_EMIT Hint(ShowsSamples() ? QStringLiteral("Show the channels one by one to draw samples")
                               : QStringLiteral("Zoom in until single samples are shown to draw them"));
}

int LWaveView::StrokeChannels() const {
    return document_->channelEditMode == LSoundDocument::kEditsChannel
               ? 1
               : std::max<int>(1, document_->sound.channels);
}

int LWaveView::StripAt(double y) const {
    for (int strip = Strips() - 1; strip > 0; --strip)
        if (y >= StripOf(strip, Strips(), height()).top) return strip;
    return 0;
}

float LWaveView::ValueAt(int strip, double y) const {
    const LStrip at = StripOf(strip, Strips(), height());
    return static_cast<float>(std::clamp((at.Middle() - y) / (at.HalfSpan() * verticalZoom_), -1.0, 1.0));
}

bool LWaveView::MayDraw() {
    if (!document_->isBusy) return true;
    Q_EMIT Hint(BusyText(*document_));
    return false;
}

void LWaveView::PressPencil(const QPointF& at) {
    if (!MayDraw()) return;
    const int channel = StripAt(at.y());
    if (IsDimmed(channel))
        return Q_EMIT Hint(QStringLiteral("Only the channel that is edited can be drawn on"));
    CommitStroke();
    if (!Complete(-1)) return;
    drag_ = Drag::kPencil;
    strokeChannel_ = channel;
    strokeFrame_ = -1;
    Draw(at);
}

// Every sample between the last place of the pencil and this one, in a straight line.
void LWaveView::Draw(const QPointF& at) {
    const double x = std::clamp<double>(at.x(), 0, width() - 1);
    const double exact = x * static_cast<double>(range_->Frames()) / std::max(1, width());
    const int64_t frame =
        std::clamp<int64_t>(range_->Start() + static_cast<int64_t>(exact), 0, range_->Total() - 1);
    const float value = ValueAt(strokeChannel_, at.y());
    if (strokeFrame_ < 0 || strokeFrame_ == frame) {
        PutSample(frame, strokeChannel_, value);
    } else {
        const int64_t count = std::abs(frame - strokeFrame_);
        for (int64_t i = 1; i <= count; ++i) {
            const float part = static_cast<float>(i) / static_cast<float>(count);
            PutSample(strokeFrame_ + (frame > strokeFrame_ ? i : -i), strokeChannel_,
                      strokeValue_ + (value - strokeValue_) * part);
        }
    }
    strokeFrame_ = frame;
    strokeValue_ = value;
}

void LWaveView::PutSample(int64_t frame, int channel, float value) {
    const int channels = StrokeChannels();
    const bool alone = document_->channelEditMode == LSoundDocument::kEditsChannel;
    const auto width = static_cast<size_t>(channels);
    const auto frameOf = [&](int64_t of) {  // as it is shown now
        std::vector<float> one(width);
        for (int c = 0; c < channels; ++c) {
            const float sample = SampleAt(of, alone ? document_->editedChannel : c);
            one[static_cast<size_t>(c)] = std::isnan(sample) ? 0 : sample;
        }
        return one;
    };
    if (stroke_.IsEmpty()) {
        auto one = frameOf(frame);
        stroke_ = {frame, std::move(one)};
    }
    while (frame < stroke_.start) {
        const auto one = frameOf(stroke_.start - 1);
        stroke_.samples.insert(stroke_.samples.begin(), one.begin(), one.end());
        --stroke_.start;
    }
    while (frame >= stroke_.start + static_cast<int64_t>(stroke_.samples.size() / width)) {
        const auto one = frameOf(stroke_.start + static_cast<int64_t>(stroke_.samples.size() / width));
        stroke_.samples.insert(stroke_.samples.end(), one.begin(), one.end());
    }
    const auto at = static_cast<size_t>(frame - stroke_.start) * width;
    stroke_.samples[at + static_cast<size_t>(alone ? 0 : channel)] = value;
    Spoil();
}

bool LWaveView::MoveSampleByKey(QKeyEvent* event) {
    const bool up = event->key() == Qt::Key_Up;
    if (!sampleEditing_ || (!up && event->key() != Qt::Key_Down)) return false;
    if (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) return false;
    if (!CanEditSamples()) {
        HintAtPencil();
        return true;
    }
    if (!MayDraw()) return true;
    range_->Reveal(cursor_);
    if (drag_ == Drag::kPencil || !Complete(-1)) return true;
    const bool alone = document_->channelEditMode == LSoundDocument::kEditsChannel;
    strokeChannel_ = alone ? document_->editedChannel : std::clamp(strokeChannel_, 0, Strips() - 1);
    const int64_t frame = std::clamp<int64_t>(cursor_, 0, range_->Total() - 1);
    const LStrip strip = StripOf(strokeChannel_, Strips(), height());
    const double pixels = event->modifiers() & Qt::ShiftModifier ? kFarStepPixels : 1;
    const auto step = static_cast<float>(pixels / (strip.HalfSpan() * verticalZoom_));
    PutSample(frame, strokeChannel_,
              std::clamp(SampleAt(frame, strokeChannel_) + (up ? step : -step), -1.0f, 1.0f));
    return true;
}

void LWaveView::CommitStroke() {
    if (stroke_.IsEmpty()) return;
    const Stroke stroke = stroke_;
    const auto frames = static_cast<int64_t>(stroke.samples.size()) / StrokeChannels();
    WriteSamples(*document_, host_, stroke.start, stroke.samples.data(), frames);
    stroke_ = {};
    Spoil();
}

void LWaveView::TakeBackStroke() {
    if (drag_ == Drag::kPencil) drag_ = Drag::kNone;
    if (stroke_.IsEmpty()) return;
    stroke_ = {};
    Spoil();
}

}  // namespace ondarix
