// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/registry.h"

#include <QSet>

#include "formats/file_types.h"
#include "formats_test.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

using namespace test;

QList<int> WalkOf(const QString& extension) {
    QList<int> orders;
    for (const LReaderRow* row = NextReader(extension, 1); row; row = NextReader(extension, row->onFailure)) {
        orders.append(row->order);
        if (row->onFailure == 0) break;
    }
    return orders;
}

TEST(ReaderTable, WalksInItsOrder) {
    EXPECT_EQ(WalkOf(".wav"), (QList<int>{1, 29}));
    EXPECT_EQ(WalkOf(".mp3"), (QList<int>{2}));
    EXPECT_EQ(WalkOf(".mp1"), (QList<int>{5, 29}));
    EXPECT_EQ(WalkOf(".weba"), (QList<int>{14, 29}));
    EXPECT_EQ(WalkOf(".act"), (QList<int>{18, 19, 29}));
    EXPECT_EQ(WalkOf(".ogg"), (QList<int>{19, 29}));
    EXPECT_EQ(WalkOf(".ra"), (QList<int>{24, 29}));
    EXPECT_EQ(WalkOf(".stlp"), (QList<int>{28}));
    EXPECT_EQ(WalkOf(".w64"), (QList<int>{29}));
    EXPECT_EQ(WalkOf(""), (QList<int>{29}));
    int before = 0;
    for (const LReaderRow& row : ReaderTable()) {
        EXPECT_GE(row.order, before);
        EXPECT_TRUE(row.onFailure == 0 || row.onFailure > row.order) << row.order << ": a walk must end";
        before = row.order;
    }
}

TEST(FileTypes, EveryListedTypeHasItsRow) {
    QSet<QString> all;
    for (const LFileTypeRow& row : OpenFileTypes().subspan(1)) {
        for (const QString& pattern : QString(row.pattern).split(';')) all.insert(pattern);
    }
    for (const QString& pattern : QString(OpenFileTypes()[0].pattern).split(';'))
        EXPECT_TRUE(all.contains(pattern) || pattern == "*.dvs") << pattern.toStdString();
    EXPECT_EQ(OpenFileTypes().size(), 45u);
    EXPECT_EQ(SaveFileTypes().size(), 25u);
    for (const LFileTypeRow& row : SaveFileTypes()) {
        for (const QString& pattern : QString(row.pattern).split(';')) {
            const bool known = FindWriter(pattern.mid(1)) || pattern == "*.odxp" || pattern == "*.mp4";
            EXPECT_TRUE(known) << pattern.toStdString();
        }
    }
    const auto sounds = OpenSoundFileTypes();
    EXPECT_EQ(sounds.size(), 42);
    for (const LFileTypeRow& row : sounds) EXPECT_FALSE(QString(row.pattern).contains("odxp")) << row.label;
    EXPECT_EQ(QtFilter(SaveFileTypes()[7]), "Apple AIFF (*.aif *.aiff *.aifc)");
    EXPECT_EQ(QtFilter(OpenFileTypes().back()), "All Files (*)");
    const auto shell = ShellExtensions();
    EXPECT_EQ(shell.size(), 66);
    for (const QString& extension : DefaultShellExtensions()) EXPECT_TRUE(shell.contains(extension));
}

TEST(WriterTable, AnswersTheQueries) {
    const QString withSettings =
        ".flac .wav .wma .aifc .mp1 .mp2 .mp3 .aac .amr .m4a .m4b .m4r .ogg .opus .mpc .ape .spx .aiff .aif "
        ".au .gsm "
        ".raw .rss .vox .m3u .pls .wpl .dct";
    for (const QString& extension : withSettings.split(' ')) EXPECT_TRUE(FormatHasSettings(extension));
    for (const QString extension : {".caf", ".mpp", ".odxp", ".xyz", "", "wav"})
        EXPECT_FALSE(FormatHasSettings(extension)) << extension.toStdString();
    const QString components = ".mp3 .rss .ogg .opus .mpc .mpp .amr .aac .m4a .m4b .m4r .ape .spx";
    int needing = 0;
    for (const LWriterRow& row : WriterTable())
        needing += row.needsComponent ? static_cast<int>(QString(row.extensions).split(' ').size()) : 0;
    EXPECT_EQ(needing, components.split(' ').size());
    for (const QString& extension : components.split(' ')) EXPECT_TRUE(FindWriter(extension)->needsComponent);
    EXPECT_TRUE(FormatCanSaveChannels(".wav", 255));
    EXPECT_FALSE(FormatCanSaveChannels(".mp3", 3));
    EXPECT_FALSE(FormatCanSaveChannels(".xyz", 1));
    EXPECT_TRUE(FormatCanBeWritten(".wav"));
    EXPECT_FALSE(FormatCanBeWritten(".rm"));
}

class Registry : public HomeTest {};

TEST_F(Registry, TellsWhyAFileDoesNotOpen) {
    LNullProgress progress;
    const auto error = [&](const QString& name) { return int{OpenSoundSource(Path(name), progress)->error}; };
    EXPECT_EQ(error("absent.wav"), kSourceCannotOpen);
    WriteWhole(Path("empty.wav"), {});
    EXPECT_EQ(error("empty.wav"), kSourceBadHeader);
    WriteWhole(Path("truespeech.wav"), Riff().Format(34, 1, 8000, 1).Chunk("data", Bytes(8)).Close());
    EXPECT_EQ(error("truespeech.wav"), kSourceRefused);
    WriteWhole(Path("text.xyz"), Bytes(10, 'x'));
    EXPECT_EQ(error("text.xyz"), kSourceUnsupported);
    const Bytes wav = Riff().Format(1, 2, 8000, 16).Chunk("data", Bytes(8)).Close();
    WriteWhole(Path("UPPER.WAV"), wav);
    EXPECT_EQ(error("UPPER.WAV"), kSourceGood);
    WriteWhole(Path("dictation.act"), wav);
    EXPECT_EQ(error("dictation.act"), kSourceGood);
    WriteWhole(Path("other.act"), Bytes(100, 'x'));
    EXPECT_EQ(error("other.act"), kSourceUnsupported);
}

TEST_F(Registry, KeepsTheWavRecordAndFollowsTheDocument) {
    LFormatRecord record = LFormatRecord::Plain(7, 8, 8000, 1);
    record.extra = QByteArray("ab");
    EXPECT_EQ(WavRecordFor({48000, 6}).bits, 16) << "nothing stored";
    ASSERT_TRUE(StoreWavRecord(record));
    LFormatRecord made = WavRecordFor({48000, 6});
    EXPECT_EQ(made.tag, 7);
    EXPECT_EQ(made.sampleRate, 48000u);
    EXPECT_EQ(made.channels, 6);
    EXPECT_EQ(made.bytesPerSecond, 48000u * 6);
    EXPECT_EQ(made.extra, record.extra);
    SetSettingBool("WavSettings", "SampleRateAuto", false);
    SetSettingBool("WavSettings", "ChansAuto", false);
    made = WavRecordFor({48000, 6});
    EXPECT_EQ(made.sampleRate, 8000u);
    EXPECT_EQ(made.channels, 1);
}

}  // namespace
}  // namespace ondarix
