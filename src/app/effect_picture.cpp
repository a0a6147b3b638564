// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_picture.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

#include "app/theme.h"
#include "display/wave_columns.h"
#include "gen/background_thread.h"

namespace ondarix {
namespace {

constexpr double kOutdatedOpacity = 0.35;
constexpr int kHalfGap = 3;  // pixels between the two halves

}  // namespace

bool ReadPeakColumns(LSoundSource& source, int columns, LPeakColumns& out, LProgress& progress) {
    out.top.assign(static_cast<size_t>(columns), 0);
    out.bottom.assign(static_cast<size_t>(columns), 0);
    const int64_t length = source.GetLength();
    if (length <= 0) return true;
    const LColumnGrid grid{0, length, columns};
    std::vector<float> block(static_cast<size_t>(kPictureColumnFrames) * source.channels);
    for (int column = 0; column < columns; ++column) {
        if (progress.IsCancelled()) return false;
        const int64_t from = grid.Edge(column);
        const auto frames =
            static_cast<int32_t>(std::clamp<int64_t>(grid.Edge(column + 1) - from, 1, kPictureColumnFrames));
        if (source.GetPosition() != from) source.Seek(from);
        source.Read(block.data(), frames);
        const auto end = block.begin() + int64_t{frames} * source.channels;
        const auto [least, most] = std::minmax_element(block.begin(), end);
        out.top[static_cast<size_t>(column)] = *most;
        out.bottom[static_cast<size_t>(column)] = *least;
    }
    return true;
}

class LPicturePainter final : public LBackgroundThread {
  public:
    LPicturePainter(LPreviewSoundRef sound, LPreviewStack stack, std::function<void()> done)
        : LBackgroundThread("PICT"),
          sound_(std::move(sound)),
          stack_(std::move(stack)),
          done_(std::move(done)) {}
    ~LPicturePainter() override { Stop(); }
    LPeakColumns before, after;

  protected:
    void Run() override {
        if (!ReadPeakColumns(*sound_->Open(), kPictureColumns, before, *this)) return;
        after = {};
        const bool isReady = !stack_.prepare || stack_.prepare(*this) == JobResult::kSuccess;
        if (IsCancelled()) return;
        if (isReady) {
            source_ = stack_.build();
            if (source_.IsUsable() && !ReadPeakColumns(*source_, kPictureColumns, after, *this)) return;
        }
        if (!IsCancelled()) done_();
    }

  private:
    LPreviewSoundRef sound_;
    LPreviewStack stack_;
    LSoundSourceRef source_;  // goes with this object, on the interface thread
    std::function<void()> done_;
};

LEffectPicture::LEffectPicture(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("effectPicture"));
    setAccessibleName(QStringLiteral("Waveform before and after the effect"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

LEffectPicture::~LEffectPicture() = default;

void LEffectPicture::Reload(LPreviewSoundRef sound, LPreviewStack stack) {
    ++run_;
    ready_ = false;
    const auto done = [this, run = run_] {
        QMetaObject::invokeMethod(
            this, [this, run] { Take(run); }, Qt::QueuedConnection);
    };
    worker_ = std::make_unique<LPicturePainter>(std::move(sound), std::move(stack), done);
    worker_->Start();
    SetOutdated(false);
}

void LEffectPicture::Stop() {
    ++run_;
    worker_.reset();
}

void LEffectPicture::Take(uint32_t run) {
    if (run != run_ || !worker_) return;
    before_ = std::move(worker_->before);
    after_ = std::move(worker_->after);
    worker_.reset();
    ready_ = true;
    update();
    Q_EMIT Ready();
}

void LEffectPicture::SetOutdated(bool on) {
    outdated_ = on;
    update();
}

void LEffectPicture::ShowPlayed(double share) {
    if (played_ == share) return;
    played_ = share;
    update();
}

void LEffectPicture::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const LWaveColours& colours = WaveColours();
    painter.fillRect(rect(), colours.gap);
    const int half = (height() - kHalfGap) / 2;
    PaintHalf(painter, {0, 0, width(), half}, before_, QStringLiteral("Before"));
    painter.setOpacity(outdated_ || !ready_ ? kOutdatedOpacity : 1);
    PaintHalf(painter, {0, half + kHalfGap, width(), half}, after_, QStringLiteral("After"));
    painter.setOpacity(1);
    if (played_ < 0) return;
    const double x = std::min(played_, 1.0) * width();
    painter.setPen(QPen(colours.played, 1));
    painter.drawLine(QPointF(x, 0), QPointF(x, height()));
}

void LEffectPicture::PaintHalf(QPainter& painter, const QRect& rect, const LPeakColumns& columns,
                               const QString& text) {
    const LWaveColours& colours = WaveColours();
    painter.fillRect(rect, colours.background);
    const double middle = rect.top() + rect.height() / 2.0, unit = rect.height() / 2.0;
    painter.setPen(colours.centre);
    painter.drawLine(QPointF(rect.left(), middle), QPointF(rect.right(), middle));
    const double step = static_cast<double>(rect.width()) / kPictureColumns;
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (size_t i = 0; i < columns.top.size(); ++i) {
        const double top = std::clamp(double{columns.top[i]}, -1.0, 1.0);
        const double bottom = std::clamp(double{columns.bottom[i]}, -1.0, 1.0);
        const bool over = columns.top[i] > 1 || columns.bottom[i] < -1;
        const QRectF bar(static_cast<double>(i) * step, middle - top * unit, std::max(step, 1.0),
                         std::max((top - bottom) * unit, 1.0));
        painter.fillRect(bar, over ? colours.clip : colours.wave);
    }
    painter.setPen(colours.rulerText);
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    painter.setFont(small);
    const QRect label = painter.boundingRect(rect.adjusted(6, 3, -6, -3), Qt::AlignLeft | Qt::AlignTop, text);
    QColor behind = colours.background;
    behind.setAlphaF(0.75f);
    painter.fillRect(label.adjusted(-3, -1, 3, 1), behind);
    painter.drawText(label, Qt::AlignLeft | Qt::AlignTop, text);
}

}  // namespace ondarix
