// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/application.h"

#include <gmock/gmock.h>

#include <QEventLoop>
#include <QShortcut>
#include <QTest>
#include <QTimer>
#include <QWidget>
#include <thread>

#include "app/background_registry.h"
#include "app/deferred_delete.h"
#include "app/progress_dialog.h"
#include "gen/background_thread.h"
#include "patience.h"

namespace ondarix {
namespace {

struct Mortal {
    Mortal(std::vector<int>& log, int number) : log_(log), number_(number) {}
    ~Mortal() { log_.push_back(number_); }
    std::vector<int>& log_;
    int number_;
};

class DeferredDelete : public testing::Test {
  protected:
    void Queue(int number) { DeferredDeletes().Add(std::make_unique<Mortal>(log, number)); }
    // Runs `work` as the handler of an event in a loop, and the loop until `done` ms later.
    void InLoop(const std::function<void()>& work) {
        QEventLoop loop;
        QTimer::singleShot(0, &loop, work);
        QTimer::singleShot(30, &loop, [&] { loop.quit(); });
        loop.exec();
    }
    std::vector<int> log;
};

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(DeferredDelete, GoesAfterTheEventInOrder) {
    InLoop([&] {
        Queue(1);
        Queue(2);
        EXPECT_THAT(log, IsEmpty());
        QTimer::singleShot(0, qApp, [&] { EXPECT_THAT(log, ElementsAre(1, 2)); });
    });
    EXPECT_THAT(log, ElementsAre(1, 2));
}

TEST_F(DeferredDelete, SurvivesEventsSentFromInsideItsHandler) {
    InLoop([&] {
        Queue(1);
        QEvent event(QEvent::User);
        QCoreApplication::sendEvent(qApp, &event);
        EXPECT_THAT(log, IsEmpty());
    });
    EXPECT_THAT(log, ElementsAre(1));
}

TEST_F(DeferredDelete, SurvivesLoopsAndJobsThatItsHandlerRuns) {
    InLoop([&] {
        Queue(1);
        InLoop([&] { Queue(2); });
        EXPECT_THAT(log, ElementsAre(2));
        RunJob(nullptr, QStringLiteral("Job"), [&](LProgress& progress) {
            QTimer::singleShot(0, qApp, [&] { Queue(3); });
            progress.Sleep(40);
            EXPECT_THAT(log, ElementsAre(2, 3));
            return JobResult::kSuccess;
        });
        EXPECT_THAT(log, ElementsAre(2, 3));
    });
    EXPECT_THAT(log, ElementsAre(2, 3, 1));
}

TEST_F(DeferredDelete, TakesWhatItsDestructorsAdd) {
    struct Chain {
        std::function<void()> atEnd;
        ~Chain() { atEnd(); }
    };
    DeferredDeletes().Add(std::unique_ptr<Chain>(new Chain{[this] { Queue(7); }}));
    DeferredDeletes().Empty();
    EXPECT_THAT(log, ElementsAre(7));
    EXPECT_TRUE(DeferredDeletes().IsEmpty());
}

class KeyOrder : public testing::Test {
  protected:
    struct Window : QWidget {
        explicit Window(std::vector<std::string>& log) : log_(log) {}
        void keyPressEvent(QKeyEvent* event) override {
            log_.push_back("widget " + event->text().toStdString());
        }
        std::vector<std::string>& log_;
    };
    void SetUp() override {
        QObject::connect(&shortcut, &QShortcut::activated, [this] { log.push_back("shortcut"); });
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        window.setFocus();
    }
    void TearDown() override {
        app->messageFilter = nullptr;
        app->keyHook = nullptr;
        app->openDiagnostics = nullptr;
    }
    void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(window.windowHandle(), key, modifiers);
    }
    LApplication* app = static_cast<LApplication*>(qApp);
    std::vector<std::string> log;
    Window window{log};
    QShortcut shortcut{QKeySequence(Qt::Key_S), &window};
};

TEST_F(KeyOrder, ShortcutsComeBeforeTheFocus) {
    Press(Qt::Key_S);
    Press(Qt::Key_A);
    EXPECT_THAT(log, ElementsAre("shortcut", "widget a"));
}

TEST_F(KeyOrder, TheHookComesBeforeShortcutsAndSeesEachPressOnce) {
    app->keyHook = [this](const QKeyEvent& event) {
        const bool press = event.type() != QEvent::KeyRelease;
        log.push_back((press ? "hook " : "release ") + QKeySequence(event.key()).toString().toStdString());
        return event.key() == Qt::Key_S;
    };
    Press(Qt::Key_S);
    Press(Qt::Key_A);
    EXPECT_THAT(log, ElementsAre("hook S", "release S", "hook A", "widget a", "release A"));
}

TEST_F(KeyOrder, TheMessageFilterComesBeforeTheHookAndTheDiagnosticsKeys) {
    int diagnostics = 0;
    app->openDiagnostics = [&] { ++diagnostics; };
    app->keyHook = [this](const QKeyEvent&) { return log.push_back("hook"), false; };
    Press(Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier);
    EXPECT_EQ(diagnostics, 1);
    Press(Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(diagnostics, 1);
    log.clear();
    app->messageFilter = [](QObject*, QEvent* event) {
        return event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride ||
               event->type() == QEvent::KeyRelease;
    };
    Press(Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier);
    EXPECT_EQ(diagnostics, 1);
    EXPECT_THAT(log, IsEmpty());
}

// Ends only when all four were told, and notes whether that came to pass.
class Worker : public LBackgroundThread {
  public:
    Worker() : LBackgroundThread("TEST") {}
    ~Worker() override { Stop(); }
    inline static std::atomic<int> told{0};
    std::atomic<bool> sawAll{false};

  protected:
    void Run() override {
        SleepForever();
        ++told;
        for (int ms = 0; ms < test::kPatienceMs && told < 4; ++ms)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        sawAll = told >= 4;
    }
};

TEST(BackgroundRegistry, SignalsAllBeforeItWaitsForAny) {
    Worker workers[4], left;
    for (Worker& worker : workers) {
        RegisterBackgroundThread(&worker);
        worker.Start();
    }
    RegisterBackgroundThread(&left);
    left.Start();
    UnregisterBackgroundThread(&left);
    StopBackgroundThreads();
    for (Worker& worker : workers) {
        EXPECT_TRUE(worker.sawAll);
        UnregisterBackgroundThread(&worker);
    }
    EXPECT_TRUE(left.IsRunning());
}

}  // namespace
}  // namespace ondarix
