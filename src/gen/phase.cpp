// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/phase.h"

#include <unistd.h>

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

QString ProgramPhaseLabel(int32_t phase) {
    switch (phase) {
        case kPhaseGlobalInit:
            return QStringLiteral("GloIni1");
        case kPhaseWindowInit:
            return QStringLiteral("GuiIni2");
        case kPhaseWindowDestroy:
            return QStringLiteral("GuiDes3");
        case kPhaseGlobalDestroy:
            return QStringLiteral("GloDes4");
        default:
            return QString::number(phase);
    }
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
