// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "app/list_window.h"
#include "sound/marks.h"

namespace ondarix {

// Hook of writing regions to an audio CD; null: the window has no button for it.
extern JobResult (*gCopyRegionsToCd)(const std::vector<LRegionRef>& regions, LEditHost& host);

// "Region List": the regions of all open sounds. Not modal. [ui]
class LRegionWindow final : public LListWindow {
    Q_OBJECT
  public:
    explicit LRegionWindow(LFrameDocuments& frame);

  protected:
    void ShowRows() override;
    LSoundDocument* Shown() override;

  private:
    // Regions with the sounds that they are in, which stay while this is held.
    struct LChosen {
        std::vector<LSoundDocumentRef> documents;
        std::vector<LRegionRef> regions;
    };
    void AddButtons();
    void AddFileButtons();
    void EnableButtons();
    LChosen RegionsOf(const std::vector<uint32_t>& serials);
    LChosen SelectedRegions() { return RegionsOf(list_->Selected()); }
    LChosen AllRegions();  // as listed
    LSoundDocumentRef OwnerOf(uint32_t serial);

    void SelectRegion();
    void PlayRegion();
    void SaveRegion();
    void DeleteChosen(const LChosen& chosen);
    void DeleteSelected();
    void DeleteAll();
    void ToNewFiles(const LChosen& chosen);
    void Assemble();
    void Export(const LChosen& chosen);
    void CopyToCd();
    void StoreCell(uint32_t serial, int column, const QString& text);

    std::vector<QPushButton*> needOne_, needSelected_, needAny_;
    QPushButton *play_ = nullptr, *toCd_ = nullptr;
};

}  // namespace ondarix
