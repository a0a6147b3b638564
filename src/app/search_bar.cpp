// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/search_bar.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>

#include "app/command_search.h"
#include "app/shortcuts.h"
#include "app/theme.h"

namespace ondarix {
namespace {

constexpr int kBarWidth = 620;
constexpr int kShownRows = 9;
constexpr int kRowPadding = 5;
constexpr int kTopDistance = 48;  // below the frame's upper edge
enum LSearchRole : int { kIdRole = Qt::UserRole, kPathRole, kKeysRole, kWhyRole };

// Name and keys in one line, below them the way through the menus or why not.
class LSearchDelegate final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        const int lines = option.fontMetrics.height() + QFontMetrics(SmallFont(option.font)).height();
        return {kBarWidth / 2, lines + 2 * kRowPadding};
    }
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

  private:
    static QFont SmallFont(QFont font) {
        font.setPointSizeF(font.pointSizeF() * 0.88);
        return font;
    }
};

void LSearchDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    const bool chosen = option.state & QStyle::State_Selected;
    const QString why = index.data(kWhyRole).toString();
    const QPalette& palette = option.palette;
    if (chosen) painter->fillRect(option.rect, palette.highlight());
    const QColor strong = palette.color(chosen ? QPalette::HighlightedText : QPalette::Text);
    QColor weak = chosen ? strong : palette.color(QPalette::PlaceholderText);
    if (chosen) weak.setAlphaF(why.isEmpty() ? 0.85f : 0.65f);
    const QRect inside = option.rect.adjusted(10, kRowPadding, -10, -kRowPadding);
    const QRect upper(inside.left(), inside.top(), inside.width(), option.fontMetrics.height());
    const QRect lower(inside.left(), upper.bottom() + 1, inside.width(), inside.bottom() - upper.bottom());
    painter->save();
    painter->setFont(option.font);
    const QString keys = index.data(kKeysRole).toString();
    painter->setPen(weak);
    painter->drawText(upper, Qt::AlignRight | Qt::AlignVCenter, keys);
    const int left = upper.width() - option.fontMetrics.horizontalAdvance(keys) - 12;
    painter->setPen(why.isEmpty() ? strong : weak);
    painter->drawText(upper, Qt::AlignLeft | Qt::AlignVCenter,
                      option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, left));
    const QFont small = SmallFont(option.font);
    painter->setFont(small);
    painter->setPen(weak);
    QString below = index.data(kPathRole).toString();
    if (!why.isEmpty()) below += (below.isEmpty() ? QString() : QStringLiteral("  \u2013  ")) + why;
    painter->drawText(lower, Qt::AlignLeft | Qt::AlignVCenter,
                      QFontMetrics(small).elidedText(below, Qt::ElideRight, lower.width()));
    painter->restore();
}

QString KeysText(const QList<QKeySequence>& keys) {
    return QKeySequence::listToString(keys, QKeySequence::NativeText)
        .replace(QLatin1String("; "), QLatin1String(", "));
}

}  // namespace

LSearchBar::LSearchBar(LFrameDocuments& frame)
    : QFrame(frame.Window(), Qt::Popup), frame_(frame), model_(new QStandardItemModel(this)) {
    setObjectName(QStringLiteral("LSearchBar"));
    setFrameStyle(QFrame::StyledPanel | QFrame::Plain);
    setAccessibleName(QStringLiteral("Command search"));
    line_ = new QLineEdit(this);
    line_->setPlaceholderText(QStringLiteral("Search commands"));
    line_->setAccessibleName(QStringLiteral("Search commands"));
    line_->setClearButtonEnabled(true);
    line_->addAction(ThemedIcon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    line_->installEventFilter(this);
    list_ = new QListView(this);
    list_->setModel(model_);
    list_->setItemDelegate(new LSearchDelegate(list_));
    list_->setAccessibleName(QStringLiteral("Commands found"));
    list_->setFrameShape(QFrame::NoFrame);
    list_->setUniformItemSizes(true);
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list_->setFocusPolicy(Qt::NoFocus);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->addWidget(line_);
    layout->addWidget(list_);
    setFocusProxy(line_);
    connect(line_, &QLineEdit::textChanged, this, &LSearchBar::Show);
    connect(list_, &QListView::clicked, this, &LSearchBar::RunCurrent);
    connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this, &LSearchBar::Describe);
}

void LSearchBar::Open() {
    if (isVisible()) return hide();
    line_->clear();
    Show({});
    show();
    line_->setFocus(Qt::PopupFocusReason);
}

void LSearchBar::hideEvent(QHideEvent* event) {
    QFrame::hideEvent(event);
    model_->clear();
}

// As high as what was found, below the frame's menu.
void LSearchBar::Place() {
    const QWidget* window = frame_.Window();
    const int width = std::clamp(window->width() - 40, 240, kBarWidth);
    const int rowHeight = std::max(list_->sizeHintForRow(0), 20);
    const int most = std::clamp((window->height() - 2 * kTopDistance - 60) / rowHeight, 3, kShownRows);
    list_->setFixedHeight(rowHeight * std::clamp(model_->rowCount(), 1, most));
    setFixedWidth(width);
    adjustSize();
    move(window->mapToGlobal(QPoint((window->width() - width) / 2, kTopDistance)));
}

void LSearchBar::Show(const QString& query) {
    const auto keys = AllShortcuts();
    const bool open = frame_.ActiveSound() != nullptr;
    model_->clear();
    for (const LCommandRow* row : SearchCommands(query)) {
        auto* item = new QStandardItem(PlainText(*row));
        const QString why = frame_.IsAvailable(row->id) ? QString() : WhyUnavailable(*row, open);
        const QString keyText = KeysText(keys.value(row->id));
        item->setData(row->id, kIdRole);
        item->setData(MenuPath(*row), kPathRole);
        item->setData(keyText, kKeysRole);
        item->setData(why, kWhyRole);
        QStringList spoken{CommandPath(*row), keyText, why};
        spoken.removeAll(QString());
        item->setData(spoken.join(QStringLiteral(", ")), Qt::AccessibleTextRole);
        model_->appendRow(item);
    }
    if (model_->rowCount() == 0) {
        auto* nothing = new QStandardItem(QStringLiteral("No command fits"));
        nothing->setFlags(Qt::NoItemFlags);
        nothing->setData(QStringLiteral("Try another word"), kWhyRole);
        nothing->setData(nothing->text(), Qt::AccessibleTextRole);
        model_->appendRow(nothing);
    }
    list_->setCurrentIndex(model_->index(0, 0));
    list_->scrollToTop();
    Place();
    Describe();
}

// The focus stays in the line; what is chosen below is told as its description.
void LSearchBar::Describe() {
    const QModelIndex at = list_->currentIndex();
    const QString text = at.data(Qt::AccessibleTextRole).toString();
    if (line_->accessibleDescription() == text) return;
    line_->setAccessibleDescription(text);
    QAccessibleEvent event(line_, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&event);
}

void LSearchBar::Move(int rows) {
    const int count = model_->rowCount();
    if (count == 0) return;
    const int now = list_->currentIndex().row();
    int next = now + rows;
    if (qAbs(rows) == 1)
        next = (next + count) % count;  // round the ends
    else
        next = std::clamp(next, 0, count - 1);
    list_->setCurrentIndex(model_->index(next, 0));
}

// Behind the popup's own end: a dialog of the command would open below it otherwise.
void LSearchBar::RunCurrent() {
    const QModelIndex at = list_->currentIndex();
    if (!at.isValid() || !at.data(kWhyRole).toString().isEmpty()) return;
    const int id = at.data(kIdRole).toInt();
    hide();
    QTimer::singleShot(0, this, [this, id] { frame_.RunCommand(id); });
}

bool LSearchBar::TakeKey(const QKeyEvent& event) {
    const QKeySequence key(event.keyCombination());
    switch (event.key()) {
        case Qt::Key_Up:
            Move(-1);
            return true;
        case Qt::Key_Down:
            Move(1);
            return true;
        case Qt::Key_PageUp:
            Move(-kShownRows);
            return true;
        case Qt::Key_PageDown:
            Move(kShownRows);
            return true;
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
            return true;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            RunCurrent();
            return true;
        case Qt::Key_Escape:
            hide();
            return true;
        default:
            if (CommandOfKey(key) != kCmdSearch) return false;
            hide();
            return true;
    }
}

// No key that is typed here may run a command of the frame.
bool LSearchBar::eventFilter(QObject* watched, QEvent* event) {
    if (watched != line_) return QFrame::eventFilter(watched, event);
    if (event->type() == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    }
    if (event->type() == QEvent::KeyPress) return TakeKey(*static_cast<QKeyEvent*>(event));
    return QFrame::eventFilter(watched, event);
}

}  // namespace ondarix
