// SPDX-License-Identifier: GPL-3.0-or-later
// From any source into a new working file.
#include <algorithm>
#include <limits>
#include <vector>

#include "gen/clock.h"
#include "sound/cache_writer.h"
#include "sound/read_ahead.h"
#include "sound/readers.h"

namespace ondarix {

namespace {

constexpr uint64_t kFractionEveryMs = 50;
constexpr uint32_t kGrowthWaitMs = 50;
constexpr int kAskEveryMs = 50;  // while nothing has been read yet
constexpr int64_t kWorthAThread =
    int64_t{16} * kPumpFrames;  // below, starting one takes longer than it saves

bool HasRoomToRender(int64_t frames, int channels) {
    int64_t bytes = 0;
    if (__builtin_mul_overflow(std::max<int64_t>(frames, 0), int64_t{channels}, &bytes) ||
        __builtin_add_overflow(bytes, kRenderReserveSamples, &bytes) ||
        __builtin_mul_overflow(bytes, 4, &bytes)) {
        return false;
    }
    return FreeBytes(CacheFolder()) >= bytes;
}

// Tells how far a job has come, as often as somebody can see it.
class FractionReport {
  public:
    FractionReport(LProgress& progress, int64_t start) : progress_(progress), start_(start) {}
    void Show(int64_t position, int64_t end) {
        const uint64_t now = TickCountMs();
        if (now - shown_ < kFractionEveryMs || end <= start_) return;
        shown_ = now;
        const double share = static_cast<double>(position - start_) / static_cast<double>(end - start_);
        progress_.SetFraction(std::clamp(share, 0.0, 1.0));
    }

  private:
    LProgress& progress_;
    int64_t start_;
    uint64_t shown_ = TickCountMs();
};

// What `ahead` reads on its thread is written on this one. Progress is asked as often as it would be without
// the other thread, and while that keeps this one waiting.
JobResult PumpAhead(LReadAhead& ahead, LSoundSink& sink, LProgress& progress, int64_t start) {
    FractionReport report(progress, start);
    while (!sink.HasFailed()) {
        if (progress.IsCancelled()) return JobResult::kCancelled;
        const LReadAhead::Block* block = ahead.Next(kAskEveryMs);
        if (!block && ahead.HasFailed()) return JobResult::kFailed;
        if (!block) continue;
        if (block->frames == 0) return JobResult::kSuccess;
        sink.Write(block->samples.data(), block->frames);
        report.Show(block->position + block->frames, block->end);
    }
    return JobResult::kFailed;
}

}  // namespace

JobResult PumpSourceHere(LSoundSource& source, LSoundSink& sink, LProgress& progress, bool follow) {
    std::vector<float> block(static_cast<size_t>(kPumpFrames) * source.channels);
    FractionReport report(progress, source.GetPosition());
    while (!sink.HasFailed()) {
        if (progress.IsCancelled()) return JobResult::kCancelled;
        const bool growing = follow && source.IsGrowing();  // asked first: the length is final only then
        const int64_t position = source.GetPosition(), end = source.GetLength();
        if (position >= end) {
            if (!growing) return JobResult::kSuccess;
            source.WaitForData(kGrowthWaitMs);
            continue;
        }
        int64_t left = 0;
        if (__builtin_sub_overflow(end, position, &left)) left = kPumpFrames;
        const auto frames = static_cast<int32_t>(std::min<int64_t>(left, kPumpFrames));
        source.Read(block.data(), frames);
        sink.Write(block.data(), frames);
        report.Show(position + frames, end);
    }
    return JobResult::kFailed;
}

JobResult PumpSource(LSoundSource& source, LSoundSink& sink, LProgress& progress, bool follow) {
    const int64_t start = source.GetPosition();
    int64_t left = 0;
    if (__builtin_sub_overflow(source.GetLength(), start, &left)) left = kWorthAThread;
    if (left < kWorthAThread || source.IsGrowing()) return PumpSourceHere(source, sink, progress, follow);
    LReadAhead ahead(source);
    if (!ahead.Start()) return PumpSourceHere(source, sink, progress, follow);
    return PumpAhead(ahead, sink, progress, start);
}

JobResult LSound::Render(LSound& result, LProgress& progress, LSoundSource& source, const QString& status) {
    const bool missing = &source == LSoundSourceRef::EmptySource();
    const LSoundFormat format = missing ? LSoundFormat{} : source.Format();
    const LSoundCacheRef ref = LSoundCacheRef::Adopt(AllocateCacheId());
    if (ref.cacheId == kNoCacheId) return JobResult::kFailed;
    const int64_t frames = source.GetLength();
    if (!HasRoomToRender(frames, format.channels)) return JobResult::kFailed;
    if (!status.isEmpty()) progress.SetStatus(status, 0);

    LCacheFileWriter writer(format, ref, nullptr);
    writer.Expect(frames);
    uint32_t bits = 0;
    if (source.Query(kQueryIntegerBits, &bits)) writer.SetSourceBits(bits);
    const JobResult pumped = PumpSource(source, writer, progress);
    writer.Finish();
    if (writer.HasFailed()) return JobResult::kFailed;
    if (pumped == JobResult::kSuccess) {
        result.SetSingleSegment(LSoundSegment(ref, 0, writer.framesWritten), format.sampleRate,
                                format.channels);
    }
    return pumped;
}

JobResult LSound::ConvertFormat(LSound& result, int32_t rate, uint8_t channelCount,
                                LProgress& progress) const {
    const LSoundFormat target{rate, channelCount};
    if (Format() == target || IsEmpty()) {
        result = *this;
        result.sampleRate = rate;
        result.channels = channelCount;
        return JobResult::kSuccess;
    }
    if (!target.IsValid() || !gMakeFormatConverter) return JobResult::kFailed;
    LSoundSourceRef converter = gMakeFormatConverter(MakeSource<LSoundReader>(*this), target);
    if (converter.IsEmpty()) return JobResult::kFailed;
    return Render(result, progress, *converter, "Converting Rate");
}

}  // namespace ondarix
