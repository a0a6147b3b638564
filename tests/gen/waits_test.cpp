// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QTemporaryDir>
#include <atomic>
#include <new>
#include <thread>

#include "gen/background_thread.h"
#include "gen/bytes.h"
#include "gen/clock.h"
#include "gen/failure.h"
#include "gen/phase.h"
#include "gen/text.h"

namespace ondarix {
namespace {

LHandleList ListOf(std::initializer_list<const LEvent*> events) {
    LHandleList list;
    for (const LEvent* event : events) list.Add(event->Handle());
    return list;
}

TEST(Waits, EndWithWhatHappenedFirst) {
    LEvent cancel, first, second;
    EXPECT_EQ(WaitForAny(ListOf({&first, &second}), cancel.Handle(), 0), WaitResult::kTimedOut);
    second.Set();
    EXPECT_EQ(WaitForAny(ListOf({&first, &second}), cancel.Handle(), 0), WaitResult::kSignalled);
    cancel.Set();
    EXPECT_EQ(WaitForAny(ListOf({&first, &second}), cancel.Handle(), kWaitForever), WaitResult::kCancelled);
    const uint64_t before = TickCountMs();
    EXPECT_EQ(WaitForAny(ListOf({&first}), {}, 50), WaitResult::kTimedOut);
    EXPECT_GE(TickCountMs() - before, 49U);
}

TEST(Waits, AnAutomaticEventWakesOneWaiterEach) {
    LEvent event(LEvent::Mode::kAutoReset);
    event.Set();
    EXPECT_TRUE(event.Wait(0));
    EXPECT_FALSE(event.Wait(0));
    std::atomic<int> woken{0};
    std::thread a([&] { woken += event.Wait(200) ? 1 : 0; });
    std::thread b([&] { woken += event.Wait(200) ? 1 : 0; });
    event.Set();
    a.join();
    b.join();
    EXPECT_EQ(woken, 1);
}

TEST(Waits, ListsHold64AndWaitFor63) {
    std::vector<LEvent> events(65);
    LHandleList list;
    for (int i = 0; i < 64; ++i) EXPECT_TRUE(list.Add(events[static_cast<size_t>(i)].Handle()));
    EXPECT_FALSE(list.Add(events[64].Handle()));
    events[63].Set();
    EXPECT_EQ(WaitForAny(list, {}, 0), WaitResult::kTimedOut);
    events[62].Set();
    EXPECT_EQ(WaitForAny(list, {}, 0), WaitResult::kSignalled);
}

TEST(Waits, AProcessSignalsWhenItEnds) {
    int gate[2];
    ASSERT_EQ(pipe(gate), 0);
    const pid_t child = fork();
    if (child == 0) {
        char byte;
        close(gate[1]);
        [[maybe_unused]] const ssize_t got = read(gate[0], &byte, 1);
        _exit(0);
    }
    LProcessWaitable process(child);
    LHandleList list;
    list.Add(process.Handle());
    EXPECT_EQ(WaitForAny(list, {}, 0), WaitResult::kTimedOut);
    close(gate[1]);
    EXPECT_EQ(WaitForAny(list, {}, 10000), WaitResult::kSignalled);
    waitpid(child, nullptr, 0);
    close(gate[0]);
    EXPECT_EQ(LProcessWaitable(child).Handle().fd, -1);
}

TEST(Waits, AWaitForManyTakesTheFirstAutomaticEventOnly) {
    LEvent first(LEvent::Mode::kAutoReset), second(LEvent::Mode::kAutoReset);
    first.Set();
    second.Set();
    const LHandleList list = ListOf({&first, &second});
    EXPECT_EQ(WaitForAny(list, {}, 0), WaitResult::kSignalled);
    EXPECT_FALSE(first.IsSet());
    EXPECT_TRUE(second.IsSet());
    EXPECT_EQ(WaitForAny(list, {}, 0), WaitResult::kSignalled);
    EXPECT_EQ(WaitForAny(list, {}, 0), WaitResult::kTimedOut);
}

class Worker final : public LBackgroundThread {
  public:
    explicit Worker(LEvent& handle) : LBackgroundThread("TEST"), handle_(handle) {}
    ~Worker() override { Stop(); }
    std::atomic<int> runs{0};
    std::atomic<int> lastResult{-1};
    bool waits = true;
    QString tag;

  protected:
    void Run() override {
        ++runs;
        tag = CurrentThreadTag();
        if (waits) lastResult = static_cast<int>(WaitForHandleForever(handle_.Handle()));
    }

  private:
    LEvent& handle_;
};

TEST(BackgroundThread, StopEndsAWaitAndStartWorksAgain) {
    LEvent never;
    Worker worker(never);
    EXPECT_FALSE(worker.IsRunning());
    ASSERT_TRUE(worker.Start(ThreadPriority::kLowest));
    EXPECT_TRUE(worker.Start());  // nothing while it runs
    EXPECT_TRUE(worker.IsRunning());
    worker.Stop();
    EXPECT_EQ(worker.lastResult, static_cast<int>(WaitResult::kCancelled));
    EXPECT_EQ(worker.runs, 1);
    EXPECT_EQ(worker.tag, QStringLiteral("TEST"));

    worker.waits = false;
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(worker.Start(ThreadPriority::kTimeCritical));
        while (worker.IsRunning()) std::this_thread::yield();
    }
    EXPECT_EQ(worker.runs, 21);
    EXPECT_FALSE(worker.IsCancelled());  // a new start clears the earlier stop
}

// Reports its scheduling until it is told to go.
class ScheduledWorker final : public LBackgroundThread {
  public:
    ScheduledWorker() : LBackgroundThread("TEST") {}
    ~ScheduledWorker() override { Stop(); }
    std::atomic<int> policy{-1};
    std::atomic<bool> go{false};

  protected:
    void Run() override {
        while (!go) {
            policy = sched_getscheduler(0);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
};

bool Becomes(const std::atomic<int>& value, int wanted) {
    for (int i = 0; i < 2000 && value != wanted; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return value == wanted;
}

// Without the privilege or the resource limit for it a thread cannot leave the idle class.
bool MayLeaveIdle() {
    std::atomic<bool> left{false};
    std::thread([&left] {
        const sched_param parameters{};
        sched_setscheduler(0, SCHED_IDLE, &parameters);
        left = sched_setscheduler(0, SCHED_OTHER, &parameters) == 0;
    }).join();
    return left;
}

TEST(BackgroundThread, PriorityIsNotInheritedAndAStopRaisesIt) {
    ScheduledWorker idle;
    ASSERT_TRUE(idle.Start(ThreadPriority::kLowest));
    EXPECT_TRUE(Becomes(idle.policy, SCHED_IDLE));
    std::thread stopper([&idle] { idle.Stop(); });
    while (!idle.IsCancelled()) std::this_thread::yield();
    EXPECT_TRUE(Becomes(idle.policy, MayLeaveIdle() ? SCHED_OTHER : SCHED_IDLE));
    idle.go = true;
    stopper.join();
    EXPECT_FALSE(idle.IsRunning());
}

TEST(Failure, OutOfMemoryNamesPhaseAndThreadAndAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            InstallOutOfMemoryHandler();
            SetProgramPhase(kPhaseWindowDestroy);
            RegisterThreadTag("MEMO");
            std::get_new_handler()();
        },
        "ondarix: out of memory \\(phase GuiDes3, thread MEMO\\)");
}

TEST(Phase, ACommandIsHeldForItsTimeAndRememberedOnlyFromRest) {
    SetProgramPhase(kPhaseRunning);
    {
        LCommandPhase outer(2010);
        EXPECT_EQ(ProgramPhase(), 2010);
        { LCommandPhase inner(1004); }
        EXPECT_EQ(LastCommand(), 0);
        EXPECT_EQ(ProgramPhase(), 2010);
    }
    EXPECT_EQ(ProgramPhase(), kPhaseRunning);
    EXPECT_EQ(LastCommand(), 2010);
}

TEST(Phase, TheTagTableHolds64AndForgetsThreadsThatLeave) {
    std::atomic<int> tagged{0};
    LEvent go;
    std::vector<std::thread> threads;
    for (int i = 0; i < 80; ++i) {
        threads.emplace_back([&] {
            RegisterThreadTag("LONGTAG");
            tagged += CurrentThreadTag() == QLatin1String("LONG") ? 1 : 0;
            go.Wait(kWaitForever);
            UnregisterThreadTag();
        });
    }
    while (tagged < 60) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    go.Set();
    for (std::thread& thread : threads) thread.join();
    EXPECT_LE(tagged, 64);
    EXPECT_EQ(CurrentThreadTag(), QString::asprintf("%04d", gettid() % 10000));
}

TEST(Bytes, OnlyRegularFilesOpenAndNothingBlocks) {
    QTemporaryDir folder;
    const QString fifo = folder.filePath(QStringLiteral("fifo"));
    ASSERT_EQ(mkfifo(qPrintable(fifo), 0600), 0);
    EXPECT_FALSE(LFileBytes(fifo).IsOpen());
    EXPECT_EQ(LFileBytes(folder.path()).Errno(), EISDIR);
    EXPECT_EQ(LFileBytes(folder.filePath(QStringLiteral("none"))).Errno(), ENOENT);
}

TEST(Text, ExtensionsComeFromTheNameAlone) {
    const std::pair<const char*, const char*> cases[] = {{"/a.b/c", ""},    {"/a/.wav", ""},
                                                         {"x.WAV", ".wav"}, {"a.tar.gz", ".gz"},
                                                         {"dot.", ""},      {"/x/y.Wav", ".wav"}};
    for (const auto& [path, extension] : cases)
        EXPECT_EQ(LowerExtension(QLatin1String(path)), QLatin1String(extension)) << path;
}

}  // namespace
}  // namespace ondarix
