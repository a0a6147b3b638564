// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/file_dialogs.h"

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/time_text.h"
#include "formats/file_types.h"
#include "formats/registry.h"
#include "gen/settings.h"
#include "gen/text.h"

namespace ondarix {

const LWavCoding kWavCodings[7] = {
    {"8-bit PCM", 1, 8},     {"16-bit PCM", 1, 16}, {"24-bit PCM", 1, 24}, {"32-bit PCM", 1, 32},
    {"32-bit float", 3, 32}, {"A-law", 6, 8},       {"\u00b5-law", 7, 8},
};

namespace {

const QString kSettingsSection = QStringLiteral("Settings");

QString StoredFolder(const char* name) {
    const QString folder = GetSettingString(kSettingsSection, QLatin1String(name), {});
    return QFileInfo(folder).isDir() ? folder : QDir::homePath();
}

// "*.aif;*.aiff" -> ".aif", ".aiff"
QStringList ExtensionsOf(const LFileTypeRow& row) {
    QStringList extensions;
    for (const QString& pattern : QString::fromUtf8(row.pattern).split(QLatin1Char(';')))
        extensions.append(pattern.mid(1).toLower());
    return extensions;
}

QList<LFileTypeRow> WritableTypes() {
    QList<LFileTypeRow> rows;
    for (const LFileTypeRow& row : SaveFileTypes())
        if (FormatCanBeWritten(ExtensionsOf(row).value(0))) rows.append(row);
    return rows;
}

const LFileTypeRow* TypeOf(const QList<LFileTypeRow>& rows, const QString& extension) {
    for (const LFileTypeRow& row : rows)
        if (ExtensionsOf(row).contains(extension)) return &row;
    return nullptr;
}

}  // namespace

QStringList AskOpenFiles(QWidget* parent) {
    QStringList filters;
    for (const LFileTypeRow& row : OpenFileTypes()) filters.append(QtFilter(row));
    QFileDialog dialog(parent, QStringLiteral("Open Audio File"), StoredFolder("OpenFileDir"));
    dialog.setObjectName(QStringLiteral("openDialog"));
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.setNameFilters(filters);
    if (dialog.exec() != QDialog::Accepted) return {};
    SetSettingString(kSettingsSection, QStringLiteral("OpenFileDir"), dialog.directory().absolutePath());
    return dialog.selectedFiles();
}

QStringList SaveFilters() {
    QStringList filters;
    for (const LFileTypeRow& row : WritableTypes()) filters.append(QtFilter(row));
    return filters;
}

QString AskSaveFile(QWidget* parent, const QString& proposal) {
    const QList<LFileTypeRow> rows = WritableTypes();
    if (rows.isEmpty()) return {};
    QString extension = LowerExtension(proposal);
    if (!TypeOf(rows, extension))
        extension = QLatin1Char('.') + GetSettingString(kSettingsSection, QStringLiteral("SaveAsFormat"), {});
    const LFileTypeRow* first = TypeOf(rows, extension);
    if (!first) first = &rows.front();

    const QFileInfo file(proposal);
    QFileDialog dialog(parent, QStringLiteral("Save File As"),
                       file.isAbsolute() ? file.absolutePath() : StoredFolder("SaveAsDir"));
    dialog.setObjectName(QStringLiteral("saveDialog"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(SaveFilters());
    dialog.selectNameFilter(QtFilter(*first));
    const auto suffix = [&](const QString& filter) {
        for (const LFileTypeRow& row : rows)
            if (QtFilter(row) == filter) return ExtensionsOf(row).value(0).mid(1);
        return QString();
    };
    dialog.setDefaultSuffix(suffix(QtFilter(*first)));
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog,
                     [&](const QString& filter) { dialog.setDefaultSuffix(suffix(filter)); });
    dialog.selectFile(file.completeBaseName() + QLatin1Char('.') + dialog.defaultSuffix());
    if (dialog.exec() != QDialog::Accepted) return {};
    QString path = dialog.selectedFiles().value(0);
    if (!FormatCanBeWritten(LowerExtension(path))) path += QLatin1Char('.') + dialog.defaultSuffix();
    SetSettingString(kSettingsSection, QStringLiteral("SaveAsDir"), QFileInfo(path).absolutePath());
    SetSettingString(kSettingsSection, QStringLiteral("SaveAsFormat"), LowerExtension(path).mid(1));
    return path;
}

std::optional<LFormatRecord> AskWavFormat(QWidget* parent, LSoundFormat format,
                                          const LFormatRecord& present) {
    QDialog dialog(parent);
    dialog.setObjectName(QStringLiteral("wavFormatDialog"));
    dialog.setWindowTitle(QStringLiteral("Wave Format"));
    auto* coding = new QComboBox(&dialog);
    coding->setObjectName(QStringLiteral("wavCoding"));
    coding->setAccessibleName(QStringLiteral("Coding of the samples"));
    for (const LWavCoding& row : kWavCodings) {
        coding->addItem(QString::fromUtf8(row.label));
        if (row.tag == present.tag && row.bits == present.bits) coding->setCurrentIndex(coding->count() - 1);
    }
    auto* rate = new QLabel(&dialog);
    const auto recordOf = [&] {
        const LWavCoding& row = kWavCodings[std::max(0, coding->currentIndex())];
        return LFormatRecord::Plain(row.tag, row.bits, static_cast<uint32_t>(format.sampleRate),
                                    format.channels);
    };
    const auto showRate = [&] {
        rate->setText(QStringLiteral("%1 kbit/s").arg(recordOf().bytesPerSecond / 125));
    };
    QObject::connect(coding, &QComboBox::currentIndexChanged, &dialog, showRate);
    showRate();

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("&Samples:"), coding);
    form->addRow(QStringLiteral("Format:"), new QLabel(RateText(format.sampleRate) + QStringLiteral(", ") +
                                                       ChannelsText(format.channels)));
    form->addRow(QStringLiteral("Data rate:"), rate);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto* layout = new QVBoxLayout(&dialog);
    layout->addLayout(form);
    layout->addSpacing(8);
    layout->addWidget(buttons);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    StoreWavRecord(recordOf());
    return recordOf();
}

}  // namespace ondarix
