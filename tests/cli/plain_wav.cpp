// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/plain_wav.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include "cli/program.h"

namespace ondarix::test {
namespace {

template <typename T>
T At(const QByteArray& bytes, int64_t offset) {
    T value;
    std::memcpy(&value, bytes.constData() + offset, sizeof value);
    return value;
}

template <typename T>
QByteArray Bytes(T value) {
    return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
}

int32_t IntegerAt(const QByteArray& data, int bits, int64_t index) {
    switch (bits) {
        case 8:
            return int{At<uint8_t>(data, index)} - 128;
        case 16:
            return At<int16_t>(data, index * 2);
        case 24:
            return int{At<int8_t>(data, index * 3 + 2)} * 65536 + At<uint16_t>(data, index * 3);
        default:
            return At<int32_t>(data, index * 4);
    }
}

}  // namespace

std::vector<float> PlainWav::Samples() const {
    const int64_t count = data.size() / (bits / 8);
    std::vector<float> samples(static_cast<size_t>(count));
    const double top = std::ldexp(1.0, bits - 1) - 1;
    for (int64_t i = 0; i < count; ++i) {
        float& sample = samples[static_cast<size_t>(i)];
        if (tag == 3) {
            sample = bits == 32 ? At<float>(data, i * 4) : static_cast<float>(At<double>(data, i * 8));
        } else {
            sample = static_cast<float>(IntegerAt(data, bits, i) / top);
        }
    }
    return samples;
}

QByteArray PlainWav::ToBytes() const {
    const int align = bits / 8 * channels;
    QByteArray pad(data.size() % 2, '\0');
    return "RIFF" + Bytes(static_cast<uint32_t>(36 + data.size() + pad.size())) + "WAVEfmt " +
           Bytes(uint32_t{16}) + Bytes(static_cast<uint16_t>(tag)) + Bytes(static_cast<uint16_t>(channels)) +
           Bytes(static_cast<uint32_t>(rate)) + Bytes(static_cast<uint32_t>(rate * align)) +
           Bytes(static_cast<uint16_t>(align)) + Bytes(static_cast<uint16_t>(bits)) + "data" +
           Bytes(static_cast<uint32_t>(data.size())) + data + pad;
}

PlainWav ReadPlainWav(const QString& path) {
    const QByteArray bytes = FileContent(path);
    PlainWav wav;
    for (int64_t offset = 12; offset + 8 <= bytes.size();) {
        const QByteArray id = bytes.mid(offset, 4);
        const int64_t size = At<uint32_t>(bytes, offset + 4);
        offset += 8;
        if (id == "fmt ") {
            wav.tag = At<uint16_t>(bytes, offset);
            wav.channels = At<uint16_t>(bytes, offset + 2);
            wav.rate = At<int32_t>(bytes, offset + 4);
            wav.bits = At<uint16_t>(bytes, offset + 14);
        } else if (id == "data") {
            wav.data = bytes.mid(offset, size);
        }
        offset += size + size % 2;
    }
    EXPECT_EQ(bytes.left(4) + bytes.mid(8, 4), "RIFFWAVE") << path.toStdString();
    return wav;
}

PlainWav NoiseWav(unsigned seed, int tag, int bits, int rate, int channels, int frames, double amplitude) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> spread(-amplitude, amplitude);
    PlainWav wav{tag, bits, rate, channels, {}};
    const double top = std::ldexp(1.0, bits - 1) - 1;
    for (int i = 0; i < frames * channels; ++i) {
        const double value = spread(random);
        if (tag == 3) {
            wav.data += Bytes(static_cast<float>(value));
        } else if (bits == 8) {
            wav.data += static_cast<char>(std::lround(value * top) + 128);
        } else {
            wav.data += Bytes(static_cast<int32_t>(std::lround(value * top))).left(bits / 8);
        }
    }
    return wav;
}

QByteArray FloatSamples(const QString& path, const QStringList& effects) {
    return RunTool("sox", QStringList{"-V1", path, "-t", "f32", "-"} + effects);
}

double LoudestDifference(const QByteArray& one, const QByteArray& other) {
    if (one.size() != other.size() || one.isEmpty()) return 100;
    double most = 0;
    for (qsizetype at = 0; at + 4 <= one.size(); at += 4) {
        float a = 0, b = 0;
        std::memcpy(&a, one.constData() + at, 4);
        std::memcpy(&b, other.constData() + at, 4);
        most = std::max(most, std::fabs(double{a} - double{b}));
    }
    return most;
}

}  // namespace ondarix::test
