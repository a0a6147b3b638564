// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <vector>

#include "sound/cache.h"
#include "sound/cache_writer.h"
#include "sound/readers.h"
#include "sound/sound.h"

namespace ondarix {

// Frames from a vector, endless silence around them.
class LVectorSource final : public LSoundSource {
  public:
    LVectorSource(std::vector<float> samples, LSoundFormat format)
        : LSoundSource(format.sampleRate, format.channels), samples_(std::move(samples)) {}
    float* Read(float* dest, int32_t frames) override {
        for (int32_t i = 0; i < frames; ++i, ++position_) {
            for (int c = 0; c < channels; ++c) {
                const int64_t at = position_ * channels + c;
                *dest++ =
                    position_ >= 0 && position_ < GetLength() ? samples_[static_cast<size_t>(at)] : 0.0f;
            }
        }
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override {
        return growing ? shown : static_cast<int64_t>(samples_.size()) / channels;
    }
    void Seek(int64_t frame) override {
        if (canSeek) position_ = std::min(frame, GetLength());
    }
    bool Query(uint32_t id, void* result) override {
        if (id != kQueryIntegerBits || bits == 0) return false;
        *static_cast<uint32_t*>(result) = bits;
        return true;
    }
    bool IsGrowing() override { return growing; }
    void WaitForData(uint32_t) override {
        shown += 1000;
        growing = shown * channels < static_cast<int64_t>(samples_.size());
    }

    bool canSeek = true;
    bool growing = false;
    int64_t shown = 0;
    uint32_t bits = 0;

  private:
    std::vector<float> samples_;
    int64_t position_ = 0;
};

inline std::vector<float> ReadFrames(LSoundSource& source, int64_t frames, int32_t block = 1000) {
    std::vector<float> all(static_cast<size_t>(frames * source.channels), 777.0f);
    for (int64_t done = 0; done < frames; done += block) {
        float* const dest = all.data() + done * source.channels;
        const auto piece = static_cast<int32_t>(std::min<int64_t>(block, frames - done));
        EXPECT_EQ(source.Read(dest, piece), dest + int64_t{piece} * source.channels);
    }
    return all;
}

inline std::vector<float> ReadSound(const LSound& sound) {
    LSoundReader reader(sound);
    return ReadFrames(reader, sound.Length());
}

// A cache in a folder of its own.
class SoundCacheTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(home_.isValid());
        qputenv("ONDARIX_HOME", home_.path().toUtf8());
        folder_ = home_.filePath("numbers");
        ASSERT_TRUE(SetCacheFolder(folder_));
    }
    void TearDown() override { CloseCache(); }

    LSound Write(const std::vector<float>& samples, LSoundFormat format = {}) {
        LSound sound;
        LCacheFileWriter writer(format, &sound);
        writer.Write(samples.data(), static_cast<int32_t>(samples.size()) / format.channels);
        writer.Finish();
        EXPECT_FALSE(writer.HasFailed());
        return sound;
    }
    // Numbered files only.
    QStringList Files() const {
        QStringList names = QDir(folder_).entryList(QDir::Files, QDir::Name);
        names.removeAll("cache.lock");
        return names;
    }
    QString MakeFile(const QString& name, const QByteArray& bytes) const {
        QFile file(home_.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }

    QTemporaryDir home_;
    QString folder_;
};

}  // namespace ondarix
