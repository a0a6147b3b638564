// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/list_columns.h"

#include <QEvent>
#include <QHeaderView>
#include <QTimer>
#include <algorithm>

#include "gen/settings.h"

namespace ondarix {
namespace {

constexpr int kLeastWidth = 30, kMostWidth = 4000;
constexpr int kStoreAfterMs = 300;  // one write for a whole drag of a border
const QString kColumnsName = QStringLiteral("Columns");
const QString kSortedName = QStringLiteral("SortedBy");

class LColumnKeeper final : public QObject {
  public:
    LColumnKeeper(QTreeView& view, std::span<const LListColumn> columns, const QString& section)
        : QObject(&view), view_(view), columns_(columns), section_(section) {
        Restore();
        timer_.setSingleShot(true);
        timer_.setInterval(kStoreAfterMs);
        connect(&timer_, &QTimer::timeout, this, &LColumnKeeper::Store);
        const auto changed = [this] { timer_.start(); };
        connect(view.header(), &QHeaderView::sectionResized, this, changed);
        connect(view.header(), &QHeaderView::sectionMoved, this, changed);
        connect(view.header(), &QHeaderView::sortIndicatorChanged, this, changed);
        view.installEventFilter(this);
    }

    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Hide && timer_.isActive()) Store();
        return false;
    }

  private:
    int ColumnOf(const QString& id) const {
        for (size_t i = 0; i < columns_.size(); ++i)
            if (id == QLatin1String(columns_[i].id)) return static_cast<int>(i);
        return -1;
    }
    void Restore();
    void Store();

    QTreeView& view_;
    std::span<const LListColumn> columns_;
    QString section_;
    QTimer timer_;
};

void LColumnKeeper::Restore() {
    QHeaderView& header = *view_.header();
    for (size_t i = 0; i < columns_.size(); ++i) header.resizeSection(static_cast<int>(i), columns_[i].width);
    int place = 0;
    for (const QString& entry : GetSettingString(section_, kColumnsName, {}).split(u';')) {
        const int column = ColumnOf(entry.section(u'=', 0, 0));
        const int width = entry.section(u'=', 1).toInt();
        if (column < 0 || width <= 0) continue;
        header.moveSection(header.visualIndex(column), place++);
        header.resizeSection(column, std::clamp(width, kLeastWidth, kMostWidth));
    }
    const QString sorted = GetSettingString(section_, kSortedName, {});
    const bool down = sorted.startsWith(u'-');
    view_.sortByColumn(ColumnOf(down ? sorted.mid(1) : sorted),
                       down ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void LColumnKeeper::Store() {
    timer_.stop();
    const QHeaderView& header = *view_.header();
    QStringList entries;
    for (int place = 0; place < header.count(); ++place) {
        const int column = header.logicalIndex(place);
        entries.append(QStringLiteral("%1=%2")
                           .arg(QLatin1String(columns_[static_cast<size_t>(column)].id))
                           .arg(header.sectionSize(column)));
    }
    SetSettingString(section_, kColumnsName, entries.join(u';'));
    const int sorted = header.sortIndicatorSection();
    QString by;
    if (sorted >= 0 && sorted < header.count()) by = QLatin1String(columns_[static_cast<size_t>(sorted)].id);
    if (!by.isEmpty() && header.sortIndicatorOrder() == Qt::DescendingOrder) by.prepend(u'-');
    SetSettingString(section_, kSortedName, by);
}

}  // namespace

void KeepColumns(QTreeView& view, std::span<const LListColumn> columns, const QString& name) {
    new LColumnKeeper(view, columns, name);
}

}  // namespace ondarix
