// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QObject>
#include <QStringList>

#include "gen/background_thread.h"

namespace ondarix {

// The outputs that can be chosen, looked up in the background, since a sound server may take its time to
// answer; kept up to date while somebody follows. [ui]
class LOutputChoices final : public QObject, private LBackgroundThread {
    Q_OBJECT
  public:
    explicit LOutputChoices(QObject* parent);
    ~LOutputChoices() override;

    // Looks now, and again whenever devices appear or vanish, until EndFollow().
    void Follow();
    void EndFollow();
    // The list was asked for and has come, once at least.
    bool IsKnown() const { return known_; }
    // kDefaultSoundOut, then the devices as they were found last.
    const QStringList& Texts() const { return texts_; }
    // Whether such an entry is there; a choice that no list names (a file of the null device) is.
    bool IsThere(const QString& text) const;

  Q_SIGNALS:
    void Changed();

  private:
    void Run() override;
    void Take(const QStringList& texts);

    LEvent again_{LEvent::Mode::kAutoReset};
    QStringList texts_;
    bool known_ = false;
};

}  // namespace ondarix
