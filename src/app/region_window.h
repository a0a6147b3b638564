// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDialog>

#include "app/frame_documents.h"

namespace ondarix {

// "Region List": the regions of all open sounds. Not modal. [ui]
class LRegionWindow final : public QDialog {
    Q_OBJECT
  public:
    explicit LRegionWindow(LFrameDocuments& frame);
};

}  // namespace ondarix
