// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/phase.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace ondarix {
namespace {

std::atomic<int32_t> gPhase{kPhaseGlobalInit};
std::atomic<int32_t> gLastCommand{0};

struct TagRecord {
    int thread = 0;  // 0: free
    char tag[5] = {};
};
std::mutex gTagLock;
std::array<TagRecord, 64> gTags;

TagRecord* FindTag(int thread) {
    for (TagRecord& record : gTags) {
        if (record.thread == thread) return &record;
    }
    return nullptr;
}

}  // namespace

int32_t ProgramPhase() { return gPhase; }
void SetProgramPhase(int32_t phase) { gPhase = phase; }
int32_t LastCommand() { return gLastCommand; }

namespace {

// Null for a command's number and for the resting phase.
const char* PhaseName(int32_t phase) {
    switch (phase) {
        case kPhaseGlobalInit:
            return "GloIni1";
        case kPhaseWindowInit:
            return "GuiIni2";
        case kPhaseWindowDestroy:
            return "GuiDes3";
        case kPhaseGlobalDestroy:
            return "GloDes4";
        default:
            return nullptr;
    }
}

// The tag where the table can be had at once, otherwise digits of the thread's id.
void CopyThreadTag(char (&tag)[5]) {
    std::snprintf(tag, sizeof tag, "%.4u", static_cast<unsigned>(gettid()) % 10000U);
    const std::unique_lock guard(gTagLock, std::try_to_lock);
    if (!guard.owns_lock()) return;
    if (const TagRecord* record = FindTag(gettid())) std::memcpy(tag, record->tag, sizeof tag);
}

}  // namespace

QString ProgramPhaseLabel(int32_t phase) {
    const char* name = PhaseName(phase);
    return name ? QString::fromLatin1(name) : QString::number(phase);
}

size_t DescribeProgramPhase(char* text, size_t room) {
    char tag[5];
    CopyThreadTag(tag);
    const int32_t phase = gPhase;
    const char* name = PhaseName(phase);
    const int length = name ? std::snprintf(text, room, "phase %s, thread %s", name, tag)
                            : std::snprintf(text, room, "phase %d, thread %s", phase, tag);
    return std::min(static_cast<size_t>(length), room - 1);
}

LCommandPhase::LCommandPhase(int32_t command) : before_(gPhase.exchange(command)), command_(command) {}

LCommandPhase::~LCommandPhase() {
    if (before_ == kPhaseRunning) gLastCommand = command_;
    gPhase = before_;
}

void RegisterThreadTag(const char* tag) {
    const std::lock_guard guard(gTagLock);
    TagRecord* record = FindTag(gettid());
    if (!record) record = FindTag(0);
    if (!record) return;
    record->thread = gettid();
    std::snprintf(record->tag, sizeof record->tag, "%s", tag);
}

void UnregisterThreadTag() {
    const std::lock_guard guard(gTagLock);
    if (TagRecord* record = FindTag(gettid())) *record = {};
}

QString CurrentThreadTag() {
    const std::lock_guard guard(gTagLock);
    if (const TagRecord* record = FindTag(gettid())) return QString::fromLatin1(record->tag);
    return QString::asprintf("%.4d", gettid() % 10000);
}

}  // namespace ondarix
