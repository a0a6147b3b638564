// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/list_window.h"

#include <QGuiApplication>
#include <QScreen>
#include <QShortcut>
#include <algorithm>

#include "app/sound_window.h"
#include "gen/settings.h"
#include "sound/edits.h"

namespace ondarix {
namespace {

constexpr QSize kWindowFrame(16, 40);  // about what a window manager puts around a window

}  // namespace

LListWindow::LListWindow(LFrameDocuments& frame, const QString& title, const QString& name,
                         std::span<const LListColumn> columns, QSize size)
    : QDialog(frame.Window()), frame_(frame), name_(name) {
    setWindowTitle(title);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    heading_ = new QLabel(this);
    heading_->setObjectName(QStringLiteral("heading"));
    heading_->setTextFormat(Qt::PlainText);
    heading_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    list_ = new LListView(columns, name, this);
    list_->setAccessibleName(title);
    buttons_ = new QVBoxLayout;
    buttons_->setSpacing(6);
    buttons_->addStretch(1);

    auto* body = new QHBoxLayout;
    body->setSpacing(10);
    body->addWidget(list_, 1);
    body->addLayout(buttons_);
    top_ = new QVBoxLayout;
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 10, 10, 10);
    layout->addLayout(top_);
    layout->addWidget(heading_);
    layout->addLayout(body, 1);

    pending_.setSingleShot(true);
    pending_.setInterval(0);
    connect(&pending_, &QTimer::timeout, this, &LListWindow::ShowNow);
    const LDocumentNotifier& notifier = frame.Notifier();
    connect(&notifier, &LDocumentNotifier::ListChanged, this, [this] {
        const std::vector<LSoundDocumentRef> open = Documents();
        if (std::none_of(open.begin(), open.end(), [this](const auto& one) { return ListsOnly(*one); }))
            listed_ = nullptr;  // a new sound may come to stand at the same address
        ShowSoon();
    });
    connect(&notifier, &LDocumentNotifier::ActiveChanged, this, &LListWindow::ShowSoon);
    connect(&notifier, &LDocumentNotifier::DocumentChanged, this, &LListWindow::ShowSoon);
    AddUndoKeys();
    RestorePlace(size);
}

LListWindow::~LListWindow() {
    if (isVisible()) StorePlace();
}

void LListWindow::AddUndoKeys() {
    const auto add = [this](QKeySequence::StandardKey key, bool (*step)(LSoundDocument&, LEditHost&, int)) {
        connect(new QShortcut(key, this), &QShortcut::activated, this, [this, step] {
            const LSoundDocumentRef document(Shown());
            if (document) step(*document, frame_.EditHost(), -1);
        });
    };
    add(QKeySequence::Undo, &UndoChange);
    add(QKeySequence::Redo, &RedoChange);
}

QPushButton* LListWindow::AddButton(const QString& text, const char* name, const QString& help,
                                    const std::function<void()>& act) {
    auto* button = new QPushButton(text, this);
    button->setObjectName(QLatin1String(name));
    button->setToolTip(help);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, [this, act] {
        ShowNow();
        act();
    });
    buttons_->insertWidget(buttons_->count() - 1, button);
    return button;
}

void LListWindow::AddButtonSpace() { buttons_->insertSpacing(buttons_->count() - 1, 14); }

void LListWindow::ShowSoon() {
    if (isVisible()) pending_.start();
}

void LListWindow::ShowNow() {
    pending_.stop();
    ShowRows();
}

// The first row can be used at once, by Enter, Del or a button; in a list where a choice alone acts, nothing
// is chosen.
void LListWindow::showEvent(QShowEvent* event) {
    ShowNow();
    if (list_->selectionMode() == QAbstractItemView::ExtendedSelection && !list_->HasSelected() &&
        list_->Rows().rowCount() > 0)
        list_->SelectOnly(list_->Rows().Row(0).key);
    placed_ = true;
    QDialog::showEvent(event);
}

void LListWindow::hideEvent(QHideEvent* event) {
    StorePlace();
    QDialog::hideEvent(event);
}

void LListWindow::ListOnly(const LSoundDocument* document) {
    if (document != listed_) list_->Rows().Clear();
    listed_ = document;
}

std::vector<LSoundDocumentRef> LListWindow::Documents() {
    std::vector<LSoundDocumentRef> documents;
    for (LSoundWindow* window : frame_.Sounds()) documents.emplace_back(&window->Document());
    return documents;
}

LSoundWindow* LListWindow::WindowOf(const LSoundDocument& document) {
    for (LSoundWindow* window : frame_.Sounds())
        if (&window->Document() == &document) return window;
    return nullptr;
}

void LListWindow::SelectIn(LSoundDocument& document, int64_t start, int64_t end, int64_t cursor) {
    const int64_t length = document.Edited().Length();
    start = std::clamp<int64_t>(start, 0, length);
    end = std::clamp<int64_t>(end, start, length);
    document.Select(start, end);
    document.cursor = std::clamp<int64_t>(cursor, 0, length);
    const int64_t frames = document.viewEnd - document.viewStart;
    if (frames > 0 && (start < document.viewStart || end > document.viewEnd)) {
        const int64_t shown = std::max(frames, (end - start) + (end - start) / 5);
        const int64_t first =
            std::clamp<int64_t>(start - (shown - (end - start)) / 2, 0, std::max<int64_t>(0, length - shown));
        document.viewStart = first;
        document.viewEnd = std::min(length, first + shown);
    }
    frame_.EditHost().Refresh(document);
}

void LListWindow::RestorePlace(QSize first) {
    const auto value = [this](const char* key) { return GetSettingInt(name_, QLatin1String(key), 0); };
    const QSize size(std::clamp(value("Width"), 0, 10000), std::clamp(value("Height"), 0, 10000));
    const QSize most = screen()->availableSize() - kWindowFrame;
    resize((size.width() >= 200 && size.height() >= 120 ? size : first).boundedTo(most));
    if (!SettingExists(name_, QStringLiteral("Left"))) return;
    const QRect place(QPoint(value("Left"), value("Top")), this->size());
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QRect part = screen->availableGeometry().intersected(place);
        if (part.width() < 100 || part.height() < 60) continue;
        move(place.topLeft());
        return;
    }
}

void LListWindow::StorePlace() {
    if (!placed_) return;
    SetSettingInt(x(), name_, QStringLiteral("Left"));
    SetSettingInt(y(), name_, QStringLiteral("Top"));
    SetSettingInt(width(), name_, QStringLiteral("Width"));
    SetSettingInt(height(), name_, QStringLiteral("Height"));
}

}  // namespace ondarix
