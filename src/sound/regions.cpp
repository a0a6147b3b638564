// SPDX-License-Identifier: GPL-3.0-or-later
#include <QSet>
#include <algorithm>

#include "gen/text.h"
#include "sound/mark_change.h"
#include "sound/marks.h"

namespace ondarix {

namespace {

constexpr const char* kModifyRegionLabel = "Modify Region";

LRegion* FindOwnRegion(LSoundDocument& document, uint32_t serial) {
    return const_cast<LRegion*>(FindRegion(document, serial));
}

LSelection InsideSound(const LSoundDocument& document, int64_t start, int64_t end) {
    const int64_t length = document.sound.Length();
    return {std::clamp<int64_t>(start, 0, length), std::clamp<int64_t>(end, 0, length)};
}

}  // namespace

const LRegion* FindRegion(const LSoundDocument& document, uint32_t serial) {
    for (const LRegion& one : document.regions)
        if (one.serial == serial) return &one;
    return nullptr;
}

JobResult AddRegion(LSoundDocument& document, LEditHost& host, int64_t start, int64_t end,
                    const QString& name) {
    const LSelection range = InsideSound(document, start, end);
    if (range.IsEmpty()) return JobResult::kCancelled;
    LRegion region;
    region.name = CutToFixedText(name.isEmpty() ? FreeRegionName(document.regions, "Region") : name);
    if (region.name.trimmed().isEmpty()) {
        host.Messages().Tell(kNameInvalidTitle, kNameInvalidText);
        return JobResult::kFailed;
    }
    region.serial = NextRegionSerial();
    region.SetRange(range.start, range.end, document.sound.sampleRate);
    return ChangeMarks(document, "Add region", host, [&] { document.regions.push_back(std::move(region)); });
}

JobResult ModifyRegion(LSoundDocument& document, LEditHost& host, uint32_t serial, int64_t start,
                       int64_t end) {
    const LRegion* present = FindRegion(document, serial);
    const LSelection range = InsideSound(document, start, end);
    if (!present || range.IsEmpty()) return JobResult::kCancelled;
    if (present->startFrame == range.start && present->endFrame == range.end) return JobResult::kCancelled;
    return ChangeMarks(document, kModifyRegionLabel, host, [&] {
        FindOwnRegion(document, serial)->SetRange(range.start, range.end, document.sound.sampleRate);
    });
}

JobResult RenameRegion(LSoundDocument& document, LEditHost& host, uint32_t serial, const QString& name) {
    const LRegion* present = FindRegion(document, serial);
    const QString wanted = CutToFixedText(name);
    if (!present || present->name == wanted) return JobResult::kCancelled;
    if (wanted.trimmed().isEmpty()) {
        host.Messages().Tell(kNameInvalidTitle, kNameInvalidText);
        return JobResult::kFailed;
    }
    return ChangeMarks(document, kModifyRegionLabel, host,
                       [&] { FindOwnRegion(document, serial)->name = wanted; });
}

JobResult DeleteRegions(LSoundDocument& document, LEditHost& host, const std::vector<uint32_t>& serials) {
    const QSet<uint32_t> chosen(serials.begin(), serials.end());
    const auto goes = [&](const LRegion& one) { return chosen.contains(one.serial); };
    if (std::none_of(document.regions.begin(), document.regions.end(), goes)) return JobResult::kCancelled;
    return ChangeMarks(document, "Delete Region", host, [&] { std::erase_if(document.regions, goes); });
}

JobResult AssembleRegions(const std::vector<LRegionRef>& regions, int64_t gapMs, LSound& out,
                          LProgress& progress) {
    LSound joined;
    bool first = true;
    for (size_t i = 0; i < regions.size(); ++i) {
        const LRegion* region = FindRegion(*regions[i].document, regions[i].serial);
        if (!region) continue;
        const LSound& whole = regions[i].document->sound;
        LSound piece(whole.sampleRate, whole.channels);
        whole.CopyRange(region->startFrame, region->endFrame, piece);
        if (first) {
            joined = LSound(whole.sampleRate, whole.channels);
        } else {
            const JobResult converted =
                piece.ConvertFormat(piece, joined.sampleRate, joined.channels, progress);
            if (converted != JobResult::kSuccess) return converted;
            const int64_t gap = MsToFrames(gapMs, joined.sampleRate);
            if (gap > 0) joined.InsertSilence(joined.Length(), gap);
        }
        joined.Insert(joined.Length(), piece);
        first = false;
        progress.SetFraction(static_cast<double>(i + 1) / static_cast<double>(regions.size()));
    }
    if (first) return JobResult::kCancelled;
    out = std::move(joined);
    return JobResult::kSuccess;
}

}  // namespace ondarix
