// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound_fixture.h"

#include <thread>

namespace ondarix {
namespace {

class ReaderTest : public SoundCacheTest {};

std::vector<float> Ramp(int64_t count, float start = 1) {
    std::vector<float> samples;
    for (int64_t i = 0; i < count; ++i) samples.push_back(start + static_cast<float>(i));
    return samples;
}

TEST_F(ReaderTest, AnyPositionAndBlockGivesTheSameFrames) {
    LSound sound = Write(Ramp(2000), {48000, 2});
    sound.Insert(300, Write(Ramp(600, 5000), {48000, 2}));
    sound.InsertSilence(100, 50);
    sound.Delete(400, 410);
    sound.ScaleRangePercent(500, 700, 50);
    LSoundReader reader(sound);
    EXPECT_EQ(reader.Format(), (LSoundFormat{48000, 2}));
    const int64_t length = reader.GetLength();
    reader.Seek(-200);
    const auto all = ReadFrames(reader, length + 500);
    EXPECT_EQ(reader.GetPosition(), length + 300);
    EXPECT_TRUE(std::all_of(all.begin(), all.begin() + 400, [](float v) { return v == 0; }));
    EXPECT_TRUE(std::all_of(all.end() - 600, all.end(), [](float v) { return v == 0; }));
    for (int32_t block : {1, 3, 64, 8192}) {
        reader.Seek(-200);
        EXPECT_EQ(ReadFrames(reader, length + 500, block), all) << block;
    }
    for (int64_t start = length + 200; start >= -200; start -= 37) {
        reader.Seek(start);
        const auto part = ReadFrames(reader, 90);
        EXPECT_TRUE(std::equal(part.begin(), part.end(), all.begin() + (start + 200) * 2)) << start;
        EXPECT_EQ(reader.GetPosition(), start + 90);
    }
}

TEST_F(ReaderTest, GoesOnAfterTheOriginalIsEditedAndGone) {
    LSound sound = Write(Ramp(3000));
    LSoundReader reader(sound);
    const auto head = ReadFrames(reader, 500);
    sound.Delete(100, 2900);
    sound.Clear();
    EXPECT_EQ(Files().size(), 3) << "the reader's copy keeps the files";
    reader.Seek(0);
    EXPECT_EQ(ReadFrames(reader, 3000), Ramp(3000));
}

TEST_F(ReaderTest, WhatHasGoneFromDiskIsSilenceOfTheSameLength) {
    LSound sound = Write(Ramp(100));
    sound.Insert(50, Write(Ramp(10, 500)));
    QFile::remove(CacheFileName(sound.segments->cacheRef.cacheId, ".aud"));
    EXPECT_EQ(sound.Length(), 110);
    const auto heard = ReadSound(sound);
    EXPECT_EQ(heard[49], 0);
    EXPECT_EQ(heard[50], 500);
    EXPECT_EQ(heard[60], 0);
    sound.segments->cacheRef = LSoundCacheRef::Adopt(kNoCacheId);
    EXPECT_EQ(ReadSound(sound)[0], 0);
}

TEST_F(ReaderTest, AnEmptySoundAndAnInvalidFormatSaySo) {
    LSound empty;
    LSoundReader reader(empty);
    EXPECT_EQ(reader.error, kSourceEmpty);
    EXPECT_EQ(ReadFrames(reader, 10), std::vector<float>(10, 0.0f));
    LSilenceSource silence({0, 0}, 5);
    EXPECT_EQ(silence.error, kSourceBadHeader);
    EXPECT_EQ(silence.Format(), (LSoundFormat{44100, 1}));
}

TEST_F(ReaderTest, AFileReaderKeepsPositionsOutsideTheFile) {
    LSound sound = Write(Ramp(10), {44100, 2});
    LCacheFileReader reader(sound.segments->cacheRef.cacheId, sound.Format(), 2.0f);
    EXPECT_EQ(reader.GetLength(), 5);
    reader.Seek(-3);
    EXPECT_EQ(ReadFrames(reader, 5), (std::vector<float>{0, 0, 0, 0, 0, 0, 2, 4, 6, 8}));
    reader.Seek(4);
    EXPECT_EQ(ReadFrames(reader, 3), (std::vector<float>{18, 20, 0, 0, 0, 0}));
    EXPECT_EQ(reader.GetPosition(), 7);
    reader.Seek(std::numeric_limits<int64_t>::max() - 10);
    EXPECT_EQ(ReadFrames(reader, 2), std::vector<float>(4, 0.0f));
    LCacheFileReader missing(home_.filePath("nothing"), {});
    EXPECT_FALSE(missing.IsOpen());
    EXPECT_EQ(ReadFrames(missing, 2), std::vector<float>(2, 0.0f));
}

TEST_F(ReaderTest, ASegmentCountsFromItsFirstFrameAndHandsItsFileOn) {
    const LSound sound = Write(Ramp(20));
    LSoundSegment head(sound.segments->cacheRef, 5, 4), tail(sound.segments->cacheRef, 12, 3);
    tail.gain = 2.0f;
    LSegmentSource first(head, sound.Format());
    EXPECT_EQ(first.GetLength(), 4);
    EXPECT_EQ(ReadFrames(first, 3), (std::vector<float>{6, 7, 8}));
    EXPECT_EQ(first.GetPosition(), 3);
    auto file = first.TakeFileReader();
    const LCacheFileReader* const opened = file.get();
    LSegmentSource second(tail, sound.Format(), std::move(file));
    EXPECT_EQ(second.GetPosition(), 0);
    EXPECT_EQ(ReadFrames(second, 2), (std::vector<float>{26, 28}));
    second.Seek(1);
    EXPECT_EQ(ReadFrames(second, 1), std::vector<float>{28});
    EXPECT_EQ(second.TakeFileReader().get(), opened);
    LSegmentSource silence(LSoundSegment::Silent(7), sound.Format());
    EXPECT_EQ(ReadFrames(silence, 3), std::vector<float>(3, 0.0f));
    EXPECT_EQ(silence.GetPosition(), 3);
    EXPECT_EQ(silence.GetLength(), 7);
}

TEST_F(ReaderTest, FollowsAWriter) {
    LCacheFileWriter writer({44100, 1}, nullptr);
    LCacheFileReader reader(writer.Id(), {44100, 1});
    const auto samples = Ramp(1000);
    for (int64_t done = 0; done < 1000; done += 100) {
        writer.Write(samples.data() + done, 100);
        EXPECT_EQ(reader.GetLength(), done + 100);
        EXPECT_EQ(ReadFrames(reader, 100),
                  std::vector<float>(samples.begin() + done, samples.begin() + done + 100));
        EXPECT_EQ(QFile(CacheFileName(writer.Id(), ".grf")).size(), (done + 100) / 256 * 4)
            << "whole blocks only";
    }
}

// --- Handles

struct LCountedSource final : LSoundSource {
    explicit LCountedSource(int& alive) : LSoundSource(44100, 1), alive_(alive) { ++alive_; }
    ~LCountedSource() override { --alive_; }
    float* Read(float* dest, int32_t frames) override { return Silence(dest, frames); }
    int64_t GetPosition() override { return 0; }
    int64_t GetLength() override { return 0; }
    int& alive_;
};

TEST(SourceHandle, OwnsByCountAndIsNeverNull) {
    int alive = 0;
    {
        LSoundSourceRef a(new LCountedSource(alive)), empty;
        EXPECT_TRUE(empty.IsEmpty());
        EXPECT_EQ(empty->sampleRate, 11025u);
        EXPECT_EQ(empty->channels, 1);
        EXPECT_EQ(empty->error, kSourceEmpty);
        EXPECT_EQ(empty->peak, 16.0f);
        LSoundSourceRef b = a;
        a = empty;
        EXPECT_FALSE(a.IsEmpty()) << "assigning from an empty handle changes nothing";
        a = LSoundSourceRef();
        EXPECT_FALSE(a.IsEmpty());
        a = static_cast<const LSoundSourceRef&>(a);
        EXPECT_EQ(a->refCount, 2u);
        a = LSoundSourceRef(new LCountedSource(alive));
        EXPECT_EQ(alive, 2);
        b = std::move(a);
        EXPECT_TRUE(a.IsEmpty());
        EXPECT_EQ(alive, 1);
        b.Reset();
        EXPECT_EQ(alive, 0);
        EXPECT_TRUE(LSoundSourceRef(nullptr).IsEmpty());
    }
    EXPECT_EQ(FailedSource(kSourceCannotOpen)->error, kSourceCannotOpen);
    EXPECT_FALSE(FailedSource(kSourceRefused).IsEmpty());
}

TEST(SourceHandle, CountsAcrossThreads) {
    int alive = 0;
    {
        const LSoundSourceRef shared(new LCountedSource(alive));
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&shared] {
                for (int i = 0; i < 20000; ++i) {
                    LSoundSourceRef copy = shared, nothing;
                    copy = LSoundSourceRef(shared);
                }
            });
        }
        for (auto& thread : threads) thread.join();
        EXPECT_EQ(shared->refCount, 1u);
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

struct LCountedSink final : LSoundSink {
    explicit LCountedSink(int& alive) : LSoundSink({}), alive_(alive) { ++alive_; }
    ~LCountedSink() override { --alive_; }
    void Write(const float*, int32_t) override {}
    int& alive_;
};

TEST(SinkHandle, OwnsByCountAndCountsAsFailedWhenNull) {
    int alive = 0;
    LSoundSinkRef a(new LCountedSink(alive)), none;
    EXPECT_FALSE(none.IsUsable());
    EXPECT_TRUE(a.IsUsable());
    a = none;
    EXPECT_TRUE(a.IsUsable()) << "assigning from an empty handle changes nothing";
    LSoundSinkRef b = a;
    a->flags |= LSoundSink::kFailed;
    EXPECT_FALSE(b.IsUsable());
    a.Reset();
    EXPECT_EQ(alive, 1);
    b = LSoundSinkRef(new LCountedSink(alive));
    EXPECT_EQ(alive, 1);
    b.Reset();
    EXPECT_EQ(alive, 0);
}

}  // namespace
}  // namespace ondarix
