// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/sound.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "sound/rate_converter.h"

namespace ondarix {

LSoundSourceRef (*gMakeFormatConverter)(LSoundSourceRef source, LSoundFormat target) = &ConvertToFormat;
void (*gReadMp3Facts)(LSoundCacheRef& ref) = nullptr;

// --- LSoundCacheRef

LSoundCacheRef::LSoundCacheRef(uint16_t id) : cacheId(id) { AddCacheRef(id); }

LSoundCacheRef LSoundCacheRef::Adopt(uint16_t id) {
    LSoundCacheRef ref;
    ref.cacheId = id;
    return ref;
}

LSoundCacheRef::LSoundCacheRef(const LSoundCacheRef& other)
    : mp3FrameSize(other.mp3FrameSize),
      mp3LeadIn(other.mp3LeadIn),
      mp3LeadOut(other.mp3LeadOut),
      mp3Length(other.mp3Length),
      cacheId(other.cacheId),
      epoch_(other.epoch_) {
    if (IsOfThisFolder()) AddCacheRef(cacheId);
}

LSoundCacheRef::LSoundCacheRef(LSoundCacheRef&& other) noexcept
    : mp3FrameSize(other.mp3FrameSize),
      mp3LeadIn(other.mp3LeadIn),
      mp3LeadOut(other.mp3LeadOut),
      mp3Length(other.mp3Length),
      cacheId(std::exchange(other.cacheId, kSilenceId)),
      epoch_(other.epoch_) {}

LSoundCacheRef& LSoundCacheRef::operator=(const LSoundCacheRef& other) {
    if (this != &other) *this = LSoundCacheRef(other);
    return *this;
}

LSoundCacheRef& LSoundCacheRef::operator=(LSoundCacheRef&& other) noexcept {
    if (this == &other) return *this;
    LSoundCacheRef old;
    old.cacheId = std::exchange(cacheId, std::exchange(other.cacheId, kSilenceId));
    old.epoch_ = std::exchange(epoch_, other.epoch_);
    mp3FrameSize = other.mp3FrameSize;
    mp3LeadIn = other.mp3LeadIn;
    mp3LeadOut = other.mp3LeadOut;
    mp3Length = other.mp3Length;
    return *this;
}

LSoundCacheRef::~LSoundCacheRef() {
    if (cacheId < kNoCacheId && IsOfThisFolder()) ReleaseCacheRef(cacheId);
}

// --- LSoundSegment

LSoundSegment::LSoundSegment(LSoundCacheRef ref, int64_t start, int64_t frames)
    : cacheRef(std::move(ref)), length(frames), offset(start) {}

LSoundSegment LSoundSegment::Silent(int64_t frames) { return {LSoundCacheRef(), 0, frames}; }

LSoundSegment::LSoundSegment(const LSoundSegment& other)
    : cacheRef(other.cacheRef), length(other.length), gain(other.gain), offset(other.offset) {
    if (other.unknownChunks) unknownChunks = std::make_unique<LUnknownChunks>(*other.unknownChunks);
}

LSoundSegment::~LSoundSegment() {
    std::unique_ptr<LSoundSegment> rest = std::move(next);
    while (rest) rest = std::move(rest->next);
}

void LSoundSegment::SkipHead(int64_t frames) {
    length -= frames;
    if (!IsSilent()) offset += frames;
}

// --- LLosslessModeSubject

void LLosslessModeSubject::Add(LLosslessModeObserver* observer) {
    if (std::find(observers_.begin(), observers_.end(), observer) == observers_.end()) {
        observers_.push_back(observer);
    }
}

void LLosslessModeSubject::Remove(LLosslessModeObserver* observer) {
    const auto found = std::find(observers_.begin(), observers_.end(), observer);
    if (found == observers_.end()) return;
    *found = observers_.back();
    observers_.pop_back();
}

void LLosslessModeSubject::Set(bool on) {
    if (on == on_) return;
    on_ = on;
    const auto told = observers_;
    for (LLosslessModeObserver* observer : told) observer->OnLosslessModeChanged(on);
}

// --- LSound

LSound::LSound(LSound&& other) noexcept { TakeFacts(other); }

LSound& LSound::operator=(const LSound& other) {
    if (this != &other) CopyFrom(other);
    return *this;
}

LSound& LSound::operator=(LSound&& other) noexcept {
    if (this != &other) TakeFacts(other);
    return *this;
}

LSound::~LSound() { SetLosslessMode(nullptr); }

int64_t LSound::Length() const {
    int64_t total = 0;
    for (const LSoundSegment* at = segments.get(); at; at = at->next.get()) {
        if (__builtin_add_overflow(total, at->length, &total)) return std::numeric_limits<int64_t>::max();
    }
    return total;
}

void LSound::CopyFacts(const LSound& other) {
    SetLosslessMode(other.losslessMode);
    unknownChunks = other.unknownChunks;
    sampleRate = other.sampleRate;
    channels = other.channels;
    hasError = other.hasError;
}

void LSound::TakeFacts(LSound& other) {
    SetLosslessMode(other.losslessMode);
    other.SetLosslessMode(nullptr);
    unknownChunks = std::move(other.unknownChunks);
    sampleRate = other.sampleRate;
    channels = other.channels;
    hasError = other.hasError;
    segments = std::move(other.segments);
}

void LSound::CopyFrom(const LSound& other) {
    if (this == &other) return;
    CopyFacts(other);
    Link copies;
    Link* tail = &copies;
    for (const LSoundSegment* at = other.segments.get(); at; at = at->next.get()) {
        *tail = std::make_unique<LSoundSegment>(*at);
        tail = &(*tail)->next;
    }
    segments = std::move(copies);
}

void LSound::SetSingleSegment(const LSoundSegment& segment, int32_t rate, uint8_t channelCount) {
    auto clone = std::make_unique<LSoundSegment>(segment);
    segments = std::move(clone);
    sampleRate = rate;
    channels = channelCount;
}

void LSound::Clear() { segments.reset(); }

void LSound::SetLosslessMode(std::shared_ptr<LLosslessModeSubject> subject) {
    if (losslessMode) losslessMode->Remove(this);
    losslessMode = std::move(subject);
    if (losslessMode) losslessMode->Add(this);
}

}  // namespace ondarix
