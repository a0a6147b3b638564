// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "gen/progress.h"

namespace ondarix {

// One pass of a job of several: its fractions cover [from, to] of the whole.
class LPartProgress final : public LProgress {
  public:
    LPartProgress(LProgress& whole, double from, double to) : whole_(whole), from_(from), to_(to) {}
    bool IsCancelled() override { return whole_.IsCancelled(); }
    WaitResult Sleep(int ms) override { return whole_.Sleep(ms); }
    WaitResult WaitForHandle(LWaitHandle handle, int ms) override { return whole_.WaitForHandle(handle, ms); }
    WaitResult WaitForHandles(const LHandleList& handles, int ms) override {
        return whole_.WaitForHandles(handles, ms);
    }
    void ReportError(const QString& text) override { whole_.ReportError(text); }
    void SetStatus(const QString& text, int line) override { whole_.SetStatus(text, line); }
    void SetFraction(double fraction) override { whole_.SetFraction(from_ + (to_ - from_) * fraction); }
    void SetIndeterminate() override { whole_.SetIndeterminate(); }
    void SetDeterminate() override { whole_.SetDeterminate(); }

  private:
    LProgress& whole_;
    double from_, to_;
};

}  // namespace ondarix
