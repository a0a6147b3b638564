// SPDX-License-Identifier: GPL-3.0-or-later
// Real editors and other programs over a real clipboard.
#include <QDir>
#include <QFile>

#include "x_editor.h"

namespace ondarix {
namespace {

class XClipboard : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(display.Works());
        ASSERT_TRUE(folder.isValid());
    }
    QString MakeWav(const char* name, const QStringList& format, const char* seconds) const {
        const QString path = folder.filePath(QLatin1String(name));
        display.Run("sox",
                    QStringList{"-R", "-n"} + format +
                        QStringList{path, "synth", seconds, "sine", "441", "sine", "630", "vol", "0.6"});
        return path;
    }
    QByteArray Raw(const QString& path) const {
        return display.Run("sox", {"-D", path, "-t", "raw", "-e", "signed", "-b", "16", "-"});
    }
    QByteArray RawOf(const QByteArray& image) const {
        return display.Run("sox", {"-D", "-t", "wav", "-", "-t", "raw", "-e", "signed", "-b", "16", "-"},
                           image);
    }
    // What another program gets for the type.
    QByteArray Asked(const char* type = "audio/x-wav") const {
        return display.Run("xclip", {"-selection", "clipboard", "-o", "-t", QLatin1String(type)});
    }
    QStringList Offered() const {
        return QString::fromUtf8(Asked("TARGETS")).split(u'\n', Qt::SkipEmptyParts);
    }
    // In the foreground, since its end is the end of what it offers.
    LXDisplay::LRunning Offer(const char* type, const QByteArray& bytes) const {
        auto process = display.Start(
            "xclip", {"-quiet", "-selection", "clipboard", "-i", "-t", QLatin1String(type)}, bytes);
        EXPECT_TRUE(SleepUntil([&] {
            const QStringList all = Offered();
            return all.contains(QLatin1String(type)) && !all.contains("application/x-ondarix-clip");
        }));
        return process;
    }
    // Whether the clip, as a new sound of the editor, is saved as these samples. An editor pastes its older
    // clip until it is told that the clipboard has become another program's.
    bool ComesToPaste(const LDrivenEditor& editor, const QByteArray& wanted) {
        return SleepUntil([&] {
            const QString path = folder.filePath(QStringLiteral("pasted%1.wav").arg(++pastes));
            EXPECT_EQ(editor.Run({"Paste to New"}), 0);
            EXPECT_EQ(editor.Tell({"-saveas", path}).code, 0);
            EXPECT_TRUE(QFile::exists(path)) << path.toStdString();
            EXPECT_EQ(editor.Run({"Close File"}), 0);
            return HasFailure() || Raw(path) == wanted;
        });
    }

    LXDisplay display;
    QTemporaryDir folder;
    int pastes = 0;
};

TEST_F(XClipboard, AnotherProgramGetsExactlyWhatWasSelected) {
    const QString path = MakeWav("a.wav", {"-r", "44100", "-b", "16", "-c", "2"}, "3");
    const LDrivenEditor editor(display, {path});
    ASSERT_EQ(editor.Run({"Select All", "Copy"}), 0);
    EXPECT_TRUE(Offered().contains(QStringLiteral("audio/x-wav")));
    const QByteArray whole = Raw(path);
    EXPECT_EQ(RawOf(Asked()), whole);

    ASSERT_EQ(
        editor.Run({"Select None", "Go To Start", "Inch Forward", "Inch Forward", "Select To End", "Copy"}),
        0);
    const QByteArray part = RawOf(Asked());
    EXPECT_GT(part.size(), 0);
    EXPECT_LT(part.size(), whole.size());
    EXPECT_TRUE(whole.endsWith(part));

    // The clip outlives its sound, for others as well.
    ASSERT_EQ(editor.Run({"Close File"}), 0);
    EXPECT_EQ(RawOf(Asked()), part);
    EXPECT_TRUE(ComesToPaste(editor, part));
}

TEST_F(XClipboard, AnHourlongCopyIsThereAtOnceAndArrivesWhole) {
    const QString path = folder.filePath("long.wav");
    display.Run("sox", {"-D", MakeWav("minute.wav", {"-r", "8000", "-b", "16", "-c", "2"}, "60"), path,
                        "repeat", "59"});
    const LDrivenEditor editor(display, {path});
    ASSERT_TRUE(SleepUntil([&] { return editor.Run({"Select All"}) == 0; })) << "it is loading";
    const int64_t before = editor.Bytes();
    ASSERT_GT(before, 0);
    ASSERT_EQ(editor.Run({"Copy"}), 0);
    EXPECT_LT(editor.Bytes() - before, int64_t{3600} * 8000 * 4 / 2) << "nothing is rendered yet";
    QElapsedTimer timer;
    timer.start();
    const QByteArray image = Asked();
    RecordProperty("transfer_ms", static_cast<int>(timer.elapsed()));
    EXPECT_EQ(image.size(), 44 + int64_t{3600} * 8000 * 4);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(image.endsWith(file.readAll().mid(44)));
}

TEST_F(XClipboard, ASoundOfAnotherProgramIsPasted) {
    const QString path = MakeWav("theirs.wav", {"-r", "22050", "-b", "16", "-c", "1"}, "2");
    const QString ours = MakeWav("ours.wav", {"-r", "44100", "-b", "16", "-c", "2"}, "1");
    const LDrivenEditor editor(display, {ours});
    EXPECT_EQ(editor.Run({"Paste"}), -3) << "there is nothing to paste";
    ASSERT_EQ(editor.Run({"Select All", "Copy"}), 0);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const auto other = Offer("audio/x-wav", file.readAll());
    EXPECT_TRUE(ComesToPaste(editor, Raw(path))) << "and not our own older clip";

    const auto words = Offer("UTF8_STRING", "words");
    EXPECT_TRUE(SleepUntil([&] { return editor.Run({"Paste"}) == -3; }));
}

TEST_F(XClipboard, TwoEditorsExchangeTheirClips) {
    const QString left = MakeWav("left.wav", {"-r", "44100", "-b", "16", "-c", "2"}, "2");
    const QString right = MakeWav("right.wav", {"-r", "48000", "-b", "16", "-c", "1"}, "1");
    const LDrivenEditor one(display, {left}), two(display, {right});
    ASSERT_EQ(two.Run({"Select All", "Copy"}), 0);
    EXPECT_TRUE(ComesToPaste(one, Raw(right)));
    ASSERT_EQ(one.Run({"Select All", "Copy"}), 0);
    EXPECT_TRUE(ComesToPaste(two, Raw(left)));
}

TEST_F(XClipboard, ThePictureOfTheWaveformReachesOthers) {
    const LDrivenEditor editor(display, {MakeWav("a.wav", {"-r", "44100", "-b", "16", "-c", "2"}, "3")});
    ASSERT_EQ(editor.Run({"2085"}), 0);
    EXPECT_TRUE(Offered().contains(QStringLiteral("image/png")));
    const QByteArray facts = display.Run("identify", {"-format", "%m %w %h %k", "png:-"}, Asked("image/png"));
    const QStringList parts = QString::fromLatin1(facts).split(u' ');
    ASSERT_EQ(parts.size(), 4) << facts.toStdString();
    EXPECT_EQ(parts[0], "PNG");
    EXPECT_GT(parts[1].toInt(), 200);
    EXPECT_GT(parts[2].toInt(), 100);
    EXPECT_GT(parts[3].toInt(), 4) << "colours";
}

}  // namespace
}  // namespace ondarix
