// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QComboBox>

#include "app/list_window.h"

namespace ondarix {

// "History Manager": the labelled steps of one open sound; choosing a row goes there. Not modal. [ui]
class LHistoryWindow final : public LListWindow {
    Q_OBJECT
  public:
    explicit LHistoryWindow(LFrameDocuments& frame);

  protected:
    void ShowRows() override;
    LSoundDocument* Shown() override;

  private:
    void ShowSounds();
    void GoToChosen();

    QComboBox* sounds_;
    quintptr active_ = 0;  // which sound was the active one when last shown; only compared
};

}  // namespace ondarix
