// SPDX-License-Identifier: GPL-3.0-or-later
// Documents that are worked on while the window stays usable.
#include <QDialog>
#include <QMdiSubWindow>
#include <QProgressBar>
#include <QPushButton>
#include <QThread>
#include <QTimer>
#include <atomic>

#include "app/command_line_processor.h"
#include "app/progress_dialog.h"
#include "app/waiting.h"
#include "app/window_fixture.h"
#include "effects/apply.h"
#include "effects/gain.h"
#include "sound/edits.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

// Work that goes on until the test or a cancel ends it.
struct LGate {
    std::atomic<bool> open{false}, begun{false}, done{false};
    std::atomic<QThread*> worker{nullptr};
    QString error;
    int finished = 0;
    JobResult result = JobResult::kFailed;
    bool wasBusy = true;  // when `finish` was called
};

class DocumentJobTest : public WindowTest {
  protected:
    static std::shared_ptr<LGate> Begin(LMainFrame& frame, LSoundWindow& window) {
        auto gate = std::make_shared<LGate>();
        const LSoundDocumentRef document(&window.Document());
        frame.RunDocumentJob(
            document, QStringLiteral("Testing"),
            [gate](LProgress& progress) {
                gate->worker = QThread::currentThread();
                gate->begun = true;
                progress.SetStatus(QStringLiteral("Please wait..."), 0);
                progress.SetStatus(QStringLiteral("Second line"), 1);
                progress.SetFraction(0.25);
                JobResult end = JobResult::kCancelled;
                while (!progress.IsCancelled()) {
                    if (gate->open) {
                        end = JobResult::kSuccess;
                        break;
                    }
                    QThread::msleep(1);
                }
                if (!gate->error.isEmpty()) {
                    progress.ReportError(gate->error);
                    end = JobResult::kFailed;
                }
                gate->done = true;
                return end;
            },
            [gate, document](JobResult result) {
                EXPECT_EQ(QThread::currentThread(), qApp->thread());
                gate->wasBusy = document->isBusy;
                gate->result = result;
                ++gate->finished;
            });
        EXPECT_TRUE(window.Document().isBusy);
        return gate;
    }
    std::shared_ptr<LGate> Begin(LSoundWindow& window) { return Begin(*frame, window); }
    static bool Ends(const LGate& gate) {
        return PumpUntil([&] { return gate.finished > 0; }, 20000);
    }
    // Lets the work return, but no event in.
    static void Open(LGate& gate) {
        gate.open = true;
        while (!gate.done) QThread::msleep(1);
    }
    using WindowTest::Open;
    QWidget* Panel(LSoundWindow& window) {
        EXPECT_TRUE(PumpUntil([&] { return window.findChild<QWidget*>("jobPanel"); }, 20000));
        return window.findChild<QWidget*>("jobPanel");
    }
    QString LabelText(QWidget& panel, const char* name) {
        auto* label = panel.findChild<QLabel*>(QLatin1String(name));
        return label ? label->text() : QString();
    }
};

TEST_F(DocumentJobTest, OnlyItsOwnDocumentRefusesChanges) {
    LSoundWindow* busy = Open(MakeWav("busy.wav"));
    LSoundWindow* other = Open(MakeWav("other.wav"));
    busy->View().Select(0, 44100);
    AddBookmark(busy->Document(), *frame, 1000);
    const auto gate = Begin(*busy);
    ASSERT_TRUE(PumpUntil([&] { return gate->begun.load(); }));
    EXPECT_NE(gate->worker.load(), qApp->thread());

    ASSERT_EQ(frame->ActiveSound(), other);
    other->View().Select(0, 44100);
    EXPECT_TRUE(frame->RunCommand(kCmdDelete));
    EXPECT_EQ(other->Document().sound.Length(), 2 * 44100);
    EXPECT_TRUE(frame->RunCommand(kCmdUndo));
    EXPECT_TRUE(frame->Save(*other));

    frame->Activate(*busy);
    for (const int id : {kCmdDelete, kCmdCut, kCmdPaste, kCmdUndo, kCmdRedo, kCmdRevert, kCmdSave, kCmdSaveAs,
                         kCmdTrim, kCmdSilence, kCmdMono, kCmdConvertRate, kCmdAddBookmark,
                         kCmdDeleteAllBookmarks, kCmdEditFirstChannel, kCmdBookmarkHere, kCmdAmplify}) {
        EXPECT_FALSE(frame->IsAvailable(id)) << id;
        EXPECT_FALSE(frame->RunCommand(id)) << id;
        if (QAction* action = frame->ActionOf(id)) {
            EXPECT_FALSE(action->isEnabled()) << id;
            EXPECT_EQ(action->toolTip(), "\"busy.wav\" is being worked on") << id;
        }
    }
    EXPECT_FALSE(frame->Save(*busy));
    for (const int id : {kCmdSelectAll, kCmdCopy, kCmdZoomIn, kCmdZoomFull, kCmdPlay, kCmdNewFile, kCmdClose})
        EXPECT_TRUE(frame->IsAvailable(id)) << id;
    EXPECT_TRUE(frame->RunCommand(kCmdSelectAll));
    EXPECT_EQ(busy->Document().selectionEnd, 3 * 44100);
    EXPECT_EQ(busy->Document().bookmarks.size(), 1u);
    EXPECT_TRUE(busy->Document().isBusy);

    gate->open = true;
    ASSERT_TRUE(Ends(*gate));
    EXPECT_EQ(gate->finished, 1);
    EXPECT_EQ(gate->result, JobResult::kSuccess);
    EXPECT_FALSE(gate->wasBusy);
    EXPECT_TRUE(frame->IsAvailable(kCmdDelete));
    EXPECT_TRUE(frame->ActionOf(kCmdDelete)->isEnabled());
}

TEST_F(DocumentJobTest, WhatIsDrawnAndDraggedInABusyWindowStaysAsItIs) {
    LSoundWindow* window = Open(MakeWav("a.wav"));
    const LSoundSegment* segment = window->Document().sound.segments.get();
    AddBookmark(window->Document(), *frame, 50);
    const QString label = window->Document().UndoLabel();
    QStringList hints;
    QObject::connect(window, &LSoundWindow::Hint, window, [&](const QString& text) { hints << text; });
    window->Range().Show(0, 100);
    window->View().SetSampleEditing(true);
    const auto gate = Begin(*window);
    Drag(window->View(), 100, 300);
    EXPECT_EQ(hints, QStringList{"\"a.wav\" is being worked on"});
    const auto dragMarker = [&] {
        LMarkerRow& row = window->MarkerRow();
        const int x = row.width() / 2, y = row.height() / 2;
        QTest::mousePress(&row, Qt::LeftButton, {}, {x, y});
        QTest::mouseMove(&row, {x + 50, y});
        QTest::mouseMove(&row, {x + 100, y});
        QTest::mouseRelease(&row, Qt::LeftButton, {}, {x + 100, y});
    };
    dragMarker();
    EXPECT_EQ(window->Document().bookmarks[0].position, 50);
    EXPECT_EQ(window->Document().sound.segments.get(), segment);
    EXPECT_EQ(window->Document().UndoLabel(), label);
    gate->open = true;
    ASSERT_TRUE(Ends(*gate));
    dragMarker();
    Drag(window->View(), 100, 300);
    EXPECT_GT(window->Document().bookmarks[0].position, 50);
    EXPECT_EQ(window->Document().UndoLabel(), "Edit Samples");
}

TEST_F(DocumentJobTest, TheStripShowsTheJobAndCancelsIt) {
    LSoundWindow* window = Open(MakeWav("a.wav"));
    EXPECT_FALSE(window->findChild<QWidget*>("jobPanel"));
    for (const bool byKey : {false, true}) {
        const auto gate = Begin(*window);
        QWidget* panel = Panel(*window);
        ASSERT_TRUE(panel);
        EXPECT_TRUE(panel->isVisible());
        EXPECT_GE(panel->mapTo(window, QPoint()).y(),
                  window->View().mapTo(window, QPoint(0, window->View().height())).y());
        EXPECT_EQ(LabelText(*panel, "jobTitle"), "Testing");
        EXPECT_TRUE(PumpUntil([&] { return LabelText(*panel, "jobStatus") == "Please wait..."; }));
        EXPECT_EQ(LabelText(*panel, "jobStep"), "Second line");
        EXPECT_TRUE(LabelText(*panel, "jobRemaining").startsWith("25% Complete, Estimated Time Remaining: "));
        EXPECT_EQ(panel->findChild<QProgressBar*>()->value(), 25);
        for (const QWidget* one :
             {panel, panel->findChild<QWidget*>("jobBar"), panel->findChild<QWidget*>("jobCancel")})
            EXPECT_TRUE(one && one->accessibleName().contains("Testing"));
        if (byKey)
            QTest::keyClick(&window->View(), Qt::Key_Escape);
        else
            panel->findChild<QPushButton*>("jobCancel")->click();
        ASSERT_TRUE(Ends(*gate));
        EXPECT_EQ(gate->result, JobResult::kCancelled);
        EXPECT_TRUE(PumpUntil([&] { return !window->findChild<QWidget*>("jobPanel"); }));
    }
}

TEST_F(DocumentJobTest, TwoDocumentsAreWorkedOnAtOnce) {
    LSoundWindow* first = Open(MakeWav("a.wav"));
    LSoundWindow* second = Open(MakeWav("b.wav"));
    const auto one = Begin(*first), two = Begin(*second);
    ASSERT_TRUE(PumpUntil([&] { return one->begun && two->begun; }));
    int refused = 0;
    frame->RunDocumentJob(
        LSoundDocumentRef(&first->Document()), QStringLiteral("Third"),
        [&](LProgress&) {
            ADD_FAILURE() << "two jobs on one document";
            return JobResult::kSuccess;
        },
        [&](JobResult result) { refused += result == JobResult::kCancelled; });
    EXPECT_EQ(refused, 1);
    two->open = true;
    ASSERT_TRUE(Ends(*two));
    EXPECT_TRUE(first->Document().isBusy);
    EXPECT_FALSE(second->Document().isBusy);
    EXPECT_EQ(one->finished, 0);
    one->open = true;
    ASSERT_TRUE(Ends(*one));
}

TEST_F(DocumentJobTest, WhatFailsIsToldBeforeTheEnd) {
    LSoundWindow* window = Open(MakeWav("a.wav"));
    const auto gate = Begin(*window);
    gate->error = QStringLiteral("The disk is full");
    gate->open = true;
    ASSERT_TRUE(Ends(*gate));
    EXPECT_EQ(gate->result, JobResult::kFailed);
    EXPECT_EQ(messages->told, QStringList{"Error: The disk is full"});
}

// --- Ends that have to wait

TEST_F(DocumentJobTest, AJobEndsAfterTheDialogThatIsOpen) {
    LSoundWindow* window = Open(MakeWav("a.wav"));
    const auto gate = Begin(*window);
    QDialog dialog(frame.get());
    QTimer::singleShot(0, &dialog, [&] {
        Open(*gate);
        QTest::qWait(300);  // several ticks
        EXPECT_EQ(gate->finished, 0);
        EXPECT_TRUE(window->Document().isBusy);
        dialog.accept();
    });
    dialog.exec();
    EXPECT_EQ(gate->finished, 0);
    ASSERT_TRUE(Ends(*gate));
    EXPECT_EQ(gate->result, JobResult::kSuccess);
}

TEST_F(DocumentJobTest, AJobEndsAfterTheModalJobOfAnotherDocument) {
    LSoundWindow* window = Open(MakeWav("a.wav"));
    const auto gate = Begin(*window);
    frame->RunJob(QStringLiteral("Saving..."), [&](LProgress& progress) {
        Open(*gate);
        QElapsedTimer timer;
        timer.start();
        while (!timer.hasExpired(300)) EXPECT_FALSE(progress.IsCancelled());
        EXPECT_EQ(gate->finished, 0);
        return JobResult::kSuccess;
    });
    EXPECT_EQ(gate->finished, 0);
    ASSERT_TRUE(Ends(*gate));
}

// --- Closing

TEST_F(DocumentJobTest, ClosingABusyWindowAsksAndStopsTheJob) {
    enum { kStop, kKeep };
    LSoundWindow* window = Open(MakeWav("a.wav"));
    const auto gate = Begin(*window);
    messages->answers = {kKeep};
    frame->RunCommand(kCmdClose);
    EXPECT_EQ(messages->asked,
              QStringList{"\"a.wav\" is being worked on (Testing). Stop that and close it?"});
    EXPECT_EQ(frame->Sounds().size(), 1);
    messages->answers = {kKeep};
    EXPECT_FALSE(frame->CanClose());
    EXPECT_FALSE(gate->done);
    EXPECT_TRUE(window->Document().isBusy);
    ASSERT_TRUE(Panel(*window));  // goes with the job

    const std::weak_ptr<LGate> alive = gate;
    messages->answers = {kStop};
    window->parentWidget()->close();
    EXPECT_EQ(gate->finished, 1);
    EXPECT_EQ(gate->result, JobResult::kCancelled);
    QTest::qWait(1);
    EXPECT_TRUE(frame->Sounds().isEmpty());
    EXPECT_EQ(alive.use_count(), 1);  // ours
}

TEST_F(DocumentJobTest, TheForcedEndStopsAllJobs) {
    LSoundWindow* first = Open(MakeWav("a.wav"));
    LSoundWindow* second = Open(MakeWav("b.wav"));
    const auto one = Begin(*first), two = Begin(*second);
    frame->PostClose(false);
    ASSERT_TRUE(PumpUntil([&] { return !frame->isVisible(); }));
    for (const auto& gate : {one, two}) {
        EXPECT_EQ(gate->finished, 1);
        EXPECT_EQ(gate->result, JobResult::kCancelled);
        EXPECT_EQ(gate.use_count(), 2);  // here and there
    }
    EXPECT_TRUE(messages->asked.isEmpty());
}

TEST_F(DocumentJobTest, SwitchesThatSaveWaitForTheJob) {
    LSoundWindow* window = Open(MakeWav("tone.wav"));
    LCommandLineProcessor processor(*frame);
    QString reply;
    for (const bool isCancelled : {false, true}) {
        auto gate = Begin(*window);
        QTimer::singleShot(300, window, [&] {
            EXPECT_FALSE(QFile::exists(In("out.wav")));
            if (isCancelled)
                Panel(*window)->findChild<QPushButton*>("jobCancel")->click();
            else
                gate->open = true;
        });
        const int code = processor.Process({"ondarix", "-saveas", In("out.wav")}, reply);
        EXPECT_EQ(code, isCancelled ? LCommandLineProcessor::kNotNow : LCommandLineProcessor::kSuccess);
        EXPECT_EQ(gate->finished, 1);
        EXPECT_EQ(QFile::exists(In("out.wav")), !isCancelled) << "what was cancelled was to be saved";
        QFile::remove(In("out.wav"));
    }
}

TEST_F(DocumentJobTest, AFrameThatGoesTakesItsJobsAlong) {
    LSoundWindow* window = Open(MakeWav("a.wav"));
    const auto gate = Begin(*window);
    ASSERT_TRUE(PumpUntil([&] { return gate->begun.load(); }));
    frame.reset();
    EXPECT_TRUE(gate->done);
    EXPECT_EQ(gate->finished, 1);
    EXPECT_EQ(gate.use_count(), 1);
}

// --- With a real effect

TEST_F(DocumentJobTest, AnEffectIsAppliedWhileAnotherDocumentIsEdited) {
    LSoundWindow* loud = Open(MakeWav("loud.wav", "16", "120"));
    LSoundWindow* other = Open(MakeWav("other.wav"));
    loud->View().Select(44100, 100 * 44100);
    LAmplifyEffect effect;
    effect.SetParameter(0, 50);
    JobResult applied = JobResult::kFailed;
    bool ended = false;
    ApplyEffectToSelection(LSoundDocumentRef(&loud->Document()), *frame, effect, QStringLiteral("Amplify"),
                           [&](JobResult result) {
                               applied = result;
                               ended = true;
                           });
    EXPECT_FALSE(ended) << "nothing waits for it";
    EXPECT_TRUE(loud->Document().isBusy);
    other->View().Select(0, 44100);
    EXPECT_TRUE(frame->RunCommand(kCmdDelete));
    ASSERT_TRUE(PumpUntil([&] { return ended; }, 60000));
    EXPECT_EQ(applied, JobResult::kSuccess);
    EXPECT_EQ(loud->Document().UndoLabel(), "Amplify");
    EXPECT_EQ(loud->Document().selectionStart, 44100);
    EXPECT_EQ(loud->Document().selectionEnd, 100 * 44100);
    EXPECT_EQ(loud->windowTitle(), "loud.wav[*]");
    EXPECT_TRUE(loud->isWindowModified());
    const QByteArray before = Samples(In("loud.wav"));
    ASSERT_TRUE(frame->SaveAs(*loud, In("out.wav"), LFormatRecord::Plain(3, 32, 44100, 2)));
    const QByteArray after = Samples(In("out.wav"));
    ASSERT_EQ(before.size(), after.size());
    const auto* from = reinterpret_cast<const int32_t*>(before.constData());
    const auto* to = reinterpret_cast<const int32_t*>(after.constData());
    int64_t wrong = 0;
    for (int64_t i = 0; i < before.size() / 4; ++i) {
        const bool inside = i / 2 >= 44100 && i / 2 < 100 * 44100;
        // Integers and floats of full scale differ by one part in 32768.
        wrong += std::abs(static_cast<double>(from[i]) * (inside ? 0.5 : 1.0) - to[i]) > 80000;
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace ondarix
