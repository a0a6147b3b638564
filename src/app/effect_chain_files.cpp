// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_chain_files.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

#include "effects/chain_file.h"
#include "gen/paths.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kFolderSection = QStringLiteral("Settings");
const QString kFolderName = QStringLiteral("MultiEffectsFolder");
const QString kKeptSection = QStringLiteral("EffectChain");
const QString kKeptName = QStringLiteral("Kept"), kKeptPath = QStringLiteral("File"),
              kKeptModified = QStringLiteral("Modified");

QString ChainFolder() {
    const QString folder = GetSettingString(kFolderSection, kFolderName, {});
    return QFileInfo(folder).isDir() ? folder : QDir::homePath();
}

void Ready(QFileDialog& dialog, const char* name) {
    dialog.setObjectName(QLatin1String(name));
    dialog.setNameFilters({QLatin1String(kChainFilter) + QStringLiteral(" (*.") +
                           QLatin1String(kChainExtension) + QLatin1Char(')')});
    dialog.setOption(QFileDialog::HideNameFilterDetails);
}

QString Ask(QFileDialog& dialog) {
    if (dialog.exec() != QDialog::Accepted) return {};
    QString path = dialog.selectedFiles().value(0);
    SetSettingString(kFolderSection, kFolderName, QFileInfo(path).absolutePath());
    return path;
}

QString KeptFile() {
    const QString folder = DataFolder();
    return folder.isEmpty() ? QString()
                            : folder + QStringLiteral("/effect-chain.") + QLatin1String(kChainExtension);
}

}  // namespace

QString AskChainToOpen(QWidget* owner, const QString& title) {
    QFileDialog dialog(owner, title, ChainFolder());
    Ready(dialog, "openChainDialog");
    dialog.setFileMode(QFileDialog::ExistingFile);
    return Ask(dialog);
}

QString AskChainToSave(QWidget* owner, const QString& proposal) {
    const QFileInfo file(proposal);
    QFileDialog dialog(owner, QStringLiteral("Save Effect Chain"),
                       proposal.isEmpty() ? ChainFolder() : file.absolutePath());
    Ready(dialog, "saveChainDialog");
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QLatin1String(kChainExtension));
    if (!proposal.isEmpty()) dialog.selectFile(file.fileName());
    return Ask(dialog);
}

QStringList ChainFilesOf(const QMimeData* data) {
    QStringList paths;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile()) paths.append(url.toLocalFile());
    return paths;
}

LWorkingChain LoadKeptChain() {
    LWorkingChain working;
    if (!GetSettingBool(kKeptSection, kKeptName, false) ||
        ReadEffectChainFile(KeptFile(), working.chain) != LChainRead::kRead)
        return working;
    working.path = GetSettingString(kKeptSection, kKeptPath, {});
    working.isModified = GetSettingBool(kKeptSection, kKeptModified, false);
    return working;
}

void KeepChain(const LWorkingChain& working) {
    const QString file = KeptFile();
    const bool isKept = !file.isEmpty() && WriteEffectChainFile(file, working.chain) == LChainWrite::kWritten;
    SetSettingBool(kKeptSection, kKeptName, isKept);
    SetSettingString(kKeptSection, kKeptPath, isKept ? working.path : QString());
    SetSettingBool(kKeptSection, kKeptModified, isKept && working.isModified);
}

}  // namespace ondarix
