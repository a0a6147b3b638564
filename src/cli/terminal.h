// SPDX-License-Identifier: GPL-3.0-or-later
// The engine's view of a terminal: who is told, who is asked, and how work is stopped.
#pragma once
#include <QStringList>

#include "cli/console.h"
#include "gen/messages.h"
#include "gen/progress.h"

namespace ondarix {

// Messages are kept until it is known how the job ended: of a job that fails one line is shown, of one that
// succeeds every remark. Questions get the answer that is safe when nobody can be asked.
class LTerminalHost final : public LMessageHost {
  public:
    void Tell(const QString& title, const QString& text) override;
    int Ask(const QString& title, const QString& text, const QStringList& buttons, int safe,
            const QString& dontAskText = {}, bool* dontAskAgain = nullptr) override;
    QStringList TakeNotes();

  private:
    QStringList notes_;
};

// SIGINT, SIGTERM and SIGHUP cancel; another one half a second later or more ends the process at once. A
// broken pipe and a file that grows over its limit become errors of the write. Call once, before any progress
// is made.
void CatchSignals();

// Cancelled by a signal. Shows "45% Saving..." on one line of the terminal where wanted and where standard
// error is one.
class LTerminalProgress final : public LProgress {
  public:
    LTerminalProgress(bool show, LTerminalHost& host);
    ~LTerminalProgress() override { Clear(); }
    bool IsCancelled() override;
    WaitResult Sleep(int ms) override;
    WaitResult WaitForHandle(LWaitHandle handle, int ms) override;
    WaitResult WaitForHandles(const LHandleList& handles, int ms) override;
    void ReportError(const QString& text) override { host_.Tell({}, text); }
    void SetStatus(const QString& text, int line) override;
    void SetFraction(double fraction) override;
    void Clear();  // takes the line away, before something else is written

  private:
    void Show();

    LTerminalHost& host_;
    bool show_;
    bool shown_ = false;
    int percent_ = -1;
    QString status_;
};

struct LContext {
    LContext(bool json, bool showProgress) : console(json), progress(showProgress, host) {}

    // What became of a piece of work: its remarks on success, else one line, `fallback` where the engine said
    // nothing. kCancelled without a signal means that a question was answered so, which is a failure here.
    ExitStatus Ended(JobResult result, const QString& fallback);

    LConsole console;
    LTerminalHost host;
    LTerminalProgress progress;
};

}  // namespace ondarix
