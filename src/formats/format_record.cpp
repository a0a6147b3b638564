// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/format_record.h"

#include "gen/bytes.h"

namespace ondarix {

LFormatRecord LFormatRecord::Plain(uint16_t tag, uint16_t bits, uint32_t rate, uint16_t channels) {
    LFormatRecord record;
    record.tag = tag;
    record.bits = bits;
    record.sampleRate = rate;
    record.channels = channels;
    record.bytesPerSecond = static_cast<uint32_t>(uint64_t{bits} * channels * rate / 8);
    record.blockAlign = static_cast<uint16_t>(bits / 8 * channels);
    return record;
}

QByteArray LFormatRecord::ToBytes() const {
    QByteArray bytes(18, '\0');
    char* to = bytes.data();
    StoreLe(to, tag);
    StoreLe(to + 2, channels);
    StoreLe(to + 4, sampleRate);
    StoreLe(to + 8, bytesPerSecond);
    StoreLe(to + 12, blockAlign);
    StoreLe(to + 14, bits);
    StoreLe(to + 16, static_cast<uint16_t>(extra.size()));
    return bytes + extra;
}

LFormatRecord LFormatRecord::FromBytes(const QByteArray& bytes) {
    if (bytes.size() < 18) return {};
    const char* from = bytes.constData();
    LFormatRecord record;
    record.tag = LoadLe<uint16_t>(from);
    record.channels = LoadLe<uint16_t>(from + 2);
    record.sampleRate = LoadLe<uint32_t>(from + 4);
    record.bytesPerSecond = LoadLe<uint32_t>(from + 8);
    record.blockAlign = LoadLe<uint16_t>(from + 12);
    record.bits = LoadLe<uint16_t>(from + 14);
    const auto extraSize = LoadLe<uint16_t>(from + 16);
    record.extra = bytes.mid(18, extraSize);
    const bool sound = record.tag != 0 && record.channels >= 1 && record.channels <= 255 &&
                       record.sampleRate >= 1 && record.extra.size() == extraSize;
    return sound ? record : LFormatRecord{};
}

}  // namespace ondarix
