// SPDX-License-Identifier: GPL-3.0-or-later
#include <QFileInfo>

#include "dsp/sample_convert.h"
#include "formats/registry.h"
#include "formats/save_steps.h"
#include "formats/target_file.h"
#include "formats/wav_sink.h"
#include "sound/cache_writer.h"
#include "sound/readers.h"
#include "sound/wrappers.h"

namespace ondarix {

namespace {

constexpr float kMostOf16Bits = 32768.0f / 32767.0f;  // the lowest sample of a 16-bit file, as a magnitude
// The noise shaper moves a sample by less than one and a half steps (half a step through its feedback). With
// 16 bits kPcmPeakBound leaves room for that; 8 bits need a whole step, or a peak would wrap.
constexpr float kMostOf8Bits = 126.0f / 127.0f;

// Every stretch untouched since it was decoded from integers, of whatever widths.
bool IsDecodeOfIntegers(const LSound& sound) {
    for (const LSoundSegment* segment = sound.segments.get(); segment; segment = segment->next.get()) {
        if (segment->IsSilent() || segment->length == 0) continue;
        if (segment->gain != 1.0f || CacheSourceBits(segment->cacheRef.cacheId) == 0) return false;
    }
    return true;
}

bool IsOneWholeWorkingFile(const LSound& sound) {
    const LSoundSegment* segment = sound.segments.get();
    if (!segment || segment->next || segment->IsSilent()) return false;
    if (segment->offset != 0 || segment->gain != 1.0f) return false;
    // A document may have been given another rate or channel count over the same samples.
    if (CacheFormat(segment->cacheRef.cacheId) != sound.Format()) return false;
    const qint64 bytes = QFileInfo(CacheFileName(segment->cacheRef.cacheId, ".aud")).size();
    return bytes == segment->length * sound.Format().FrameBytes();
}

// The decode of the saved file is there already: opening it again reads nothing. `facts` are those of the
// file before it took its name: what another program puts there right afterwards is not taken for it.
void RegisterSaved(const LSound& sound, const LSourceFacts& facts, const LFormatRecord& record) {
    if (IsOneWholeWorkingFile(sound) && IsWrittenExactly(sound, record))
        RegisterSource(sound.segments->cacheRef.cacheId, facts);
}

void TellFailure(const LSaveRequest& request, const LTargetFile& target, bool restored, LMessageHost& host) {
    QString text = QStringLiteral("Ondarix could not save the file \"%1\".").arg(request.path);
    if (!restored) text += QStringLiteral(" A copy of the old file is in \"%1\".").arg(target.BackupPath());
    host.Tell("Error saving file", text);
}

}  // namespace

bool IsWrittenExactly(const LSound& sound, const LFormatRecord& record) {
    if (record.tag == 3) return true;
    return record.tag == 1 && IsOnIntegerGrid(sound, StoredWavBits(record));
}

LSoundSourceRef SourceForSaving(const LSound& sound, const LFormatRecord& record, bool& limited) {
    LSoundSourceRef reader = MakeSource<LSoundReader>(sound);
    limited = false;
    const bool coded16 = record.tag == 6 || record.tag == 7;
    const int bits = coded16 ? 16 : StoredWavBits(record);
    if (record.tag != 3 && IsOnIntegerGrid(sound, bits)) return reader;
    const bool narrow8 = record.tag == 1 && bits == 8;
    const float limit = narrow8 ? kMostOf8Bits : kPcmPeakBound;
    float most = limit;
    if (record.tag == 3 || bits > 16) {
        const bool integers = IsDecodeOfIntegers(sound);
        if (integers && record.tag == 3) return reader;
        most = integers ? kMostOf16Bits : 1.0f;
    }
    if (SoundPeak(sound) <= most) return reader;
    limited = true;
    return MakeSource<LPeakLimiterSource>(std::move(reader), limit);
}

SaveResult WriteSound(const LSound& sound, const LSaveRequest& request, const QString& extension,
                      LProgress& progress, LMessageHost& host) {
    LFormatRecord record = request.record;
    record.sampleRate = static_cast<uint32_t>(sound.sampleRate);
    record.channels = sound.channels;
    LTargetFile target(request.path);
    LSoundSinkRef sink;
    if (target.IsOpen()) {
        const QString writeAs = extension == ".m4r" ? QStringLiteral(".m4a") : extension;
        sink = OpenSoundSink({target.WritePath(), writeAs, sound.Format(), record, nullptr,
                              &request.foreignChunks, request.shaping});
        if (!sink.IsUsable() && extension == ".wav" && StoredWavBits(record) == 0) {
            target.Abandon();
            host.Tell("Error saving file", "Ondarix cannot write WAV files with this coding.");
            return SaveResult::kEncodingFailed;
        }
    }
    if (!sink.IsUsable()) {
        TellFailure(request, target, target.Abandon(), host);
        return SaveResult::kFailed;
    }
    progress.SetStatus("Saving...", 0);
    bool limited = false;
    const LSoundSourceRef source = SourceForSaving(sound, record, limited);
    const JobResult pumped = PumpSource(*source, *sink.Get(), progress);
    sink->Finish();
    const bool written = pumped == JobResult::kSuccess && !sink->HasFailed();
    sink.Reset();
    LSourceFacts facts = LSourceFacts::Of(target.WritePath());
    facts.path = LSourceFacts::Of(request.path).path;
    if (written && target.Commit()) {
        if (extension == ".wav" && !limited) RegisterSaved(sound, facts, record);
        return SaveResult::kSuccess;
    }
    const bool restored = target.Abandon();
    if (pumped == JobResult::kCancelled && restored) return SaveResult::kCancelled;
    TellFailure(request, target, restored, host);
    return pumped == JobResult::kCancelled ? SaveResult::kCancelled : SaveResult::kFailed;
}

}  // namespace ondarix
