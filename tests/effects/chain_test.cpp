// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/chain.h"

#include "effects/effect_fixture.h"
#include "effects/filter.h"

namespace ondarix::test {
namespace {

constexpr LSoundFormat kFormat{44100, 2};

std::unique_ptr<LEffect> Gain(int percent) {
    std::unique_ptr<LEffect> effect = MakeEffect(1);
    effect->SetParameter(0, percent);
    return effect;
}

std::vector<double> GainsOf(const LEffectChain& chain) {
    std::vector<double> gains;
    for (const LEffect* effect : chain.Effects()) gains.push_back(ValuesOf(*effect)[0]);
    return gains;
}

LEffectChain ChainOf(const std::vector<int>& percents) {
    LEffectChain chain;
    for (const int percent : percents) EXPECT_TRUE(chain.Add(Gain(percent)));
    return chain;
}

// Adds `step` to each sample: unlike gains, the order shows.
class LStepEffect final : public LEffect {
  public:
    explicit LStepEffect(float step) : step_(step) {}
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override {
        return WrapInFilter<LStepFilter>(std::move(source), step_);
    }
    QString GetName() const override { return "Step"; }
    int32_t GetType() const override { return 0; }
    std::unique_ptr<LEffect> Clone() const override { return std::make_unique<LStepEffect>(*this); }

  private:
    class LStepFilter final : public LSoundFilter {
      public:
        LStepFilter(LSoundSourceRef source, float step) : LSoundFilter(std::move(source)), step_(step) {
            peak += std::fabs(step);
        }

      protected:
        void Process(float* block, int32_t frames, int64_t) override {
            for (int64_t i = 0; i < int64_t{frames} * channels; ++i) block[i] += step_;
        }
        float step_;
    };
    float step_;
};

TEST(EffectChainTest, IsAListThatRefusesWhatIsOutside) {
    LEffectChain chain = ChainOf({10, 20, 30, 40});
    EXPECT_TRUE(chain.Insert(0, Gain(5)));
    EXPECT_TRUE(chain.Insert(5, Gain(50)));
    EXPECT_FALSE(chain.Insert(7, Gain(60)));
    EXPECT_FALSE(chain.Insert(-1, Gain(60)));
    EXPECT_FALSE(chain.Add(nullptr));
    EXPECT_EQ(GainsOf(chain), (std::vector<double>{5, 10, 20, 30, 40, 50}));
    EXPECT_EQ(ValuesOf(*chain.Remove(0))[0], 5);
    EXPECT_EQ(chain.Remove(5), nullptr);
    EXPECT_EQ(chain.Remove(-1), nullptr);
    EXPECT_TRUE(chain.Move(0, 3));
    EXPECT_EQ(GainsOf(chain), (std::vector<double>{20, 30, 40, 10, 50}));
    EXPECT_TRUE(chain.Move(4, 0));
    EXPECT_EQ(GainsOf(chain), (std::vector<double>{50, 20, 30, 40, 10}));
    EXPECT_TRUE(chain.Move(2, 2));
    EXPECT_FALSE(chain.Move(0, 5));
    EXPECT_FALSE(chain.Move(-1, 0));
    EXPECT_EQ(ValuesOf(*chain.Replace(1, Gain(21)))[0], 20);
    EXPECT_EQ(chain.Replace(5, Gain(1)), nullptr);
    EXPECT_EQ(GainsOf(chain), (std::vector<double>{50, 21, 30, 40, 10}));
    EXPECT_EQ(chain.At(5), nullptr);
    chain.SetEnabled(77, false);
    chain.Clear();
    EXPECT_EQ(chain.Count(), 0);
}

TEST(EffectChainTest, WrapsInItsOrderWhatIsOn) {
    const Samples samples = RoughNoise(5000, 2);
    LEffectChain chain = ChainOf({50, 300});
    ASSERT_TRUE(chain.Insert(1, std::make_unique<LStepEffect>(0.25f)));
    Samples expected = samples;
    for (float& one : expected) one = (one * 0.5f + 0.25f) * 3.0f;
    EXPECT_TRUE(SameBits(Filtered(chain, samples, kFormat), expected));
    chain.SetEnabled(1, false);
    chain.At(0)->bypass = 1;
    EXPECT_FALSE(chain.IsOn(0));
    EXPECT_FALSE(chain.IsOn(1));
    for (size_t i = 0; i < samples.size(); ++i) expected[i] = samples[i] * 3.0f;
    EXPECT_TRUE(SameBits(Filtered(chain, samples, kFormat), expected));
    chain.SetEnabled(2, false);
    const LSoundSourceRef source = SourceOf(samples, kFormat);
    EXPECT_EQ(chain.CreateFilter(source).Get(), source.Get()) << "nothing is on, nothing is wrapped";
    chain.SetEnabled(0, true);
    EXPECT_TRUE(chain.IsOn(0)) << "switching on ends the bypass";
}

TEST(EffectChainTest, ACopyIsItsOwn) {
    LEffectChain chain = ChainOf({10, 20});
    chain.SetEnabled(1, false);
    chain.bypass = 1;
    LEffectChain copy = chain;
    const std::unique_ptr<LEffect> clone = chain.Clone();
    chain.At(0)->SetParameter(0, 99);
    chain.SetEnabled(1, true);
    EXPECT_EQ(GainsOf(copy), (std::vector<double>{10, 20}));
    EXPECT_FALSE(copy.IsOn(1));
    EXPECT_EQ(copy.bypass, 1);
    copy = *&copy;
    EXPECT_EQ(GainsOf(copy), (std::vector<double>{10, 20}));
    EXPECT_EQ(GainsOf(static_cast<const LEffectChain&>(*clone)), (std::vector<double>{10, 20}));
    copy = chain;
    EXPECT_EQ(GainsOf(copy), (std::vector<double>{99, 20}));
}

TEST(EffectChainTest, HoldsAsManyAsAThreadCanPull) {
    LEffectChain chain;
    for (int i = 0; i < LEffectChain::kMostEffects; ++i) ASSERT_TRUE(chain.Add(Gain(i % 2 ? 200 : 50)));
    EXPECT_FALSE(chain.Add(Gain(100)));
    const Samples samples = RoughNoise(300, 2);
    EXPECT_EQ(Filtered(chain, samples, kFormat).size(), samples.size());
}

TEST(EffectChainTest, MeasuresEachOverWhatComesBeforeIt) {
    // A constant of 0.5 in the samples, of which the halving leaves 0.25 to be found and taken out.
    Samples samples = RoughNoise(30000, 2);
    for (float& one : samples) one = one * 0.1f + 0.5f;
    LEffectChain chain;
    ASSERT_TRUE(chain.Add(Gain(50)));
    ASSERT_TRUE(chain.Add(FindEffect(QString("dc-offset"))->make()));
    const auto open = [&] { return SourceOf(samples, kFormat); };
    EXPECT_TRUE(chain.NeedsMeasure());
    const Samples before = Filtered(chain, samples, kFormat);
    int asked = 0;
    for (JobResult result = JobResult::kCancelled; result != JobResult::kSuccess; ++asked) {
        CancellingProgress progress(asked);
        result = chain.Measure(open, progress);
        if (result != JobResult::kSuccess) {
            ASSERT_TRUE(SameBits(Filtered(chain, samples, kFormat), before)) << asked;
        }
    }
    EXPECT_GT(asked, 4);
    const Samples out = Filtered(chain, samples, kFormat);
    double sum = 0;
    for (size_t i = 0; i < out.size(); i += 2) sum += static_cast<double>(out[i]);
    EXPECT_NEAR(sum / 30000, 0, 1e-6);
    EXPECT_GT(std::fabs(before[0] - out[0]), 0.2f);
    chain.SetEnabled(1, false);
    EXPECT_FALSE(chain.NeedsMeasure());
}

// One to six effects of the table with any values.
LEffectChain RandomChain(std::mt19937& random, const Samples& samples, LSoundFormat format,
                         std::string& what) {
    const std::vector<const LEffectRow*> rows = RowsOfThisVersion();
    LEffectChain chain;
    for (size_t count = 1 + random() % 6; count > 0; --count) {
        const LEffectRow& row = *rows[random() % rows.size()];
        std::unique_ptr<LEffect> effect = row.make();
        effect->SetFormat(format);
        SetAnyValues(*effect, random);
        EXPECT_TRUE(chain.Add(std::move(effect)));
        what += std::string(row.id) + " ";
    }
    Prepare(chain, samples, format);
    return chain;
}

TEST(RandomChainTest, GivesTheSameSamplesForAnyBlockSizeSeekAndCopy) {
    std::mt19937 random(2024);
    for (int times = 0; times < 60; ++times) {
        const LSoundFormat format{44100, static_cast<uint8_t>(1 + times % 3)};
        const Samples samples = RoughNoise(17000, format.channels, static_cast<uint32_t>(times));
        std::string what;
        const LEffectChain chain = RandomChain(random, samples, format, what);
        const Samples whole = Filtered(chain, samples, format, 17000);
        for (const int32_t block : {1, 7, 64, 1000, 8192})
            ASSERT_TRUE(SameBits(Filtered(chain, samples, format, block), whole)) << what << block;
        ASSERT_TRUE(SameBits(Filtered(*chain.Clone(), samples, format), whole)) << what;
        LSoundSourceRef used = chain.CreateFilter(SourceOf(samples, format));
        ASSERT_EQ(used->GetLength(), 17000) << what;
        ReadFrames(*used, 9000, 500);
        for (const int64_t place : {0, 8192, 12345}) {
            LSoundSourceRef fresh = chain.CreateFilter(SourceOf(samples, format));
            fresh->Seek(place);
            used->Seek(place);
            ASSERT_TRUE(SameBits(ReadFrames(*used, 17000 - place), ReadFrames(*fresh, 17000 - place, 77)))
                << what << "from " << place;
        }
    }
}

}  // namespace
}  // namespace ondarix::test
