// SPDX-License-Identifier: GPL-3.0-or-later
// Which ".ecf" file, and the chain that the window had when it was closed last. [ui]
#pragma once
#include <QMimeData>
#include <QString>
#include <QStringList>

#include "effects/chain.h"

class QWidget;

namespace ondarix {

// They begin in the folder of the setting MultiEffectsFolder and keep it. Empty: cancelled.
QString AskChainToOpen(QWidget* owner, const QString& title);
QString AskChainToSave(QWidget* owner,
                       const QString& proposal);  // with the extension "ecf" where it has none
// The files of a drag that lie on this machine.
QStringList ChainFilesOf(const QMimeData* data);

// A chain as it is worked on: where it was saved last, and whether it has changed since.
struct LWorkingChain {
    LEffectChain chain;
    QString path;
    bool isModified = false;
};
LWorkingChain LoadKeptChain();  // empty where there is none
void KeepChain(const LWorkingChain& working);

}  // namespace ondarix
