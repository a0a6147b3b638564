// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdlib>
#include <set>

#include "sound/bookmark_file.h"

using namespace ondarix;

// The file of bookmarks beside a sound, which may come from anybody.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    LBookmarks bookmarks(1);
    const LBookmarkRead read = ReadBookmarks(bytes, 44100, bookmarks);
    if (read != LBookmarkRead::kRead) {
        if (read != LBookmarkRead::kDamaged || !bookmarks.empty()) std::abort();
        return 0;
    }
    // The shortest bookmark of any form takes 25 bytes.
    if (bookmarks.size() > size / 25) std::abort();
    std::set<uint32_t> indexes;
    size_t unknown = 0;
    for (const LBookmark& one : bookmarks) {
        if (one.name.size() > 259 || one.comment.size() > 259) std::abort();
        if (one.position < 0 || one.sampleRate < 1 || one.positionMs < 0) std::abort();
        if (one.index == 0 || !indexes.insert(one.index).second) std::abort();
        for (const LUnknownChunk& chunk : one.unknownChunks)
            unknown += static_cast<size_t>(chunk.payload.size());
    }
    if (unknown > size) std::abort();
    return 0;
}
