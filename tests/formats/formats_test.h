// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of this folder share: a home of their own, files and other programs.
#pragma once
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "gen/bytes.h"
#include "gen/messages.h"
#include "gen/progress.h"
#include "sound/cache.h"
#include "sound/source.h"

namespace ondarix::test {

using Bytes = std::vector<uint8_t>;

// A folder for the files of a test, and the program's home in it.
class HomeTest : public testing::Test {
  protected:
    HomeTest() { setenv("ONDARIX_HOME", qPrintable(home()), 1); }
    QString home() const { return dir_.path() + "/home"; }
    QString Path(const QString& name) const { return dir_.path() + '/' + name; }
    QTemporaryDir dir_;
};

class CacheTest : public HomeTest {
  protected:
    CacheTest() { EXPECT_TRUE(OpenCache()); }
    ~CacheTest() override { CloseCache(); }
};

inline Bytes ReadWhole(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QByteArray bytes = file.readAll();
    return {bytes.begin(), bytes.end()};
}

inline void WriteWhole(const QString& path, const Bytes& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<qint64>(bytes.size())),
              static_cast<qint64>(bytes.size()));
}

// Standard output of a shell command; the test fails when the command does.
inline Bytes Shell(const QString& command) {
    Bytes out;
    FILE* pipe = popen(command.toUtf8().constData(), "r");
    if (!pipe) {
        ADD_FAILURE() << command.toStdString();
        return out;
    }
    uint8_t block[65536];
    while (const size_t got = fread(block, 1, sizeof block, pipe)) out.insert(out.end(), block, block + got);
    EXPECT_EQ(pclose(pipe), 0) << command.toStdString();
    return out;
}

template <typename T>
std::vector<T> As(const Bytes& bytes) {
    std::vector<T> values(bytes.size() / sizeof(T));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(T));
    return values;
}

inline std::vector<float> ReadAll(LSoundSource& source, int32_t block = 8192) {
    std::vector<float> all;
    std::vector<float> part(static_cast<size_t>(block) * source.channels);
    for (int64_t left = source.GetLength() - source.GetPosition(); left > 0;) {
        const auto frames = static_cast<int32_t>(std::min<int64_t>(block, left));
        const float* end = source.Read(part.data(), frames);
        all.insert(all.end(), part.begin(), part.begin() + (end - part.data()));
        left -= frames;
    }
    return all;
}

inline std::vector<float> Noise(size_t count, float level = 0.9f, uint32_t seed = 1) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> any(-level, level);
    std::vector<float> values(count);
    for (float& value : values) value = any(random);
    return values;
}

// The bytes of a RIFF WAVE file, put together by hand.
struct Riff {
    Bytes bytes;

    Riff() {
        const QByteArray form("RIFF\0\0\0\0WAVE", 12);
        bytes.assign(form.begin(), form.end());
    }

    template <typename T>
    static void Append(Bytes& to, T value) {
        const auto* from = reinterpret_cast<const uint8_t*>(&value);
        to.insert(to.end(), from, from + sizeof value);
    }
    Riff& Chunk(const char* id, const Bytes& payload, uint8_t pad = 0) {
        return ChunkOfSize(id, static_cast<uint32_t>(payload.size()), payload, pad);
    }
    Riff& ChunkOfSize(const char* id, uint32_t size, const Bytes& payload, uint8_t pad = 0) {
        bytes.insert(bytes.end(), id, id + 4);
        Append(bytes, size);
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        if ((payload.size() & 1) != 0) bytes.push_back(pad);
        return *this;
    }
    Riff& Format(uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits, const Bytes& more = {}) {
        Bytes payload;
        Append(payload, tag);
        Append(payload, channels);
        Append(payload, rate);
        Append(payload, static_cast<uint32_t>(rate * channels * bits / 8));
        Append(payload, static_cast<uint16_t>(channels * bits / 8));
        Append(payload, bits);
        payload.insert(payload.end(), more.begin(), more.end());
        return Chunk("fmt ", payload);
    }
    Bytes Close() {
        const auto size = static_cast<uint32_t>(bytes.size() - 8);
        std::memcpy(&bytes[4], &size, sizeof size);
        return bytes;
    }
};

// Keeps what it is told and answers with the buttons it was given.
class ScriptedHost final : public LMessageHost {
  public:
    void Tell(const QString& title, const QString& text) override { told.append(title + '|' + text); }
    int Ask(const QString& title, const QString& text, const QStringList& buttons, int,
            const QString& dontAskText, bool* dontAskAgain) override {
        told.append(title + '|' + text + '|' + buttons.join('/') +
                    (dontAskAgain ? '|' + dontAskText : QString()));
        if (dontAskAgain) *dontAskAgain = tick;
        return answer;
    }
    QStringList told;
    int answer = 0;
    bool tick = false;
};

// Never waits; cancels at the question with the number given.
class CountingProgress final : public LProgress {
  public:
    bool IsCancelled() override { return ++asked > cancelAt; }
    WaitResult Sleep(int) override { return WaitResult::kTimedOut; }
    WaitResult WaitForHandle(LWaitHandle, int) override { return WaitResult::kTimedOut; }
    WaitResult WaitForHandles(const LHandleList&, int) override { return WaitResult::kTimedOut; }
    void SetStatus(const QString& text, int line) override {
        if (line == 0) status.append(text);
    }
    int asked = 0;
    int cancelAt = INT32_MAX;
    QStringList status;
};

}  // namespace ondarix::test
