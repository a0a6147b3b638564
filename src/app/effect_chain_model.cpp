// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_chain_model.h"

#include <QMimeData>
#include <utility>

#include "effects/effect_table.h"

namespace ondarix {
namespace {

const QString kChainRowMime = QStringLiteral("application/x-ondarix-chain-row");

}  // namespace

bool IsUnknownEffect(const LEffect& effect) {
    return dynamic_cast<const LUnknownEffect*>(&effect) != nullptr;
}

QString ChainEffectName(const LEffect& effect) {
    if (!IsUnknownEffect(effect)) return effect.GetName();
    return QStringLiteral("%1 (type %2)").arg(effect.GetName()).arg(effect.GetType());
}

QString ChainEffectValues(const LEffect& effect) {
    if (IsUnknownEffect(effect)) {
        const LEffectRow* row = FindEffect(effect.GetType());
        return row ? QStringLiteral("%1: not in this version, kept as it is")
                         .arg(QString::fromUtf8(row->name))
                   : QStringLiteral("Not in this version, kept as it is");
    }
    QStringList parts;
    LEffectParam param;
    for (int i = 0; i < effect.GetParameterCount(); ++i)
        if (effect.GetParameterInfo(i, param))
            parts += param.name.trimmed() + QStringLiteral(": ") + ParamText(param, param.value);
    for (const LEffectOption& option : effect.GetOptions())
        if (!option.value.isEmpty()) parts += option.id + QStringLiteral(": ") + option.value;
    return parts.isEmpty() ? QStringLiteral("No values to set") : parts.join(QStringLiteral(", "));
}

void LEffectChainModel::SetChain(LEffectChain chain) {
    beginResetModel();
    chain_ = std::move(chain);
    endResetModel();
}

void LEffectChainModel::SetFormat(LSoundFormat format) {
    chain_.SetFormat(format);
    if (Count() > 0) Q_EMIT dataChanged(index(0), index(Count() - 1));
}

bool LEffectChainModel::Insert(int row, std::unique_ptr<LEffect> effect) {
    if (!effect || row < 0 || row > Count() || Count() >= LEffectChain::kMostEffects) return false;
    beginInsertRows({}, row, row);
    chain_.Insert(row, std::move(effect));
    endInsertRows();
    Q_EMIT Edited();
    return true;
}

bool LEffectChainModel::Remove(int row) {
    if (!At(row)) return false;
    beginRemoveRows({}, row, row);
    chain_.Remove(row);
    endRemoveRows();
    Q_EMIT Edited();
    return true;
}

bool LEffectChainModel::Move(int from, int to) {
    if (from == to || !At(from) || !At(to)) return false;
    // The list counts the place before which the row goes while it still stands where it was.
    if (!beginMoveRows({}, from, from, {}, to > from ? to + 1 : to)) return false;
    chain_.Move(from, to);
    endMoveRows();
    Q_EMIT dataChanged(index(0), index(Count() - 1));  // the numbers
    Q_EMIT Edited();
    return true;
}

bool LEffectChainModel::Replace(int row, std::unique_ptr<LEffect> effect) {
    if (!chain_.Replace(row, std::move(effect))) return false;
    TellValues(row);
    return true;
}

void LEffectChainModel::TellValues(int row) {
    Q_EMIT dataChanged(index(row), index(row));
    Q_EMIT Edited();
}

// --- As a list

int LEffectChainModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : chain_.Count();
}

QVariant LEffectChainModel::data(const QModelIndex& index, int role) const {
    const LEffect* effect = index.isValid() ? chain_.At(index.row()) : nullptr;
    if (!effect) return {};
    switch (role) {
        case Qt::DisplayRole:
            return QStringLiteral("%1. %2").arg(index.row() + 1).arg(ChainEffectName(*effect));
        case kValuesRole:
        case Qt::ToolTipRole:
            return ChainEffectValues(*effect);
        case kIsOnRole:
            return chain_.IsOn(index.row());
        case Qt::CheckStateRole:
            return chain_.IsOn(index.row()) ? Qt::Checked : Qt::Unchecked;
        case Qt::AccessibleTextRole:
            return QStringLiteral("%1. %2, %3, %4")
                .arg(index.row() + 1)
                .arg(ChainEffectName(*effect), ChainEffectValues(*effect),
                     chain_.IsOn(index.row()) ? QStringLiteral("on") : QStringLiteral("off"));
        default:
            return {};
    }
}

bool LEffectChainModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::CheckStateRole || !index.isValid() || !At(index.row())) return false;
    chain_.SetEnabled(index.row(), value.toInt() == Qt::Checked);
    TellValues(index.row());
    return true;
}

Qt::ItemFlags LEffectChainModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::ItemIsDropEnabled;  // between the rows, not onto one
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemIsDragEnabled |
           Qt::ItemNeverHasChildren;
}

// --- By drag

QStringList LEffectChainModel::mimeTypes() const { return {kChainRowMime}; }

// The address tells this list from that of another window or program.
QMimeData* LEffectChainModel::mimeData(const QModelIndexList& indexes) const {
    if (indexes.isEmpty()) return nullptr;
    auto* data = new QMimeData;
    const QByteArray owner = QByteArray::number(reinterpret_cast<quintptr>(this));
    data->setData(kChainRowMime, owner + ' ' + QByteArray::number(indexes.first().row()));
    return data;
}

int LEffectChainModel::DraggedRow(const QMimeData* data) const {
    const QList<QByteArray> words = data->data(kChainRowMime).split(' ');
    if (words.size() != 2 || words[0].toULongLong() != reinterpret_cast<quintptr>(this)) return -1;
    bool isNumber = false;
    const int row = words[1].toInt(&isNumber);
    return isNumber && chain_.At(row) ? row : -1;
}

bool LEffectChainModel::canDropMimeData(const QMimeData* data, Qt::DropAction action, int, int,
                                        const QModelIndex& parent) const {
    return action == Qt::MoveAction && !parent.isValid() && DraggedRow(data) >= 0;
}

// `row` is the place before which it is dropped; -1: below the last.
bool LEffectChainModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int,
                                     const QModelIndex& parent) {
    if (!canDropMimeData(data, action, row, 0, parent)) return false;
    const int from = DraggedRow(data);
    const int before = row < 0 ? Count() : row;
    const int to = before > from ? before - 1 : before;
    if (Move(from, to)) Q_EMIT Moved(to);
    return true;
}

}  // namespace ondarix
