// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/progress_dialog.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "app/progress_window.h"
#include "app/window_messages.h"
#include "patience.h"

namespace ondarix {
namespace {

const QString kTitle = QStringLiteral("Delete");

QWidget* ProgressOnScreen() {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (widget->objectName() == QLatin1String("LProgressWindow") && widget->isVisible()) return widget;
    return nullptr;
}

// Works until `ms` have gone or the job is cancelled; true when it was.
bool WorkFor(LProgress& progress, int ms) {
    QElapsedTimer timer;
    timer.start();
    while (!timer.hasExpired(ms))
        if (progress.IsCancelled()) return true;
    return false;
}

class ProgressDialog : public testing::Test {
  protected:
    void SetUp() override {
        owner.show();
        owner.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&owner));
        edit.setFocus();
    }
    // Runs `act` on the window as soon as it is there.
    void WhenShown(const std::function<void(QWidget*)>& act) {
        watch.setInterval(5);
        QObject::connect(&watch, &QTimer::timeout, &watch, [this, act] {
            if (QWidget* window = ProgressOnScreen()) {
                watch.stop();
                act(window);
            }
        });
        watch.start();
    }
    JobResult Run(const std::function<JobResult(LProgress&)>& work) { return RunJob(&owner, kTitle, work); }
    // Whether a job of a minute was cancelled, and after how long.
    bool CancelledBy(const std::function<void(QWidget*)>& act, qint64* acted) {
        QElapsedTimer timer;
        WhenShown([&](QWidget* window) {
            timer.start();
            act(window);
        });
        const JobResult result = Run([](LProgress& progress) {
            return WorkFor(progress, 6 * test::kPatienceMs) ? JobResult::kCancelled : JobResult::kSuccess;
        });
        *acted = timer.isValid() ? timer.elapsed() : -1;
        return result == JobResult::kCancelled;
    }
    QWidget owner;
    QLineEdit edit{&owner};
    QTimer watch;
};

TEST_F(ProgressDialog, ResultStartsAsFailedAndIsWhatTheJobSays) {
    class Nothing : public LJob {
        using LJob::LJob;
        void Process() override {}
    } nothing(&owner, kTitle);
    EXPECT_EQ(nothing.Run(), JobResult::kFailed);
    EXPECT_EQ(Run([](LProgress&) { return JobResult::kSuccess; }), JobResult::kSuccess);
}

TEST_F(ProgressDialog, ShortJobsLeaveWindowAndFocusAlone) {
    Run([&](LProgress& progress) {
        WorkFor(progress, 300);
        EXPECT_EQ(ProgressOnScreen(), nullptr);
        EXPECT_FALSE(owner.isEnabled());
        return JobResult::kSuccess;
    });
    EXPECT_TRUE(owner.isEnabled());
    EXPECT_TRUE(edit.hasFocus());
}

TEST_F(ProgressDialog, LongJobsShowWhatTheyReport) {
    Run([&](LProgress& progress) {
        progress.SetStatus(QStringLiteral("<b>one"), 0);
        progress.SetStatus(QStringLiteral("nowhere"), 2);
        progress.SetStatus(QStringLiteral("nowhere"), -1);
        progress.SetFraction(0.259);
        EXPECT_FALSE(WorkFor(progress, 800));
        QWidget* window = ProgressOnScreen();
        if (!window) return ADD_FAILURE() << "no window", JobResult::kFailed;
        EXPECT_TRUE(window->isEnabled());
        EXPECT_EQ(window->windowTitle(), kTitle);
        auto* bar = window->findChild<QProgressBar*>();
        EXPECT_EQ(bar->value(), 25);
        QStringList texts;
        for (QLabel* label : window->findChildren<QLabel*>()) texts.append(label->text());
        EXPECT_EQ(texts[0], QStringLiteral("<b>one"));
        EXPECT_EQ(texts[1], QString());
        EXPECT_TRUE(texts[2].startsWith(QStringLiteral("25% Complete, Estimated Time Remaining: 00:00:0")))
            << texts[2].toStdString();
        progress.SetFraction(1.0);
        EXPECT_EQ(bar->value(), 100);
        progress.SetFraction(NAN);
        EXPECT_EQ(bar->value(), 0);
        progress.SetIndeterminate();
        EXPECT_EQ(bar->maximum(), 0);
        progress.SetFraction(0.5);
        progress.SetDeterminate();
        EXPECT_EQ(bar->maximum(), 100);
        EXPECT_EQ(bar->value(), 50);
        return JobResult::kSuccess;
    });
    EXPECT_EQ(ProgressOnScreen(), nullptr);
    EXPECT_TRUE(owner.isEnabled());
    EXPECT_TRUE(QTest::qWaitFor([&] { return edit.hasFocus(); }));
}

TEST(RemainingTime, FollowsFromTheFraction) {
    EXPECT_EQ(RemainingTimeText(0.25, 30000),
              QStringLiteral("25% Complete, Estimated Time Remaining: 00:01:30"));
    EXPECT_EQ(RemainingTimeText(0.5, 3723000),
              QStringLiteral("50% Complete, Estimated Time Remaining: 01:02:03"));
    EXPECT_EQ(RemainingTimeText(1.0, 5000),
              QStringLiteral("100% Complete, Estimated Time Remaining: 00:00:00"));
    EXPECT_EQ(RemainingTimeText(1e-12, 3600000),
              QStringLiteral("0% Complete, Estimated Time Remaining: 99:59:59"));
    EXPECT_EQ(RemainingTimeText(0, 3600000), QStringLiteral("0% Complete"));
}

TEST_F(ProgressDialog, CancelButtonEscapeClosingAndDestructionAllCancelAtOnce) {
    const std::function<void(QWidget*)> ways[] = {
        [](QWidget* window) { QTest::mouseClick(window->findChild<QPushButton*>(), Qt::LeftButton); },
        [](QWidget* window) { QTest::keyClick(window, Qt::Key_Escape); },
        [](QWidget* window) { window->close(); },
        [](QWidget* window) { delete window; },
        [](QWidget*) { LProgressDialog::CancelAll(); },
    };
    for (size_t i = 0; i < std::size(ways); ++i) {
        qint64 acted = -1;
        EXPECT_TRUE(CancelledBy(ways[i], &acted)) << "way " << i;
        EXPECT_GE(acted, 0);
        EXPECT_LT(acted, test::kPatienceMs);
        EXPECT_EQ(ProgressOnScreen(), nullptr);
        EXPECT_TRUE(owner.isEnabled());
    }
}

// The owner goes while the job runs: the progress window goes with it.
TEST_F(ProgressDialog, SurvivesTheEndOfItsOwner) {
    auto* mortal = new QWidget;
    mortal->show();
    WhenShown([mortal](QWidget*) { delete mortal; });
    EXPECT_EQ(RunJob(mortal, kTitle,
                     [](LProgress& progress) {
                         return WorkFor(progress, 6 * test::kPatienceMs) ? JobResult::kCancelled
                                                                         : JobResult::kSuccess;
                     }),
              JobResult::kCancelled);
}

TEST_F(ProgressDialog, PumpsSeldomHoweverOftenItIsAsked) {
    // Each round of events brings one more; so their number is that of the rounds.
    int rounds = 0;
    std::function<void()> again = [&] {
        ++rounds;
        QTimer::singleShot(0, &owner, again);
    };
    int asked = 0;
    Run([&](LProgress& progress) {
        QTimer::singleShot(0, &owner, again);
        QElapsedTimer timer;
        timer.start();
        while (!timer.hasExpired(400)) {
            progress.IsCancelled();
            ++asked;
        }
        return JobResult::kSuccess;
    });
    again = [] {};
    EXPECT_GT(asked, 5000);
    EXPECT_GE(rounds, 10);
    EXPECT_LE(rounds, 41);
}

TEST_F(ProgressDialog, OwnerIsShutOutUntilTheOuterJobEnds) {
    Run([&](LProgress& outer) {
        EXPECT_EQ(RunJob(&owner, kTitle,
                         [&](LProgress& inner) {
                             WorkFor(inner, 50);
                             EXPECT_FALSE(owner.isEnabled());
                             return JobResult::kSuccess;
                         }),
                  JobResult::kSuccess);
        EXPECT_FALSE(owner.isEnabled());
        WorkFor(outer, 30);
        EXPECT_FALSE(owner.isEnabled());
        return JobResult::kSuccess;
    });
    EXPECT_TRUE(owner.isEnabled());
    owner.setEnabled(false);
    Run([](LProgress& progress) { return WorkFor(progress, 50), JobResult::kSuccess; });
    EXPECT_FALSE(owner.isEnabled());
}

TEST_F(ProgressDialog, WaitsEndForOneOfThreeReasons) {
    LEvent event, set(LEvent::Mode::kManualReset, true);
    Run([&](LProgress& progress) {
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(progress.WaitForHandle(event.Handle(), 0), WaitResult::kTimedOut);
        EXPECT_EQ(progress.WaitForHandle(set.Handle(), 0), WaitResult::kSignalled);
        EXPECT_EQ(progress.Sleep(0), WaitResult::kSignalled);
        EXPECT_LT(timer.elapsed(), test::kPatienceMs);

        timer.start();
        EXPECT_EQ(progress.WaitForHandle(event.Handle(), 150), WaitResult::kTimedOut);
        EXPECT_GE(timer.elapsed(), 150);
        EXPECT_LT(timer.elapsed(), test::kPatienceMs);
        timer.start();
        EXPECT_EQ(progress.Sleep(70), WaitResult::kSignalled);
        EXPECT_GE(timer.elapsed(), 70);

        // Events are let in during the wait, and one of them ends it.
        QTimer::singleShot(60, &owner, [&] { event.Set(); });
        LHandleList both;
        both.Add(LEvent().Handle());
        both.Add(event.Handle());
        EXPECT_EQ(progress.WaitForHandleForever(event.Handle()), WaitResult::kSignalled);
        return JobResult::kSuccess;
    });
    Run([&](LProgress& progress) {
        QTimer::singleShot(60, &owner, [] { LProgressDialog::CancelAll(); });
        EXPECT_EQ(progress.SleepForever(), WaitResult::kCancelled);
        EXPECT_EQ(progress.WaitForHandle(set.Handle(), 100), WaitResult::kCancelled);
        return JobResult::kSuccess;
    });
}

// Answers the next message box by its button's text and notes what it said.
class Answer {
  public:
    explicit Answer(const QString& button, bool check = false) {
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this, button, check] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box) return;
            timer_.stop();
            title = box->windowTitle();
            text = box->text();
            if (check) box->checkBox()->setChecked(true);
            for (QAbstractButton* candidate : box->buttons())
                if (candidate->text().remove(u'&') == button) return candidate->click();
            button.isEmpty() ? QTest::keyClick(box, Qt::Key_Escape) : box->done(-1);
        });
        timer_.start(5);
    }
    QString title, text;

  private:
    QTimer timer_;
};

TEST_F(ProgressDialog, ErrorsAreShownWhileTheOwnerIsShutOut) {
    Answer answer(QStringLiteral("OK"));
    Run([](LProgress& progress) {
        return progress.ReportError(QStringLiteral("Disk <full>")), JobResult::kFailed;
    });
    EXPECT_EQ(answer.title, QStringLiteral("Error"));
    EXPECT_EQ(answer.text, QStringLiteral("Disk <full>"));
    EXPECT_TRUE(owner.isEnabled());
}

TEST_F(ProgressDialog, WindowMessagesAnswerTheButton) {
    LWindowMessages messages(&owner);
    const QStringList buttons{QStringLiteral("Save"), QStringLiteral("Discard"), QStringLiteral("Cancel")};
    const QString title = QStringLiteral("Title"), text = QStringLiteral("Text?");
    {
        Answer answer(QStringLiteral("Discard"));
        EXPECT_EQ(messages.Ask(title, text, buttons, 2), 1);
        EXPECT_EQ(answer.title, title);
        EXPECT_EQ(answer.text, text);
    }
    {
        Answer answer({});  // Escape
        bool dontAsk = true;
        EXPECT_EQ(messages.Ask(title, text, buttons, 2, QStringLiteral("Never again"), &dontAsk), 2);
        EXPECT_FALSE(dontAsk);
    }
    {
        Answer answer(QStringLiteral("Save"), true);
        bool dontAsk = false;
        EXPECT_EQ(messages.Ask(title, text, buttons, 2, QStringLiteral("Never again"), &dontAsk), 0);
        EXPECT_TRUE(dontAsk);
    }
}

}  // namespace
}  // namespace ondarix
