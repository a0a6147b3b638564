// SPDX-License-Identifier: GPL-3.0-or-later
// The arguments of a process as one block of fixed size, which a second process sends to the first.
//
//   0  4           i32 count, argument 0 included, at most 128
//   4  128 * 520   one entry an argument: UTF-16 text of at most 259 units and a NUL; the rest is zero
//
// All little-endian. Longer arguments are cut, arguments beyond the 128th are left out.
#pragma once
#include <QByteArray>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <span>

namespace ondarix {

inline constexpr int kArgumentBlockEntries = 128;
inline constexpr int kArgumentEntryBytes = 520;
inline constexpr int kArgumentBlockBytes = 4 + kArgumentBlockEntries * kArgumentEntryBytes;
static_assert(kArgumentBlockBytes == 66564);

// Always kArgumentBlockBytes long. [any]
QByteArray EncodeArgumentBlock(const QStringList& arguments);
// Nothing when the size is any other or the count is not positive. A count above 128 is taken as 128, and an
// entry without its NUL ends with its 259th unit. [any]
std::optional<QStringList> DecodeArgumentBlock(std::span<const uint8_t> block);

}  // namespace ondarix
