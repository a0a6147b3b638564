// SPDX-License-Identifier: GPL-3.0-or-later
// "Loudness": the figures of what is selected, in a window that stays.
#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <cmath>

#include "app/document_job.h"
#include "app/effect_dialogs.h"
#include "app/time_text.h"
#include "effects/loudness_report.h"
#include "effects/stack.h"

namespace ondarix {
namespace {

constexpr const char* kLoudnessTitle = "Loudness (ITU-R BS.1770-4)";
constexpr int kLeastLoudnessWidth = 340;  // for the title

struct LFigure {
    QString id, name, value;
};

QList<LFigure> FiguresOf(const LLoudness& loudness) {
    const QString range = std::isfinite(loudness.rangeLow)
                              ? QStringLiteral("%1 LU").arg(loudness.range, 0, 'f', 1)
                              : QStringLiteral("0.0 LU");
    return {
        {QStringLiteral("integrated"), QStringLiteral("Integrated"), LufsText(loudness.integrated)},
        {QStringLiteral("momentary"), QStringLiteral("Momentary maximum"), LufsText(loudness.momentaryMax)},
        {QStringLiteral("shortTerm"), QStringLiteral("Short-term maximum"), LufsText(loudness.shortTermMax)},
        {QStringLiteral("range"), QStringLiteral("Loudness range"), range},
        {QStringLiteral("truePeak"), QStringLiteral("True peak"),
         PeakText(loudness.TruePeak(), QStringLiteral("dBTP"))}};
}

void ShowFigures(QWidget* owner, const QString& about, const LLoudness& loudness) {
    auto* dialog = new QDialog(owner);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(QStringLiteral("loudnessDialog"));
    dialog->setWindowTitle(QLatin1String(kLoudnessTitle));
    dialog->setMinimumWidth(kLeastLoudnessWidth);
    auto* layout = new QVBoxLayout(dialog);
    auto* title = new QLabel(about, dialog);
    title->setTextFormat(Qt::PlainText);
    title->setWordWrap(true);
    layout->addWidget(title);
    auto* form = new QFormLayout;
    layout->addLayout(form);
    QString text = about + QLatin1Char('\n');
    for (const LFigure& figure : FiguresOf(loudness)) {
        auto* value = new QLabel(figure.value, dialog);
        value->setObjectName(figure.id);
        value->setAccessibleName(figure.name + QStringLiteral(": ") + figure.value);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        form->addRow(figure.name + QLatin1Char(':'), value);
        text += QStringLiteral("%1: %2\n").arg(figure.name, figure.value);
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    auto* copy = buttons->addButton(QStringLiteral("&Copy"), QDialogButtonBox::ActionRole);
    copy->setObjectName(QStringLiteral("copyLoudness"));
    QObject::connect(copy, &QPushButton::clicked, dialog,
                     [text] { QApplication::clipboard()->setText(text); });
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
    layout->addWidget(buttons);
    dialog->show();
}

}  // namespace

void ShowLoudness(LCommandCall& call) {
    const auto context = LEffectContext::Of(call);
    if (!context) return;
    if (call.Document().isBusy) return call.frame.ShowHint(BusyText(call.Document()));
    const LEffectOperation& operation = context->operation;
    const int32_t rate = operation.sound.sampleRate;
    const QString about =
        QStringLiteral("%1, %2 \u2013 %3")
            .arg(call.Document().title, TimeText(operation.start, rate), TimeText(operation.end, rate));
    auto report = std::make_shared<LLoudnessReport>();
    call.Host().RunDocumentJob(
        LSoundDocumentRef(&call.Document()), QStringLiteral("Measuring Loudness"),
        [report, range = operation.Range()](LProgress& progress) {
            JobResult result = JobResult::kFailed;
            *report = MeasureLoudness([&] { return OpenForEffects(range); }, progress, result);
            return result;
        },
        [report, about, &frame = call.frame](JobResult result) {
            if (result == JobResult::kSuccess) ShowFigures(&frame, about, report->loudness);
        });
}

}  // namespace ondarix
