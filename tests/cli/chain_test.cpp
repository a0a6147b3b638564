// SPDX-License-Identifier: GPL-3.0-or-later
// "chain" against files taken apart, and put together, by the description of the format.
#include <QDir>
#include <QFileInfo>
#include <cstring>

#include "cli/effect_runs.h"
#include "cli/plain_wav.h"

namespace ondarix::test {
namespace {

template <typename T>
QByteArray Little(T value) {
    return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
}

QByteArray Chunk(int id, int type, const QByteArray& payload) {
    return Little(static_cast<uint16_t>(id)) + Little(static_cast<uint16_t>(type)) +
           Little(static_cast<uint64_t>(payload.size())) + payload;
}
QByteArray Byte(int id, int value) { return Chunk(id, 1, QByteArray(1, static_cast<char>(value))); }
QByteArray StoredWord(int id, uint32_t value) { return Chunk(id, 2, Little(value)); }

QByteArray StoredEffect(uint32_t type, const QByteArray& fields, int bypass = 0) {
    const QByteArray common = Chunk(4096, 0, Byte(8192, bypass) + StoredWord(12288, 0));
    return StoredWord(8192, type) + Chunk(4096, 0, common + fields);
}

QByteArray ChainFile(const QByteArray& body, uint32_t kind = 11, uint16_t version = 1) {
    return "lsdf" + Little(uint16_t{1}) + Little(kind) + Little(version) + Chunk(0, 0, body) + "lsdf";
}

// "type bypass field=payload..." of each effect in a file.
QStringList TakenApart(const QByteArray& file) {
    EXPECT_EQ(file.left(4) + file.right(4), "lsdflsdf");
    const auto number = [](const QByteArray& bytes) {
        uint64_t value = 0;
        std::memcpy(&value, bytes.constData(), static_cast<size_t>(std::min<qsizetype>(8, bytes.size())));
        return value;
    };
    const auto each = [&](const QByteArray& bytes, auto&& use) {
        for (qsizetype at = 0; at + 12 <= bytes.size();) {
            const auto size = static_cast<qsizetype>(number(bytes.mid(at + 4, 8)));
            use(static_cast<int>(number(bytes.mid(at, 2))), bytes.mid(at + 12, size));
            at += 12 + size;
        }
    };
    QStringList effects;
    QString type;
    each(file.mid(24, file.size() - 28), [&](int id, const QByteArray& payload) {
        if (id == 8192) type = QString::number(number(payload));
        if (id != 4096) return;
        QString bypass = "?", fields;
        each(payload, [&](int inner, const QByteArray& value) {
            if (inner == 4096) {
                each(value, [&](int common, const QByteArray& byte) {
                    if (common == 8192) bypass = QString::number(number(byte));
                });
            } else {
                fields += QString(" %1=%2").arg(inner).arg(QString::fromLatin1(value.toHex()));
            }
        });
        effects += type + ' ' + bypass + fields;
    });
    return effects;
}

TEST(CliChain, WhatIsMadeIsShownAndApplied) {
    const Home home;
    const QStringList effects{"amplify", "gain=50", "--then",   "amplify-channels", "gain2=0",
                              "--then",  "Amplify", "--preset", "double volume"};
    const Outcome made = home.Run(QStringList{"chain", "make", "a.ecf", "--json"} + effects);
    ASSERT_EQ(made.status, 0) << made.err.toStdString();
    EXPECT_EQ(TakenApart(FileContent(home.File("a.ecf"))),
              (QStringList{"1 0 8192=32000000", "39 0 8192=64000000 8193=00000000", "1 0 8192=c8000000"}));
    const QJsonArray shown = home.Run({"chain", "show", "--json", "a.ecf"}).Json()["effects"].toArray();
    EXPECT_EQ(shown, made.Json()["effects"].toArray());
    ASSERT_EQ(shown.size(), 3);
    EXPECT_EQ(shown[1]["id"].toString(), "amplify-channels");
    EXPECT_EQ(shown[1]["values"].toObject()["gain2"].toInt(-1), 0);
    const QByteArray text = home.Run({"chain", "show", "a.ecf"}).out;
    EXPECT_EQ(text.count('\n'), 3);
    EXPECT_TRUE(text.contains("gain=50%\n")) << text.toStdString();

    WriteFile(home.File("in.wav"), NoiseWav(2, 3, 32, 44100, 2, 3000, 0.4).ToBytes());
    ASSERT_EQ(home.Run({"apply", "in.wav", "chain.wav", "--chain", "a.ecf"}).status, 0);
    ASSERT_EQ(home.Run(QStringList{"apply", "in.wav", "words.wav"} + effects).status, 0);
    EXPECT_EQ(FileContent(home.File("chain.wav")), FileContent(home.File("words.wav")));
    EXPECT_LT(LoudestDifference(FloatSamples(home.File("chain.wav")),
                                FloatSamples(home.File("in.wav"), {"remix", "1", "0"})),
              1e-7);
    // Between effects, before and behind them.
    ASSERT_EQ(
        home.Run({"apply", "in.wav", "words.wav", "reverse", "--chain", "a.ecf", "--then", "reverse"}).status,
        0);
    EXPECT_EQ(FileContent(home.File("chain.wav")), FileContent(home.File("words.wav")));
    ASSERT_EQ(home.Run({"chain", "make", "twice.ecf", "--chain", "a.ecf", "--chain=a.ecf"}).status, 0);
    EXPECT_EQ(TakenApart(FileContent(home.File("twice.ecf"))).size(), 6);
}

// Files from anywhere: other versions' effects, effects that are off, and one with no place in a chain.
TEST(CliChain, FilesOfOtherVersions) {
    const Home home;
    const QByteArray body = StoredEffect(1, StoredWord(8192, 50)) +
                            StoredEffect(30001, StoredWord(8192, 7) + Byte(9000, 3)) +
                            StoredEffect(9, StoredWord(8192, 1)) + StoredEffect(1, StoredWord(8192, 10), 1) +
                            Chunk(20000, 7, "a chunk of another time");
    WriteFile(home.File("other.ecf"), ChainFile(body));
    const QJsonArray shown = home.Run({"chain", "show", "--json", "other.ecf"}).Json()["effects"].toArray();
    ASSERT_EQ(shown.size(), 3);
    EXPECT_TRUE(shown[0]["on"].toBool());
    EXPECT_EQ(shown[1]["type"].toInt(), 30001);
    EXPECT_TRUE(shown[1]["unknown"].toBool());
    EXPECT_FALSE(shown[2]["on"].toBool(true));
    EXPECT_TRUE(shown[2]["bypassed"].toBool());
    const QByteArray text = home.Run({"chain", "show", "other.ecf"}).out;
    EXPECT_TRUE(text.contains("type-30001")) << text.toStdString();
    EXPECT_EQ(text.count("(off)"), 1) << text.toStdString();

    WriteFile(home.File("in.wav"), NoiseWav(2, 3, 32, 44100, 1, 3000, 0.4).ToBytes());
    const Outcome applied = home.Run({"apply", "in.wav", "out.wav", "--chain", "other.ecf"});
    ASSERT_EQ(applied.status, 0) << applied.err.toStdString();
    EXPECT_EQ(applied.ErrorLines(), 1) << applied.err.toStdString();
    EXPECT_TRUE(applied.err.contains("type-30001")) << applied.err.toStdString();
    EXPECT_LT(LoudestDifference(FloatSamples(home.File("out.wav")),
                                FloatSamples(home.File("in.wav"), {"vol", "0.5"})),
              1e-7);
    // Written again, nothing of them is lost.
    ASSERT_EQ(home.Run({"chain", "make", "again.ecf", "--chain", "other.ecf", "--then", "amplify"}).status,
              0);
    EXPECT_EQ(TakenApart(FileContent(home.File("again.ecf"))),
              (QStringList{"1 0 8192=32000000", "30001 0 8192=07000000 9000=03", "1 1 8192=0a000000",
                           "1 0 8192=64000000"}));
    // What a file that was cut short still holds.
    WriteFile(home.File("short.ecf"),
              ChainFile(body).left(24 + StoredEffect(1, StoredWord(8192, 50)).size()));
    EXPECT_EQ(home.Run({"chain", "show", "--json", "short.ecf"}).Json()["effects"].toArray().size(), 1);
}

TEST(CliChain, WrongLinesAndFilesAreRefused) {
    const Home home;
    const QByteArray good = ChainFile(StoredEffect(1, StoredWord(8192, 50)));
    WriteFile(home.File("good.ecf"), good);
    WriteFile(home.File("empty.ecf"), ChainFile({}));
    WriteFile(home.File("nothing.ecf"), "");
    WriteFile(home.File("text.ecf"), QByteArray("no chain at all\n").repeated(10));
    WriteFile(home.File("kind.ecf"), ChainFile(StoredEffect(1, {}), 26));
    WriteFile(home.File("version.ecf"), ChainFile(StoredEffect(1, {}), 11, 2));
    ASSERT_TRUE(QDir(home.FilesFolder()).mkdir("folder.ecf"));
    WriteFile(home.File("in.wav"), NoiseWav(2, 3, 32, 44100, 1, 300, 0.4).ToBytes());
    for (const char* name :
         {"absent.ecf", "nothing.ecf", "text.ecf", "kind.ecf", "version.ecf", "folder.ecf"}) {
        ExpectRefused(home, {"chain", "show", name}, 2, {name});
        ExpectRefused(home, {"apply", "in.wav", "out.wav", "--chain", name}, 2, {name});
        ExpectRefused(home, {"chain", "make", "new.ecf", "--chain", name}, 2, {name});
    }
    EXPECT_EQ(home.Run({"chain", "show", "empty.ecf"}).status, 0);
    ExpectRefused(home, {"apply", "in.wav", "out.wav", "--chain", "empty.ecf"}, 2, {"no effects"});
    ExpectRefused(home, {"chain", "make", "new.ecf", "--chain", "empty.ecf"}, 2, {"No effects"});

    for (const auto& one : AllEffects(home)) {
        const QString id = one.toObject()["id"].toString();
        if (one.toObject()["stored"].toBool()) continue;
        ExpectRefused(home, {"chain", "make", "new.ecf", "amplify", "--then", id}, 64, {id, "stored"});
    }
    ExpectRefused(home, {"chain"}, 64, {"show"});
    ExpectRefused(home, {"chain", "make", "new.ecf"}, 64);
    ExpectRefused(home, {"chain", "make", "new.ecf", "frobnicate"}, 64, {"frobnicate"});
    ExpectRefused(home, {"chain", "make", "new.ecf", "amplify", "gain=1000"}, 64, {"gain"});
    ExpectRefused(home, {"chain", "make", "new.ecf", "amplify-channels", "gain256=1"}, 64, {"gain256"});
    ExpectRefused(home, {"chain", "make", "new.wav", "amplify"}, 2, {".ecf"});
    ExpectRefused(home, {"chain", "make", "folder.ecf", "amplify"}, 2, {"folder.ecf"});
    ExpectRefused(home, {"chain", "make", "absent/new.ecf", "amplify"}, 2, {"absent"});
    ExpectRefused(home, {"chain", "make", "--no-clobber", "good.ecf", "amplify"}, 2, {"exists"});
    QStringList many{"chain", "make", "new.ecf"};
    for (int i = 0; i < 1001; ++i) many += {"--chain", "good.ecf"};
    ExpectRefused(home, many, 2, {"1000"});
    many[0] = "apply", many[1] = "in.wav", many[2] = "out.wav";
    ExpectRefused(home, many, 2, {"1000"});

    ASSERT_EQ(home.Run({"chain", "make", "good.ecf", "amplify", "gain=50"}).status, 0);
    EXPECT_EQ(FileContent(home.File("good.ecf")), good);
}

}  // namespace
}  // namespace ondarix::test
