// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/bookmark_window.h"

#include <algorithm>

#include "app/input_form.h"
#include "app/sound_window.h"
#include "app/time_text.h"
#include "sound/mark_comments.h"
#include "sound/marks.h"

namespace ondarix {
namespace {

enum LBookmarkColumn : int { kBookmarkName, kBookmarkTime, kBookmarkComment };
constexpr LListColumn kBookmarkColumns[] = {{"name", "Name", 190, false, true},
                                            {"time", "Time", 110, true},
                                            {"comment", "Comment", 200, false, true}};

int64_t FrameOf(const LBookmark& bookmark, int32_t rate) {
    return ScalePosition(bookmark.position, rate, bookmark.sampleRate);
}

std::vector<const LBookmark*> ByPosition(const LSoundDocument& document) {
    std::vector<const LBookmark*> bookmarks;
    bookmarks.reserve(document.bookmarks.size());
    for (const LBookmark& bookmark : document.bookmarks) bookmarks.push_back(&bookmark);
    const int32_t rate = document.sound.sampleRate;
    std::stable_sort(bookmarks.begin(), bookmarks.end(), [rate](const LBookmark* a, const LBookmark* b) {
        return FrameOf(*a, rate) < FrameOf(*b, rate);
    });
    return bookmarks;
}

}  // namespace

LBookmarkWindow::LBookmarkWindow(LFrameDocuments& frame)
    : LListWindow(frame, QStringLiteral("Bookmark List"), QStringLiteral("Bookmark List"), kBookmarkColumns,
                  {760, 380}) {
    setObjectName(QStringLiteral("bookmarkWindow"));
    AddButtons();
    list_->choose = [this] {
        ShowNow();
        GoToBookmark();
    };
    list_->remove = [this] {
        ShowNow();
        DeleteSelected();
    };
    list_->selectionChange = [this] { EnableButtons(); };
    list_->Rows().edited = [this](uint32_t index, int column, const QString& text) {
        StoreCell(index, column, text);
    };
}

void LBookmarkWindow::AddButtons() {
    needOne_ = {
        AddButton(QStringLiteral("&Go To Bookmark"), "goTo",
                  QStringLiteral("Moves the cursor to the bookmark (Enter)"), [this] { GoToBookmark(); }),
        AddButton(QStringLiteral("Select To Bookmark..."), "selectTo",
                  QStringLiteral("Selects from this bookmark to another one; with several bookmarks chosen, "
                                 "what lies between the first and the last of them"),
                  [this] { SelectToOther(); }),
        AddButton(QStringLiteral("Select to Bookmark from Cursor"), "selectFromCursor",
                  QStringLiteral("Selects what lies between the cursor and the bookmark"),
                  [this] { SelectFromCursor(); }),
        AddButton(QStringLiteral("Rename"), "rename", QStringLiteral("Changes the name in the list (F2)"),
                  [this] { list_->EditColumn(kBookmarkName); }),
    };
    AddButtonSpace();
    delete_ = AddButton(QStringLiteral("Delete"), "delete",
                        QStringLiteral("Deletes the selected bookmarks (Del)"), [this] { DeleteSelected(); });
    deleteAll_ = AddButton(QStringLiteral("Delete All"), "deleteAll",
                           QStringLiteral("Deletes all bookmarks of the sound"), [this] { DeleteAll(); });
}

LSoundDocument* LBookmarkWindow::Shown() {
    LSoundWindow* active = frame_.ActiveSound();
    return active ? &active->Document() : nullptr;
}

void LBookmarkWindow::ShowRows() {
    const LSoundDocument* document = Shown();
    ListOnly(document);
    std::vector<LListRow> rows;
    if (document) {
        const int32_t rate = document->sound.sampleRate;
        rows.reserve(document->bookmarks.size());
        for (const LBookmark* bookmark : ByPosition(*document)) {
            const int64_t frame = FrameOf(*bookmark, rate);
            rows.push_back(
                {bookmark->index, {bookmark->name, TimeText(frame, rate), bookmark->comment}, {0, frame, 0}});
        }
    }
    const size_t count = rows.size();
    heading_->setText(!document ? QStringLiteral("No sound is open.")
                                : QStringLiteral("%1: %2")
                                      .arg(document->title)
                                      .arg(count == 1 ? QStringLiteral("1 bookmark")
                                                      : QStringLiteral("%1 bookmarks").arg(count)));
    list_->Rows().SetRows(std::move(rows));
    list_->setEnabled(document != nullptr);
    EnableButtons();
}

void LBookmarkWindow::EnableButtons() {
    const bool any = list_->HasSelected();
    for (QPushButton* button : needOne_) button->setEnabled(any);
    delete_->setEnabled(any);
    deleteAll_->setEnabled(list_->Rows().rowCount() > 0);
}

std::optional<uint32_t> LBookmarkWindow::Chosen() const {
    if (const auto current = list_->Current()) return current;
    const std::vector<uint32_t> selected = list_->Selected();
    return selected.empty() ? std::nullopt : std::optional(selected.front());
}

std::optional<int64_t> LBookmarkWindow::PositionOf(const LSoundDocument& document, uint32_t index) const {
    const LBookmark* bookmark = FindBookmark(document, index);
    return bookmark ? std::optional(FrameOf(*bookmark, document.sound.sampleRate)) : std::nullopt;
}

void LBookmarkWindow::GoToBookmark() {
    LSoundDocument* document = Shown();
    const auto index = Chosen();
    if (!document || !index) return;
    if (const auto position = PositionOf(*document, *index))
        SelectIn(*document, *position, *position, *position);
}

std::optional<int64_t> LBookmarkWindow::AskOtherEnd(const LSoundDocument& document, uint32_t index) {
    std::vector<int64_t> ends = {0, document.Edited().Length()};
    QStringList names = {QStringLiteral("Start of the sound"), QStringLiteral("End of the sound")};
    int chosen = 1;
    bool behind = false;
    const int32_t rate = document.sound.sampleRate;
    for (const LBookmark* other : ByPosition(document)) {
        if (other->index == index) {
            behind = true;
            continue;
        }
        if (behind && chosen == 1) chosen = static_cast<int>(names.size());
        ends.push_back(FrameOf(*other, rate));
        names.append(QStringLiteral("%1 (%2)").arg(other->name, TimeText(ends.back(), rate)));
    }
    LInputForm form(this, QStringLiteral("selectToDialog"), QStringLiteral("Select To Bookmark"));
    form.Note(QStringLiteral("Selection from \"%1\".").arg(FindBookmark(document, index)->name));
    const QComboBox* combo = form.Choice(QStringLiteral("Select &to:"), QStringLiteral("to"), names, chosen);
    if (!form.Run()) return std::nullopt;
    return ends[static_cast<size_t>(combo->currentIndex())];
}

// The sound may be closed or changed while the question is open.
void LBookmarkWindow::SelectToOther() {
    const LSoundDocumentRef document(Shown());
    const auto index = Chosen();
    if (!document || !index) return;
    std::vector<int64_t> positions;
    for (const uint32_t one : list_->Selected())
        if (const auto position = PositionOf(*document, one)) positions.push_back(*position);
    if (positions.empty()) return;
    if (positions.size() == 1) {
        const auto end = AskOtherEnd(*document, *index);
        if (!end || Shown() != document.Get()) return;
        positions.push_back(*end);
    }
    const auto [first, last] = std::minmax_element(positions.begin(), positions.end());
    SelectIn(*document, *first, *last, *last);
}

void LBookmarkWindow::SelectFromCursor() {
    LSoundDocument* document = Shown();
    const auto index = Chosen();
    if (!document || !index) return;
    const auto position = PositionOf(*document, *index);
    if (!position) return;
    const int64_t cursor = document->cursor;
    SelectIn(*document, std::min(cursor, *position), std::max(cursor, *position), *position);
}

void LBookmarkWindow::DeleteSelected() {
    const LSoundDocumentRef document(Shown());
    const std::vector<uint32_t> indexes = list_->Selected();
    if (!document || indexes.empty()) return;
    const int answer = frame_.EditHost().Messages().Ask(
        QStringLiteral("Confirm Delete"), QStringLiteral("Delete the selected bookmark(s)?"),
        {QStringLiteral("&Delete"), QStringLiteral("Cancel")}, 1);
    if (answer == 0) DeleteBookmarks(*document, frame_.EditHost(), indexes);
    ShowNow();
}

void LBookmarkWindow::DeleteAll() {
    const LSoundDocumentRef document(Shown());
    if (!document || document->bookmarks.empty()) return;
    DeleteAllBookmarks(*document, frame_.EditHost());
    ShowNow();
}

void LBookmarkWindow::StoreCell(uint32_t index, int column, const QString& text) {
    const LSoundDocumentRef document(Shown());
    if (!document || !ListsOnly(*document) || !FindBookmark(*document, index)) return;
    if (column == kBookmarkComment)
        SetBookmarkComment(*document, frame_.EditHost(), index, text);
    else
        RenameBookmark(*document, frame_.EditHost(), index, text);
    ShowNow();
}

}  // namespace ondarix
