// SPDX-License-Identifier: GPL-3.0-or-later
// An open sound: a list of stretches of working files, never samples in memory. Rearranging edits walk the
// list and touch no disk; a copy is another list over the same files, which is what undo, the clipboard and
// background readers are made of. No lock: one thread, or a private copy. All positions are frames.
#pragma once
#include <QByteArray>
#include <cstdint>
#include <memory>
#include <vector>

#include "gen/progress.h"
#include "sound/cache.h"
#include "sound/format.h"
#include "sound/source.h"

namespace ondarix {

// Counted reference to one working file; the count itself is in the cache's table. A reference that outlives
// its cache folder refers to nothing any more: it is not counted, and reads as silence.
class LSoundCacheRef {
  public:
    LSoundCacheRef() = default;                // silence
    explicit LSoundCacheRef(uint16_t id);      // adds a reference
    static LSoundCacheRef Adopt(uint16_t id);  // takes over the reference of AllocateCacheId
    LSoundCacheRef(const LSoundCacheRef& other);
    LSoundCacheRef(LSoundCacheRef&& other) noexcept;
    LSoundCacheRef& operator=(const LSoundCacheRef& other);
    LSoundCacheRef& operator=(LSoundCacheRef&& other) noexcept;
    ~LSoundCacheRef();

    bool IsSilence() const { return cacheId == kSilenceId; }
    bool IsOfThisFolder() const { return epoch_ == CacheEpoch(); }

    // Lossless MP3 editing; frame size 0 means not read yet.
    uint32_t mp3FrameSize = 0;  // 1152 or 576
    uint32_t mp3LeadIn = 0;     // frames of decoder delay at the start
    uint32_t mp3LeadOut = 0;    // frames of padding at the end
    int64_t mp3Length = 0;      // real frames
    uint16_t cacheId = kSilenceId;

  private:
    uint32_t epoch_ = CacheEpoch();  // of the folder that cacheId is a number in
};

// What a file of a later version held and this one does not understand: kept so that saving loses nothing.
struct LUnknownChunk {
    uint16_t id = 0;
    uint16_t type = 0;
    uint32_t flags = 0;
    QByteArray payload;
};
using LUnknownChunks = std::vector<LUnknownChunk>;

struct LSoundSegment {
    LSoundSegment() = default;
    LSoundSegment(LSoundCacheRef ref, int64_t start, int64_t frames);
    static LSoundSegment Silent(int64_t frames);
    LSoundSegment(const LSoundSegment& other);  // without `next`
    LSoundSegment& operator=(const LSoundSegment&) = delete;
    ~LSoundSegment();  // frees what follows one by one: a list may be longer than the stack is deep

    bool IsSilent() const { return cacheRef.IsSilence(); }
    int64_t EndInFile() const { return offset + length; }
    void SkipHead(int64_t frames);  // silence keeps the offset 0

    std::unique_ptr<LSoundSegment> next;
    LSoundCacheRef cacheRef;
    int64_t length = 0;                             // frames; 0 is allowed in a list
    float gain = 1.0f;                              // applied while reading
    int64_t offset = 0;                             // frames into the working file
    std::unique_ptr<LUnknownChunks> unknownChunks;  // null: none
};

class LLosslessModeObserver {
  public:
    virtual ~LLosslessModeObserver() = default;
    virtual void OnLosslessModeChanged(bool on) = 0;
};

// One flag that the sounds of a document share. Not thread-safe.
class LLosslessModeSubject {
  public:
    void Add(LLosslessModeObserver* observer);  // a second time is ignored
    void Remove(LLosslessModeObserver* observer);
    void Set(bool on);  // tells the observers when the value changes
    bool IsOn() const { return on_; }

  private:
    std::vector<LLosslessModeObserver*> observers_;
    bool on_ = false;
};

// Edits whose result would not stay below 2^63 - 1 frames do nothing.
class LSound : public LLosslessModeObserver {
  public:
    static constexpr int64_t kMaxRepeatedSegments = int64_t{1} << 22;

    LSound() = default;
    LSound(int32_t rate, uint8_t channelCount) : sampleRate(rate), channels(channelCount) {}
    LSound(const LSound& other) { CopyFrom(other); }
    LSound(LSound&& other) noexcept;
    LSound& operator=(const LSound& other);
    LSound& operator=(LSound&& other) noexcept;
    ~LSound() override;

    int64_t Length() const;  // a walk of the list
    bool IsEmpty() const { return !segments; }
    LSoundFormat Format() const { return {sampleRate, channels}; }

    void CopyFrom(const LSound& other);
    void SetSingleSegment(const LSoundSegment& segment, int32_t rate, uint8_t channelCount);
    void Clear();  // the list only

    // `dest` becomes exactly end - start frames, silence where the range lies outside. Nothing when
    // start > end. `dest` may not be this sound.
    void CopyRange(int64_t start, int64_t end, LSound& dest) const;
    void Delete(int64_t start, int64_t end);
    void Keep(int64_t start, int64_t end);
    void DeleteHead(int64_t pos);
    void DeleteTail(int64_t pos);
    // A position past the end is filled up with silence; of a negative one only what reaches 0 is inserted.
    void InsertSilence(int64_t pos, int64_t len);
    // All segments of `source`, whose format does not matter. A position past the end is filled up with
    // silence; for a negative one -pos frames of silence follow what is inserted.
    void Insert(int64_t pos, const LSound& source);
    void Replace(int64_t start, int64_t end, const LSound& source);
    void Silence(int64_t start, int64_t end);
    // The range ends up times + 1 times in a row. Nothing when that would add more than kMaxRepeatedSegments.
    void Repeat(int64_t start, int64_t end, int64_t times);
    void ScaleRangePercent(int64_t start, int64_t end, int percent);
    void ScalePercent(int percent);
    void ScaleBy(float factor);

    // Writes `source` into a new working file and makes `result` that one segment. On anything but success
    // `result` is as it was. `status` is shown as line 0. Reports fractions, asks for cancelling every block.
    static JobResult Render(LSound& result, LProgress& progress, LSoundSource& source,
                            const QString& status = {});
    // `result`, which may be this sound, becomes this sound in the new format. At once when the format is the
    // same or the sound is empty; otherwise renders through the converter that gMakeFormatConverter builds,
    // kFailed when that cannot build one.
    JobResult ConvertFormat(LSound& result, int32_t rate, uint8_t channelCount, LProgress& progress) const;

    void SetLosslessMode(std::shared_ptr<LLosslessModeSubject> subject);
    void OnLosslessModeChanged(bool on) override;

    std::shared_ptr<LLosslessModeSubject> losslessMode;
    LUnknownChunks unknownChunks;
    int32_t sampleRate = 44100;
    uint8_t channels = 1;
    uint8_t hasError = 0;
    std::unique_ptr<LSoundSegment> segments;

  private:
    using Link = std::unique_ptr<LSoundSegment>;
    void CopyFacts(const LSound& other);        // all but the list
    void TakeFacts(LSound& other);              // leaves `other` registered nowhere
    void InsertChain(int64_t pos, Link chain);  // takes the nodes themselves
    // For `length` frames more at `pos`, once `removed` have gone.
    bool HasRoomFor(int64_t pos, int64_t length, int64_t removed = 0) const;
};

// Builds the rate and channel converter, ConvertToFormat unless a test puts another in its place: wraps a
// source, an empty handle when it cannot.
extern LSoundSourceRef (*gMakeFormatConverter)(LSoundSourceRef source, LSoundFormat target);
// Hook of lossless MP3 editing: reads frame size, lead-in, lead-out and length of the number's ".vmkmp3".
extern void (*gReadMp3Facts)(LSoundCacheRef& ref);

}  // namespace ondarix
