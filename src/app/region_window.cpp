// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/region_window.h"

#include <algorithm>

#include "app/commands.h"
#include "app/sound_window.h"
#include "app/time_text.h"
#include "sound/mark_comments.h"

namespace ondarix {

JobResult (*gCopyRegionsToCd)(const std::vector<LRegionRef>& regions, LEditHost& host) = nullptr;

namespace {

enum LRegionColumn : int {
    kRegionName,
    kRegionFile,
    kRegionStart,
    kRegionEnd,
    kRegionLength,
    kRegionComment
};
constexpr LListColumn kRegionColumns[] = {
    {"name", "Name", 140, false, true}, {"file", "File", 150},
    {"start", "Start", 95, true},       {"end", "End", 95, true},
    {"length", "Length", 95, true},     {"comment", "Comment", 140, false, true}};

LListRow RowOfRegion(const LSoundDocument& document, const LRegion& region) {
    const int32_t rate = document.sound.sampleRate;
    const int64_t start = ScalePosition(region.startFrame, rate, region.sampleRate);
    const int64_t end = ScalePosition(region.endFrame, rate, region.sampleRate);
    return {region.serial,
            {region.name, document.title, TimeText(start, rate), TimeText(end, rate),
             TimeText(end - start, rate), region.comment},
            {0, 0, FramesToMs(start, rate), FramesToMs(end, rate), FramesToMs(end - start, rate), 0}};
}

}  // namespace

LRegionWindow::LRegionWindow(LFrameDocuments& frame)
    : LListWindow(frame, QStringLiteral("Region List"), QStringLiteral("RegionList"), kRegionColumns,
                  {1024, 420}) {
    setObjectName(QStringLiteral("regionWindow"));
    AddButtons();
    AddFileButtons();
    list_->choose = [this] { SelectRegion(); };
    list_->remove = [this] { DeleteSelected(); };
    list_->selectionChange = [this] { EnableButtons(); };
    list_->Rows().edited = [this](uint32_t serial, int column, const QString& text) {
        StoreCell(serial, column, text);
    };
}

void LRegionWindow::AddButtons() {
    play_ = AddButton(QStringLiteral("Play"), "play", QStringLiteral("Plays the region"),
                      [this] { PlayRegion(); });
    QPushButton* save = AddButton(QStringLiteral("&Save..."), "save",
                                  QStringLiteral("Saves the region as a file"), [this] { SaveRegion(); });
    QPushButton* rename =
        AddButton(QStringLiteral("Rename"), "rename", QStringLiteral("Changes the name in the list (F2)"),
                  [this] { list_->EditColumn(kRegionName); });
    QPushButton* remove =
        AddButton(QStringLiteral("Delete"), "delete", QStringLiteral("Deletes the selected regions (Del)"),
                  [this] { DeleteSelected(); });
    QPushButton* removeAll =
        AddButton(QStringLiteral("Delete All"), "deleteAll",
                  QStringLiteral("Deletes the regions of all open sounds"), [this] { DeleteAll(); });
    needOne_ = {play_, save, rename};
    needSelected_ = {remove};
    needAny_ = {removeAll};
}

void LRegionWindow::AddFileButtons() {
    AddButtonSpace();
    needSelected_.push_back(AddButton(QStringLiteral("Copy To &New"), "copyToNew",
                                      QStringLiteral("Opens each selected region as a sound of its own"),
                                      [this] { ToNewFiles(SelectedRegions()); }));
    needAny_.push_back(AddButton(QStringLiteral("Asse&mble..."), "assemble",
                                 QStringLiteral("Joins regions, in the order of the list, in a new sound"),
                                 [this] { Assemble(); }));
    needSelected_.push_back(AddButton(QStringLiteral("&Export Region(s) to Folder..."), "exportSelected",
                                      QStringLiteral("Saves each selected region as a file of its own"),
                                      [this] { Export(SelectedRegions()); }));
    toCd_ = AddButton(QStringLiteral("&Copy Region(s) to CD..."), "toCd",
                      QStringLiteral("Writes the selected regions to an audio CD"), [this] { CopyToCd(); });
    needSelected_.push_back(toCd_);
    needAny_.push_back(AddButton(QStringLiteral("Export All Regions to Folder..."), "exportAll",
                                 QStringLiteral("Saves each region as a file of its own"),
                                 [this] { Export(AllRegions()); }));
    needSelected_.push_back(AddButton(QStringLiteral("Export Selected Region(s) to New File(s)..."),
                                      "selectedToNew",
                                      QStringLiteral("Opens each selected region as a sound of its own"),
                                      [this] { ToNewFiles(SelectedRegions()); }));
    needAny_.push_back(AddButton(QStringLiteral("Export All Regions to New File(s)..."), "allToNew",
                                 QStringLiteral("Opens each region as a sound of its own"),
                                 [this] { ToNewFiles(AllRegions()); }));
}

// What Ctrl+Z takes back: the sound of the current region, otherwise the active one.
LSoundDocument* LRegionWindow::Shown() {
    if (const auto serial = list_->Current())
        for (LSoundWindow* window : frame_.Sounds())
            if (FindRegion(window->Document(), *serial)) return &window->Document();
    LSoundWindow* active = frame_.ActiveSound();
    return active ? &active->Document() : nullptr;
}

void LRegionWindow::ShowRows() {
    std::vector<LListRow> rows;
    const std::vector<LSoundDocumentRef> documents = Documents();
    for (const LSoundDocumentRef& document : documents)
        for (const LRegion& region : document->regions) rows.push_back(RowOfRegion(*document, region));
    std::stable_sort(rows.begin(), rows.end(),
                     [](const LListRow& a, const LListRow& b) { return a.key < b.key; });
    heading_->setText(documents.empty()  ? QStringLiteral("No sound is open.")
                      : rows.size() == 1 ? QStringLiteral("1 region")
                                         : QStringLiteral("%1 regions").arg(rows.size()));
    list_->Rows().SetRows(std::move(rows));
    list_->setEnabled(!documents.empty());
    EnableButtons();
}

void LRegionWindow::EnableButtons() {
    const bool any = list_->HasSelected();
    for (QPushButton* button : needOne_) button->setEnabled(any && list_->Current());
    for (QPushButton* button : needSelected_) button->setEnabled(any);
    for (QPushButton* button : needAny_) button->setEnabled(list_->Rows().rowCount() > 0);
    play_->setVisible(IsRegistered(LSubsystem::kPlayback));
    toCd_->setVisible(gCopyRegionsToCd != nullptr);
}

LSoundDocumentRef LRegionWindow::OwnerOf(uint32_t serial) {
    for (const LSoundDocumentRef& document : Documents())
        if (FindRegion(*document, serial)) return document;
    return {};
}

LRegionWindow::LChosen LRegionWindow::RegionsOf(const std::vector<uint32_t>& serials) {
    LChosen chosen{Documents(), {}};
    for (const uint32_t serial : serials)
        for (const LSoundDocumentRef& document : chosen.documents)
            if (FindRegion(*document, serial)) {
                chosen.regions.push_back({document.Get(), serial});
                break;
            }
    return chosen;
}

LRegionWindow::LChosen LRegionWindow::AllRegions() {
    std::vector<uint32_t> serials;
    for (int row = 0; row < list_->Rows().rowCount(); ++row) serials.push_back(list_->Rows().Row(row).key);
    return RegionsOf(serials);
}

void LRegionWindow::SelectRegion() {
    const auto serial = list_->Current();
    const LSoundDocumentRef document = serial ? OwnerOf(*serial) : LSoundDocumentRef();
    if (!document) return;
    const LRegion region = *FindRegion(*document, *serial);
    const int32_t rate = document->sound.sampleRate;
    const int64_t end = ScalePosition(region.endFrame, rate, region.sampleRate);
    if (LSoundWindow* window = WindowOf(*document)) frame_.Activate(*window);
    SelectIn(*document, ScalePosition(region.startFrame, rate, region.sampleRate), end, end);
}

void LRegionWindow::PlayRegion() {
    SelectRegion();
    const auto serial = list_->Current();
    if (const LSoundDocumentRef document = serial ? OwnerOf(*serial) : LSoundDocumentRef())
        frame_.EditHost().PlaySelection(*document);
}

// One undo entry in each sound that loses regions.
void LRegionWindow::DeleteChosen(const LChosen& chosen) {
    for (const LSoundDocumentRef& document : chosen.documents) {
        std::vector<uint32_t> serials;
        for (const LRegionRef& region : chosen.regions)
            if (region.document == document.Get()) serials.push_back(region.serial);
        if (!serials.empty()) DeleteRegions(*document, frame_.EditHost(), serials);
    }
    ShowNow();
}

void LRegionWindow::DeleteSelected() {
    const LChosen chosen = SelectedRegions();
    if (chosen.regions.empty()) return;
    if (frame_.EditHost().Messages().Ask(QStringLiteral("Confirm Delete"),
                                         QStringLiteral("Delete the selected region(s)?"),
                                         {QStringLiteral("&Delete"), QStringLiteral("Cancel")}, 1) == 0)
        DeleteChosen(chosen);
}

void LRegionWindow::DeleteAll() {
    const LChosen chosen = AllRegions();
    if (chosen.regions.empty()) return;
    if (frame_.EditHost().Messages().Ask(QStringLiteral("Confirm Delete All"),
                                         QStringLiteral("Delete all region(s)?"),
                                         {QStringLiteral("&Delete"), QStringLiteral("Cancel")}, 1) == 0)
        DeleteChosen(chosen);
}

void LRegionWindow::StoreCell(uint32_t serial, int column, const QString& text) {
    const LSoundDocumentRef document = OwnerOf(serial);
    if (!document) return;
    if (column == kRegionComment)
        SetRegionComment(*document, frame_.EditHost(), serial, text);
    else
        RenameRegion(*document, frame_.EditHost(), serial, text);
    ShowNow();
}

}  // namespace ondarix
