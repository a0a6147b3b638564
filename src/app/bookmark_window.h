// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QDialog>

#include "app/frame_documents.h"

namespace ondarix {

// "Bookmark List": the bookmarks of the active sound. Not modal. [ui]
class LBookmarkWindow final : public QDialog {
    Q_OBJECT
  public:
    explicit LBookmarkWindow(LFrameDocuments& frame);
};

}  // namespace ondarix
