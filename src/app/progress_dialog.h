// SPDX-License-Identifier: GPL-3.0-or-later
// Modal long work on the interface thread: the job runs in Process() and keeps the program alive by asking
// IsCancelled().
#pragma once
#include <QString>
#include <QWidget>
#include <functional>
#include <memory>

#include "gen/progress.h"

namespace ondarix {

// IsCancelled() pumps events at most every few milliseconds: when it is not yet time again, or nothing waits,
// it costs one clock read. The window appears only when the work lasts longer than half a second. [ui]
class LProgressDialog : public LProgress {
  public:
    LProgressDialog(QWidget* owner, const QString& title);
    ~LProgressDialog() override;

    bool IsCancelled() override;
    WaitResult Sleep(int ms) override;
    WaitResult WaitForHandle(LWaitHandle handle, int ms) override;
    WaitResult WaitForHandles(const LHandleList& handles, int ms) override;
    void ReportError(const QString& text) override;
    void SetStatus(const QString& text, int line) override;
    void SetFraction(double fraction) override;
    void SetIndeterminate() override;
    void SetDeterminate() override;

    // Cancels every job that runs: the program is asked to end.
    static void CancelAll();
    static bool IsAnyRunning();

    // Disables the owner, runs Process on this thread, enables, activates and focuses the owner again.
    void RunModal();

  protected:
    virtual void Process() = 0;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

// A modal operation with a result. One small class per operation derives from it, or RunJob is given a
// function.
class LJob : public LProgressDialog {
  public:
    using LProgressDialog::LProgressDialog;
    JobResult Run() {
        RunModal();
        return result;
    }
    JobResult result = JobResult::kFailed;
    void* parameter = nullptr;
};

JobResult RunJob(QWidget* owner, const QString& title, const std::function<JobResult(LProgress&)>& work);

}  // namespace ondarix
