// SPDX-License-Identifier: GPL-3.0-or-later
// The effects of a chain as the rows of a list: checked while they are on, moved by drag. [ui]
#pragma once
#include <QAbstractListModel>

#include "effects/chain.h"

namespace ondarix {

// "Chorus" or "Unknown (type 77)", and "Gain Percentage: 50%" or what else is to be known of it.
QString ChainEffectName(const LEffect& effect);
QString ChainEffectValues(const LEffect& effect);
bool IsUnknownEffect(const LEffect& effect);

class LEffectChainModel final : public QAbstractListModel {
    Q_OBJECT
  public:
    enum LRole { kValuesRole = Qt::UserRole, kIsOnRole };

    using QAbstractListModel::QAbstractListModel;

    const LEffectChain& Chain() const { return chain_; }
    int Count() const { return chain_.Count(); }
    // Null outside. After it has been changed: TellValues().
    LEffect* At(int row) { return chain_.At(row); }
    void SetChain(LEffectChain chain);
    void SetFormat(LSoundFormat format);
    bool Insert(int row, std::unique_ptr<LEffect> effect);
    bool Remove(int row);
    bool Move(int from, int to);  // to where it stands afterwards
    bool Replace(int row, std::unique_ptr<LEffect> effect);
    void TellValues(int row);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

  Q_SIGNALS:
    void Edited();        // other effects, another order, other values; not by SetChain
    void Moved(int row);  // by drag, to there

  private:
    int DraggedRow(const QMimeData* data) const;  // -1: not a row of this list

    LEffectChain chain_;
};

}  // namespace ondarix
