// SPDX-License-Identifier: GPL-3.0-or-later
// Every edit of the segment list against a sound that is a plain vector of samples.
#include <limits>
#include <map>
#include <random>

#include "sound_fixture.h"

namespace ondarix {
namespace {

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();

struct Model {
    std::vector<float> v;
    int64_t Size() const { return static_cast<int64_t>(v.size()); }
    auto At(int64_t pos) { return v.begin() + pos; }

    void Delete(int64_t start, int64_t end) {
        start = std::clamp<int64_t>(start, 0, Size());
        end = std::clamp<int64_t>(end, 0, Size());
        if (start < end) v.erase(At(start), At(end));
    }
    void InsertSilence(int64_t pos, int64_t len) {
        if (pos < 0) len += pos, pos = 0;
        if (len < 0) return;
        if (pos > Size()) v.resize(static_cast<size_t>(pos), 0.0f);
        v.insert(At(pos), static_cast<size_t>(len), 0.0f);
    }
    // `wasEmpty`: there was no segment at all, so nothing that could be moved.
    void Insert(int64_t pos, std::vector<float> source, bool wasEmpty) {
        if (pos < 0 && !wasEmpty) source.resize(source.size() + static_cast<size_t>(-pos), 0.0f);
        pos = std::max<int64_t>(pos, 0);
        if (pos > Size()) v.resize(static_cast<size_t>(pos), 0.0f);
        v.insert(At(pos), source.begin(), source.end());
    }
    std::vector<float> Range(int64_t start, int64_t end) const {
        std::vector<float> range;
        for (int64_t i = start; i < end; ++i) {
            range.push_back(i >= 0 && i < Size() ? v[static_cast<size_t>(i)] : 0.0f);
        }
        return range;
    }
};

class EditTest : public SoundCacheTest {
  protected:
    // Mono; each sample tells its file and place.
    LSound Numbered(int file, int64_t frames) {
        std::vector<float> samples;
        for (int64_t i = 0; i < frames; ++i) samples.push_back(static_cast<float>(file * 4096 + i + 1));
        return Write(samples);
    }
    std::vector<int64_t> Lengths(const LSound& sound) {
        std::vector<int64_t> lengths;
        for (auto* at = sound.segments.get(); at; at = at->next.get()) lengths.push_back(at->length);
        return lengths;
    }
};

// One random edit on both; the name says which, for the failure message.
QString EditBoth(LSound& sound, Model& model, const LSound& clip, const Model& clipModel,
                 std::mt19937& random) {
    const auto pick = [&random](int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random);
    };
    int64_t a = pick(-60, model.Size() + 60), b = pick(-60, model.Size() + 60);
    if (pick(0, 9) > 0 && a > b) std::swap(a, b);
    const QString where = QString("(%1, %2)").arg(a).arg(b);
    const bool wasEmpty = sound.IsEmpty();
    switch (pick(0, 9)) {
        case 0:
        case 1:
            sound.Delete(a, b);
            model.Delete(a, b);
            return "Delete" + where;
        case 2: {
            sound.Keep(a, b);
            const int64_t start = std::max<int64_t>(a, 0);
            model.Delete(0, start);
            model.Delete(b - start, model.Size());
            return "Keep" + where;
        }
        case 3: {
            const int64_t length = pick(0, 50);
            sound.InsertSilence(a, length);
            model.InsertSilence(a, length);
            return "InsertSilence" + where;
        }
        case 4:
        case 5:
            sound.Insert(a, clip);
            model.Insert(a, clipModel.v, wasEmpty);
            return "Insert" + where;
        case 6:
            sound.Silence(a, b);
            model.Delete(a, b);
            model.InsertSilence(a, b - a);
            return "Silence" + where;
        case 7: {
            const int64_t times = pick(0, 2);
            const auto range = model.Range(a, b);
            sound.Repeat(a, b, times);
            for (int64_t i = 0; i < times && a < b; ++i) model.Insert(a, range, wasEmpty && i == 0);
            return "Repeat" + where;
        }
        case 8: {
            a = std::max<int64_t>(a, 0);
            sound.ScaleRangePercent(a, b, 50);
            if (a > b) return "Scale" + where;
            auto range = model.Range(a, b);
            for (float& v : range) v *= 0.5f;
            model.Delete(a, b);
            model.Insert(a, range, false);
            return "Scale" + where;
        }
        default:
            a = std::max<int64_t>(a, 0);
            sound.Replace(a, b, clip);
            model.Delete(a, b);
            model.Insert(a, clipModel.v, false);
            return "Replace" + where;
    }
}

std::map<uint16_t, int> CountRefs(std::initializer_list<const LSound*> sounds) {
    std::map<uint16_t, int> refs;
    for (const LSound* sound : sounds) {
        for (auto* at = sound->segments.get(); at; at = at->next.get()) {
            if (!at->IsSilent()) ++refs[at->cacheRef.cacheId];
        }
    }
    return refs;
}

TEST_F(EditTest, RandomEditsGiveWhatTheyGiveOnPlainSamples) {
    const LSound fileA = Numbered(1, 300), fileB = Numbered(2, 200);
    std::mt19937 random(20);
    for (int round = 0; round < 150; ++round) {
        LSound sound = round % 2 ? fileA : fileB, clip;
        fileB.CopyRange(-5, 40, clip);
        Model model{ReadSound(sound)};
        const Model clipModel{ReadSound(clip)};
        for (int step = 0; step < 25; ++step) {
            const LSound before = sound;
            const Model modelBefore = model;
            const QString edit = EditBoth(sound, model, clip, clipModel, random);
            ASSERT_EQ(sound.Length(), model.Size())
                << "round " << round << " step " << step << " " << qPrintable(edit);
            ASSERT_EQ(ReadSound(sound), model.v)
                << "round " << round << " step " << step << " " << qPrintable(edit);
            ASSERT_EQ(ReadSound(before), modelBefore.v)
                << "the copy before " << qPrintable(edit) << " must not change";
            for (const auto& [id, count] : CountRefs({&fileA, &fileB, &sound, &before, &clip})) {
                ASSERT_EQ(CacheRefCount(id), count) << qPrintable(edit);
            }
            if (sound.Length() < 4000) continue;
            sound.DeleteTail(1000);
            model.Delete(1000, model.Size());
        }
    }
}

TEST_F(EditTest, CopyRangeGivesAnyRangeAtItsExactLength) {
    LSound sound = Numbered(1, 100);
    sound.InsertSilence(50, 20);
    sound.Delete(10, 30);
    sound.InsertSilence(15, 0);
    const Model model{ReadSound(sound)};
    for (int64_t start = -30; start <= 130; start += 3) {
        for (int64_t end = start; end <= 140; end += 7) {
            LSound range(8000, 2);
            sound.CopyRange(start, end, range);
            ASSERT_EQ(range.Length(), end - start);
            ASSERT_EQ(range.Format(), sound.Format());
            ASSERT_EQ(ReadSound(range), model.Range(start, end)) << start << " to " << end;
        }
    }
    LSound untouched(8000, 2);
    sound.CopyRange(5, 4, untouched);
    EXPECT_EQ(untouched.sampleRate, 8000);
}

TEST_F(EditTest, EdgesOfDelete) {
    const LSound file = Numbered(1, 1000);
    const uint16_t id = file.segments->cacheRef.cacheId;
    LSound sound = file;
    sound.Delete(100, 100);
    sound.Delete(200, 100);
    sound.Delete(-50, -1);
    EXPECT_EQ(Lengths(sound), std::vector<int64_t>{1000});
    sound.Delete(400, 500);
    EXPECT_EQ(Lengths(sound), (std::vector<int64_t>{400, 500}));
    EXPECT_EQ(sound.segments->next->offset, 500);
    EXPECT_EQ(CacheRefCount(id), 3) << "two segments here, one in the original";
    sound.Delete(-50, 100);
    EXPECT_EQ(Lengths(sound), (std::vector<int64_t>{300, 500}));
    EXPECT_EQ(sound.segments->offset, 100);
    sound.Delete(0, sound.Length());
    EXPECT_TRUE(sound.IsEmpty());
    EXPECT_EQ(sound.Length(), 0);
    EXPECT_EQ(CacheRefCount(id), 1);
}

TEST_F(EditTest, SilencePastTheEndAndBeforeTheStart) {
    LSound sound = Numbered(1, 10);
    sound.InsertSilence(15, 10);
    EXPECT_EQ(Lengths(sound), (std::vector<int64_t>{10, 15})) << "one run from the old end";
    EXPECT_TRUE(sound.segments->next->IsSilent());
    sound.InsertSilence(-20, 10);
    EXPECT_EQ(sound.Length(), 25);
    sound.InsertSilence(-5, 10);
    EXPECT_EQ(Lengths(sound), (std::vector<int64_t>{5, 10, 15}));
    sound.Delete(17, 18);
    EXPECT_EQ(Lengths(sound), (std::vector<int64_t>{5, 10, 2, 12}));
    EXPECT_EQ(sound.segments->next->next->next->offset, 0) << "silence has no offset";
}

TEST_F(EditTest, InsertingBeforeTheStartMovesTheSoundFurther) {
    LSound sound = Numbered(1, 3);
    sound.Insert(-2, Numbered(2, 1));
    EXPECT_EQ(ReadSound(sound), (std::vector<float>{8193, 0, 0, 4097, 4098, 4099}));
    LSound nothing;
    nothing.Insert(-2, Numbered(2, 1));
    EXPECT_EQ(ReadSound(nothing), std::vector<float>{8193});
    sound.Insert(1, sound);
    EXPECT_EQ(sound.Length(), 12) << "a sound into itself";
}

TEST_F(EditTest, GainsMultiplyAndAreAppliedWhileReading) {
    LSound sound = Numbered(1, 4);
    sound.ScalePercent(100);
    EXPECT_EQ(sound.segments->gain, 1.0f);
    sound.ScalePercent(50);
    sound.ScalePercent(50);
    EXPECT_EQ(sound.segments->gain, 0.25f);
    EXPECT_EQ(ReadSound(sound), (std::vector<float>{4097 / 4.f, 4098 / 4.f, 4099 / 4.f, 4100 / 4.f}));
    sound.ScaleRangePercent(1, 2, 0);
    EXPECT_EQ(ReadSound(sound)[1], 0.0f);
    EXPECT_EQ(ReadSound(sound)[2], 4099 / 4.f);
}

TEST_F(EditTest, LengthsThatNoIntegerHoldsAreRefused) {
    LSound sound = Numbered(1, 100);
    sound.InsertSilence(0, kHighest - 101);
    EXPECT_EQ(sound.Length(), kHighest - 1);
    const auto lengths = Lengths(sound);
    sound.InsertSilence(50, 1);
    sound.InsertSilence(kHighest, 5);
    sound.Insert(kHighest - 5, sound);
    sound.Insert(kLowest, Numbered(2, 10));
    sound.Repeat(0, 2, 5);
    sound.Repeat(0, 100, kHighest);
    EXPECT_EQ(Lengths(sound), lengths);
    LSound range;
    sound.CopyRange(kLowest, kHighest, range);
    EXPECT_TRUE(range.IsEmpty());
    sound.ScaleRangePercent(kLowest, kHighest, 50);
    EXPECT_EQ(Lengths(sound), lengths);
    LSound small = Numbered(3, 100), longest;
    longest.InsertSilence(0, kHighest - 1);
    small.Replace(0, 50, longest);
    small.Silence(10, kHighest);
    small.ScaleRangePercent(-5, kHighest - 5, 50);
    EXPECT_EQ(Lengths(small), std::vector<int64_t>{100}) << "nothing is taken out for what has no room";
    LSoundReader reader(sound);
    reader.Seek(kHighest - 1 - 100);
    EXPECT_EQ(ReadFrames(reader, 2), (std::vector<float>{4097, 4098}));
    sound.Delete(kLowest, kHighest);
    EXPECT_TRUE(sound.IsEmpty());
    sound.DeleteTail(kLowest);
    sound.Keep(kLowest, kHighest);
    sound.Silence(kLowest, kHighest);
    EXPECT_EQ(sound.Length(), 0) << "2^64 frames of silence are none";
}

TEST_F(EditTest, RepeatingOftenNeitherHangsNorOverflows) {
    LSound sound = Numbered(1, 2);
    sound.Repeat(0, 1, 100000);
    EXPECT_EQ(sound.Length(), 100002);
    sound.Repeat(0, 1, LSound::kMaxRepeatedSegments + 1);
    EXPECT_EQ(sound.Length(), 100002);
    LSound copy = sound;
    EXPECT_EQ(CacheRefCount(sound.segments->cacheRef.cacheId), 65534) << "saturated";
}

TEST_F(EditTest, ListsLongerThanTheStackIsDeepAreFreed) {
    auto list = std::make_unique<LSoundSegment>(LSoundCacheRef(), 0, 1);
    for (int i = 0; i < 1000000; ++i) {
        auto longer = std::make_unique<LSoundSegment>(LSoundCacheRef(), 0, 1);
        longer->next = std::move(list);
        list = std::move(longer);
    }
    LSound sound;
    sound.segments = std::move(list);
    LSound copy(sound);
    EXPECT_EQ(copy.Length(), 1000001);
    sound.Delete(0, 1000001);
    EXPECT_TRUE(sound.IsEmpty());
}

TEST_F(EditTest, UnknownChunksAreCopiedDeeplyAndMovesTakeThemOver) {
    LSound sound = Numbered(1, 10);
    sound.unknownChunks.push_back({7, 2, 1, "abc"});
    sound.segments->unknownChunks = std::make_unique<LUnknownChunks>(LUnknownChunks{{8, 6, 0, "x"}});
    LSound copy = sound;
    copy.segments->unknownChunks->front().payload = "changed";
    sound.Delete(4, 5);
    EXPECT_EQ(sound.segments->unknownChunks->front().payload, "x");
    EXPECT_EQ(sound.segments->next->unknownChunks->front().payload, "x") << "both halves keep them";
    const LSound moved = std::move(copy);
    EXPECT_EQ(moved.unknownChunks.front().payload, "abc");
    EXPECT_EQ(moved.Length(), 10);
    sound = std::move(sound);
    EXPECT_EQ(sound.Length(), 9);
}

void FakeMp3Facts(LSoundCacheRef& ref) {
    ref.mp3FrameSize = 1152;
    ref.mp3LeadIn = 10;
    ref.mp3LeadOut = 5;
    ref.mp3Length = 80;
}

TEST_F(EditTest, LosslessModeMovesTheEndsOfTheListOnly) {
    LSound sound = Numbered(1, 95);
    QFile mp3(CacheFileName(sound.segments->cacheRef.cacheId, ".vmkmp3"));
    ASSERT_TRUE(mp3.open(QIODevice::WriteOnly));
    gReadMp3Facts = &FakeMp3Facts;
    auto subject = std::make_shared<LLosslessModeSubject>();
    sound.SetLosslessMode(subject);
    sound.Delete(40, 50);
    sound.DeleteHead(10);
    EXPECT_EQ(Lengths(sound), (std::vector<int64_t>{30, 45}));
    {
        const LSound copy = sound;  // registers and leaves
        subject->Set(true);
        EXPECT_EQ(Lengths(copy), Lengths(sound));
    }
    EXPECT_EQ(Lengths(sound), (std::vector<int64_t>{40, 45}));
    subject->Set(true);
    subject->Set(false);
    EXPECT_EQ(Lengths(sound), (std::vector<int64_t>{30, 40})) << "the padding is skipped too";
    EXPECT_EQ(sound.segments->offset, 10);
    subject->Set(true);
    EXPECT_EQ(Lengths(sound), (std::vector<int64_t>{40, 45}));
    sound.Delete(6, 80);  // leaves less than the lead-in, and the end of the padding
    EXPECT_EQ(Lengths(sound), (std::vector<int64_t>{6, 5}));
    sound.Delete(6, 10);
    subject->Set(false);
    EXPECT_EQ(Lengths(sound), (std::vector<int64_t>{0, 0})) << "no length falls below 0";
    gReadMp3Facts = nullptr;
}

}  // namespace
}  // namespace ondarix
