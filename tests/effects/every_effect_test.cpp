// SPDX-License-Identifier: GPL-3.0-or-later
// What every effect of the table has to keep, whatever it does to the sound.
#include <QSet>

#include "effects/effect_fixture.h"
#include "effects/presets.h"
#include "effects/stored_values.h"
#include "formats/wav_source.h"
#include "gen/settings.h"

namespace ondarix::test {
namespace {

constexpr LSoundFormat kStereo{44100, 2};

class EveryEffect : public ::testing::TestWithParam<const LEffectRow*> {
  protected:
    const LEffectRow& Row() const { return *GetParam(); }
    // Each prepared over `samples`.
    Variants Prepared(const Samples& samples, LSoundFormat format) const {
        Variants all = VariantsOf(Row(), format);
        for (Variant& variant : all) Prepare(*variant.effect, samples, format);
        return all;
    }
};

TEST_P(EveryEffect, HasARowThatTellsWhatItIs) {
    const std::unique_ptr<LEffect> effect = Row().make();
    ASSERT_TRUE(effect);
    EXPECT_EQ(effect->GetType(), Row().type);
    EXPECT_EQ(effect->GetName(), QString::fromUtf8(Row().name));
    EXPECT_EQ(FindEffect(QString::fromLatin1(Row().id).toUpper()), &Row());
    EXPECT_EQ(FindEffectOfCommand(Row().command), Row().command ? &Row() : nullptr);
    EXPECT_EQ(FindEffect(Row().type), Row().type ? &Row() : nullptr);
    EXPECT_NE(*Row().help, '\0');
    EXPECT_NE(*Row().undoName, '\0');
    for (const char* at = Row().id; *at; ++at)
        EXPECT_TRUE((*at >= 'a' && *at <= 'z') || (*at >= '0' && *at <= '9') || *at == '-') << Row().id;
    int rowsOfId = 0;
    for (const LEffectRow& other : EffectTable())
        rowsOfId += QLatin1String(other.id) == QLatin1String(Row().id);
    EXPECT_EQ(rowsOfId, 1);
}

TEST_P(EveryEffect, HasParametersWithinTheirRangesAndNamesOfTheirOwn) {
    for (const LSoundFormat format : {LSoundFormat{8000, 1}, kStereo, LSoundFormat{48000, 6}}) {
        for (const Variant& variant : VariantsOf(Row(), format)) {
            QSet<QString> ids, settings;
            for (int i = 0; i < variant.effect->GetParameterCount(); ++i) {
                const LEffectParam param = InfoOf(*variant.effect, i);
                const bool silent = param.type == LParamType::kDb && param.value == kMinusInfinityDb;
                EXPECT_LT(param.minimum, param.maximum) << variant.what;
                EXPECT_TRUE(silent || (param.value >= param.minimum && param.value <= param.maximum))
                    << variant.what << ", " << param.id.toStdString() << " = " << param.value;
                EXPECT_FALSE(param.name.isEmpty());
                EXPECT_EQ(param.id, param.id.toLower());
                EXPECT_FALSE(param.id.isEmpty() || param.id.contains(u' ') || param.id.contains(u'='));
                ids.insert(param.id);
                settings.insert(param.setting.isEmpty() ? param.id : param.setting);
                if (param.type == LParamType::kChoice) {
                    EXPECT_EQ(param.choices.size(), static_cast<qsizetype>(param.maximum) + 1);
                }
            }
            EXPECT_EQ(ids.size(), variant.effect->GetParameterCount());
            EXPECT_EQ(settings.size(), variant.effect->GetParameterCount());
            LEffectParam none;
            EXPECT_FALSE(variant.effect->GetParameterInfo(-1, none));
            EXPECT_FALSE(variant.effect->GetParameterInfo(variant.effect->GetParameterCount(), none));
        }
    }
}

TEST_P(EveryEffect, ClampsItsParametersAndIgnoresWhatIsNoNumber) {
    const std::unique_ptr<LEffect> effect = Row().make();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (int i = 0; i < effect->GetParameterCount(); ++i) {
        const LEffectParam param = InfoOf(*effect, i);
        const bool isDb = param.type == LParamType::kDb;
        const struct {
            double set, expected;
        } cases[] = {{param.minimum, param.minimum},
                     {param.maximum, param.maximum},
                     {param.maximum + 1, param.maximum},
                     {1e300, param.maximum},
                     {kInfinity, param.maximum},
                     {param.minimum - 1, isDb && param.minimum <= -126 ? kMinusInfinityDb : param.minimum},
                     {-1e300, isDb ? kMinusInfinityDb : param.minimum},
                     {-kInfinity, isDb ? kMinusInfinityDb : param.minimum}};
        for (const auto& one : cases) {
            effect->SetParameter(i, one.set);
            EXPECT_EQ(InfoOf(*effect, i).value, one.expected)
                << param.id.toStdString() << " set to " << one.set;
            effect->SetParameter(i, std::numeric_limits<double>::quiet_NaN());
            EXPECT_EQ(InfoOf(*effect, i).value, one.expected) << param.id.toStdString();
        }
    }
    const std::vector<double> before = ValuesOf(*effect);
    for (const int outside : {-1, effect->GetParameterCount(), std::numeric_limits<int>::max()})
        effect->SetParameter(outside, 1);
    EXPECT_EQ(ValuesOf(*effect), before);
}

TEST_P(EveryEffect, ReadsBackTheTextOfItsParameters) {
    std::mt19937 random(5);
    const std::unique_ptr<LEffect> effect = Row().make();
    for (int times = 0; times < 50; ++times) {
        SetAnyValues(*effect, random);
        for (int i = 0; i < effect->GetParameterCount(); ++i) {
            const LEffectParam param = InfoOf(*effect, i);
            for (const bool withUnit : {true, false}) {
                const QString text = ParamText(param, param.value, withUnit);
                const auto parsed = ParseParam(param, text);
                ASSERT_TRUE(parsed) << text.toStdString();
                EXPECT_EQ(*parsed, param.value) << text.toStdString();
            }
            const std::unique_ptr<LEffect> other = Row().make();
            EXPECT_EQ(other->SetOption(param.id.toUpper(), ParamText(param, param.value)), QString());
            EXPECT_EQ(InfoOf(*other, i).value, param.value) << param.id.toStdString();
            EXPECT_NE(other->SetOption(param.id, "surely no value"), QString());
            EXPECT_NE(other->SetOption(param.id, ""), QString());
        }
    }
    EXPECT_NE(effect->SetOption("surely-no-parameter", "1"), QString());
}

TEST_P(EveryEffect, KnowsItsPresetsAndSurvivesOthers) {
    const std::unique_ptr<LEffect> effect = Row().make();
    QStringList names;
    for (int i = 0; i < effect->GetPresetCount(); ++i) {
        EXPECT_FALSE(effect->GetPresetName(i).trimmed().isEmpty());
        names += effect->GetPresetName(i).toLower();
        effect->SetPreset(i);
        EXPECT_EQ(effect->GetCurrentPreset(), i) << names.back().toStdString();
    }
    EXPECT_EQ(names.removeDuplicates(), 0);
    EXPECT_TRUE(effect->GetPresetName(-1).isEmpty());
    EXPECT_TRUE(effect->GetPresetName(effect->GetPresetCount()).isEmpty());
    const QString before = effect->PresetText();
    for (const int outside : {-1, effect->GetPresetCount(), std::numeric_limits<int>::max()})
        effect->SetPreset(outside);
    EXPECT_EQ(effect->PresetText(), before);
}

// --- Samples.

TEST_P(EveryEffect, GivesTheSameSamplesForAnyBlockSize) {
    for (const int channels : {1, 2, 6}) {
        const LSoundFormat format{44100, static_cast<uint8_t>(channels)};
        const Samples noise = RoughNoise(20000, channels);
        for (const Variant& variant : Prepared(noise, format)) {
            const Samples whole = Filtered(*variant.effect, noise, format, 20000);
            for (const int32_t block : {1, 7, 64, 1000, 8192})
                EXPECT_TRUE(SameBits(Filtered(*variant.effect, noise, format, block), whole))
                    << variant.what << ", " << channels << " channels, blocks of " << block;
        }
    }
}

TEST_P(EveryEffect, IsAsFreshAfterASeek) {
    const Samples noise = RoughNoise(20000, 2);
    for (const Variant& variant : Prepared(noise, kStereo)) {
        LSoundSourceRef used = variant.effect->CreateFilter(SourceOf(noise, kStereo));
        ReadFrames(*used, 9000, 512);
        for (const int64_t place : {0, 5000, 1, 8191, 8192, 8193, 19999}) {
            LSoundSourceRef fresh = variant.effect->CreateFilter(SourceOf(noise, kStereo));
            if (place != 0) fresh->Seek(place);
            used->Seek(place);
            ASSERT_EQ(used->GetPosition(), place) << variant.what;
            const int64_t rest = 20000 - place;
            EXPECT_TRUE(SameBits(ReadFrames(*used, rest, 777), ReadFrames(*fresh, rest, 8192)))
                << variant.what << ", from " << place;
            EXPECT_EQ(used->GetPosition(), 20000) << variant.what;
        }
    }
}

TEST_P(EveryEffect, MovesNothingByReadingNothing) {
    const Samples noise = RoughNoise(3000, 2);
    for (const Variant& variant : Prepared(noise, kStereo)) {
        const Samples expected = Filtered(*variant.effect, noise, kStereo);
        LSoundSourceRef filter = variant.effect->CreateFilter(SourceOf(noise, kStereo));
        Samples got = ReadFrames(*filter, 1001, 91);
        float guard[2] = {5, 6};
        EXPECT_EQ(filter->Read(guard, 0), guard);
        EXPECT_EQ(guard[0], 5);
        EXPECT_EQ(filter->GetPosition(), 1001);
        const Samples rest = ReadFrames(*filter, 1999);
        got.insert(got.end(), rest.begin(), rest.end());
        EXPECT_TRUE(SameBits(got, expected)) << variant.what;
    }
}

TEST_P(EveryEffect, GivesFiniteSamplesOfTheFormatForEveryFormat) {
    for (const int channels : {1, 2, 3, 6, 8, 255}) {
        for (const int rate : {1, 8000, 44100, 196000}) {
            const LSoundFormat format{rate, static_cast<uint8_t>(channels)};
            for (const int64_t frames : {0, 1, 2, 600}) {
                const Samples noise = RoughNoise(frames, channels);
                for (const Variant& variant : Prepared(noise, format)) {
                    const LSoundSourceRef filter = variant.effect->CreateFilter(SourceOf(noise, format));
                    EXPECT_EQ(filter->Format(), format) << variant.what;
                    EXPECT_TRUE(filter.IsUsable()) << variant.what;
                    const Samples out = ReadFrames(*filter, filter->GetLength(), 256);
                    const bool finite =
                        std::all_of(out.begin(), out.end(), [](float one) { return std::isfinite(one); });
                    EXPECT_TRUE(finite) << variant.what << ", " << channels << " channels at " << rate
                                        << " Hz, " << frames << " frames";
                }
            }
        }
    }
}

TEST_P(EveryEffect, StaysWithinThePeakThatItAnnounces) {
    for (const float scale : {1.0f, 0.01f, 8.0f}) {
        Samples noise = RoughNoise(12000, 2, 3);
        for (float& one : noise) one *= scale;
        for (const Variant& variant : Prepared(noise, kStereo)) {
            const LSoundSourceRef filter = variant.effect->CreateFilter(SourceOf(noise, kStereo));
            const Samples out = ReadFrames(*filter, filter->GetLength());
            float peak = 0;
            for (const float one : out) peak = std::max(peak, std::fabs(one));
            EXPECT_LE(peak, filter->peak) << variant.what << ", times " << scale;
        }
    }
}

TEST_P(EveryEffect, DeliversTheLengthThatItAnnounces) {
    const Samples noise = RoughNoise(9000, 2);
    for (const Variant& variant : Prepared(noise, kStereo)) {
        const LSoundSourceRef filter = variant.effect->CreateFilter(SourceOf(noise, kStereo));
        const int64_t length = filter->GetLength();
        EXPECT_EQ(length, 9000) << variant.what;
        for (int64_t done = 0; done < length; done += 1000) {
            EXPECT_EQ(filter->GetPosition(), done) << variant.what;
            EXPECT_EQ(filter->GetLength(), length) << variant.what;
            ReadFrames(*filter, 1000);
        }
    }
}

TEST_P(EveryEffect, PassesASourceThatHasFailed) {
    for (const Variant& variant : VariantsOf(Row(), kStereo)) {
        const LSoundSourceRef failed = FailedSource(kSourceCannotOpen);
        EXPECT_EQ(variant.effect->CreateFilter(failed).Get(), failed.Get()) << variant.what;
    }
}

TEST_P(EveryEffect, WorksWithoutASource) {
    for (const Variant& variant : VariantsOf(Row(), {44100, 1})) {
        LSoundSourceRef filter = variant.effect->CreateFilter(LSoundSourceRef());
        const Samples out = ReadFrames(*filter, 500, 100);
        EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](float one) { return std::isfinite(one); }))
            << variant.what;
    }
}

TEST_P(EveryEffect, DoesTheSameAsItsClone) {
    const Samples noise = RoughNoise(9000, 2);
    for (const Variant& variant : Prepared(noise, kStereo)) {
        variant.effect->bypass = 3;
        variant.effect->enabled = false;
        variant.effect->storedWord = 0xDEADBEEF;
        const Samples expected = Filtered(*variant.effect, noise, kStereo);
        const std::unique_ptr<LEffect> clone = variant.effect->Clone();
        EXPECT_EQ(clone->GetType(), variant.effect->GetType());
        EXPECT_EQ(clone->PresetText(), variant.effect->PresetText());
        EXPECT_EQ(clone->bypass, 3);
        EXPECT_FALSE(clone->enabled);
        EXPECT_EQ(clone->storedWord, 0xDEADBEEF);
        EXPECT_TRUE(SameBits(Filtered(*clone, noise, kStereo), expected)) << variant.what;
        variant.effect->SetDefaults();
        EXPECT_TRUE(SameBits(Filtered(*clone, noise, kStereo), expected)) << variant.what;
    }
}

TEST_P(EveryEffect, KeepsNothingOfAMeasureThatWasCancelled) {
    const Samples noise = RoughNoise(40000, 2);
    const auto open = [&] { return SourceOf(noise, kStereo); };
    for (const Variant& variant : VariantsOf(Row(), kStereo)) {
        if (!variant.effect->NeedsMeasure()) continue;
        const Samples before = Filtered(*variant.effect, noise, kStereo);
        for (int at = 0; at < 10000; ++at) {
            CancellingProgress progress(at);
            const std::unique_ptr<LEffect> effect = variant.effect->Clone();
            const JobResult result = effect->Measure(open, progress);
            if (!progress.WasCancelled()) {
                EXPECT_EQ(result, JobResult::kSuccess) << variant.what;
                EXPECT_GE(at, 40000 / kBlockFrames) << variant.what << " asks less than once a block";
                break;
            }
            EXPECT_EQ(result, JobResult::kCancelled) << variant.what << ", at " << at;
            EXPECT_TRUE(SameBits(Filtered(*effect, noise, kStereo), before)) << variant.what << ", at " << at;
        }
    }
}

TEST_P(EveryEffect, TreatsSpeechLikeTheRest) {
    const LSoundSourceRef speech = OpenWav(QStringLiteral("/usr/share/sounds/alsa/Front_Center.wav"));
    ASSERT_TRUE(speech.IsUsable());
    const Samples samples = ReadFrames(*speech, speech->GetLength());
    for (const Variant& variant : Prepared(samples, speech->Format())) {
        const Samples whole = Filtered(*variant.effect, samples, speech->Format());
        EXPECT_TRUE(SameBits(Filtered(*variant.effect, samples, speech->Format(), 333), whole))
            << variant.what;
        EXPECT_TRUE(std::all_of(whole.begin(), whole.end(), [](float one) { return std::isfinite(one); }));
    }
}

// --- Presets and stored values.

class EveryEffectInTheSettings : public EveryEffect {
  protected:
    void SetUp() override {
        ASSERT_TRUE(home_.isValid());
        qputenv("ONDARIX_HOME", home_.path().toUtf8());
    }
    QTemporaryDir home_;
};

TEST_P(EveryEffectInTheSettings, ComesBackFromAPresetExactly) {
    std::mt19937 random(9);
    for (int i = 0; i < 3; ++i) {
        const std::unique_ptr<LEffect> effect = Row().make();
        effect->SetFormat(kStereo);
        SetAnyValues(*effect, random);
        ASSERT_EQ(SaveUserPreset(*effect, QString("Mine %1").arg(i), false), LPresetResult::kDone);
        const std::unique_ptr<LEffect> other = Row().make();
        other->SetFormat(kStereo);
        ASSERT_EQ(LoadUserPreset(*other, QString("mine %1").arg(i)), LPresetResult::kDone);
        EXPECT_EQ(ValuesOf(*other), ValuesOf(*effect));
        EXPECT_EQ(other->PresetText(), effect->PresetText());
    }
    for (const Variant& variant : VariantsOf(Row(), kStereo)) {
        const std::unique_ptr<LEffect> other = Row().make();
        other->SetFormat(kStereo);
        ASSERT_TRUE(other->SetPresetText(variant.effect->PresetText())) << variant.what;
        const Samples noise = RoughNoise(3000, 2);
        Prepare(*variant.effect, noise, kStereo);
        Prepare(*other, noise, kStereo);
        EXPECT_TRUE(SameBits(Filtered(*other, noise, kStereo), Filtered(*variant.effect, noise, kStereo)))
            << variant.what;
    }
    const std::unique_ptr<LEffect> effect = Row().make();
    const QString before = effect->PresetText();
    for (const char* wrong : {"nan", "inf 1", "a b c", "1,5", "\n", "1e999"}) {
        EXPECT_FALSE(effect->SetPresetText(wrong)) << wrong;
        EXPECT_EQ(effect->PresetText(), before) << wrong;
    }
    for (int i = 0; i < effect->GetPresetCount(); ++i)
        EXPECT_EQ(SaveUserPreset(*effect, effect->GetPresetName(i).toUpper(), true),
                  LPresetResult::kBuiltInName);
}

TEST_P(EveryEffectInTheSettings, IsAsItWasLastUsed) {
    std::mt19937 random(10);
    for (int times = 0; times < 3; ++times) {
        const std::unique_ptr<LEffect> effect = Row().make();
        SetAnyValues(*effect, random);
        ASSERT_TRUE(SaveStoredValues(*effect, Row()));
        const std::unique_ptr<LEffect> other = Row().make();
        LoadStoredValues(*other, Row());
        const std::vector<double> expected = ValuesOf(*effect), got = ValuesOf(*other);
        ASSERT_EQ(got.size(), expected.size());
        for (size_t i = 0; i < got.size(); ++i)
            EXPECT_NEAR(got[i], expected[i], 1e-9 * std::max(1.0, std::abs(expected[i])));
    }
}

TEST_P(EveryEffectInTheSettings, TakesDamagedValuesForNoneOrTheNearest) {
    const std::unique_ptr<LEffect> effect = Row().make();
    if (!*Row().section) return;
    for (const char* damaged :
         {"", "99999999999999999999", "-99999999999999999999", "nan", "1e400", "text"}) {
        for (int i = 0; i < effect->GetParameterCount(); ++i) {
            const LEffectParam param = InfoOf(*effect, i);
            SetSettingString(Row().section, param.setting.isEmpty() ? param.id : param.setting, damaged);
        }
        const std::unique_ptr<LEffect> loaded = Row().make();
        LoadStoredValues(*loaded, Row());
        for (int i = 0; i < loaded->GetParameterCount(); ++i) {
            const LEffectParam param = InfoOf(*loaded, i);
            const bool silent = param.type == LParamType::kDb && param.value == kMinusInfinityDb;
            EXPECT_TRUE(silent || (param.value >= param.minimum && param.value <= param.maximum)) << damaged;
            if (!*damaged) {
                EXPECT_EQ(param.value, InfoOf(*effect, i).value);
            }
        }
    }
}

std::string RowName(const ::testing::TestParamInfo<const LEffectRow*>& info) {
    std::string name = info.param->id;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Table, EveryEffect, ::testing::ValuesIn(RowsOfThisVersion()), RowName);
INSTANTIATE_TEST_SUITE_P(Table, EveryEffectInTheSettings, ::testing::ValuesIn(RowsOfThisVersion()), RowName);

}  // namespace
}  // namespace ondarix::test
