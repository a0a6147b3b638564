// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_chain_list.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <algorithm>

namespace ondarix {
namespace {

constexpr int kRowMargin = 5;           // above and below the two lines
constexpr double kSecondLineInk = 0.7;  // share of the text's colour
const QString kEmptyText = QStringLiteral("No effects yet: choose one above and add it.");

QString Lines(const QModelIndex& index) {
    return index.data(Qt::DisplayRole).toString() + QChar::LineSeparator +
           index.data(LEffectChainModel::kValuesRole).toString();
}

class LChainRowDelegate final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        QSize size = QStyledItemDelegate::sizeHint(option, index);
        size.setHeight(2 * option.fontMetrics.lineSpacing() + 2 * kRowMargin);
        return size.boundedTo({option.rect.width() > 0 ? option.rect.width() : size.width(), size.height()});
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyleOptionViewItem row = option;
        initStyleOption(&row, index);
        const QStyle* style = row.widget->style();
        const QRect text =
            style->subElementRect(QStyle::SE_ItemViewItemText, &row, row.widget).adjusted(4, 0, -4, 0);
        row.text.clear();
        style->drawControl(QStyle::CE_ItemViewItem, &row, painter, row.widget);

        const bool isOn = index.data(LEffectChainModel::kIsOnRole).toBool();
        const bool chosen = row.state & QStyle::State_Selected;
        const QPalette::ColorGroup group = isOn || chosen ? QPalette::Active : QPalette::Disabled;
        QColor ink = row.palette.color(group, chosen ? QPalette::HighlightedText : QPalette::Text);
        painter->save();
        painter->setPen(ink);
        QFont name = row.font;
        name.setBold(true);
        const QFontMetrics bold(name);
        QRect line(text.left(), row.rect.center().y() - row.fontMetrics.lineSpacing(), text.width(),
                   row.fontMetrics.lineSpacing());
        const auto draw = [&](const QFontMetrics& metrics, const QString& words) {
            painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter,
                              metrics.elidedText(words, Qt::ElideRight, line.width()));
        };
        painter->setFont(name);
        draw(bold, index.data(Qt::DisplayRole).toString());
        line.translate(0, line.height() + 1);
        ink.setAlphaF(static_cast<float>(kSecondLineInk));
        painter->setPen(ink);
        painter->setFont(row.font);
        draw(row.fontMetrics, index.data(LEffectChainModel::kValuesRole).toString());
        painter->restore();
    }

  protected:
    // Of two lines, so that box and text find the places that they are painted at.
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        option->text = Lines(index);
        option->displayAlignment = Qt::AlignLeft | Qt::AlignVCenter;
    }
};

}  // namespace

LEffectChainList::LEffectChainList(QWidget* parent) : QListView(parent), model_(new LEffectChainModel(this)) {
    setObjectName(QStringLiteral("effectChain"));
    setAccessibleName(QStringLiteral("Effects of the chain, in their order"));
    setModel(model_);
    setItemDelegate(new LChainRowDelegate(this));
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setDragDropMode(QAbstractItemView::DragDrop);  // what else than its rows is dropped the model refuses
    setDefaultDropAction(Qt::MoveAction);
    setDropIndicatorShown(true);
    setAlternatingRowColors(true);
    setUniformItemSizes(true);
    connect(model_, &LEffectChainModel::Moved, this, &LEffectChainList::Choose);
}

void LEffectChainList::Choose(int row) {
    setCurrentIndex(model_->index(std::clamp(row, 0, std::max(0, model_->Count() - 1))));
}

void LEffectChainList::MoveChosen(int step) {
    const int to = Row() + step;
    if (Row() >= 0 && model_->Move(Row(), to)) scrollTo(currentIndex());
}

void LEffectChainList::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QListView::currentChanged(current, previous);
    Q_EMIT Chosen();
}

void LEffectChainList::keyPressEvent(QKeyEvent* event) {
    const bool alt = event->modifiers().testFlag(Qt::AltModifier);
    switch (event->key()) {
        case Qt::Key_Up:
        case Qt::Key_Down:
            if (alt) return MoveChosen(event->key() == Qt::Key_Up ? -1 : 1);
            break;
        case Qt::Key_Delete:
            Q_EMIT Deleted();
            return;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (Row() >= 0) Q_EMIT Opened();
            return;
        default:
            break;
    }
    QListView::keyPressEvent(event);
}

// The box answers a double click as two clicks.
void LEffectChainList::mouseDoubleClickEvent(QMouseEvent* event) {
    const QModelIndex before = indexAt(event->position().toPoint());
    const QVariant state = before.data(Qt::CheckStateRole);
    QListView::mouseDoubleClickEvent(event);
    if (before.isValid() && before.data(Qt::CheckStateRole) == state && before == currentIndex())
        Q_EMIT Opened();
}

void LEffectChainList::paintEvent(QPaintEvent* event) {
    QListView::paintEvent(event);
    if (model_->Count() > 0) return;
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(viewport()->rect().adjusted(12, 12, -12, -12), Qt::AlignCenter | Qt::TextWordWrap,
                     kEmptyText);
}

}  // namespace ondarix
