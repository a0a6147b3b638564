// SPDX-License-Identifier: GPL-3.0-or-later
// What the desktop's clipboard is given and what is taken from it, without a desktop.
#include <gmock/gmock.h>

#include <QApplication>
#include <QDir>
#include <QMimeData>
#include <QProcess>
#include <QTemporaryDir>
#include <QUrl>

#include "app/clipboard_data.h"
#include "app/system_clipboard.h"
#include "formats/load.h"
#include "gen/bytes.h"
#include "gen/paths.h"
#include "sound/cache.h"
#include "sound/readers.h"
#include "waiting.h"

namespace ondarix {
namespace {

class LToldProgress final : public LProgress {
  public:
    bool IsCancelled() override { return blocks-- <= 0; }
    WaitResult Sleep(int) override { return WaitResult::kSignalled; }
    WaitResult WaitForHandle(LWaitHandle, int) override { return WaitResult::kSignalled; }
    WaitResult WaitForHandles(const LHandleList&, int) override { return WaitResult::kSignalled; }
    void ReportError(const QString& text) override { errors.append(text); }
    void SetStatus(const QString& text, int) override { statuses.append(text); }
    int blocks = 1 << 30;
    QStringList errors, statuses;
};

class LSilentMessages final : public LMessageHost {
  public:
    void Tell(const QString&, const QString& text) override { ADD_FAILURE() << text.toStdString(); }
    int Ask(const QString&, const QString&, const QStringList&, int safe, const QString&, bool*) override {
        return safe;
    }
};

// What another program has laid on the clipboard; counts how often it is asked what that is.
class LForeignData final : public QMimeData {
  public:
    QStringList formats() const override {
        ++looks;
        return QMimeData::formats();
    }
    mutable int looks = 0;
};

class DesktopClipboard : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        ASSERT_TRUE(OpenCache());
        QApplication::clipboard()->clear();
        desktop = std::make_unique<LDesktopClipboard>(&owner);
        desktop->tell = [this](const QString&, const QString& text) { told.append(text); };
        store.SetSystem(desktop.get());
    }
    void TearDown() override {
        store.Clear();
        desktop.reset();
        QApplication::clipboard()->clear();
        CloseCache();
    }

    static QByteArray Run(const QString& program, const QStringList& arguments,
                          const QByteArray& input = {}) {
        QProcess process;
        process.start(program, arguments);
        process.write(input);
        process.closeWriteChannel();
        EXPECT_TRUE(process.waitForFinished(30000) && process.exitCode() == 0)
            << process.readAllStandardError().toStdString();
        return process.readAllStandardOutput();
    }
    // A WAV file of sox, whole or written to a pipe, with a tone of its own for each channel.
    QString MakeWav(const char* name, const QStringList& format, double seconds = 0.5) const {
        const QString path = folder.filePath(QLatin1String(name));
        Run("sox", QStringList{"-R", "-n"} + format +
                       QStringList{path, "synth", QString::number(seconds), "sine", "441", "sine", "630",
                                   "vol", "0.6"});
        return path;
    }
    static QByteArray RawOfFile(const QString& path) {
        return Run("sox", {"-D", path, "-t", "raw", "-e", "floating-point", "-b", "32", "-"});
    }
    static QByteArray RawOfImage(const QByteArray& image) {
        return Run("sox", {"-D", "-t", "wav", "-", "-t", "raw", "-e", "floating-point", "-b", "32", "-"},
                   image);
    }
    static LSound Load(const QString& path) {
        LToldProgress progress;
        LSilentMessages messages;
        LLoadedSound loaded;
        EXPECT_EQ(LoadSound(path, 0, loaded, progress, messages), JobResult::kSuccess);
        return loaded.sound;
    }
    static QByteArray FramesOf(const LSound& sound) {
        LSoundReader reader(sound);
        QByteArray bytes(sound.Length() * sound.Format().FrameBytes(), '\0');
        reader.Read(reinterpret_cast<float*>(bytes.data()), static_cast<int32_t>(sound.Length()));
        return bytes;
    }
    static QByteArray Bytes(const QString& path) {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    void Copy(const LSound& sound) { store.StoreClip(sound, "a.wav", 0, 500, true); }
    static QByteArray Asked(const char* format = "audio/x-wav") {
        return QApplication::clipboard()->mimeData()->data(QLatin1String(format));
    }
    // As another program would.
    static LForeignData* Lay(const QString& format, const QByteArray& bytes) {
        auto* data = new LForeignData;
        data->setData(format, bytes);
        QApplication::clipboard()->setMimeData(data);
        return data;
    }
    static QStringList LeftBehind() {
        return QDir(TempFolder()).entryList({QStringLiteral("*.tmp")}, QDir::Files);
    }

    QTemporaryDir folder;
    QWidget owner;
    QStringList told;
    LClipboardStore store;
    std::unique_ptr<LDesktopClipboard> desktop;
};

TEST_F(DesktopClipboard, OthersGetTheSamplesThatTheFileHad) {
    const QList<QStringList> formats{{"-r", "44100", "-b", "16", "-c", "2"},
                                     {"-r", "8000", "-b", "8", "-c", "1"},
                                     {"-r", "96000", "-b", "24", "-c", "4"},
                                     {"-r", "22050", "-b", "32", "-e", "floating-point", "-c", "1"}};
    for (const QStringList& format : formats) {
        const QString path = MakeWav("a.wav", format);
        Copy(Load(path));
        const QByteArray image = Asked();
        EXPECT_EQ(RawOfImage(image), RawOfFile(path)) << format.join(u' ').toStdString();
        EXPECT_EQ(QString::number(LoadLe<uint16_t>(image.constData() + 34)), format[3]) << "width of samples";
        EXPECT_EQ(Asked("audio/wav"), image);
    }
}

TEST_F(DesktopClipboard, SamplesBetweenAndBeyondIntegersStayExact) {
    LSound sound = Load(MakeWav("a.wav", {"-r", "44100", "-b", "16", "-c", "2"}));
    sound.ScaleRangePercent(100, 9000, 333);  // beyond full scale
    sound.InsertSilence(50, 7);
    Copy(sound);
    const QByteArray image = Asked();
    EXPECT_EQ(LoadLe<uint16_t>(image.constData() + 20), 3) << "IEEE float";
    const QByteArray samples = FramesOf(sound);
    EXPECT_EQ(image.right(samples.size()), samples);
    // Another program's view of the same bytes.
    const QByteArray read = Run("ffmpeg", {"-v", "error", "-i", "-", "-f", "f32le", "-"}, image);
    EXPECT_EQ(read, samples);
}

TEST_F(DesktopClipboard, NothingIsRenderedBeforeSomebodyAsksAndThenOnce) {
    const LSound first = Load(MakeWav("a.wav", {"-r", "44100", "-b", "16", "-c", "1"}));
    const LSound second = Load(MakeWav("b.wav", {"-r", "11025", "-b", "16", "-c", "1"}));
    Copy(first);
    Copy(second);
    // The clip that counts when it is asked for.
    ASSERT_TRUE(store.PreviousClip());
    const QByteArray image = Asked();
    EXPECT_EQ(LoadLe<uint32_t>(image.constData() + 24), 44100u);
    CloseCache();
    EXPECT_EQ(Asked(), image) << "kept";
    ASSERT_TRUE(store.PreviousClip());
    EXPECT_EQ(Asked(), QByteArray()) << "has to be read, and is not there any more";
    EXPECT_EQ(told.size(), 1);
    ASSERT_TRUE(OpenCache());
}

TEST_F(DesktopClipboard, ASoundTooLongForAWavFileIsRefusedWholeAndStaysOurs) {
    LSound sound(48000, 2);
    sound.InsertSilence(0, (int64_t{1} << 30) - 11);  // 44 bytes and 4 GiB less 44: no header fits
    int bits = 0;
    ASSERT_EQ(WavImageBytes(sound, bits), int64_t{1} << 32);
    Copy(sound);
    EXPECT_EQ(Asked(), QByteArray());
    ASSERT_EQ(told.size(), 1);
    EXPECT_TRUE(told[0].contains("4 GB")) << told[0].toStdString();
    EXPECT_TRUE(store.IsOwnClip());
    LSound back;
    LToldProgress progress;
    EXPECT_EQ(store.FetchClip(back, progress), JobResult::kSuccess);
    EXPECT_EQ(back.Length(), sound.Length());
}

TEST_F(DesktopClipboard, OnlyTheNewestCopyOfThisVeryProcessIsItsOwn) {
    EXPECT_FALSE(desktop->OffersOwnClip());
    Copy(Load(MakeWav("a.wav", {"-r", "44100", "-b", "16", "-c", "1"})));
    EXPECT_TRUE(desktop->OffersOwnClip());
    EXPECT_FALSE(desktop->OffersSound());
    const QByteArray older = Asked(kClipMarkFormat), image = Asked();
    Copy(Load(MakeWav("b.wav", {"-r", "11025", "-b", "16", "-c", "1"})));
    // A clipboard manager gives an older copy back; it is pasted as any other program's sound.
    Lay(kClipMarkFormat, older)->setData("audio/x-wav", image);
    EXPECT_FALSE(desktop->OffersOwnClip());
    EXPECT_TRUE(desktop->OffersSound());
    LSound pasted;
    LToldProgress progress;
    ASSERT_EQ(store.FetchClip(pasted, progress), JobResult::kSuccess);
    EXPECT_EQ(pasted.sampleRate, 44100);
    // Another process, with a text beside it.
    Lay(kClipMarkFormat, "")->setText("words");
    EXPECT_FALSE(desktop->OffersOwnClip());
    EXPECT_TRUE(store.HasOnlyText());
    EXPECT_EQ(desktop->Text(), "words");
    EXPECT_EQ(store.usedSlots, 2) << "the ring is untouched by others";
}

TEST_F(DesktopClipboard, SoundsOfOtherProgramsArriveWhole) {
    const QString plain = MakeWav("a.wav", {"-r", "44100", "-b", "24", "-c", "2"});
    // Into a pipe, where neither can say the length beforehand.
    const QByteArray bySox = Run("sox", {plain, "-t", "wav", "-"});
    const QByteArray byFfmpeg =
        Run("ffmpeg", {"-v", "error", "-i", plain, "-c:a", "pcm_s24le", "-f", "wav", "-"});
    const QByteArray expected = RawOfFile(plain);
    const char* formats[] = {"audio/x-wav", "audio/wav", "audio/vnd.wave", "audio/wave"};
    int at = 0;
    for (const QByteArray& image : {Bytes(plain), bySox, byFfmpeg, bySox}) {
        Lay(QLatin1String(formats[at++]), image);
        LSound pasted;
        LToldProgress progress;
        ASSERT_TRUE(desktop->OffersSound());
        ASSERT_EQ(desktop->FetchSound(pasted, progress), JobResult::kSuccess) << at;
        EXPECT_EQ(pasted.channels, 2);
        const LSound reference = Load(plain);
        EXPECT_EQ(FramesOf(pasted), FramesOf(reference)) << formats[at - 1];
        EXPECT_THAT(progress.statuses, testing::Contains(QStringLiteral("Pasting audio...")));
    }
    EXPECT_EQ(LeftBehind(), QStringList());
}

TEST_F(DesktopClipboard, WhatIsNoSoundIsRefusedAndNothingIsLeftBehind) {
    const QByteArray good = Bytes(MakeWav("a.wav", {"-r", "44100", "-b", "16", "-c", "2"}));
    QByteArray twoGigabytes = good.left(44 + 10);
    StoreLe<uint32_t>(twoGigabytes.data() + 40, 0x80000000u);
    QByteArray noFrames = good.left(44);
    StoreLe<uint32_t>(noFrames.data() + 40, 0);
    StoreLe<uint32_t>(noFrames.data() + 4, 36);
    QByteArray noRate = good, noChannels = good, fast = good;
    StoreLe<uint32_t>(noRate.data() + 24, 0);
    StoreLe<uint16_t>(noChannels.data() + 22, 0);
    StoreLe<uint32_t>(fast.data() + 24, 0xFFFFFFFFu);
    const QList<QByteArray> hostile{
        {},
        "x",
        QByteArray(100000, 'Q'),
        QByteArray("RIFF\xff\xff\xff\xffWAVE", 12),
        good.left(20),
        good.left(43),
        good.left(good.size() - 1000),
        twoGigabytes,
        noFrames,
        noRate,
        noChannels,
        fast,
    };
    for (const QByteArray& bytes : hostile) {
        Lay("audio/x-wav", bytes);
        LSound pasted(32000, 3);
        pasted.InsertSilence(0, 5);
        LToldProgress progress;
        EXPECT_EQ(desktop->FetchSound(pasted, progress), JobResult::kFailed) << hostile.indexOf(bytes);
        EXPECT_EQ(progress.errors.size(), 1) << hostile.indexOf(bytes);
        EXPECT_EQ(pasted.Length(), 5);
        EXPECT_EQ(pasted.sampleRate, 32000);
    }
    Lay("audio/x-wav", good);
    LSound pasted;
    LToldProgress stopped;
    stopped.blocks = 0;
    EXPECT_EQ(desktop->FetchSound(pasted, stopped), JobResult::kCancelled);
    EXPECT_TRUE(pasted.IsEmpty());
    EXPECT_TRUE(stopped.errors.isEmpty());
    EXPECT_EQ(LeftBehind(), QStringList());
}

TEST_F(DesktopClipboard, FilesCopiedInAFileManagerComeOneBehindTheOther) {
    const QString first = MakeWav("a.wav", {"-r", "44100", "-b", "16", "-c", "2"}, 0.5);
    const QString second = MakeWav("b.wav", {"-r", "22050", "-b", "16", "-c", "1"}, 1.0);
    const QString text = folder.filePath("c.txt");
    QFile(text).open(QIODevice::WriteOnly);
    const auto urls = [](const QStringList& paths) {
        QByteArray list;
        for (const QString& path : paths) list += QUrl::fromLocalFile(path).toEncoded() + "\r\n";
        return list;
    };
    Lay("text/uri-list", urls({text, folder.filePath("gone.wav")}));
    EXPECT_FALSE(desktop->OffersSound());
    Lay("text/uri-list", urls({text, first, second}));
    ASSERT_TRUE(desktop->OffersSound());
    LSound pasted;
    LToldProgress progress;
    ASSERT_EQ(desktop->FetchSound(pasted, progress), JobResult::kSuccess);
    EXPECT_EQ(pasted.Format(), (LSoundFormat{44100, 2}));
    EXPECT_NEAR(static_cast<double>(pasted.Length()), 1.5 * 44100, 2);
    LSound head;
    pasted.CopyRange(0, 22050, head);
    EXPECT_EQ(FramesOf(head), FramesOf(Load(first)));
}

TEST_F(DesktopClipboard, ALookAtAnotherProgramsOfferIsMadeOnceForEachChange) {
    LForeignData* data = Lay("audio/x-wav", "x");
    const int before = data->looks;
    EXPECT_TRUE(desktop->OffersSound());
    const int once = data->looks;
    EXPECT_GT(once, before);
    for (int i = 0; i < 100; ++i) EXPECT_TRUE(store.HasClip());
    EXPECT_EQ(data->looks, once);
    Lay("text/plain", "words");
    EXPECT_FALSE(desktop->OffersSound());
}

TEST_F(DesktopClipboard, APictureIsPaintedOnceAndOnlyWhenAskedFor) {
    int painted = 0;
    ASSERT_TRUE(desktop->OfferImage([&painted] {
        ++painted;
        QImage image(30, 20, QImage::Format_RGB32);
        image.fill(Qt::red);
        return image;
    }));
    EXPECT_TRUE(QApplication::clipboard()->mimeData()->hasImage());
    EXPECT_EQ(painted, 0);
    EXPECT_EQ(QApplication::clipboard()->image().size(), QSize(30, 20));
    EXPECT_EQ(QApplication::clipboard()->image().pixelColor(3, 3), QColor(Qt::red));
    EXPECT_EQ(painted, 1);
    EXPECT_FALSE(store.HasClip());
}

TEST_F(DesktopClipboard, AtTheEndWhatIsOfferedNeedsTheProgramNoMore) {
    const QString path = MakeWav("a.wav", {"-r", "44100", "-b", "16", "-c", "2"});
    Copy(Load(path));
    desktop->RenderAll();
    store.Clear();
    desktop.reset();
    CloseCache();
    EXPECT_EQ(RawOfImage(Asked()), RawOfFile(path));

    // Without that nothing is left that would reach into what has gone.
    ASSERT_TRUE(OpenCache());
    desktop = std::make_unique<LDesktopClipboard>(&owner);
    store.SetSystem(desktop.get());
    Copy(Load(path));
    store.SetSystem(nullptr);
    desktop.reset();
    EXPECT_FALSE(QApplication::clipboard()->mimeData() &&
                 QApplication::clipboard()->mimeData()->hasFormat("audio/x-wav"));
}

}  // namespace
}  // namespace ondarix
