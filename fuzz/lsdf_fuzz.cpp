// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdlib>

#include "gen/lsdf.h"

using namespace ondarix;

namespace {

// Walks everything, reads every value in every form, and stops the program when the reader breaks its
// promises.
void Walk(LLsdfReader& reader, int64_t& budget) {
    while (const auto chunk = reader.Next()) {
        if (--budget < 0) std::abort();  // every chunk takes at least its header
        if (chunk->size < 0) std::abort();
        reader.Bool();
        reader.U32();
        reader.I64();
        reader.F32();
        if (const auto text = reader.Text(); text && text->size() > 259) std::abort();
        if (reader.Bytes(chunk->size / 2, 4096).size() > chunk->size) std::abort();
        if (reader.Enter()) {
            Walk(reader, budget);
            reader.Leave();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    for (const LsdfFileKind kind : {LsdfFileKind::kAudInfo, LsdfFileKind::kProject}) {
        LLsdfReader reader(std::make_shared<LMemoryBytes>(std::span(data, size)),
                           static_cast<uint32_t>(kind));
        int64_t budget = static_cast<int64_t>(size) * LLsdfReader::kMaxDepth / 12 + 1;
        Walk(reader, budget);
    }
    return 0;
}
