// SPDX-License-Identifier: GPL-3.0-or-later
// Effect chains on disk, ".ecf": an LSDF file of kind 11, format version 1, whose root holds for each effect
//
//   8192  u32    type number          4096  group   its stored form:
//                                       4096  group   common: 8192 byte bypass, 12288 u32 word
//                                       8192...       the effect's own fields
#pragma once
#include <memory>

#include "effects/chain.h"

namespace ondarix {

inline constexpr const char* kChainExtension = "ecf";
inline constexpr const char* kChainFilter = "Effects Chain File *.ecf";
inline constexpr uint16_t kChainVersion = 1;

enum class LChainRead : uint8_t { kRead, kCannotOpen, kNoChain };
enum class LChainWrite : uint8_t {
    kWritten,
    kEmpty,       // nothing to save
    kUnstorable,  // holds an effect that has no stored form: writing it would lose that one
    kFailed,
};

// False, and the chain unchanged, where the header is none of a chain's. What a file that was cut short held
// up to there is read; of more than LEffectChain::kMostEffects effects the first ones.
bool ReadEffectChain(std::shared_ptr<LByteSource> bytes, LEffectChain& chain);
LChainRead ReadEffectChainFile(const QString& path, LEffectChain& chain);
// Written beside and moved over `path`, which until then, and for good on a failure, is as it was.
LChainWrite WriteEffectChainFile(const QString& path, const LEffectChain& chain);

// What the user is told, by window and command line alike.
struct LChainMessage {
    QString title, text;
};
// Empty for kRead and kWritten.
LChainMessage ChainMessage(LChainRead result);
LChainMessage ChainMessage(LChainWrite result);

}  // namespace ondarix
