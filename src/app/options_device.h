// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QComboBox>
#include <QPushButton>
#include <QTimer>
#include <QWidget>

#include "app/output_choices.h"
#include "devices/player.h"
#include "gen/messages.h"

namespace ondarix {

// Choice of an output among those that are there now, with a button that lets the chosen one sound. A choice
// whose device is not there stays, and says so. [ui]
class LDeviceOption final : public QWidget, private LSoundPlayerEvents {
    Q_OBJECT
  public:
    LDeviceOption(LMessageHost& messages, QWidget* parent);
    ~LDeviceOption() override;

    QComboBox* Choice() const { return choice_; }
    QString Value() const { return choice_->currentData().toString(); }
    void SetValue(const QString& text);
    bool IsTesting() const { return player_.IsPlaying(); }

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    void Fill();
    void Test();
    void TellFailure(uint16_t status, bool isThere);
    void OnPlayStarted(uintptr_t userData) override;
    void OnPlayStopped(uintptr_t userData) override;

    LMessageHost& messages_;
    QComboBox* choice_;
    QPushButton* test_;
    LOutputChoices choices_;
    LSoundPlayer player_;
};

}  // namespace ondarix
