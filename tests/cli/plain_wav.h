// SPDX-License-Identifier: GPL-3.0-or-later
// A reader and writer of plain WAV files that shares nothing with the program's own.
#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>
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

// What sox makes of a file: 32-bit floats, interleaved.
QByteArray FloatSamples(const QString& path, const QStringList& effects = {});
// Of two blocks of 32-bit floats; more than any sound where the lengths differ or nothing is there.
double LoudestDifference(const QByteArray& one, const QByteArray& other);

}  // namespace ondarix::test
