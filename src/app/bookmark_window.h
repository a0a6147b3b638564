// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "app/list_window.h"
#include "sound/bookmark.h"

namespace ondarix {

// "Bookmark List": the bookmarks of the active sound. Not modal. [ui]
class LBookmarkWindow final : public LListWindow {
    Q_OBJECT
  public:
    explicit LBookmarkWindow(LFrameDocuments& frame);

  protected:
    void ShowRows() override;
    LSoundDocument* Shown() override;

  private:
    void AddButtons();
    void EnableButtons();
    // The current bookmark's index, or the first selected one's.
    std::optional<uint32_t> Chosen() const;
    void GoToBookmark();
    void SelectToOther();
    void SelectFromCursor();
    void DeleteSelected();
    void DeleteAll();
    void StoreCell(uint32_t index, int column, const QString& text);
    // In frames of the sound; nothing when the bookmark is gone.
    std::optional<int64_t> PositionOf(const LSoundDocument& document, uint32_t index) const;
    // Where a selection that starts at the bookmark ends, as the user says.
    std::optional<int64_t> AskOtherEnd(const LSoundDocument& document, uint32_t index);

    std::vector<QPushButton*> needOne_;
    QPushButton *delete_, *deleteAll_;
};

}  // namespace ondarix
