// SPDX-License-Identifier: GPL-3.0-or-later
// Long random runs of commands against a model that holds whole copies.
#include <map>
#include <random>

#include "edit_host_fixture.h"
#include "edit_model.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

class Runner {
  public:
    Runner(LSoundDocument& document, unsigned seed) : document_(document), random_(seed) {}

    void Load(const std::vector<float>& samples, bool fromFile) {
        ModelState& state = states_.emplace_back();
        for (size_t i = 0; i < samples.size(); i += 2)
            state.row.push_back({Item::kFrame, 0, {samples[i], samples[i + 1]}});
        savedId_ = fromFile ? 0 : -1;
        hasBase_ = fromFile;
    }
    void Step();
    void Check(const char* after);
    int steps = 0;
    int64_t longest = 0, framesSeen = 0;  // frames that were seen
    QString savedPath;
    std::function<LSound(const std::vector<float>&)> write;

  private:
    ModelState& Now() { return states_[static_cast<size_t>(present_)]; }
    int64_t Pick(int64_t most) {
        return most <= 0 ? 0 : static_cast<int64_t>(random_() % static_cast<uint64_t>(most + 1));
    }
    LSelection PickRange() {
        const int64_t a = Pick(Now().Length()), b = Pick(Now().Length());
        return {std::min(a, b), std::max(a, b)};
    }
    void SelectSome() {
        const LSelection range = PickRange();
        document_.Select(range.start, Pick(3) == 0 ? range.start : range.end);
        if (document_.HasSelection() && Pick(1) == 0) document_.cursor = document_.selectionStart;
    }
    // The model's side of a change that was pushed.
    ModelState& Push() {
        Now().selection = before_;
        Now().stored = true;
        states_.resize(static_cast<size_t>(present_) + 1);
        ModelState next = Now();
        next.id = ++lastId_;
        next.stored = false;
        states_.push_back(std::move(next));
        ++present_;
        if (present_ >= 30) hasBase_ = false;
        if (present_ > 30) {
            states_.erase(states_.begin());
            --present_;
        }
        return Now();
    }
    void StoreNow() {
        if (!Now().stored) Now().selection = before_;
        Now().stored = true;
    }
    LSelection Selected() const {
        return document_.HasSelection() ? LSelection{document_.selectionStart, document_.selectionEnd}
                                        : LSelection{document_.cursor, document_.cursor};
    }
    void ExpectSelection(LSelection want) {
        want = {std::min(want.start, Now().Length()), std::min(want.end, Now().Length())};
        EXPECT_EQ(Selected().start, want.start);
        EXPECT_EQ(Selected().end, want.end);
    }
    void Edit(int which);
    void Marks(int which);
    void Fill();
    void Paste();
    void Cycle();
    void Channel();
    void History(int which);
    void GoSomewhere();
    void Spoil();
    Row Silent(int64_t frames) const { return Row(static_cast<size_t>(frames), {Item::kFrame, 0, {0, 0}}); }
    Row NewFrames(int64_t frames) {
        Row row = Silent(frames);
        for (Item& item : row) {
            item.samples[0] = static_cast<float>(Pick(1000) + 1) / 1024.0f;
            item.samples[1] = Now().channels == 2 ? -item.samples[0] : 0.0f;
        }
        return row;
    }
    void Record(const Row& clip) {
        clips_.push_back(clip);
        if (clips_.size() > 10) clips_.erase(clips_.begin());
        clip_ = clips_.size() - 1;
    }

    LSoundDocument& document_;
    std::mt19937_64 random_;
    LTestEditHost host_;
    LClipboardStore clipboard_;
    std::vector<Row> clips_;  // oldest first, all of the present channel count
    size_t clip_ = 0;
    std::vector<ModelState> states_;
    int present_ = 0, lastId_ = 0, savedId_ = 0;
    ModelState savedState_;
    bool hasBase_ = false;  // one row more at the start of the history
    LSelection before_;
    int pastedAt_ = -1;  // lastId_ of a paste that nothing has come after
    LSelection replaced_, pasted_;
    uint32_t nextMark_ = 1000;
};

void Runner::Edit(int which) {
    const LSelection range = before_;
    const int64_t length = Now().Length();
    const bool some = !range.IsEmpty();
    const auto expect = [](JobResult result, bool done) {
        ASSERT_EQ(result, done ? JobResult::kSuccess : JobResult::kCancelled);
    };
    switch (which) {
        case 0:
            expect(DeleteSelection(document_, host_), some);
            if (some) Push().Replace(range.start, range.end, {});
            break;
        case 1:
            expect(SilenceSelection(document_, host_), some);
            if (some) {
                int64_t at = 0;
                for (Item& item : Push().row) {
                    if (IsFrame(item) && at >= range.start && at < range.end) item.samples = {0, 0};
                    at += IsFrame(item) ? 1 : 0;
                }
            }
            break;
        case 2: {
            const int64_t pos = Pick(length), frames = Pick(50);
            expect(InsertSilence(document_, host_, pos, frames), frames > 0);
            if (frames > 0) Push().Replace(pos, pos, Silent(frames));
            break;
        }
        case 3:
            expect(TrimToSelection(document_, host_), some);
            if (some) Push().Keep(range.start, range.end);
            if (some) ExpectSelection({0, range.Length()});
            break;
        case 4:
            expect(TrimStart(document_, host_), length > 0 && range.start > 0);
            if (length > 0 && range.start > 0) Push().Replace(0, range.start, {});
            break;
        case 5:
            expect(TrimEnd(document_, host_), range.end < length);
            if (range.end < length) Push().Replace(range.end, length, {});
            break;
        case 6: {
            const LSelection all = some ? range : LSelection{0, length};
            expect(DuplicateSelection(document_, host_), length > 0);
            if (length == 0) break;
            const Row frames = Now().Frames(all.start, all.end);
            Push().Replace(all.end, all.end, frames);
            ExpectSelection({all.end, all.end + all.Length()});
            break;
        }
        case 7: {
            const int64_t times = Pick(3);
            const LSelection all = some ? range : LSelection{0, length};
            expect(RepeatLoop(document_, host_, times), length > 0 && times > 0);
            if (length == 0 || times == 0) break;
            const Row frames = Now().Frames(all.start, all.end);
            ModelState& state = Push();
            for (int64_t i = 0; i < times; ++i) state.Replace(all.end, all.end, frames);
            break;
        }
        case 8: {
            const int64_t target = Pick(length);
            const bool moves = some && (target < range.start || target > range.end);
            expect(MoveSelection(document_, host_, target), moves);
            if (!moves) break;
            const int64_t place = target > range.end ? target - range.Length() : target;
            Push().Move(range.start, range.end, place);
            ExpectSelection({place, place + range.Length()});
            break;
        }
        case 9: {
            const int64_t frames = 1 + Pick(20), start = Pick(length);
            const Row drawn = NewFrames(frames);
            std::vector<float> samples;
            for (const Item& item : drawn)
                samples.insert(samples.end(), item.samples.begin(), item.samples.begin() + Now().channels);
            const bool fits = start + frames <= length;
            expect(WriteSamples(document_, host_, start, samples.data(), frames), fits);
            if (!fits) break;
            int64_t at = 0;
            for (Item& item : Push().row) {
                if (IsFrame(item) && at >= start && at < start + frames)
                    item.samples = drawn[static_cast<size_t>(at - start)].samples;
                at += IsFrame(item) ? 1 : 0;
            }
            break;
        }
        default: {
            expect(CutSelection(document_, host_, clipboard_), length > 0);
            if (length == 0) break;
            const LSelection all = some ? range : LSelection{0, length};
            Record(Now().Frames(all.start, all.end));
            before_ = all;  // what is copied was selected first
            Push().Replace(all.start, all.end, {});
        }
    }
}

void Runner::Marks(int which) {
    const LSelection range = PickRange();
    if (which == 0) {
        const uint32_t id = ++nextMark_;
        Change(document_, "Bookmark", host_, [&] {
            LBookmark mark;
            mark.name = QString::number(id);
            mark.index = id;
            mark.SetPosition(range.start, 44100);
            document_.bookmarks.push_back(mark);
            return JobResult::kSuccess;
        });
        ModelState& state = Push();
        state.row.insert(state.row.begin() + static_cast<int64_t>(state.Before(range.start)),
                         {Item::kBookmark, id, {}});
    } else if (range.Length() > 0) {
        const uint32_t id = ++nextMark_;
        Change(document_, "Add region", host_, [&] {
            LRegion region;
            region.serial = id;
            region.SetRange(range.start, range.end, 44100);
            document_.regions.push_back(region);
            return JobResult::kSuccess;
        });
        ModelState& state = Push();
        state.row.insert(state.row.begin() + static_cast<int64_t>(state.Before(range.end)),
                         {Item::kRegionEnd, id, {}});
        state.row.insert(state.row.begin() + static_cast<int64_t>(state.Before(range.start)),
                         {Item::kRegionStart, id, {}});
    }
}

// Something new, so that a run of deletions does not end in an empty sound.
void Runner::Fill() {
    const Row frames = NewFrames(300 + Pick(700));
    std::vector<float> samples;
    for (const Item& item : frames) samples.insert(samples.end(), item.samples.begin(), item.samples.end());
    ASSERT_EQ(InsertSound(document_, host_, write(samples), -1, -1, "Insert File"), JobResult::kSuccess);
    Push().Replace(before_.start, before_.end, frames);
    ExpectSelection({before_.start, before_.start + static_cast<int64_t>(frames.size())});
}

void Runner::Paste() {
    if (Pick(1) == 0 && Now().Length() > 0) {
        const LSelection all = before_.IsEmpty() ? LSelection{0, Now().Length()} : before_;
        ASSERT_EQ(CopySelection(document_, host_, clipboard_), JobResult::kSuccess);
        Record(Now().Frames(all.start, all.end));
        before_ = all;
    }
    LSelection place = before_;
    const bool given = Pick(3) == 0;
    if (given) place = PickRange();
    const bool can = !clips_.empty() && !clips_[clip_].empty();
    ASSERT_EQ(PasteClip(document_, host_, clipboard_, given ? place.start : -1, given ? place.end : -1),
              can ? JobResult::kSuccess : JobResult::kCancelled);
    if (!can) return;
    Push().Replace(place.start, place.end, clips_[clip_]);
    const auto frames = static_cast<int64_t>(clips_[clip_].size());
    replaced_ = place;
    pasted_ = {place.start, place.start + frames};
    ExpectSelection(pasted_);
    pastedAt_ = lastId_;
}

// Takes the place of the last paste when nothing has come between.
void Runner::Cycle() {
    if (clips_.empty()) return;
    const bool straight = pastedAt_ == lastId_ && Now().id == lastId_ && Pick(3) != 0;
    if (straight) {
        document_.Select(pasted_.start, pasted_.end);
        before_ = pasted_;
    } else {
        pastedAt_ = -1;
        document_.Select(before_.start, before_.end);
        // Another selection than the pasted one makes it a paste of its own.
        if (before_.start == pasted_.start && before_.end == pasted_.end) return;
    }
    clip_ = (clip_ + clips_.size() - 1) % clips_.size();
    ASSERT_EQ(PasteCycle(document_, host_, clipboard_), JobResult::kSuccess);
    if (straight) {
        const LSelection selection = states_[static_cast<size_t>(present_ - 1)].selection;
        --present_;
        states_.resize(static_cast<size_t>(present_) + 1);
        before_ = selection;
    } else {
        replaced_ = before_;
    }
    Push().Replace(replaced_.start, replaced_.end, clips_[clip_]);
    pasted_ = {replaced_.start, replaced_.start + static_cast<int64_t>(clips_[clip_].size())};
    ExpectSelection(pasted_);
    pastedAt_ = lastId_;
}

// One channel edited alone, then the whole again.
void Runner::Channel() {
    const int64_t length = Now().Length();
    if (Now().channels != 2 || length == 0) return;
    const int channel = static_cast<int>(Pick(1));
    ASSERT_EQ(EditChannel(document_, host_, channel), JobResult::kSuccess);
    std::vector<float> samples;
    for (const Item& item : Now().row) {
        if (IsFrame(item)) samples.push_back(item.samples[static_cast<size_t>(channel)]);
    }
    EXPECT_EQ(ReadSound(document_.Edited()), samples);
    const LSelection range = before_;
    const bool proceed = Pick(2) != 0;
    host_.answers = {proceed ? 0 : 1};
    const int64_t frames = 1 + Pick(20);
    JobResult result = JobResult::kCancelled;
    const auto from = samples.begin() + range.start, to = samples.begin() + range.end;
    switch (Pick(2)) {
        case 0:
            result = SilenceSelection(document_, host_);
            std::fill(from, to, 0.0f);
            host_.answers.clear();
            break;
        case 1:
            result = DeleteSelection(document_, host_);
            if (proceed) samples.erase(from, to);
            break;
        default:
            result = InsertSilence(document_, host_, range.start, frames);
            if (proceed) samples.insert(from, static_cast<size_t>(frames), 0.0f);
    }
    if (result == JobResult::kSuccess) {
        samples.resize(std::max(samples.size(), static_cast<size_t>(length)));
        ModelState& state = Push();
        const Row more = Silent(static_cast<int64_t>(samples.size()) - length);
        state.row.insert(state.row.end(), more.begin(), more.end());
        // Marks at the old end are not moved by what comes behind it.
        auto sample = samples.begin();
        for (Item& item : state.row) {
            if (IsFrame(item)) item.samples[static_cast<size_t>(channel)] = *sample++;
        }
        EXPECT_EQ(ReadSound(document_.Edited()), samples);
        if (Pick(1) == 0) {  // there and back while the channel is open
            const LSelection after = Selected();
            ASSERT_TRUE(UndoChange(document_, host_));
            ASSERT_TRUE(RedoChange(document_, host_));
            EXPECT_EQ(ReadSound(document_.Edited()), samples);
            before_ = after;
            StoreNow();
        }
    }
    host_.answers.clear();
    ASSERT_EQ(EditChannel(document_, host_, -1), JobResult::kSuccess);
}

void Runner::GoSomewhere() {
    const auto slots = document_.HistorySlots();
    if (slots.empty()) return;
    const auto chosen = static_cast<int>(Pick(static_cast<int64_t>(slots.size()) - 1));
    const int state = std::max(0, chosen - (hasBase_ ? 1 : 0));
    if (state != present_) StoreNow();
    ASSERT_TRUE(document_.GoTo(slots[static_cast<size_t>(chosen)]));
    const int way = state - present_;
    present_ = state;
    if (way < 0) ExpectSelection(Now().selection);
    if (way > 0) ExpectSelection(states_[static_cast<size_t>(state - 1)].selection);
}

void Runner::History(int which) {
    if (which == 0) {
        const bool can = present_ > 0;
        ASSERT_EQ(document_.CanUndo(), can);
        if (can) StoreNow();
        ASSERT_EQ(UndoChange(document_, host_), can);
        if (!can) return;
        --present_;
        ExpectSelection(Now().selection);
    } else if (which == 1) {
        const bool can = present_ + 1 < static_cast<int>(states_.size());
        ASSERT_EQ(document_.CanRedo(), can);
        ASSERT_EQ(RedoChange(document_, host_), can);
        if (!can) return;
        ++present_;
        ExpectSelection(Now().selection);
    } else if (which == 2) {
        GoSomewhere();
    } else if (which == 3) {
        document_.path = savedPath;
        document_.MarkSaved();
        savedId_ = Now().id;
        savedState_ = Now();
    } else {
        const bool can = savedId_ >= 0 && Now().id != savedId_;
        ASSERT_EQ(document_.CanRevertToSaved(), can);
        ASSERT_EQ(RevertDocument(document_, host_), can);
        if (!can) return;
        const ModelState saved = savedState_;
        ModelState& state = Push();
        state.row = saved.row;
        state.channels = saved.channels;
        state.id = savedId_;
    }
}

// A change that fails after it has spoiled everything.
void Runner::Spoil() {
    const auto slots = document_.HistorySlots();
    const bool modified = document_.isModified;
    const QString undo = document_.UndoLabel(), redo = document_.RedoLabel();
    const JobResult result = Pick(1) == 0 ? JobResult::kFailed : JobResult::kCancelled;
    ASSERT_EQ(Change(document_, "Spoilt", host_,
                     [&] {
                         document_.sound.Delete(0, 10);
                         document_.sound.channels = 5;
                         document_.bookmarks.clear();
                         document_.regions.clear();
                         document_.Select(1, 2);
                         return result;
                     }),
              result);
    EXPECT_EQ(document_.HistorySlots(), slots);
    EXPECT_EQ(document_.isModified, modified);
    EXPECT_EQ(document_.UndoLabel(), undo);
    EXPECT_EQ(document_.RedoLabel(), redo);
    ExpectSelection(before_);
}

void Runner::Step() {
    ++steps;
    if (steps == 1) savedState_ = Now();
    const bool isLong = Now().Length() > 4000;
    if (isLong) {
        document_.Select(100, 100 + Pick(1500));
    } else if (Pick(2) == 0) {
        SelectSome();
    }
    before_ = Selected();
    const int64_t kind = Pick(99);
    if (Now().Length() < 300 && kind < 40) return Fill();
    if (isLong || kind < 45) return Edit(isLong ? 3 : static_cast<int>(Pick(10)));
    if (kind < 55) return Marks(static_cast<int>(Pick(1)));
    if (kind < 65) return Paste();
    if (kind < 70) return Cycle();
    pastedAt_ = -1;
    if (kind < 75) return Channel();
    if (kind < 79) return Spoil();
    const int which = static_cast<int>(Pick(9));
    History(which < 4 ? 0 : which < 6 ? 1 : which < 8 ? 2 : which - 5);
}

void Runner::Check(const char* after) {
    std::vector<float> samples;
    std::map<uint32_t, int64_t> marks, starts, ends;
    int64_t at = 0;
    for (const Item& item : Now().row) {
        if (IsFrame(item)) {
            samples.insert(samples.end(), item.samples.begin(), item.samples.begin() + Now().channels);
            ++at;
        } else {
            (item.kind == Item::kBookmark      ? marks
             : item.kind == Item::kRegionStart ? starts
                                               : ends)[item.id] = at;
        }
    }
    longest = std::max(longest, at);
    framesSeen += at;
    ASSERT_EQ(document_.sound.channels, Now().channels) << after;
    ASSERT_EQ(ReadSound(document_.sound), samples) << after;
    std::map<uint32_t, int64_t> hasMarks, hasStarts, hasEnds;
    for (const LBookmark& one : document_.bookmarks) hasMarks[one.index] = one.position;
    for (const LRegion& one : document_.regions) {
        hasStarts[one.serial] = one.startFrame;
        hasEnds[one.serial] = one.endFrame;
    }
    ASSERT_EQ(hasMarks, marks) << after;
    ASSERT_EQ(hasStarts, starts) << after;
    ASSERT_EQ(hasEnds, ends) << after;
    ASSERT_EQ(document_.isModified, Now().id != savedId_) << after;
    ASSERT_EQ(document_.CanUndo(), present_ > 0) << after;
    ASSERT_EQ(document_.CanRedo(), present_ + 1 < static_cast<int>(states_.size())) << after;
    for (const int64_t position : {document_.selectionStart, document_.selectionEnd, document_.cursor,
                                   document_.viewStart, document_.viewEnd}) {
        ASSERT_GE(position, 0) << after;
        ASSERT_LE(position, at) << after;
    }
}

class DocumentProperty : public SoundCacheTest {
  protected:
    void Run(unsigned seed, bool fromFile) {
        SetSettingBool("Settings", "MarkPastedClip", false);
        LSoundDocument document;
        std::vector<float> samples;
        for (int i = 0; i < 1200; ++i) samples.push_back(static_cast<float>(i + 1) / 2048.0f);
        document.sound = Write(samples, {44100, 2});
        document.viewEnd = 500;
        const QString path = MakeFile("saved.wav", "samples");
        if (fromFile) {
            document.path = path;
            document.PushUndo("Load File", false);
        } else {
            document.isModified = true;
        }
        Runner runner(document, seed);
        runner.savedPath = path;
        runner.write = [this](const std::vector<float>& frames) { return Write(frames, {44100, 2}); };
        runner.Load(samples, fromFile);
        for (int step = 0; step < 500; ++step) {
            runner.Step();
            runner.Check(qPrintable(
                QString("seed %1, step %2, undo \"%3\"").arg(seed).arg(step).arg(document.UndoLabel())));
            if (HasFailure()) return;
        }
        EXPECT_GT(runner.longest, 2000);
        EXPECT_GT(runner.framesSeen, 500 * 200) << "the run was not spent on next to nothing";
    }
};

TEST_F(DocumentProperty, LoadedSoundsStayEqualToTheModel) {
    for (unsigned seed = 1; seed <= 12 && !HasFailure(); ++seed) Run(seed, true);
}

TEST_F(DocumentProperty, NewSoundsStayEqualToTheModel) {
    for (unsigned seed = 101; seed <= 106 && !HasFailure(); ++seed) Run(seed, false);
}

TEST_F(DocumentProperty, NothingIsLeftBehind) {
    Run(77, true);
    EXPECT_EQ(Files(), QStringList()) << "working files go with the document, its history and its clips";
}

}  // namespace
}  // namespace ondarix
