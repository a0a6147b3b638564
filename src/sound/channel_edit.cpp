// SPDX-License-Identifier: GPL-3.0-or-later
// One channel taken out of a sound, edited, and written back over the stretch that has changed.
#include <algorithm>
#include <utility>
#include <vector>

#include "sound/cache_writer.h"
#include "sound/edit_steps.h"
#include "sound/readers.h"

namespace ondarix {

namespace {

constexpr const char* kReplacingChannel = "Replacing the channel...";
constexpr const char* kExtractingChannel = "Extracting the channel...";
constexpr const char* kChannelLengthText =
    "This operation will %1 the audio in this channel by %2 milliseconds. This will impact the alignment "
    "with "
    "the other channel(s) in the file. Would you like to proceed?";

// One channel of a sound, mono.
class LChannelSource final : public LSoundSource {
  public:
    LChannelSource(const LSound& sound, int channel)
        : LSoundSource(sound.sampleRate, 1), reader_(sound), channel_(channel) {
        block_.resize(static_cast<size_t>(kBlockFrames) * reader_.channels);
    }
    float* Read(float* dest, int32_t frames) override {
        while (frames > 0) {
            const int32_t piece = std::min(frames, kBlockFrames);
            reader_.Read(block_.data(), piece);
            const float* from = block_.data() + channel_;
            for (int32_t i = 0; i < piece; ++i, from += reader_.channels) *dest++ = *from;
            frames -= piece;
        }
        return dest;
    }
    int64_t GetPosition() override { return reader_.GetPosition(); }
    int64_t GetLength() override { return reader_.GetLength(); }
    void Seek(int64_t frame) override { reader_.Seek(frame); }

  private:
    LSoundReader reader_;
    int channel_;
    std::vector<float> block_;
};

// A sound with another one in the place of a channel, as long as the longer of the two.
class LReplacedChannelSource final : public LSoundSource {
  public:
    LReplacedChannelSource(const LSound& whole, int channel, const LSound& replacement)
        : LSoundSource(whole.sampleRate, whole.channels),
          whole_(whole),
          replacement_(replacement),
          channel_(channel),
          block_(static_cast<size_t>(kBlockFrames)) {}
    float* Read(float* dest, int32_t frames) override {
        while (frames > 0) {
            const int32_t piece = std::min(frames, kBlockFrames);
            replacement_.Read(block_.data(), piece);
            float* to = dest + channel_;
            dest = whole_.Read(dest, piece);
            for (int32_t i = 0; i < piece; ++i, to += channels) *to = block_[static_cast<size_t>(i)];
            frames -= piece;
        }
        return dest;
    }
    int64_t GetPosition() override { return whole_.GetPosition(); }
    int64_t GetLength() override { return std::max(whole_.GetLength(), replacement_.GetLength()); }
    void Seek(int64_t frame) override {
        whole_.Seek(frame);
        replacement_.Seek(frame);
    }

  private:
    LSoundReader whole_, replacement_;
    int channel_;
    std::vector<float> block_;
};

// Frames of a sound from one segment, as far as they are compared.
struct LStretch {
    const LSoundSegment* segment;
    int64_t from, length;  // `from` counts in the segment

    bool Continues(const LStretch& other) const {
        const LSoundSegment &a = *segment, &b = *other.segment;
        if (a.cacheRef.cacheId != b.cacheRef.cacheId) return false;
        return a.IsSilent() || (a.gain == b.gain && a.offset + from == b.offset + other.from);
    }
};

std::vector<LStretch> StretchesOf(const LSound& sound) {
    std::vector<LStretch> stretches;
    for (const LSoundSegment* at = sound.segments.get(); at; at = at->next.get()) {
        if (at->length > 0) stretches.push_back({at, 0, at->length});
    }
    return stretches;
}

// Frames at the start that both read from the same places.
int64_t CommonHead(const LSound& a, const LSound& b) {
    auto first = StretchesOf(a), second = StretchesOf(b);
    int64_t common = 0;
    for (size_t i = 0, j = 0; i < first.size() && j < second.size();) {
        LStretch &one = first[i], &other = second[j];
        if (!one.Continues(other)) break;
        const int64_t frames = std::min(one.length, other.length);
        for (LStretch* stretch : {&one, &other}) {
            stretch->from += frames;
            stretch->length -= frames;
        }
        common += frames;
        if (one.length == 0) ++i;
        if (other.length == 0) ++j;
    }
    return common;
}

// Likewise at the end; both are equally long.
int64_t CommonTail(const LSound& a, const LSound& b) {
    auto first = StretchesOf(a), second = StretchesOf(b);
    int64_t common = 0;
    while (!first.empty() && !second.empty()) {
        LStretch &one = first.back(), &other = second.back();
        const int64_t frames = std::min(one.length, other.length);
        const LStretch end{one.segment, one.length - frames, frames};
        if (!end.Continues({other.segment, other.length - frames, frames})) break;
        one.length -= frames;
        other.length -= frames;
        common += frames;
        if (one.length == 0) first.pop_back();
        if (other.length == 0) second.pop_back();
    }
    return common;
}

// `old` is what the channel was when `whole` was made.
JobResult MergeInto(LSound& whole, int channel, const LSound& old, LSound& edited, LEditHost& host) {
    const int64_t wholeLength = whole.Length();
    if (const int64_t missing = wholeLength - edited.Length(); missing > 0)
        edited.InsertSilence(edited.Length(), missing);
    const int64_t length = edited.Length();
    const int64_t head = CommonHead(old, edited);
    if (head >= length) return JobResult::kSuccess;
    const int64_t tail = length == old.Length() ? CommonTail(old, edited) : 0;
    LSound stretch, replacement, merged;
    whole.CopyRange(head, std::max(length, wholeLength) - tail, stretch);
    edited.CopyRange(head, length - tail, replacement);
    const JobResult result = RunEditJob(
        host, QString::fromLatin1(kReplacingChannel),
        [&](LProgress& progress) { return ReplaceChannel(stretch, channel, replacement, merged, progress); });
    if (result != JobResult::kSuccess) return result;
    whole.Replace(head, std::min(length - tail, wholeLength), merged);
    return JobResult::kSuccess;
}

bool MayChangeLength(int64_t difference, int32_t rate, LEditHost& host) {
    if (difference == 0) return true;
    const QString text = QString::fromLatin1(kChannelLengthText)
                             .arg(difference > 0 ? QStringLiteral("expand") : QStringLiteral("shrink"))
                             .arg(FramesToMs(std::abs(difference), rate));
    return host.Messages().Ask(QStringLiteral("Channel Length Changes"), text,
                               {QStringLiteral("Proceed"), QStringLiteral("Cancel")}, 1) == 0;
}

}  // namespace

JobResult ExtractChannel(const LSound& sound, int channel, LSound& out, LProgress& progress) {
    if (channel < 0 || channel >= sound.channels) return JobResult::kFailed;
    if (sound.channels == 1 || sound.Length() == 0) {
        out = sound;
        out.channels = 1;
        return JobResult::kSuccess;
    }
    LChannelSource source(sound, channel);
    return LSound::Render(out, progress, source, QString::fromLatin1(kExtractingChannel));
}

JobResult ReplaceChannel(const LSound& whole, int channel, const LSound& replacement, LSound& out,
                         LProgress& progress) {
    if (channel < 0 || channel >= whole.channels || replacement.channels != 1 ||
        replacement.sampleRate != whole.sampleRate) {
        return JobResult::kFailed;
    }
    LReplacedChannelSource source(whole, channel, replacement);
    return LSound::Render(out, progress, source, QString::fromLatin1(kReplacingChannel));
}

JobResult LSoundDocument::MergeChannel(LEditHost& host) {
    const LUndoEntry& before = Entry(undoIndex);
    if (!before.channelSound) return JobResult::kFailed;
    if (!MayChangeLength(channelSound->Length() - before.channelSound->Length(), sound.sampleRate, host))
        return JobResult::kCancelled;
    return MergeInto(sound, editedChannel, *before.channelSound, *channelSound, host);
}

JobResult EditChannel(LSoundDocument& document, LEditHost& host, int channel) {
    const bool alone = document.channelEditMode == LSoundDocument::kEditsChannel;
    if (document.isBusy) return JobResult::kCancelled;
    if (channel < 0) {
        if (!alone) return JobResult::kSuccess;
        document.channelEditMode = LSoundDocument::kEditsWhole;
        document.channelSound.reset();
    } else {
        if (channel >= document.sound.channels || document.sound.channels < 2) return JobResult::kCancelled;
        if (alone && channel == document.editedChannel) return JobResult::kSuccess;
        auto extracted = std::make_unique<LSound>();
        const JobResult result =
            RunEditJob(host, QString::fromLatin1(kExtractingChannel), [&](LProgress& progress) {
                return ExtractChannel(document.sound, channel, *extracted, progress);
            });
        if (result != JobResult::kSuccess) return result;
        document.channelSound = std::move(extracted);
        document.channelEditMode = LSoundDocument::kEditsChannel;
        document.editedChannel = channel;
    }
    document.ClampPositions();
    host.Refresh(document);
    return JobResult::kSuccess;
}

JobResult WriteSamples(LSoundDocument& document, LEditHost& host, int64_t start, const float* samples,
                       int64_t frames) {
    constexpr int64_t kMostDrawn = int64_t{1} << 24;
    if (start < 0 || frames <= 0 || frames > kMostDrawn || start > document.Edited().Length() - frames ||
        !MayChange(document, host)) {
        return JobResult::kCancelled;
    }
    return Change(document, QStringLiteral("Edit Samples"), host, [&] {
        LSound drawn;
        LCacheFileWriter writer(document.Edited().Format(), &drawn);
        writer.Write(samples, static_cast<int32_t>(frames));
        writer.Finish();
        if (writer.HasFailed()) {
            host.Messages().Tell(QString::fromLatin1(kLowDiskTitle), QString::fromLatin1(kLowDiskActionText));
            return JobResult::kFailed;
        }
        document.Edited().Replace(start, start + frames, drawn);
        return JobResult::kSuccess;
    });
}

}  // namespace ondarix
