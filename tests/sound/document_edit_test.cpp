// SPDX-License-Identifier: GPL-3.0-or-later
// The edit commands where a model of the frames does not reach: formats, failures, texts, one channel alone.
#include <signal.h>
#include <sys/resource.h>

#include <QFileInfo>
#include <cmath>
#include <map>
#include <numbers>

#include "edit_host_fixture.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

std::vector<float> Sine(int64_t frames, int32_t rate) {
    std::vector<float> samples;
    for (int64_t i = 0; i < frames; ++i)
        samples.push_back(
            static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 440 * static_cast<double>(i) / rate)));
    return samples;
}

// All that a failed edit must leave as it was.
struct LSeen {
    explicit LSeen(const LSoundDocument& document) : state(document), undo(document.UndoLabel()) {
        samples = ReadSound(document.Edited());
        slots = document.HistorySlots();
        redo = document.RedoLabel();
    }
    void ExpectSame(const LSoundDocument& document) const {
        const LSeen now(document);
        EXPECT_EQ(now.samples, samples);
        EXPECT_EQ(now.slots, slots);
        EXPECT_EQ(now.undo, undo);
        EXPECT_EQ(now.redo, redo);
        EXPECT_EQ(now.state.isModified, state.isModified);
        EXPECT_EQ(now.state.isModifiedSinceLastAutosave, state.isModifiedSinceLastAutosave);
        EXPECT_EQ(now.state.selectionStart, state.selectionStart);
        EXPECT_EQ(now.state.selectionEnd, state.selectionEnd);
        EXPECT_EQ(now.state.cursor, state.cursor);
        EXPECT_EQ(now.state.viewEnd, state.viewEnd);
        EXPECT_EQ(now.state.bookmarks.size(), state.bookmarks.size());
    }
    LDocumentState state;
    std::vector<float> samples;
    std::vector<int> slots;
    QString undo, redo;
};

class DocumentEditTest : public SoundCacheTest {
  protected:
    void Load(const std::vector<float>& samples, LSoundFormat format = {}) {
        document_.sound = Write(samples, format);
        document_.title = "one.wav";
        document_.path = MakeFile("one.wav", "samples");
        document_.PushUndo("Load File", false);
    }
    void Mark(const QString& name, int64_t position) {
        LBookmark mark;
        mark.name = name;
        mark.index = NextBookmarkIndex(document_.bookmarks);
        mark.SetPosition(position, document_.sound.sampleRate);
        document_.bookmarks.push_back(mark);
    }

    LTestEditHost host_;
    LClipboardStore clipboard_;
    LSoundDocument document_;
};

TEST_F(DocumentEditTest, AClipOfAnotherRateIsConvertedOnceAndMarked) {
    clipboard_.StoreClip(Write(Sine(22050, 22050), {22050, 1}), "slow.wav", 0, 1000, true);
    Load(Sine(1000, 44100));
    document_.Select(100, 200);
    ASSERT_EQ(PasteClip(document_, host_, clipboard_), JobResult::kSuccess);
    EXPECT_EQ(host_.jobs, QStringList{"Paste"});
    EXPECT_EQ(host_.told, QStringList());
    EXPECT_EQ(document_.sound.Length(), 900 + 44100);
    EXPECT_EQ(document_.selectionStart, 100);
    EXPECT_EQ(document_.selectionEnd, 100 + 44100);
    const auto samples = ReadSound(document_.sound), want = Sine(44100, 44100);
    for (size_t i = 1000; i < 43000; ++i) ASSERT_NEAR(samples[100 + i], want[i], 1e-3f) << i;
    ASSERT_EQ(document_.bookmarks.size(), 1u);
    EXPECT_EQ(document_.bookmarks[0].name, "slow.wav");
    EXPECT_EQ(document_.bookmarks[0].comment, "PastedClip");
    EXPECT_EQ(document_.bookmarks[0].position, 100);
    ASSERT_EQ(PasteClip(document_, host_, clipboard_, 5, 5), JobResult::kSuccess);
    EXPECT_EQ(host_.jobs.size(), 1) << "the ring holds the converted clip";
    ASSERT_EQ(document_.bookmarks.size(), 2u);
    EXPECT_EQ(document_.bookmarks[1].name, "slow.wav 1");
    EXPECT_EQ(document_.bookmarks[0].position, 100 + 44100);
    SetSettingBool("Settings", "MarkPastedClip", false);
    ASSERT_EQ(PasteClip(document_, host_, clipboard_), JobResult::kSuccess);
    EXPECT_EQ(document_.bookmarks.size(), 2u);
}

TEST_F(DocumentEditTest, AnEmptyDocumentTakesTheFormatOfTheClip) {
    clipboard_.StoreClip(Write({1, 2, 3, 4}, {8000, 2}), "pair.wav", 0, 1, true);
    ASSERT_EQ(PasteClip(document_, host_, clipboard_), JobResult::kSuccess);
    EXPECT_EQ(document_.sound.Format(), (LSoundFormat{8000, 2}));
    EXPECT_EQ(ReadSound(document_.sound), (std::vector<float>{1, 2, 3, 4}));
    EXPECT_EQ(document_.selectionEnd, 2);
    ASSERT_TRUE(document_.Undo());
    EXPECT_EQ(document_.sound.Length(), 0);
    EXPECT_EQ(document_.sound.Format(), LSoundFormat());
    LSoundDocument joined;
    ASSERT_EQ(JoinSounds(joined, host_, {LSound(), Write({5, 6}, {8000, 2}), Write({1, 2}, {8000, 1})}),
              JobResult::kSuccess);
    EXPECT_EQ(joined.sound.Format(), (LSoundFormat{8000, 2}));
    EXPECT_EQ(ReadSound(joined.sound), (std::vector<float>{5, 6, 1, 1, 2, 2}));
    EXPECT_EQ(joined.UndoLabel(), "Join");
}

TEST_F(DocumentEditTest, WithNothingSelectedNothingIsDeletedAndEverythingCopied) {
    Load({1, 2, 3});
    document_.Select(1, 1);
    EXPECT_EQ(DeleteSelection(document_, host_), JobResult::kCancelled);
    EXPECT_EQ(SilenceSelection(document_, host_), JobResult::kCancelled);
    EXPECT_EQ(TrimToSelection(document_, host_), JobResult::kCancelled);
    EXPECT_EQ(document_.HistorySlots().size(), 1u);
    EXPECT_EQ(CopySelection(document_, host_, clipboard_), JobResult::kSuccess);
    EXPECT_EQ(ReadSound(clipboard_.Current()), (std::vector<float>{1, 2, 3}));
    EXPECT_TRUE(clipboard_.isWholeFile);
    EXPECT_EQ(document_.selectionEnd, 3);
    document_.Select(1, 2);
    ASSERT_EQ(CutSelection(document_, host_, clipboard_), JobResult::kSuccess);
    EXPECT_EQ(document_.UndoLabel(), "Cut");
    EXPECT_EQ(ReadSound(document_.sound), (std::vector<float>{1, 3}));
    EXPECT_FALSE(clipboard_.isWholeFile);
    host_.mayEdit = false;
    document_.Select(0, 1);
    const LSeen seen(document_);
    EXPECT_EQ(DeleteSelection(document_, host_), JobResult::kCancelled);
    EXPECT_EQ(InsertSilence(document_, host_, 0, 5), JobResult::kCancelled);
    EXPECT_EQ(PasteClip(document_, host_, clipboard_), JobResult::kCancelled);
    seen.ExpectSame(document_);
}

TEST_F(DocumentEditTest, MovingBehindItselfStartsWhereTheUserAimed) {
    Load({0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    Mark("first", 2);
    Mark("inside", 3);
    Mark("end", 4);
    Mark("far", 8);
    document_.Select(2, 4);
    EXPECT_EQ(MoveSelection(document_, host_, 2), JobResult::kCancelled);
    EXPECT_EQ(MoveSelection(document_, host_, 4), JobResult::kCancelled);
    ASSERT_EQ(MoveSelection(document_, host_, 7), JobResult::kSuccess);
    EXPECT_EQ(ReadSound(document_.sound), (std::vector<float>{0, 1, 4, 5, 6, 2, 3, 7, 8, 9}));
    EXPECT_EQ(document_.selectionStart, 5);
    EXPECT_EQ(document_.selectionEnd, 7);
    std::map<QString, int64_t> places;
    for (const LBookmark& one : document_.bookmarks) places[one.name] = one.position;
    EXPECT_EQ(places, (std::map<QString, int64_t>{{"first", 5}, {"inside", 6}, {"end", 2}, {"far", 8}}));
    EXPECT_EQ(document_.UndoLabel(), "Move");
}

TEST_F(DocumentEditTest, ABandOfTheSpectrumIsLeftToItsFilter) {
    Load(Sine(100, 44100));
    document_.Select(10, 20);
    document_.isFrequencySelection = true;
    EXPECT_EQ(DeleteSelection(document_, host_), JobResult::kCancelled) << "an empty band is no selection";
    document_.frequencyHigh = 1000;
    EXPECT_EQ(DeleteSelection(document_, host_), JobResult::kCancelled) << "nobody can filter";
    EXPECT_EQ(document_.HistorySlots().size(), 1u);
    gDeleteBand = [](LSoundDocument& document, LEditHost&) {
        EXPECT_EQ(document.frequencyHigh, 1000u);
        document.sound.Silence(document.selectionStart, document.selectionEnd);
        return JobResult::kSuccess;
    };
    EXPECT_EQ(DeleteSelection(document_, host_), JobResult::kSuccess);
    gDeleteBand = nullptr;
    EXPECT_EQ(document_.sound.Length(), 100);
    EXPECT_EQ(document_.UndoLabel(), "Delete");
    ASSERT_TRUE(document_.Undo());
    EXPECT_TRUE(document_.isFrequencySelection && document_.HasSelection());
}

TEST_F(DocumentEditTest, ARateConversionKeepsTheTimesOfAllPositions) {
    Load(Sine(44100, 44100));
    Mark("half", 22050);
    LRegion region;
    region.SetRange(4410, 8820, 44100);
    document_.regions.push_back(region);
    document_.Select(11025, 33075);
    document_.viewEnd = 44100;
    ASSERT_EQ(ConvertSampleRate(document_, host_, 48000), JobResult::kSuccess);
    EXPECT_EQ(document_.sound.Format(), (LSoundFormat{48000, 1}));
    EXPECT_EQ(document_.sound.Length(), 48000);
    EXPECT_EQ(document_.bookmarks[0].position, 24000);
    EXPECT_EQ(document_.bookmarks[0].positionMs, 500);
    EXPECT_EQ(document_.regions[0].startFrame, 4800);
    EXPECT_EQ(document_.regions[0].endMs, 200);
    EXPECT_EQ(document_.selectionStart, 12000);
    EXPECT_EQ(document_.selectionEnd, 36000);
    EXPECT_EQ(document_.viewEnd, 48000);
    EXPECT_EQ(ConvertSampleRate(document_, host_, 48000), JobResult::kCancelled) << "it is so already";
    EXPECT_EQ(ConvertSampleRate(document_, host_, 0), JobResult::kCancelled);
    ASSERT_EQ(ConvertChannels(document_, host_, 2), JobResult::kSuccess);
    EXPECT_EQ(document_.UndoLabel(), "Convert Channels");
    EXPECT_EQ(document_.sound.Length(), 48000);
    ASSERT_TRUE(document_.Undo() && document_.Undo());
    EXPECT_EQ(document_.bookmarks[0].position, 22050);
    EXPECT_EQ(document_.selectionEnd, 33075);
}

TEST_F(DocumentEditTest, CancellingAndAFullDiskLeaveEverythingAsItWas) {
    clipboard_.StoreClip(Write(Sine(200000, 22050), {22050, 1}), "slow.wav", 0, 1000, true);
    Load(Sine(200000, 44100));
    document_.Select(7, 9);
    ASSERT_EQ(DeleteSelection(document_, host_), JobResult::kSuccess);
    ASSERT_EQ(DuplicateSelection(document_, host_), JobResult::kSuccess);
    ASSERT_TRUE(document_.Undo());  // something to redo, which a failure must not end
    document_.viewEnd = 300;
    document_.Select(100, 50000);
    document_.cursor = 100;
    const LSeen seen(document_);
    const auto files = Files();
    const auto attempt = [&](JobResult want) {
        EXPECT_EQ(PasteClip(document_, host_, clipboard_), want);
        seen.ExpectSame(document_);
        EXPECT_EQ(ConvertSampleRate(document_, host_, 22050), want);
        seen.ExpectSame(document_);
        EXPECT_EQ(ConvertChannels(document_, host_, 2), want);
        seen.ExpectSame(document_);
        EXPECT_EQ(JoinSounds(document_, host_, {Write({1}), clipboard_.Current()}), want);
        seen.ExpectSame(document_);
        EXPECT_EQ(clipboard_.Current().sampleRate, 22050);
        EXPECT_EQ(Files(), files) << "nothing half written stays";
    };
    host_.cancelAfter = 3;
    attempt(JobResult::kCancelled);
    EXPECT_EQ(host_.told, QStringList()) << "who cancels knows why";
    host_.cancelAfter = 1 << 30;
    struct rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto oldHandler = ::signal(SIGXFSZ, SIG_IGN);
    const struct rlimit small { 300000, before.rlim_max };
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    attempt(JobResult::kFailed);
    EXPECT_EQ(host_.told.filter("Error|The result could not be written to the working folder").size(), 4);
    host_.told.clear();
    const struct rlimit none { 0, before.rlim_max };
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &none), 0);
    const float drawn[] = {1, 2, 3};
    EXPECT_EQ(WriteSamples(document_, host_, 10, drawn, 3), JobResult::kFailed);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    ::signal(SIGXFSZ, oldHandler);
    seen.ExpectSame(document_);
    EXPECT_TRUE(host_.told.value(0).startsWith("Low Disk Space|The current action cannot be performed"));
    ASSERT_TRUE(document_.Redo());
    EXPECT_EQ(PasteClip(document_, host_, clipboard_), JobResult::kSuccess);
}

TEST_F(DocumentEditTest, NothingGrowsBeyondWhatSixtyFourBitsCount) {
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
    document_.sound.InsertSilence(0, kMost / 2 + 10);
    document_.sound.channels = 2;
    document_.Select(0, kMost / 2);
    const auto refused = [&](JobResult result, const char* title) {
        EXPECT_EQ(result, JobResult::kCancelled);
        EXPECT_TRUE(host_.told.value(0).startsWith(title)) << qPrintable(host_.told.join('\n'));
        host_.told.clear();
        EXPECT_EQ(document_.sound.Length(), kMost / 2 + 10);
        EXPECT_FALSE(document_.CanUndo());
    };
    // The working disk is too small for the samples of such a sound in any case.
    refused(DuplicateSelection(document_, host_), "Low Disk Space|");
    EXPECT_FALSE(HasRoomFor(document_, kMost / 2 - 9, host_));
    EXPECT_EQ(host_.told,
              QStringList{"Max file length reached|File length exceeds maximum limit. Please use a "
                          "smaller file."});
    EXPECT_TRUE(HasRoomFor(document_, kMost / 2 - 10, host_));
    host_.told.clear();
    Load({1, 2, 3});
    EXPECT_EQ(RepeatLoop(document_, host_, 0), JobResult::kCancelled);
    EXPECT_EQ(RepeatLoop(document_, host_, kMost / 3), JobResult::kCancelled);
    EXPECT_EQ(host_.told.value(0),
              "Too few loops|Unable to repeat a loop 0 times. Please choose a number of loops higher than 0");
    EXPECT_TRUE(
        host_.told.value(1).startsWith("Too many loops|Unable to repeat this loop 3074457345618258602 times, "
                                       "as this would cause the file to "
                                       "exceed the maximum length supported by Ondarix. Plea"));
    EXPECT_EQ(InsertSilence(document_, host_, 1, 0), JobResult::kCancelled);
    EXPECT_EQ(host_.told.value(2),
              "Invalid Silence Time|The specified silence time is not valid. Please try again.");
    EXPECT_EQ(document_.sound.Length(), 3);
    SetSettingBool("Settings", "AutoPlaybackAfterEffects", true);
    EXPECT_EQ(InsertSilence(document_, host_, 3, 2), JobResult::kSuccess);
    EXPECT_EQ(host_.played, 1);
}

TEST_F(DocumentEditTest, AViewOfEverythingStaysOne) {
    Load(std::vector<float>(1000, 0.5f));
    document_.viewEnd = 1000;
    ASSERT_EQ(InsertSilence(document_, host_, 10, 500), JobResult::kSuccess);
    EXPECT_EQ(document_.viewEnd, 1500);
    document_.viewStart = 100;
    document_.viewEnd = 1500;
    ASSERT_EQ(InsertSilence(document_, host_, 10, 500), JobResult::kSuccess);
    EXPECT_EQ(document_.viewEnd, 1500) << "a part of it stays that part";
    document_.Select(300, 700);
    ASSERT_EQ(TrimToSelection(document_, host_), JobResult::kSuccess);
    EXPECT_EQ(document_.viewStart, 0);
    EXPECT_EQ(document_.viewEnd, 400);
    ASSERT_TRUE(document_.Undo());
    EXPECT_EQ(document_.viewStart, 100);
    EXPECT_EQ(document_.viewEnd, 1500);
}

TEST_F(DocumentEditTest, AResultThatNoDiskCouldHoldIsWarnedOf) {
    Load({1, 2, 3});
    document_.BeginChange("Huge", host_);
    document_.sound.InsertSilence(3, int64_t{1} << 50);
    EXPECT_EQ(document_.EndChange(host_), JobResult::kSuccess);
    EXPECT_EQ(
        host_.told,
        QStringList{"Low Disk Space|The last action you performed to the file \"one.wav\" might not be saved "
                    "because you have very low free disk space. Please try saving the file to a different "
                    "location or making more space by removing unwanted files then try again."});
    host_.told.clear();
    EXPECT_EQ(TrimEnd(document_, host_), JobResult::kCancelled);
    EXPECT_EQ(InsertSilence(document_, host_, 0, 5), JobResult::kCancelled);
    EXPECT_EQ(host_.told.filter("Low Disk Space|The current action cannot be performed").size(), 2);
    EXPECT_TRUE(UndoChange(document_, host_)) << "that needs no room";
}

// --- One channel alone

class ChannelEditTest : public DocumentEditTest {
  protected:
    void SetUp() override {
        DocumentEditTest::SetUp();
        for (int i = 0; i < 4000; ++i) {
            samples_.push_back(static_cast<float>(i));
            samples_.push_back(static_cast<float>(-i));
        }
        Load(samples_, {1000, 2});
        Mark("there", 3000);
        ASSERT_EQ(EditChannel(document_, host_, 1), JobResult::kSuccess);
    }
    std::vector<float> Other() { return Of(0); }
    std::vector<float> Of(int channel) {
        std::vector<float> one;
        const auto all = ReadSound(document_.sound);
        for (size_t i = static_cast<size_t>(channel); i < all.size(); i += 2) one.push_back(all[i]);
        return one;
    }
    std::vector<float> samples_;
};

TEST_F(ChannelEditTest, AskBeforeTheChannelsLoseTheirAlignment) {
    document_.Select(1000, 1500);
    EXPECT_EQ(DeleteSelection(document_, host_), JobResult::kCancelled);
    EXPECT_EQ(
        host_.told,
        QStringList{"Channel Length Changes|This operation will shrink the audio in this channel by 500 "
                    "milliseconds. This will impact the alignment with the other channel(s) in the file. "
                    "Would you like to proceed?"});
    EXPECT_EQ(ReadSound(document_.sound), samples_);
    EXPECT_EQ(document_.Edited().Length(), 4000);
    EXPECT_EQ(document_.HistorySlots().size(), 1u);
    EXPECT_FALSE(document_.isModified);

    const std::vector<float> other = Other();
    host_.answers = {0, 0};
    ASSERT_EQ(DeleteSelection(document_, host_), JobResult::kSuccess);
    EXPECT_EQ(Other(), other);
    EXPECT_EQ(Of(1)[999], -999.0f);
    EXPECT_EQ(Of(1)[1000], -1500.0f);
    EXPECT_EQ(Of(1)[3499], -3999.0f);
    EXPECT_EQ(Of(1)[3500], 0.0f);
    EXPECT_EQ(document_.bookmarks[0].position, 3000) << "it names a place of the whole";
    EXPECT_EQ(ReadSound(document_.Edited()), Of(1));
    ASSERT_EQ(InsertSilence(document_, host_, 4000, 250), JobResult::kSuccess);
    EXPECT_TRUE(host_.told.last().contains("will expand the audio in this channel by 250 milliseconds."));
    EXPECT_EQ(document_.sound.Length(), 4250);
    ASSERT_TRUE(UndoChange(document_, host_) && UndoChange(document_, host_));
    EXPECT_EQ(ReadSound(document_.sound), samples_);
    EXPECT_EQ(ReadSound(document_.Edited()), Of(1));
    EXPECT_EQ(host_.jobs.count("Extracting the channel..."), 1) << "no step of the history extracts again";
}

TEST_F(ChannelEditTest, OnlyWhatHasChangedIsRendered) {
    const qsizetype before = Files().size();
    const float drawn[] = {7, 8, 9};
    ASSERT_EQ(WriteSamples(document_, host_, 2000, drawn, 3), JobResult::kSuccess);
    EXPECT_EQ(Of(1)[1999], -1999.0f);
    EXPECT_EQ(Of(1)[2000], 7.0f);
    EXPECT_EQ(Of(1)[2003], -2003.0f);
    int64_t bytes = 0;
    for (const QString& name : Files()) {
        const QFileInfo file(folder_ + "/" + name);
        if (name.endsWith(".aud") && file.size() < 1000) bytes += file.size();
    }
    EXPECT_EQ(Files().size(), before + 6);
    EXPECT_EQ(bytes, 3 * 4 + 3 * 8) << "the drawn frames and the merged ones";
    EXPECT_EQ(host_.told, QStringList()) << "no length has changed";
    document_.Select(500, 600);
    ASSERT_EQ(SilenceSelection(document_, host_), JobResult::kSuccess);
    EXPECT_EQ(Of(1)[599], 0.0f);
    EXPECT_EQ(Of(1)[600], -600.0f);
    EXPECT_EQ(Other()[599], 599.0f);
    ASSERT_EQ(Change(document_, "Amplify", host_,
                     [&] {
                         document_.Edited().ScaleRangePercent(100, 200, 50);
                         return JobResult::kSuccess;
                     }),
              JobResult::kSuccess);
    EXPECT_EQ(Of(1)[99], -99.0f);
    EXPECT_EQ(Of(1)[100], -50.0f);
    EXPECT_EQ(Of(1)[200], -200.0f);
    document_.Select(0, 4000);
    ASSERT_EQ(DuplicateSelection(document_, host_), JobResult::kCancelled);
    EXPECT_EQ(Of(1)[599], 0.0f);
}

TEST_F(ChannelEditTest, HistoryAcrossTheModesAndWhatEndsThem) {
    ASSERT_EQ(EditChannel(document_, host_, -1), JobResult::kSuccess);
    document_.Select(0, 1000);
    ASSERT_EQ(DeleteSelection(document_, host_), JobResult::kSuccess);
    EXPECT_EQ(EditChannel(document_, host_, 2), JobResult::kCancelled);
    ASSERT_EQ(EditChannel(document_, host_, 0), JobResult::kSuccess);
    ASSERT_TRUE(UndoChange(document_, host_)) << "of a change to the whole";
    EXPECT_EQ(document_.channelEditMode, LSoundDocument::kEditsChannel);
    EXPECT_EQ(ReadSound(document_.Edited()), Of(0));
    EXPECT_EQ(document_.Edited().Length(), 4000);
    host_.cancelAfter = 0;
    EXPECT_EQ(ConvertChannels(document_, host_, 1), JobResult::kCancelled);
    EXPECT_EQ(document_.channelEditMode, LSoundDocument::kEditsChannel);
    EXPECT_EQ(ReadSound(document_.Edited()), Of(0));
    host_.cancelAfter = 1 << 30;
    clipboard_.StoreClip(Write({5, 7, 5, 7}, {1000, 2}), "pair.wav", 0, 1, true);
    document_.Select(0, 2);
    ASSERT_EQ(PasteClip(document_, host_, clipboard_), JobResult::kSuccess);
    EXPECT_EQ(Of(0)[1], 6.0f) << "a clip becomes mono";
    EXPECT_EQ(Of(1)[1], -1.0f);
    ASSERT_EQ(ConvertChannels(document_, host_, 1), JobResult::kSuccess);
    EXPECT_EQ(document_.channelEditMode, LSoundDocument::kEditsWhole);
    EXPECT_EQ(document_.sound.channels, 1);
    ASSERT_TRUE(UndoChange(document_, host_));
    EXPECT_EQ(document_.sound.channels, 2);
}

}  // namespace
}  // namespace ondarix
