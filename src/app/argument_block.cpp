// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/argument_block.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "gen/bytes.h"
#include "gen/text.h"

namespace ondarix {

QByteArray EncodeArgumentBlock(const QStringList& arguments) {
    QByteArray block(kArgumentBlockBytes, '\0');
    const int count = static_cast<int>(std::min<qsizetype>(arguments.size(), kArgumentBlockEntries));
    StoreLe<int32_t>(block.data(), count);
    for (int i = 0; i < count; ++i) {
        const QString text = CutToFixedText(arguments[i]);
        std::memcpy(block.data() + 4 + i * kArgumentEntryBytes, text.utf16(),
                    static_cast<size_t>(text.size()) * sizeof(char16_t));
    }
    return block;
}

std::optional<QStringList> DecodeArgumentBlock(std::span<const uint8_t> block) {
    if (block.size() != static_cast<size_t>(kArgumentBlockBytes)) return std::nullopt;
    const int32_t stated = LoadLe<int32_t>(block.data());
    if (stated <= 0) return std::nullopt;
    const int count = std::min(stated, kArgumentBlockEntries);
    QStringList arguments;
    arguments.reserve(count);
    for (int i = 0; i < count; ++i) {
        std::array<char16_t, kFixedTextLength> units;
        std::memcpy(units.data(), block.data() + 4 + i * kArgumentEntryBytes, sizeof units);
        const auto length = std::find(units.begin(), units.end(), u'\0') - units.begin();
        arguments.append(QString::fromUtf16(units.data(), length));
    }
    return arguments;
}

}  // namespace ondarix
