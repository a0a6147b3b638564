// SPDX-License-Identifier: GPL-3.0-or-later
// A second reader and writer of ".ecf" files, made from the description of the format alone: it shares no
// code with the program.
#pragma once
#include <QByteArray>
#include <QFile>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace ondarix::test {

struct EcfChunk {
    int id = 0, type = 0;
    QByteArray payload;
    std::vector<EcfChunk> children;  // of a group

    uint32_t U32() const {
        uint32_t value = 0;
        std::memcpy(&value, payload.constData(), 4);
        return value;
    }
    float F32() const {
        float value = 0;
        std::memcpy(&value, payload.constData(), 4);
        return value;
    }
};

inline uint64_t EcfNumber(const QByteArray& bytes, qsizetype at, int width) {
    uint64_t value = 0;
    for (int i = width - 1; i >= 0; --i) value = value << 8 | static_cast<uint8_t>(bytes[at + i]);
    return value;
}

// Nothing where a size does not fit.
inline std::optional<std::vector<EcfChunk>> ParseEcfGroup(const QByteArray& bytes) {
    std::vector<EcfChunk> chunks;
    for (qsizetype at = 0; at < bytes.size();) {
        if (bytes.size() - at < 12) return std::nullopt;
        EcfChunk chunk{
            static_cast<int>(EcfNumber(bytes, at, 2)), static_cast<int>(EcfNumber(bytes, at + 2, 2)), {}, {}};
        const uint64_t size = EcfNumber(bytes, at + 4, 8);
        if (size > static_cast<uint64_t>(bytes.size() - at - 12)) return std::nullopt;
        chunk.payload = bytes.mid(at + 12, static_cast<qsizetype>(size));
        if (chunk.type == 0) {
            auto children = ParseEcfGroup(chunk.payload);
            if (!children) return std::nullopt;
            chunk.children = std::move(*children);
        }
        at += 12 + static_cast<qsizetype>(size);
        chunks.push_back(std::move(chunk));
    }
    return chunks;
}

// The children of the root; nothing where the file is not in order to the byte.
inline std::optional<std::vector<EcfChunk>> ParseEcf(const QByteArray& file) {
    if (file.size() < 28 || !file.startsWith("lsdf") || !file.endsWith("lsdf")) return std::nullopt;
    const bool header = EcfNumber(file, 4, 2) == 1 && EcfNumber(file, 6, 4) == 11 &&
                        EcfNumber(file, 10, 2) == 1 && EcfNumber(file, 12, 4) == 0;
    if (!header || EcfNumber(file, 16, 8) != static_cast<uint64_t>(file.size() - 28)) return std::nullopt;
    return ParseEcfGroup(file.mid(24, file.size() - 28));
}

inline QByteArray EcfLe(uint64_t value, int width) {
    QByteArray bytes;
    for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    return bytes;
}

inline QByteArray EcfPut(int id, int type, const QByteArray& payload) {
    return EcfLe(static_cast<uint64_t>(id), 2) + EcfLe(static_cast<uint64_t>(type), 2) +
           EcfLe(static_cast<uint64_t>(payload.size()), 8) + payload;
}
inline QByteArray EcfGroup(int id, const QByteArray& payload) { return EcfPut(id, 0, payload); }
inline QByteArray EcfByte(int id, int value) { return EcfPut(id, 1, EcfLe(static_cast<uint64_t>(value), 1)); }
inline QByteArray EcfU32(int id, uint32_t value) { return EcfPut(id, 2, EcfLe(value, 4)); }
inline QByteArray EcfF32(int id, float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, 4);
    return EcfPut(id, 4, EcfLe(bits, 4));
}

inline QByteArray EcfCommon(int bypass = 0, uint32_t word = 0) {
    return EcfGroup(4096, EcfByte(8192, bypass) + EcfU32(12288, word));
}
inline QByteArray EcfEffect(int32_t type, const QByteArray& body) {
    return EcfU32(8192, static_cast<uint32_t>(type)) + EcfGroup(4096, body);
}
inline QByteArray EcfFile(const QByteArray& body, int kind = 11, int version = 1) {
    return "lsdf" + EcfLe(1, 2) + EcfLe(static_cast<uint64_t>(kind), 4) +
           EcfLe(static_cast<uint64_t>(version), 2) + EcfPut(0, 0, body) + "lsdf";
}

inline QByteArray FileBytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace ondarix::test
