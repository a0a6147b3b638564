// SPDX-License-Identifier: GPL-3.0-or-later
// The editor's commands in "edit": what they leave of a sound, judged by sox and by arithmetic on frames.
#include <QFileInfo>
#include <QJsonArray>
#include <cmath>

#include "cli/plain_wav.h"
#include "cli/program.h"

namespace ondarix::test {
namespace {

constexpr int kFrames = 1000;
constexpr int kFrameBytes = 8;  // stereo float

QByteArray Frames(const QByteArray& samples, int from, int to) {
    return samples.mid(qsizetype{from} * kFrameBytes, qsizetype{to - from} * kFrameBytes);
}

// A file of floats, so that nothing is rounded on the way.
void WriteNoise(const Home& home, const char* name, unsigned seed, int rate = 44100) {
    WriteFile(home.File(name), NoiseWav(seed, 3, 32, rate, 2, kFrames, 0.5).ToBytes());
}

Outcome Edit(const Home& home, const QString& operations, const QStringList& options = {}) {
    return home.Run(QStringList{"edit", "in.wav", "out.wav"} + options + operations.split(' '));
}

TEST(CliDocument, CommandsLeaveTheFramesThatTheyShould) {
    const Home home;
    WriteNoise(home, "in.wav", 1);
    WriteNoise(home, "other.wav", 2);
    const QByteArray in = FloatSamples(home.File("in.wav"));
    ASSERT_EQ(in.size(), kFrames * kFrameBytes);
    const struct {
        const char* operations;
        std::vector<std::pair<int, int>> ranges;  // of the input, in order
    } table[] = {
        {"cut 100 200 paste end", {{0, 100}, {200, 1000}, {100, 200}}},
        {"copy 0 10 select 100 200 paste", {{0, 100}, {0, 10}, {200, 1000}}},
        {"select 10 20 copy select-none paste 0", {{10, 20}, {0, 1000}}},
        {"copy cursor 500 paste", {{0, 500}, {0, 1000}, {500, 1000}}},
        {"copy 0 10 copy 10 30 paste 50 paste-cycle", {{0, 50}, {0, 10}, {50, 1000}}},
        {"select 100 200 duplicate", {{0, 200}, {100, 1000}}},
        {"move 100 200 500", {{0, 100}, {200, 500}, {100, 200}, {500, 1000}}},
        {"move 500 600 100", {{0, 100}, {500, 600}, {100, 500}, {600, 1000}}},
        {"move 500 600 550", {{0, 1000}}},
        {"select 100 300 trim", {{100, 300}}},
        {"trim-start 100 trim-end 300", {{100, 400}}},
        {"trim-start 0 trim-end end", {{0, 1000}}},
        {"select-all delete undo", {{0, 1000}}},
        {"delete 0 100 delete 0 100 undo", {{100, 1000}}},
        {"delete 0 100 delete 0 100 undo 2 redo", {{100, 1000}}},
        {"delete 0 100 delete 0 50 delete 0 25 history-go 1", {{0, 1000}}},
        {"delete 0 100 delete 0 50 delete 0 25 undo history-go 2", {{0, 1000}}},
        {"delete 0 100 delete 0 50 delete 0 25 undo history-go 3", {{100, 1000}}},
        {"delete 0 100 undo delete 0 1 delete 0 1", {{2, 1000}}},
        {"edit-channel all delete 0 5 edit-channel 2 edit-channel all delete 0 5", {{10, 1000}}},
    };
    for (const auto& row : table) {
        const Outcome outcome = Edit(home, row.operations);
        ASSERT_EQ(outcome.status, 0) << row.operations << '\n' << outcome.err.toStdString();
        QByteArray want;
        for (const auto& [from, to] : row.ranges) want += Frames(in, from, to);
        EXPECT_TRUE(FloatSamples(home.File("out.wav")) == want) << row.operations;
    }
    ASSERT_EQ(Edit(home, "join other.wav").status, 0);
    EXPECT_TRUE(FloatSamples(home.File("out.wav")) == in + FloatSamples(home.File("other.wav")));
    EXPECT_EQ(home.Leftovers(), QStringList());
}

TEST(CliDocument, HistoryKeepsThirtyStepsAndIsPrinted) {
    const Home home;
    WriteNoise(home, "in.wav", 1);
    QString many;
    for (int i = 0; i < 40; ++i) many += "delete 0 1 ";
    EXPECT_EQ(Edit(home, many + "undo 30", {"--json"}).Json()["frames"].toInt(), 990);
    const Outcome refused = Edit(home, many + "undo 31");
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.err, "ondarix-cli: undo: there is nothing to undo\n");

    const Outcome printed = Edit(home, "delete 0 5 silence 0 5 undo", {"--history"});
    EXPECT_EQ(printed.out, "   1  Load File\n   2  Delete\n>  3  Edit Silence\n   4  Redo\n");
    const QJsonObject json = Edit(home, "delete 0 5 silence 0 5 undo", {"--history", "--json"}).Json();
    EXPECT_EQ(json["history"].toArray(), (QJsonArray{"Load File", "Delete", "Edit Silence", "Redo"}));
    EXPECT_EQ(json["historyIndex"].toInt(-2), 2);
    EXPECT_EQ(Edit(home, "delete 0 5", {"--history", "--json"}).Json()["historyIndex"].toInt(-2), -1);
    // A failed step leaves neither a file nor an entry behind.
    EXPECT_EQ(Edit(home, "select 5 9 undo").status, 2);
}

TEST(CliDocument, RatesAndChannelsAreConvertedAsSoxDoes) {
    const Home home;
    // All of the sound lies in the passband of both converters, and begins and ends softly.
    for (const auto& [from, to] : {std::pair{44100, 48000}, {48000, 44100}, {96000, 44100}, {16000, 8000}}) {
        RunTool("sox", {"-R",
                        "-r",
                        QString::number(from),
                        "-n",
                        "-e",
                        "float",
                        "-b",
                        "32",
                        home.File("in.wav"),
                        "synth",
                        "1",
                        "sine",
                        "50:" + QString::number(std::min(from, to) * 2 / 5),
                        "synth",
                        "1",
                        "sine",
                        "mix",
                        "440",
                        "gain",
                        "-3",
                        "fade",
                        "h",
                        "0.3",
                        "1",
                        "0.3"});
        ASSERT_EQ(Edit(home, QString("convert-rate %1").arg(to)).status, 0);
        EXPECT_EQ(RunTool("soxi", {"-r", home.File("out.wav")}).trimmed().toInt(), to);
        EXPECT_LT(LoudestDifference(FloatSamples(home.File("out.wav")),
                                    FloatSamples(home.File("in.wav"), {"rate", "-v", QString::number(to)})),
                  1e-5)
            << from << " to " << to;
    }
    WriteNoise(home, "in.wav", 5);
    ASSERT_EQ(Edit(home, "convert-channels 1").status, 0);
    EXPECT_LT(LoudestDifference(FloatSamples(home.File("out.wav")),
                                FloatSamples(home.File("in.wav"), {"channels", "1"})),
              1e-6);
    // The clip of another file is converted once and pasted twice.
    WriteNoise(home, "in.wav", 1, 48000);
    const Outcome twice = Edit(home, "copy 0 480 convert-rate 44100 paste end paste end", {"--json"});
    EXPECT_EQ(twice.Json()["frames"].toInt(), 919 + 2 * 441) << twice.err.toStdString();
}

TEST(CliDocument, OneChannelIsEditedAlone) {
    const Home home;
    WriteNoise(home, "in.wav", 1);
    ASSERT_EQ(Edit(home, "edit-channel 2 silence 100 200").status, 0);
    const QString left = home.File("in.wav"), edited = home.File("out.wav");
    EXPECT_TRUE(FloatSamples(edited, {"remix", "1"}) == FloatSamples(left, {"remix", "1"}));
    const QByteArray was = FloatSamples(left, {"remix", "2"});
    EXPECT_TRUE(FloatSamples(edited, {"remix", "2"}) ==
                was.first(400) + QByteArray(400, '\0') + was.mid(800));
    // Whatever way is taken through the history, the channel stays chosen.
    for (const char* back : {"undo", "history-go 1", "undo redo undo", "history-go 1 history-go 3 undo"}) {
        ASSERT_EQ(Edit(home, QString("delete 0 5 edit-channel 2 %1 silence 100 200").arg(back)).status, 0);
        EXPECT_TRUE(FloatSamples(edited, {"remix", "1"}) == FloatSamples(left, {"remix", "1"})) << back;
        EXPECT_TRUE(FloatSamples(edited, {"remix", "2"}).mid(400, 400) == QByteArray(400, '\0')) << back;
    }
    // A channel that became shorter ends with silence, and that is told.
    const Outcome shorter = Edit(home, "edit-channel 1 delete 0 441");
    EXPECT_EQ(shorter.status, 0);
    EXPECT_TRUE(shorter.err.contains("shrink the audio in this channel by 10 milliseconds"))
        << shorter.err.toStdString();
    EXPECT_EQ(shorter.ErrorLines(), 1);
    const QByteArray first = FloatSamples(left, {"remix", "1"});
    EXPECT_TRUE(FloatSamples(edited, {"remix", "1"}) == first.mid(441 * 4) + QByteArray(441 * 4, '\0'));
    EXPECT_TRUE(FloatSamples(edited, {"remix", "2"}) == was);
    EXPECT_EQ(Edit(home, "edit-channel 3").status, 2);
}

QString MarksOf(const Outcome& outcome) {
    QStringList marks;
    for (const auto& one : outcome.Json()["bookmarks"].toArray()) {
        marks += QString("%1 %2").arg(one.toObject()["name"].toString()).arg(one.toObject()["frame"].toInt());
    }
    return marks.join(", ");
}

TEST(CliDocument, BookmarksFollowEditsAndStayWithTheFile) {
    const Home home;
    WriteNoise(home, "in.wav", 1);
    const Outcome set =
        Edit(home, "bookmark 100 One bookmark 500 Two bookmark end Three delete 0 50", {"--json"});
    EXPECT_EQ(MarksOf(set), "One 50, Two 450, Three 950") << set.err.toStdString();
    EXPECT_TRUE(QFileInfo::exists(home.File("out.wav.odxm")));
    EXPECT_FALSE(QFileInfo::exists(home.File("in.wav.odxm")));
    const auto again = [&](const QString& operations) {
        return home.Run(QStringList{"edit", "--json", "out.wav", "out.wav"} + operations.split(' '));
    };
    EXPECT_EQ(MarksOf(again("insert-silence 50 10 rename-bookmark ONE Uno")), "Uno 50, Two 460, Three 960");
    EXPECT_EQ(MarksOf(again("convert-rate 88200")), "Uno 100, Two 920, Three 1920");
    EXPECT_EQ(again("rename-bookmark uno TWO").status, 2);
    EXPECT_EQ(MarksOf(again("select 900 1000 trim")), "Two 20");
    // Another file gets them along with the sound; an older file of its name does not stay.
    ASSERT_EQ(home.Run({"convert", "out.wav", "copy.wav"}).status, 0);
    EXPECT_EQ(MarksOf(home.Run({"edit", "--json", "copy.wav", "-", "cursor", "0"})), "Two 20");
    ASSERT_EQ(home.Run({"convert", "in.wav", "copy.wav"}).status, 0);
    EXPECT_FALSE(QFileInfo::exists(home.File("copy.wav.odxm")));
    EXPECT_EQ(MarksOf(again("delete-bookmark Two")), "");
    EXPECT_FALSE(QFileInfo::exists(home.File("out.wav.odxm")));
    // Undone marks are not saved, and a pasted clip is marked.
    EXPECT_EQ(MarksOf(Edit(home, "bookmark 1 A bookmark 2 B undo", {"--json"})), "A 1");
    EXPECT_EQ(MarksOf(Edit(home, "copy 0 9 paste 20", {"--json"})), "in.wav 20");
    // What is left of bookmarks in an emptied sound counts in the rate of the clip that it takes over.
    const QString emptied = "copy bookmark 0 A convert-rate 22050 select-all delete paste move 0 100 500";
    EXPECT_EQ(MarksOf(Edit(home, emptied, {"--json"})), "A 400, in.wav 400");
    EXPECT_EQ(MarksOf(again("cursor 0")), "A 400, in.wav 400");
    WriteFile(home.File("in.wav.odxm"), "no such thing");
    const Outcome damaged = Edit(home, "delete 0 1");
    EXPECT_EQ(damaged.status, 0);
    EXPECT_EQ(damaged.ErrorLines(), 1) << damaged.err.toStdString();
}

TEST(CliDocument, SelectionCursorAndPeaksAreTold) {
    const Home home;
    RunTool("sox", {"-D", "-r", "8000", "-n", "-b", "16", home.File("in.wav"), "synth", "1", "sine", "100",
                    "gain", "-20", "pad", "0.5"});
    const QJsonObject state = Edit(home, "select 0.25s end-0.25s region 0 10 R", {"--json"}).Json();
    EXPECT_EQ(state["selection"].toObject(), (QJsonObject{{"start", 2000}, {"end", 10000}}));
    EXPECT_EQ(state["cursor"].toInt(), 10000);
    EXPECT_EQ(state["regions"].toArray(),
              (QJsonArray{QJsonObject{{"name", "R"}, {"start", 0}, {"end", 10}}}));
    EXPECT_EQ(Edit(home, "cursor 77 delete 0 7", {"--json"}).Json()["cursor"].toInt(), 0);
    // 100 Hz at 8000 Hz: every 80 frames from 4000 on one is 0 and the next above it.
    EXPECT_EQ(Edit(home, "snap 6010", {"--json"}).Json()["cursor"].toInt() % 80, 1);
    // The silent half second has no loudest place; each other stretch has one at a crest of the sine.
    const QJsonArray peaks = Edit(home, "mark-peaks 500ms", {"--json"}).Json()["bookmarks"].toArray();
    ASSERT_EQ(peaks.size(), 2);
    for (const auto& one : peaks) EXPECT_EQ(one.toObject()["frame"].toInt() % 40, 20);
}

}  // namespace
}  // namespace ondarix::test
