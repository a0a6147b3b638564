// SPDX-License-Identifier: GPL-3.0-or-later
// The WAV reader over arbitrary bytes: it ends, keeps to its buffers, and its length agrees with the bytes.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "formats/wav_chunks.h"
#include "formats/wav_source.h"

using namespace ondarix;

namespace {

constexpr int32_t kBlock = 501;
constexpr float kGuard = 12345.0f;

void Demand(bool holds) {
    if (!holds) std::abort();
}

void ReadFrom(LSoundSource& source, int64_t start) {
    source.Seek(start);
    Demand(source.GetPosition() == std::min(start, source.GetLength()));
    std::vector<float> block(size_t{kBlock} * source.channels + 1, kGuard);
    for (int i = 0; i < 4; ++i) {
        const float* end = source.Read(block.data(), kBlock);
        Demand(end == block.data() + size_t{kBlock} * source.channels && *end == kGuard);
        Demand(source.GetPosition() <= source.GetLength());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto file = std::make_shared<LMemoryBytes>(std::span(data, size));
    const LSoundSourceRef source = OpenWav(file);
    if (source.IsUsable()) {
        const int64_t length = source->GetLength();
        Demand(length >= 0 && length * source->channels <= static_cast<int64_t>(size));
        for (int64_t start : {int64_t{0}, int64_t{-300}, length / 2, length - 1, length + 7})
            ReadFrom(*source, start);
    }
    const LForeignChunks chunks = ReadForeignChunks(*file);
    int64_t bytes = 0;
    for (ChunkPlace place : {ChunkPlace::kBeforeFormat, ChunkPlace::kBeforeData, ChunkPlace::kAfterData})
        bytes += chunks.BytesAt(place);
    Demand(bytes >= 0 && bytes <= static_cast<int64_t>(size) + 1);
    return 0;
}
