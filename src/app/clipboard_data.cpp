// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/clipboard_data.h"

#include <chrono>

#include "app/progress_dialog.h"

namespace ondarix {
namespace {

constexpr const char* kCopyAudioJob = "Copying audio to the system clipboard";
constexpr const char* kCopyPictureJob = "Copying wave window image to the system clipboard";
constexpr qsizetype kKeptImageBytes = 64 << 20;  // a larger one is written again for the next who asks
const QString kPictureFormat = QStringLiteral("application/x-qt-image");

// Lets nothing happen beside the job before it has become a long one.
class LQuietStart final : public LProgress {
  public:
    explicit LQuietStart(LProgress& loud) : loud_(loud) {}
    bool IsCancelled() override {
        return std::chrono::steady_clock::now() - started_ >= kQuiet && loud_.IsCancelled();
    }
    WaitResult Sleep(int ms) override { return loud_.Sleep(ms); }
    WaitResult WaitForHandle(LWaitHandle handle, int ms) override { return loud_.WaitForHandle(handle, ms); }
    WaitResult WaitForHandles(const LHandleList& handles, int ms) override {
        return loud_.WaitForHandles(handles, ms);
    }
    void SetFraction(double fraction) override { loud_.SetFraction(fraction); }

  private:
    static constexpr auto kQuiet = std::chrono::milliseconds(500);
    LProgress& loud_;
    std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
};

QString WhyNoImage(LWavImageResult result) {
    switch (result) {
        case LWavImageResult::kTooLong:
            return QStringLiteral(
                "The copied sound is too long for other programs: as a WAV file it would be larger than 4 "
                "GB. "
                "Inside Ondarix it can be pasted.");
        case LWavImageResult::kNoMemory:
            return QStringLiteral(
                "There is not enough memory to hand the copied sound to another program. Inside Ondarix it "
                "can be pasted.");
        case LWavImageResult::kLost:
            return QStringLiteral("The copied sound could not be read from the working folder.");
        default:
            return {};
    }
}

}  // namespace

LClipData::LClipData(QWidget* owner, const LClipboardStore& store, QByteArray mark, LClipboardTell tell)
    : owner_(owner), store_(&store), mark_(std::move(mark)), tell_(std::move(tell)) {}

QStringList LClipData::formats() const {
    QStringList all{QLatin1String(kClipMarkFormat)};
    for (const char* format : kClipWavFormats) all.append(QLatin1String(format));
    return all;
}

QVariant LClipData::retrieveData(const QString& format, QMetaType) const {
    if (format == QLatin1String(kClipMarkFormat)) return mark_;
    const QByteArray image = formats().contains(format) ? Image() : QByteArray();
    return image.isEmpty() ? QVariant() : QVariant(image);
}

// Nothing of this object is used behind the job unless it is still there.
QByteArray LClipData::Image() const {
    if (!store_ || rendering_) return {};
    const int slot = store_->currentSlot;
    if (keptSlot_ == slot && !kept_.isEmpty()) return kept_;
    const LSound clip = store_->Current();
    const LClipboardTell tell = tell_;
    const QPointer<const LClipData> self(this);
    QByteArray image;
    LWavImageResult result = LWavImageResult::kLost;
    rendering_ = true;
    RunJob(owner_, QLatin1String(kCopyAudioJob), [&](LProgress& progress) {
        LQuietStart quiet(progress);
        result = RenderWavImage(clip, image, quiet);
        return JobResult::kSuccess;
    });
    if (self) {
        rendering_ = false;
        kept_ = image.size() <= kKeptImageBytes ? image : QByteArray();
        keptSlot_ = slot;
    }
    const QString why = WhyNoImage(result);
    if (!why.isEmpty() && tell) tell(QStringLiteral("Copy"), why);
    return image;
}

QMimeData* LClipData::Rendered() const {
    const QByteArray image = Image();
    if (image.isEmpty()) return nullptr;
    auto* data = new QMimeData;
    for (const char* format : kClipWavFormats) data->setData(QLatin1String(format), image);
    return data;
}

QStringList LPictureData::formats() const { return {kPictureFormat}; }

QVariant LPictureData::retrieveData(const QString& format, QMetaType) const {
    if (format != kPictureFormat) return {};
    const QImage picture = Picture();
    return picture.isNull() ? QVariant() : QVariant(picture);
}

QImage LPictureData::Picture() const {
    if (!paint_) return picture_;
    const auto paint = std::exchange(paint_, nullptr);
    RunJob(owner_, QLatin1String(kCopyPictureJob), [&](LProgress&) {
        picture_ = paint();
        return JobResult::kSuccess;
    });
    return picture_;
}

QMimeData* LPictureData::Rendered() const {
    const QImage picture = Picture();
    if (picture.isNull()) return nullptr;
    auto* data = new QMimeData;
    data->setImageData(picture);
    return data;
}

}  // namespace ondarix
