// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QPointer>
#include <QWidget>

#include "gen/messages.h"

namespace ondarix {

// The window that is active now is so again when this goes: after a box or dialog window managers give the
// keyboard to its parent, which need not be the window that it was asked from. [ui]
class LKeepsWindowActive {
  public:
    LKeepsWindowActive();
    ~LKeepsWindowActive();
    LKeepsWindowActive(const LKeepsWindowActive&) = delete;
    LKeepsWindowActive& operator=(const LKeepsWindowActive&) = delete;

  private:
    QPointer<QWidget> window_;
};

// Tells and asks in message boxes over a window. Return and Escape choose the safe answer. [ui]
class LWindowMessages final : public LMessageHost {
  public:
    // `parent` may be null and may go before this object.
    explicit LWindowMessages(QWidget* parent = nullptr) : parent_(parent) {}
    void Tell(const QString& title, const QString& text) override;
    int Ask(const QString& title, const QString& text, const QStringList& buttons, int safe,
            const QString& dontAskText = {}, bool* dontAskAgain = nullptr) override;

  private:
    QPointer<QWidget> parent_;
};

}  // namespace ondarix
