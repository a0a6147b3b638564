// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QByteArray>
#include <cstdint>

namespace ondarix {

// The WAVEFORMATEX of a file to be written: what a "fmt " chunk holds. Public RIFF WAVE format.
struct LFormatRecord {
    uint16_t tag = 1;  // 1 PCM, 3 IEEE float, 6 A-law, 7 mu-law
    uint16_t channels = 2;
    uint32_t sampleRate = 44100;
    uint32_t bytesPerSecond = 176400;
    uint16_t blockAlign = 4;
    uint16_t bits = 16;
    QByteArray extra;  // what follows cbSize

    // bytes a second = bits * channels * rate / 8, block align = bits / 8 * channels.
    static LFormatRecord Plain(uint16_t tag, uint16_t bits, uint32_t rate, uint16_t channels);
    // As stored in a file of its own: 18 bytes and the extra ones. Empty bytes or nonsense: the default.
    QByteArray ToBytes() const;
    static LFormatRecord FromBytes(const QByteArray& bytes);
};

}  // namespace ondarix
