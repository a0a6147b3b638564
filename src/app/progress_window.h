// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDialog>
#include <QString>
#include <functional>

class QLabel;
class QProgressBar;

namespace ondarix {

// "42% Complete, Estimated Time Remaining: 00:01:30" for a fraction from 0 to 1 reached after `elapsedMs`.
// Without the estimate at 0, where nothing is known. [any]
QString RemainingTimeText(double fraction, int64_t elapsedMs);

// What the user sees of a job: two status lines, a bar, the estimate and "Cancel". Its window is named
// "LProgressWindow". [ui]
class LProgressWindow : public QDialog {
  public:
    // `cancel` is called for the button, Escape and when the window is closed.
    LProgressWindow(QWidget* owner, const QString& title, std::function<void()> cancel);

    void SetStatus(const QString& text, int line);
    void SetPercent(int percent);
    void SetIndeterminate(bool on);
    void SetError();
    void SetRemaining(const QString& text);

    void reject() override;

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    std::function<void()> cancel_;
    QLabel* status_[2];
    QLabel* remaining_;
    QProgressBar* bar_;
};

}  // namespace ondarix
