// SPDX-License-Identifier: GPL-3.0-or-later
// Documents with known samples, and what every command that joins two sounds must hold to.
#pragma once
#include <cmath>
#include <random>

#include "effects/mix_job.h"
#include "sound/edit_host_fixture.h"

namespace ondarix::test {

inline std::vector<float> Noise(int64_t frames, int channels, uint32_t seed, float level = 0.4f) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> value(-level, level);
    std::vector<float> samples(static_cast<size_t>(frames * channels));
    for (float& sample : samples) sample = value(random);
    return samples;
}

inline std::vector<float> Sine(int64_t frames, double hz, double phase, float level = 0.5f,
                               int rate = 44100) {
    std::vector<float> samples(static_cast<size_t>(frames));
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] =
            static_cast<float>(level * std::sin(2 * M_PI * hz * static_cast<double>(i) / rate + phase));
    return samples;
}

class MixTest : public SoundCacheTest {
  protected:
    LSoundDocumentRef Open(const std::vector<float>& samples, LSoundFormat format = {}) {
        LSoundDocumentRef document(new LSoundDocument);
        document->sound = Write(samples, format);
        document->PushUndo("Load File", false);
        return document;
    }
    static void Mark(LSoundDocument& document, const std::vector<int64_t>& places) {
        for (const int64_t place : places) {
            LBookmark one;
            one.name = QString::number(place);
            one.SetPosition(place, document.sound.sampleRate);
            document.bookmarks.push_back(one);
        }
    }
    static std::vector<int64_t> Places(const LSoundDocument& document) {
        std::vector<int64_t> places;
        for (const LBookmark& one : document.bookmarks) places.push_back(one.position);
        return places;
    }
    // Reads it whole, and again in odd blocks from places here and there: the samples must be the same.
    static std::vector<float> ReadEveryWay(LSoundSource& source) {
        const int64_t frames = source.GetLength();
        const std::vector<float> whole = ReadFrames(source, frames, kBlockFrames);
        for (const int64_t start : {frames / 2, frames / 3, int64_t{0}, frames - 700, frames / 2 + 5}) {
            const int64_t count = std::min<int64_t>(frames - start, 3000);
            source.Seek(start);
            const std::vector<float> part = ReadFrames(source, count, 331);
            const auto from = whole.begin() + start * source.channels;
            EXPECT_TRUE(std::equal(part.begin(), part.end(), from)) << "from frame " << start;
        }
        return whole;
    }
    // Cancelled at every place where it asks, `run` leaves the document, its history and the working folder.
    void ExpectCancelLeavesNothing(LSoundDocumentRef document,
                                   const std::function<void(LEditHost&, LApplied)>& run) {
        const std::vector<float> before = ReadSound(document->sound);
        const QStringList files = Files();
        const std::vector<int64_t> places = Places(*document);
        const LSelection range = document->EditRange();
        int asked = 0;
        for (;; ++asked) {
            LTestEditHost host;
            host.cancelAfter = asked;
            JobResult result = JobResult::kFailed;
            run(host, [&](JobResult given) { result = given; });
            if (result == JobResult::kSuccess) break;
            ASSERT_EQ(result, JobResult::kCancelled) << asked;
            ASSERT_EQ(Files(), files) << asked;
            ASSERT_FALSE(document->CanUndo()) << asked;
            ASSERT_FALSE(document->isBusy);
            ASSERT_EQ(ReadSound(document->sound), before);
            ASSERT_EQ(Places(*document), places);
            ASSERT_EQ(document->EditRange().end, range.end);
            ASSERT_LT(asked, 1000);
        }
        EXPECT_GT(asked, 1);
        EXPECT_TRUE(document->CanUndo());
        EXPECT_TRUE(document->Undo());
        EXPECT_FALSE(document->CanUndo()) << "one step";
        EXPECT_EQ(ReadSound(document->sound), before);
        EXPECT_EQ(Places(*document), places);
    }

    LTestEditHost host_;
};

inline void ExpectClose(const std::vector<float>& got, const std::vector<double>& want, double within) {
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < got.size(); ++i) ASSERT_NEAR(got[i], want[i], within) << "sample " << i;
}

}  // namespace ondarix::test
