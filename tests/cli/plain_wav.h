// SPDX-License-Identifier: GPL-3.0-or-later
// A reader and writer of plain WAV files that shares nothing with the program's own.
#pragma once
#include <QByteArray>
#include <QString>
#include <vector>

namespace ondarix::test {

struct PlainWav {
    int tag = 1;  // 1 PCM, 3 float
    int bits = 16;
    int rate = 44100;
    int channels = 1;
    QByteArray data;  // as in the file

    int64_t Frames() const { return data.size() / (bits / 8 * channels); }
    // Interleaved, integers over their largest positive value.
    std::vector<float> Samples() const;
    QByteArray ToBytes() const;
};

PlainWav ReadPlainWav(const QString& path);
// Noise of about `amplitude`, the same for the same seed.
PlainWav NoiseWav(unsigned seed, int tag, int bits, int rate, int channels, int frames, double amplitude);

}  // namespace ondarix::test
