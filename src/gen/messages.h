// SPDX-License-Identifier: GPL-3.0-or-later
// What the engine must tell or ask the user, without knowing whether a window, a terminal or nobody is there.
#pragma once
#include <QString>
#include <QStringList>

namespace ondarix {

class LMessageHost {
  public:
    virtual ~LMessageHost() = default;
    virtual void Tell(const QString& title, const QString& text) = 0;
    // Index of the button chosen. `safe` is the answer when nobody can be asked.
    // `dontAskAgain`: a check box with `dontAskText` when not null; receives its state.
    virtual int Ask(const QString& title, const QString& text, const QStringList& buttons, int safe,
                    const QString& dontAskText = {}, bool* dontAskAgain = nullptr) = 0;
};

}  // namespace ondarix
