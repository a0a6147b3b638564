// SPDX-License-Identifier: GPL-3.0-or-later
// Named places and named stretches of a sound. Both follow every edit, live in the undo history and are
// plain values: a copy is a deep one.
#pragma once
#include <QString>
#include <cstdint>
#include <vector>

#include "sound/sound.h"

namespace ondarix {

// 64-bit without overflow on any length; a rate below 1 gives 0. Both round down.
int64_t FramesToMs(int64_t frames, int32_t rate);
int64_t MsToFrames(int64_t ms, int32_t rate);

struct LBookmark {
    QString name, comment;  // at most 259 UTF-16 units each
    uint8_t kind = 1;
    uint32_t colourOrFlags = 0;
    uint32_t index = 0;  // unique in the document, from 1
    int64_t position = 0;
    int32_t sampleRate = 44100;  // in which `position` counts
    int64_t positionMs = 0;      // follows from both; SetPosition keeps it
    uint32_t chunkIndex = 65535;
    LUnknownChunks unknownChunks;

    void SetPosition(int64_t frames, int32_t rate);
};
using LBookmarks = std::vector<LBookmark>;

struct LRegion {
    QString name, comment;
    uint32_t colour = 137;
    LUnknownChunks unknownChunks;
    int32_t chunkIndex = -1;
    uint32_t serial = 0;  // in the order of creation over all sounds; see NextRegionSerial
    int64_t startFrame = 0, endFrame = 0;
    int32_t sampleRate = 44100;
    int64_t startMs = 0, endMs = 0;

    void SetRange(int64_t start, int64_t end, int32_t rate);
};
using LRegions = std::vector<LRegion>;
uint32_t NextRegionSerial();

// `delta` frames come in at `pos`, or go there when negative. What stands at or before `pos` stays; bookmarks
// inside what goes are removed, one at its end moves to `pos`.
void ShiftBookmarks(LBookmarks& bookmarks, int64_t pos, int64_t delta);
// Regions likewise by their edges; one that loses all its frames is removed.
void ShiftRegions(LRegions& regions, int64_t pos, int64_t delta);
// What remains after everything outside [start, end) has gone.
void KeepBookmarks(LBookmarks& bookmarks, int64_t start, int64_t end);
void KeepRegions(LRegions& regions, int64_t start, int64_t end);
// value * newRate / oldRate, in 128 bits.
int64_t ScalePosition(int64_t value, int32_t newRate, int32_t oldRate);
void ScaleBookmarks(LBookmarks& bookmarks, int32_t newRate, int32_t oldRate);
void ScaleRegions(LRegions& regions, int32_t newRate, int32_t oldRate);

uint32_t NextBookmarkIndex(const LBookmarks& bookmarks);             // the highest one, plus 1
bool HasBookmark(const LBookmarks& bookmarks, const QString& name);  // without case
bool RemoveBookmark(LBookmarks& bookmarks, const QString& name);     // each one; false: none
// Whether a bookmark stands at `frames`: exactly, or less than 2 frames away where the file is one of ".wav",
// ".aif", ".aiff", ".aifc".
bool BookmarkNear(const LBookmarks& bookmarks, int64_t frames, const QString& fileName);
// "Bookmark 1" and so on, the first that is free.
QString FreeBookmarkName(const LBookmarks& bookmarks, const QString& stem);
QString FreeRegionName(const LRegions& regions, const QString& stem);

}  // namespace ondarix
