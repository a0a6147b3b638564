// SPDX-License-Identifier: GPL-3.0-or-later
// Files that operations of "edit" write, and runs that must write none.
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

#include "cli/plain_wav.h"
#include "cli/program.h"

namespace ondarix::test {
namespace {

QStringList Names(const QString& folder) { return QDir(folder).entryList(QDir::Files, QDir::Name); }

void WriteStereoPiece(const Home& home, int frames = 1000) {
    WriteFile(home.File("in.wav"), NoiseWav(3, 1, 16, 8000, 2, frames, 0.4).ToBytes());
}

QByteArray AllSamples(const QString& folder, const QStringList& names) {
    QByteArray all;
    for (const QString& name : names) all += ReadPlainWav(folder + '/' + name).data;
    return all;
}

TEST(CliPieces, PartsAreTheSoundCutInPieces) {
    const Home home;
    WriteStereoPiece(home);
    const QByteArray in = ReadPlainWav(home.File("in.wav")).data;
    const struct {
        const char* operations;
        QStringList names;
    } table[] = {
        {"split-at FOLDER 300 100 100 0 end", {"in_1.wav", "in_2.wav", "in_3.wav"}},
        {"split-parts 3 FOLDER", {"in.wav", "in_Bookmark 1.wav", "in_Bookmark 2.wav"}},
        {"split-intervals 50ms FOLDER", {"in.wav", "in_Bookmark 1.wav", "in_Bookmark 2.wav"}},
        {"bookmark 900 b bookmark 10 a split-bookmarks FOLDER", {"in.wav", "in_a.wav", "in_b.wav"}},
        {"region 0 600 low region 600 1000 lower export-regions FOLDER", {"low.wav", "lower.wav"}},
    };
    int number = 0;
    for (const auto& row : table) {
        const QString folder = QString("deep/%1").arg(++number);
        const QString operations = QString(row.operations).replace("FOLDER", folder);
        const Outcome outcome =
            home.Run(QStringList{"edit", "--json", "in.wav", "-"} + operations.split(' '));
        ASSERT_EQ(outcome.status, 0) << row.operations << '\n' << outcome.err.toStdString();
        EXPECT_EQ(Names(home.File(folder)), row.names) << row.operations;
        EXPECT_TRUE(AllSamples(home.File(folder), row.names) == in) << row.operations;
        EXPECT_EQ(outcome.Json()["files"].toArray().size(), row.names.size());
        EXPECT_FALSE(outcome.Json().contains("output"));
    }
    EXPECT_EQ(home.FileNames(), QStringList({"deep", "in.wav"}));
    EXPECT_EQ(home.Leftovers(), QStringList());
}

TEST(CliPieces, AreReadBySoxInTheCodingOfTheOutput) {
    const Home home;
    WriteStereoPiece(home);
    ASSERT_EQ(home.Run({"edit", "--bits", "float", "in.wav", "out.wav", "delete", "0", "500",
                        "split-channels", "parts", "silence", "0", "end"})
                  .status,
              0);
    // As the sound was at that place: before it was made silent.
    for (const auto& [name, channel] : {std::pair{"in_Left.wav", "1"}, {"in_Right.wav", "2"}}) {
        const QString part = home.File("parts/") + name;
        EXPECT_EQ(RunTool("soxi", {"-e", part}).trimmed(), "Floating Point PCM");
        EXPECT_LT(LoudestDifference(FloatSamples(part),
                                    FloatSamples(home.File("in.wav"), {"trim", "500s", "remix", channel})),
                  4e-5)
            << name;
    }
    ASSERT_EQ(home.Run({"edit", "in.wav", "-", "region", "100", "300", "b", "region", "0", "100", "a",
                        "assemble", "25", "parts/all.wav"})
                  .status,
              0);
    const QByteArray all = ReadPlainWav(home.File("parts/all.wav")).data;
    const QByteArray in = ReadPlainWav(home.File("in.wav")).data;
    EXPECT_TRUE(all == in.mid(400, 800) + QByteArray(200 * 4, '\0') + in.first(400));
}

TEST(CliPieces, SilencesSeparateTheTonesBetweenThem) {
    const Home home;
    RunTool("sox", {"-R", "-r", "8000", "-n", "-b", "16", home.File("in.wav"), "synth", "1", "sine", "500",
                    "gain", "-6", "pad", "0.7", "1", "repeat", "2"});
    ASSERT_EQ(home.Run({"edit", "in.wav", "-", "split-silences", "parts"}).status, 0);
    EXPECT_EQ(Names(home.File("parts")), QStringList({"in_1.wav", "in_2.wav", "in_3.wav"}));
    for (const QString& name : Names(home.File("parts"))) {
        const QByteArray tone = FloatSamples(
            home.File("parts/" + name), {"silence", "1", "1", "1%", "reverse", "silence", "1", "1", "1%"});
        EXPECT_NEAR(static_cast<double>(tone.size()) / 4, 8000, 80) << name.toStdString();
    }
    // No stretch is silent for so long.
    ASSERT_EQ(home.Run({"edit", "in.wav", "-", "split-silences", "whole", "-48", "3s"}).status, 0);
    EXPECT_EQ(Names(home.File("whole")).size(), 1);
}

TEST(CliPieces, NothingIsWrittenWhenAnyStepFails) {
    const Home home;
    WriteStereoPiece(home);
    WriteFile(home.File("plain"), "a file");
    const QByteArray before = FileContent(home.File("in.wav"));
    const struct {
        QStringList words;
        int status;
        const char* said;
    } table[] = {
        {{"bookmark", "1001", "late"}, 2, "outside the sound"},
        {{"bookmark", "-1", "early"}, 2, "outside the sound"},
        {{"bookmark", "1", ""}, 64, "empty"},
        {{"bookmark", "1", "bell\a"}, 64, "control characters"},
        {{"bookmark", "1", "two\nlines"}, 64, "control characters"},
        {{"region", "0", "5", QString(260, 'x')}, 64, "longer than 259"},
        {{"bookmark", "1", "A", "bookmark", "2", "a"}, 2, "already exists"},
        {{"rename-bookmark", "A", "B"}, 2, "no bookmark \"A\""},
        {{"delete-region", "A"}, 2, "no region \"A\""},
        {{"region", "5", "5", "R"}, 2, "empty"},
        {{"region", "0", "5", "a/b", "export-regions", "parts"}, 2, "cannot be the name of a file"},
        {{"region", "0", "5", "..", "export-regions", "parts"}, 2, "cannot be the name of a file"},
        {{"bookmark", "5", "a:b", "split-bookmarks", "parts"}, 2, "cannot be the name of a file"},
        {{"split-parts", "2", "plain/parts"}, 2, "cannot be made"},
        {{"split-parts", "2", "/proc/parts"}, 2, "cannot be made"},
        {{"split-parts", "2", "."}, 2, "read or written otherwise"},
        {{"split-at", "p", "9", "split-at", "p", "8"}, 2, "read or written otherwise"},
        {{"split-parts", "2", "parts", "undo", "2"}, 2, "nothing to undo"},
        {{"split-parts", "2", "parts", "delete", "0", "end"}, 2, "nothing is left"},
        {{"split-parts", "0", "parts"}, 64, "not a number"},
        {{"split-intervals", "2s", "parts"}, 2, "longer than the file"},
        {{"split-silences", "parts", "6", "1s"}, 64, "not a level"},
        {{"split-bookmarks", "parts"}, 2, "no bookmarks"},
        {{"export-regions", "parts"}, 2, "no regions"},
        {{"region", "0", "5", "R", "assemble", "0", "all.xyz"}, 2, "extension"},
        {{"paste"}, 2, "nothing was copied"},
        {{"paste-cycle"}, 2, "nothing was copied"},
        {{"delete"}, 2, "nothing is selected"},
        {{"trim"}, 2, "nothing is selected"},
        {{"cut", "5", "5"}, 2, "nothing is selected"},
        {{"select", "9", "5"}, 2, "ends (frame 5) before"},
        {{"redo"}, 2, "nothing to redo"},
        {{"history-go", "9"}, 2, "entries"},
        {{"convert-rate", "0"}, 64, "sample rate"},
        {{"convert-channels", "256"}, 64, "number of channels"},
        {{"edit-channel", "0"}, 64, "channel"},
        {{"edit-channel", "3"}, 2, "no channel 3"},
        {{"join", "absent.wav"}, 2, "absent.wav"},
    };
    for (const auto& row : table) {
        const Outcome outcome = home.Run(QStringList{"edit", "in.wav", "out.wav"} + row.words);
        const std::string shown = row.words.join(' ').toStdString() + '\n' + outcome.err.toStdString();
        EXPECT_EQ(outcome.status, row.status) << shown;
        EXPECT_EQ(outcome.ErrorLines(), 1) << shown;
        EXPECT_TRUE(outcome.err.contains(row.said)) << shown;
        ASSERT_EQ(home.FileNames(), (QStringList{"in.wav", "plain"})) << shown;
    }
    EXPECT_EQ(FileContent(home.File("in.wav")), before);
    EXPECT_EQ(home.Leftovers(), QStringList());
}

TEST(CliPieces, ExistingFilesStayWhereThatIsAskedFor) {
    const Home home;
    WriteStereoPiece(home);
    ASSERT_TRUE(QDir(home.FilesFolder()).mkdir("parts"));
    WriteFile(home.File("parts/in_2.wav"), "precious");
    const QStringList line{"edit", "in.wav", "-", "split-at", "parts", "400"};
    const Outcome refused = home.Run(line + QStringList{"--no-clobber"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.ErrorLines(), 1) << refused.err.toStdString();
    EXPECT_EQ(Names(home.File("parts")), QStringList{"in_2.wav"});
    EXPECT_EQ(FileContent(home.File("parts/in_2.wav")), "precious");
    EXPECT_EQ(home.Run(line).status, 0);
    EXPECT_EQ(ReadPlainWav(home.File("parts/in_2.wav")).Frames(), 600);
}

}  // namespace
}  // namespace ondarix::test
