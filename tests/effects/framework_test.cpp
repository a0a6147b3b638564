// SPDX-License-Identifier: GPL-3.0-or-later
// Parameters of every type, and what a filter does around its arithmetic, on an effect that has it all.
#include <QFile>

#include "effects/ecf_bytes.h"
#include "effects/effect_fixture.h"
#include "effects/filter.h"
#include "effects/param_table.h"

namespace ondarix::test {
namespace {

struct LAllTypes {
    int32_t whole = 7;
    LChoiceByte choice{1};
    double real = 0.5;
    LDbByte level{-20};
    bool flag = true;
    int64_t wide = 1000;
    uint16_t small = 50;
    bool operator==(const LAllTypes&) const = default;
};
constexpr LParamRow<LAllTypes> kAllRows[] = {
    {"whole", "Whole", &LAllTypes::whole, -3, 400, "%"},
    {"choice", "Choice", &LAllTypes::choice, 0, 3, "", "", "Linear|Exponential|Logarithmic|Sinusoidal"},
    {"real", "Real", &LAllTypes::real, 0.1, 20, "Hz"},
    {"level", "Level", &LAllTypes::level, -60, 6, "dB"},
    {"flag", "Flag", &LAllTypes::flag, 0, 1},
    {"wide", "Wide", &LAllTypes::wide, 1, 4000000000000, "ms"},
    {"small", "Small", &LAllTypes::small, 0, 65535, ""},
};
constexpr LPresetRow<LAllTypes> kAllPresets[] = {
    {"First", {}}, {"Second", {8, {2}, 0.52, {kMinusInfinityDb}, false, 1001, 51}}};

class LAllTypesEffect final : public LTableEffect<LAllTypesEffect, LAllTypes> {
  public:
    static std::span<const LParamRow<LAllTypes>> Rows() { return kAllRows; }
    static std::span<const LPresetRow<LAllTypes>> Presets() { return kAllPresets; }
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override { return source; }
    QString GetName() const override { return "All"; }
    int32_t GetType() const override { return 1000; }
};
enum { kWhole, kChoice, kReal, kLevel, kFlag, kWide, kSmall };

double Set(LEffect& effect, int index, double value) {
    effect.SetParameter(index, value);
    return InfoOf(effect, index).value;
}

TEST(EffectParameterTest, EveryTypeKeepsToItsRange) {
    LAllTypesEffect effect;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Set(effect, kWhole, 2.6), 3);
    EXPECT_EQ(Set(effect, kWhole, -3.4), -3);
    EXPECT_EQ(Set(effect, kWhole, 401), 400);
    EXPECT_EQ(Set(effect, kChoice, 3.4), 3);
    EXPECT_EQ(Set(effect, kChoice, 255), 3);
    EXPECT_EQ(Set(effect, kReal, 0.09), 0.1);
    EXPECT_EQ(Set(effect, kReal, 20.0000001), 20);
    EXPECT_EQ(Set(effect, kLevel, -60.4), -60);
    EXPECT_EQ(Set(effect, kLevel, -126), -60);
    EXPECT_EQ(Set(effect, kLevel, -127), kMinusInfinityDb);
    EXPECT_EQ(Set(effect, kLevel, -kInfinity), kMinusInfinityDb);
    EXPECT_EQ(Set(effect, kLevel, kInfinity), 6);
    EXPECT_EQ(Set(effect, kFlag, 0.2), 1);
    EXPECT_EQ(Set(effect, kFlag, 0), 0);
    EXPECT_EQ(Set(effect, kWide, 3999999999999.0), 3999999999999.0);
    EXPECT_EQ(Set(effect, kWide, -kInfinity), 1);
    EXPECT_EQ(Set(effect, kSmall, 1e9), 65535);
    EXPECT_EQ(Set(effect, kSmall, std::nan("")), 65535);
}

TEST(EffectParameterTest, TextIsAsPeopleTypeIt) {
    const LAllTypesEffect effect;
    const struct {
        int index;
        const char* text;
        std::optional<double> value;
    } cases[] = {
        {kWhole, "12", 12},
        {kWhole, " 12 % ", 12},
        {kWhole, "12%", 12},
        {kWhole, "12.5", {}},
        {kWhole, "401", {}},
        {kWhole, "-3", -3},
        {kWhole, "-4", {}},
        {kWhole, "%", {}},
        {kWhole, "0x10", {}},
        {kWhole, "1,2", {}},
        {kWhole, "nan", {}},
        {kWhole, "inf", {}},
        {kChoice, "sinusoidal", 3},
        {kChoice, "exp", 1},
        {kChoice, "l", {}},
        {kChoice, "2", 2},
        {kChoice, "4", {}},
        {kChoice, "-1", {}},
        {kReal, "0.1 hz", 0.1},
        {kReal, "0.1Hz", 0.1},
        {kReal, "1e1", 10},
        {kReal, "0.0999", {}},
        {kReal, "1,000", {}},
        {kReal, "infinity", {}},
        {kLevel, "-inf dB", -127},
        {kLevel, "-INF", -127},
        {kLevel, "-6 db", -6},
        {kLevel, "+6", 6},
        {kLevel, "7", {}},
        {kLevel, "-61", {}},
        {kFlag, "ON", 1},
        {kFlag, "no", 0},
        {kFlag, "2", {}},
        {kWide, "4000000000000", 4e12},
        {kWide, "4000000000001", {}},
        {kSmall, "65536", {}},
    };
    for (const auto& one : cases)
        EXPECT_EQ(ParseParam(InfoOf(effect, one.index), one.text), one.value) << one.text;
    const auto text = [&](int index, double value) { return ParamText(InfoOf(effect, index), value); };
    EXPECT_EQ(text(kWhole, 100), "100%");
    EXPECT_EQ(text(kWhole, -0.0), "0%");
    EXPECT_EQ(text(kReal, 0.5), "0.5 Hz");
    EXPECT_EQ(text(kReal, 0.1 + 0.2), "0.30000000000000004 Hz");
    EXPECT_EQ(text(kLevel, -127), "-inf dB");
    EXPECT_EQ(text(kLevel, -6), "-6 dB");
    EXPECT_EQ(text(kChoice, 3), "Sinusoidal");
    EXPECT_EQ(text(kFlag, 1), "on");
    EXPECT_EQ(text(kWide, 4e12), "4000000000000 ms");
}

TEST(EffectParameterTest, TheOlderFormIsReadAsFarAsItGoes) {
    QByteArray bytes;
    const auto put = [&](auto value) { bytes.append(reinterpret_cast<const char*>(&value), sizeof value); };
    put(int32_t{12});
    put(uint8_t{2});
    put(1.25);
    put(int8_t{-127});
    put(uint8_t{0});
    put(int64_t{2000});
    put(uint16_t{77});
    const std::vector<double> stored = {12, 2, 1.25, -127, 0, 2000, 77};
    const std::vector<double> plain = ValuesOf(LAllTypesEffect());
    const size_t ends[] = {4, 5, 13, 14, 15, 23, 25};
    for (qsizetype length = 0; length <= bytes.size(); ++length) {
        LAllTypesEffect effect;
        effect.LoadFixed({reinterpret_cast<const uint8_t*>(bytes.constData()), static_cast<size_t>(length)});
        for (size_t i = 0; i < stored.size(); ++i)
            EXPECT_EQ(ValuesOf(effect)[i], static_cast<size_t>(length) >= ends[i] ? stored[i] : plain[i])
                << "parameter " << i << " of " << length << " bytes";
    }
    LAllTypesEffect hostile;
    hostile.LoadFixed(std::vector<uint8_t>(25, 0xFF));
    EXPECT_EQ(ValuesOf(hostile), (std::vector<double>{-1, 3, 0.5, -1, 1, 1, 65535}));
}

TEST(EffectParameterTest, EveryTypeIsStoredInTheWidthOfTheFormat) {
    LAllTypesEffect effect;
    const double values[] = {-3, 3, 0.1, kMinusInfinityDb, 0, 4e12, 65535};
    for (int i = 0; i < effect.GetParameterCount(); ++i) effect.SetParameter(i, values[i]);
    effect.enabled = false;
    const QTemporaryDir folder;
    const QString path = folder.filePath("stored");
    {
        LLsdfWriter writer(path, 11, 1);
        effect.SaveStored(writer);
    }
    const QByteArray fields = EcfU32(8192, 0xFFFFFFFD) + EcfByte(8193, 3) + EcfF32(8194, 0.1f) +
                              EcfByte(8195, 129) + EcfByte(8196, 0) + EcfU32(8197, 0x7FFFFFFF) +
                              EcfU32(8198, 65535);
    EXPECT_EQ(FileBytesOf(path), EcfFile(EcfCommon(1) + fields));
    LLsdfReader reader(std::make_shared<LFileBytes>(path), 11);
    LAllTypesEffect read;
    read.LoadStored(reader);
    // 0.1 and not the float's neighbour of it; a time that 32 bits do not hold is cut to what they do.
    EXPECT_EQ(ValuesOf(read), (std::vector<double>{-3, 3, 0.1, kMinusInfinityDb, 0, 2147483647, 65535}));
    EXPECT_EQ(read.bypass, 1);
    EXPECT_TRUE(read.enabled);
}

TEST(EffectParameterTest, StoredNumbersThatAreNoneChangeNothing) {
    const QTemporaryDir folder;
    for (const auto& [stored, expected] : {std::pair{std::nanf(""), 0.5}, std::pair{INFINITY, 20.0},
                                           std::pair{-INFINITY, 0.1}, std::pair{1e-45f, 0.1}}) {
        const QString path = folder.filePath("stored");
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(EcfFile(EcfCommon() + EcfF32(8194, stored) + EcfByte(8193, 200) + EcfByte(8195, 128)));
        file.close();
        LLsdfReader reader(std::make_shared<LFileBytes>(path), 11);
        LAllTypesEffect effect;
        effect.LoadStored(reader);
        EXPECT_EQ(ValuesOf(effect), (std::vector<double>{7, 3, expected, kMinusInfinityDb, 1, 1000, 50}));
    }
}

TEST(EffectParameterTest, APresetIsTheCurrentOneWhileEveryValueIsItsOwn) {
    LAllTypesEffect effect;
    EXPECT_EQ(effect.GetCurrentPreset(), 0);
    effect.SetPreset(1);
    EXPECT_EQ(effect.GetCurrentPreset(), 1);
    const double near[] = {8, 2, 0.529, kMinusInfinityDb, 0, 1001, 51};
    const double far[] = {9, 1, 0.5301, -60, 1, 1002, 50};
    for (int i = 0; i < effect.GetParameterCount(); ++i) {
        effect.SetPreset(1);
        effect.SetParameter(i, near[i]);
        EXPECT_EQ(effect.GetCurrentPreset(), 1) << i;
        effect.SetParameter(i, far[i]);
        EXPECT_EQ(effect.GetCurrentPreset(), -1) << i;
    }
}

TEST(EffectParameterTest, APresetOfAnEarlierVersionLeavesLaterParametersAtTheirDefaults) {
    LAllTypesEffect effect;
    effect.SetPreset(1);
    ASSERT_TRUE(effect.SetPresetText("9 0"));
    EXPECT_EQ(ValuesOf(effect), (std::vector<double>{9, 0, 0.5, -20, 1, 1000, 50}));
    EXPECT_TRUE(effect.SetPresetText("1e9 7 1e300 -500 0.5 -1 70000 and"  // a later version's value
                                     " more") == false);
    EXPECT_TRUE(effect.SetPresetText("1000000 7 1000 -500 2 -1 70000 12"));
    EXPECT_EQ(ValuesOf(effect), (std::vector<double>{400, 3, 20, -127, 1, 1, 65535}));
}

// Adds one to every sample; remembers what it was asked.
class LCountingFilter final : public LSoundFilter {
  public:
    using LSoundFilter::LSoundFilter;
    int resets = 0, processed = 0;
    int64_t lastPosition = -1;

  protected:
    void Process(float* block, int32_t frames, int64_t position) override {
        for (int64_t i = 0; i < int64_t{frames} * channels; ++i) block[i] += 1.0f;
        ++processed;
        lastPosition = position;
    }
    void Reset() override { ++resets; }
};

TEST(SoundFilterTest, WithoutASourceItRunsOverSilence) {
    LCountingFilter filter{LSoundSourceRef()};
    EXPECT_EQ(filter.Format(), (LSoundFormat{44100, 1}));
    EXPECT_EQ(filter.peak, 16.0f);
    EXPECT_EQ(filter.error, kSourceGood);
    EXPECT_EQ(filter.GetLength(), 0);
    Samples block(10, 5.0f);
    EXPECT_EQ(filter.Read(block.data(), 10), block.data() + 10);
    EXPECT_EQ(block, Samples(10, 1.0f));
    EXPECT_EQ(filter.GetPosition(), 10);
    filter.Seek(-4);
    EXPECT_EQ(filter.GetPosition(), -4);
    EXPECT_EQ(filter.resets, 1);
    EXPECT_EQ(filter.Read(block.data(), 0), block.data());
    EXPECT_EQ(filter.Read(block.data(), -1), block.data());
    EXPECT_EQ(filter.processed, 1);
    EXPECT_FALSE(filter.IsGrowing());
    EXPECT_EQ(filter.Adjust(12, 0, 100), 12);
}

class LAnsweringSource final : public LSoundSource {
  public:
    LAnsweringSource() : LSoundSource(8000, 2) {}
    float* Read(float* dest, int32_t frames) override { return Silence(dest, frames); }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return 4000; }
    void Seek(int64_t frame) override { position_ = frame; }
    bool Query(uint32_t id, void* result) override {
        *static_cast<uint32_t*>(result) = id + 1;
        return true;
    }
    int32_t Adjust(int32_t value, uint32_t low, uint32_t high) override {
        return value + static_cast<int32_t>(low + high);
    }
    bool IsGrowing() override { return true; }

  private:
    int64_t position_ = 0;
};

TEST(SoundFilterTest, EverythingButTheSamplesIsTheSources) {
    LSoundSourceRef source = MakeSource<LAnsweringSource>();
    source->peak = 0.25f;
    LCountingFilter filter(source);
    EXPECT_EQ(filter.Format(), (LSoundFormat{8000, 2}));
    EXPECT_EQ(filter.peak, 0.25f);
    EXPECT_EQ(filter.GetLength(), 4000);
    EXPECT_TRUE(filter.IsGrowing());
    uint32_t answer = 0;
    EXPECT_TRUE(filter.Query(12, &answer));
    EXPECT_EQ(answer, 13U);
    EXPECT_FALSE(filter.Query(kQueryIntegerBits, &answer)) << "changed samples are no integers";
    EXPECT_EQ(filter.Adjust(1, 10, 100), 111);
    filter.Seek(123);
    EXPECT_EQ(source->GetPosition(), 123);
    Samples block(4);
    filter.Read(block.data(), 2);
    EXPECT_EQ(filter.lastPosition, 123);
}

TEST(SoundFilterTest, OverAFailedSourceItSaysSo) {
    const LSoundSourceRef failed = FailedSource(kSourceUnsupported);
    EXPECT_EQ(WrapInFilter<LCountingFilter>(failed).Get(), failed.Get());
    LCountingFilter filter(failed);
    EXPECT_EQ(filter.error, kFilterSourceFailed);
    EXPECT_FALSE(WrapInFilter<LCountingFilter>(LSoundSourceRef()).IsEmpty());
}

}  // namespace
}  // namespace ondarix::test
