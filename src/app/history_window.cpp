// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/history_window.h"

#include <QDate>
#include <QSignalBlocker>
#include <algorithm>

#include "app/sound_window.h"
#include "sound/edits.h"

namespace ondarix {
namespace {

constexpr LListColumn kHistoryColumns[] = {{"time", "Time", 120}, {"label", "Label", 280}};
constexpr auto kHistorySlots = static_cast<uint32_t>(LSoundDocument::kUndoSlots);

quintptr IdOf(const LSoundDocument& document) { return reinterpret_cast<quintptr>(&document); }

uint32_t After(int slot) { return (static_cast<uint32_t>(slot) + 1) % kHistorySlots; }

// The slot that holds the present state: after an undo the one behind the newest entry, before the first
// change the base of the history. -1: the present state is not among the slots.
int PresentSlot(const LSoundDocument& document) {
    const int next = static_cast<int>(After(document.undoIndex));
    if (!document.Entry(next).label.isEmpty()) return next;
    return document.Entry(document.undoIndex).isBase ? document.undoIndex : -1;
}

// Without the date where it is today's.
QString ShortTime(const QString& timeText) {
    const QString today = QDate::currentDate().toString(Qt::ISODate) + u' ';
    return timeText.startsWith(today) ? timeText.mid(today.size()) : timeText;
}

}  // namespace

LHistoryWindow::LHistoryWindow(LFrameDocuments& frame)
    : LListWindow(frame, QStringLiteral("History Manager"), QStringLiteral("HistoryList"), kHistoryColumns,
                  {460, 420}) {
    setObjectName(QStringLiteral("historyWindow"));
    auto* label = new QLabel(QStringLiteral("Show &History of File: "), this);
    sounds_ = new QComboBox(this);
    sounds_->setObjectName(QStringLiteral("sounds"));
    sounds_->setAccessibleName(QStringLiteral("Show History of File"));
    sounds_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    label->setBuddy(sounds_);
    auto* row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(sounds_, 1);
    top_->addLayout(row);
    connect(sounds_, &QComboBox::activated, this, [this] { ShowNow(); });

    heading_->setWordWrap(true);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    list_->setSortingEnabled(false);
    list_->choose = [this] { GoToChosen(); };
    connect(list_, &QAbstractItemView::clicked, this, [this] { GoToChosen(); });
}

// The combo box follows the active sound whenever another one becomes it.
void LHistoryWindow::ShowSounds() {
    const LSoundWindow* const active = frame_.ActiveSound();
    const quintptr now = active ? IdOf(const_cast<LSoundWindow*>(active)->Document()) : 0;
    const quintptr shown = active_ == now ? sounds_->currentData().value<quintptr>() : now;
    active_ = now;
    const QSignalBlocker quiet(sounds_);
    sounds_->clear();
    for (const LSoundDocumentRef& document : Documents())
        sounds_->addItem(document->title, QVariant::fromValue(IdOf(*document)));
    sounds_->setCurrentIndex(std::max(0, sounds_->findData(QVariant::fromValue(shown))));
    sounds_->setEnabled(sounds_->count() > 0);
}

LSoundDocument* LHistoryWindow::Shown() {
    const quintptr id = sounds_->currentData().value<quintptr>();
    for (LSoundWindow* window : frame_.Sounds())
        if (IdOf(window->Document()) == id) return &window->Document();
    return nullptr;
}

void LHistoryWindow::ShowRows() {
    ShowSounds();
    const LSoundDocument* document = Shown();
    ListOnly(document);
    std::vector<LListRow> rows;
    int present = -1;
    if (document) {
        present = PresentSlot(*document);
        for (const int slot : document->HistorySlots()) {
            const LUndoEntry& entry = document->Entry(slot);
            rows.push_back(
                {static_cast<uint32_t>(slot), {ShortTime(entry.timeText), entry.label}, {}, slot == present});
        }
    }
    list_->Rows().SetRows(std::move(rows));
    list_->setEnabled(document != nullptr);
    if (!document)
        heading_->setText(QStringLiteral("No sound is open."));
    else if (present >= 0)
        heading_->setText(
            QStringLiteral("A row goes to the state just before its step; the present one is bold."));
    else
        heading_->setText(QStringLiteral(
            "A row goes to the state just before its step; the present one follows the last."));
    if (present >= 0) list_->SelectOnly(static_cast<uint32_t>(present));
}

void LHistoryWindow::GoToChosen() {
    const LSoundDocumentRef document(Shown());
    const auto chosen = list_->Current();
    if (!document || !chosen || !ListsOnly(*document)) return;
    const int slot = static_cast<int>(*chosen), present = PresentSlot(*document);
    if (slot == present) return;
    const std::vector<int> slots = document->HistorySlots();
    const auto place = [&](int one) { return std::find(slots.begin(), slots.end(), one); };
    if (present < 0 || place(slot) < place(present))
        UndoChange(*document, frame_.EditHost(), slot);
    else
        RedoChange(*document, frame_.EditHost(), slot);
    ShowNow();
}

}  // namespace ondarix
