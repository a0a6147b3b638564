// SPDX-License-Identifier: GPL-3.0-or-later
// "effects": every effect of the table, told so that a script can build an "apply" from it.
#include <QRegularExpression>
#include <QSet>

#include "cli/effect_runs.h"
#include "cli/plain_wav.h"
#include "effects/effect_table.h"

namespace ondarix::test {
namespace {

QJsonObject EffectNamed(const QJsonArray& effects, const QString& id) {
    for (const auto& effect : effects)
        if (effect.toObject()["id"].toString() == id) return effect.toObject();
    ADD_FAILURE() << id.toStdString();
    return {};
}

TEST(CliEffects, ListsWhatTheTableHolds) {
    const Home home;
    const QJsonArray told = AllEffects(home);
    QSet<QString> ids;
    for (const auto& effect : told) ids.insert(effect.toObject()["id"].toString());
    EXPECT_EQ(ids.size(), told.size());
    const QByteArray list = home.Run({"effects"}).out;
    qsizetype made = 0;
    for (const LEffectRow& row : EffectTable()) {
        EXPECT_EQ(ids.contains(row.id), row.make != nullptr) << row.id;
        if (!row.make) continue;
        ++made;
        // Aligned: every help begins in the same column.
        const QString line = QString("\n  %1 ").arg(row.id);
        EXPECT_EQ(('\n' + list).count(line.toUtf8()), 1) << row.id;
        const QJsonObject effect = EffectNamed(told, row.id);
        EXPECT_EQ(effect["type"].toInt(-1), row.type);
        EXPECT_EQ(effect["stored"].toBool(), row.type != 0);
        const auto own = row.make();
        own->SetFormat({44100, 2});
        EXPECT_EQ(effect["parameters"].toArray().size(), own->GetParameterCount()) << row.id;
        EXPECT_EQ(effect["presets"].toArray().size(), own->GetPresetCount()) << row.id;
        EXPECT_EQ(effect["measuresFirst"].toBool(), own->NeedsMeasure()) << row.id;
    }
    EXPECT_EQ(told.size(), made);
    EXPECT_EQ(list.count('\n'), made);
    QSet<qsizetype> columns;
    static const QRegularExpression kLine("^  [a-z0-9-]+ +(?=[^ ])");
    for (const QByteArray& line : list.trimmed().prepend("  ").split('\n'))
        columns.insert(kLine.match(QString::fromUtf8(line)).capturedLength());
    EXPECT_EQ(columns.size(), 1);
}

TEST(CliEffects, TellsOneWithAllThatBelongsToIt) {
    const Home home;
    for (const char* name : {"amplify", "AMPLIFY", "Amplify"}) {
        const Outcome outcome = home.Run({"effects", name});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_TRUE(outcome.out.contains("1 to 400%  default 100%")) << outcome.out.toStdString();
        EXPECT_TRUE(outcome.out.contains("Double Volume")) << outcome.out.toStdString();
    }
    for (const auto& effect : AllEffects(home)) {
        const QString id = effect.toObject()["id"].toString();
        const QByteArray out = home.Run({"effects", id}).out;
        for (const QByteArray& line : out.split('\n')) EXPECT_LE(line.size(), 110) << line.toStdString();
        for (const auto& param : effect.toObject()["parameters"].toArray())
            EXPECT_TRUE(out.contains("  " + param.toObject()["id"].toString().toUtf8() + ' '));
    }
    EXPECT_EQ(home.Run({"effects", "--json", "reverse", "amplify"}).Json()["effects"].toArray().size(), 2);
    ExpectRefused(home, {"effects", "amplify", "frobnicate"}, 64, {"frobnicate"});
    // Taken by other versions, made by none so far.
    ExpectRefused(home, {"effects", "platform-effect"}, 64);
}

// As the editor stores them.
TEST(CliEffects, ThePresetsOfTheUserAreThere) {
    const Home home;
    const QString section = "EffectPresets\\Amplify";
    ASSERT_EQ(home.Run({"settings", "set", section, "PresetCount", "2"}).status, 0);
    ASSERT_EQ(home.Run({"settings", "set", section, "0", "Für Anna"}).status, 0);
    ASSERT_EQ(home.Run({"settings", "set", section, "1", "Nothing Stored"}).status, 0);
    ASSERT_EQ(home.Run({"settings", "set", section + "\\Für Anna", "Values", "37"}).status, 0);
    const QJsonArray presets = EffectNamed(AllEffects(home), "amplify")["presets"].toArray();
    ASSERT_FALSE(presets.isEmpty());
    const QJsonObject last = presets.last().toObject();
    EXPECT_EQ(last["name"].toString(), "Für Anna");
    EXPECT_TRUE(last["own"].toBool());
    EXPECT_EQ(last["values"].toObject()["gain"].toInt(), 37);
    EXPECT_FALSE(presets.first().toObject()["own"].toBool());
    EXPECT_TRUE(home.Run({"effects", "amplify"}).out.contains("gain=37% (own)"));

    WriteFile(home.File("in.wav"), NoiseWav(1, 3, 32, 44100, 2, 100, 0.5).ToBytes());
    ASSERT_EQ(home.Run({"apply", "in.wav", "out.wav", "amplify", "--preset", "für anna"}).status, 0);
    EXPECT_LT(LoudestDifference(FloatSamples(home.File("out.wav")),
                                FloatSamples(home.File("in.wav"), {"vol", "0.37"})),
              1e-7);
    ExpectRefused(home, {"apply", "in.wav", "out.wav", "amplify", "--preset", "Nothing Stored"}, 64,
                  {"amplify", "Nothing Stored"});
}

}  // namespace
}  // namespace ondarix::test
