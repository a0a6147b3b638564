// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDialog>

#include "app/frame_documents.h"

namespace ondarix {

// "History Manager": the labelled steps of one open sound; choosing a row goes there. Not modal. [ui]
class LHistoryWindow final : public QDialog {
    Q_OBJECT
  public:
    explicit LHistoryWindow(LFrameDocuments& frame);
};

}  // namespace ondarix
