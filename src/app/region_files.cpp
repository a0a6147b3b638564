// SPDX-License-Identifier: GPL-3.0-or-later
// What the list of regions makes of them: files and new sounds.
#include <QDir>
#include <QFileInfo>

#include "app/file_dialogs.h"
#include "app/input_dialogs.h"
#include "app/input_form.h"
#include "app/region_window.h"
#include "app/sound_window.h"
#include "formats/registry.h"
#include "formats/save.h"
#include "formats/sound_pieces.h"
#include "gen/settings.h"
#include "gen/text.h"

namespace ondarix {
namespace {

const QString kRegionSettings = QStringLiteral("Settings");
constexpr int kDefaultGapMs = 300, kLongestGapMs = 600'000;

struct LAssembleAnswer {
    bool all = false;
    int64_t gapMs = 0;
};

std::optional<LAssembleAnswer> AskAssemble(QWidget* owner, bool anySelected) {
    const QString what = QStringLiteral("RegionAssemble");
    const QString gapOn = QStringLiteral("AutoGap"), gapTime = QStringLiteral("AutoGapTime");
    LInputForm form(owner, QStringLiteral("assembleDialog"), QStringLiteral("Assemble Regions"));
    QComboBox* which = form.Choice(QStringLiteral("&Regions:"), QStringLiteral("which"),
                                   {QStringLiteral("Selected regions"), QStringLiteral("All regions")},
                                   anySelected ? GetSettingInt(kRegionSettings, what, 0) : 1);
    which->setEnabled(anySelected);
    QCheckBox* gap = form.Switch(QStringLiteral("&Silence between the regions"), QStringLiteral("gap"),
                                 GetSettingBool(kRegionSettings, gapOn, false));
    QSpinBox* time =
        form.Number(QStringLiteral("&Length of the silence:"), QStringLiteral("gapTime"), 1, kLongestGapMs,
                    GetSettingInt(kRegionSettings, gapTime, kDefaultGapMs), QStringLiteral(" ms"));
    time->setEnabled(gap->isChecked());
    QObject::connect(gap, &QCheckBox::toggled, time, &QWidget::setEnabled);
    if (!form.Run()) return std::nullopt;
    if (anySelected) SetSettingInt(which->currentIndex(), kRegionSettings, what);
    SetSettingBool(kRegionSettings, gapOn, gap->isChecked());
    SetSettingInt(time->value(), kRegionSettings, gapTime);
    return LAssembleAnswer{which->currentIndex() == 1, gap->isChecked() ? time->value() : 0};
}

// Slashes and the like would lead the proposal elsewhere.
QString ProposalFor(const LSoundDocument& document, const QString& name) {
    QString file = name;
    for (const QChar c : QStringLiteral("/\\:*?\"<>|")) file.replace(c, u'_');
    const QString extension = document.path.isEmpty() ? QString() : LowerExtension(document.path);
    if (document.path.isEmpty()) return file + extension;
    return QFileInfo(document.path).dir().filePath(file + extension);
}

}  // namespace

void LRegionWindow::SaveRegion() {
    const auto serial = list_->Current();
    const LSoundDocumentRef document = serial ? OwnerOf(*serial) : LSoundDocumentRef();
    if (!document) return;
    const LRegion region = *FindRegion(*document, *serial);
    const QString path = AskSaveFile(this, ProposalFor(*document, region.name));
    if (path.isEmpty()) return;
    LEditHost& host = frame_.EditHost();
    for (const LSoundDocumentRef& open : Documents()) {
        if (open->path.isEmpty() || QFileInfo(open->path) != QFileInfo(path)) continue;
        host.Messages().Tell(
            QStringLiteral("Save Region"),
            QStringLiteral("The file \"%1\" is open. Please choose another name for the region.").arg(path));
        return;
    }
    LSound piece;
    const int32_t rate = document->sound.sampleRate;
    document->sound.CopyRange(ScalePosition(region.startFrame, rate, region.sampleRate),
                              ScalePosition(region.endFrame, rate, region.sampleRate), piece);
    static const LBookmarks kNone;  // what an older file of this name had is not of the region
    LSaveRequest request;
    request.sound = &piece;
    request.path = path;
    request.bookmarks = &kNone;
    request.record = WavRecordFor(piece.Format());
    if (LowerExtension(path) == QStringLiteral(".wav")) {
        const auto record = AskWavFormat(this, piece.Format(), request.record);
        if (!record) return;
        request.record = *record;
    }
    host.RunJob(QStringLiteral("Saving..."), [&](LProgress& progress) {
        const SaveResult result = SaveSound(request, progress, host.Messages()).result;
        return result == SaveResult::kSuccess     ? JobResult::kSuccess
               : result == SaveResult::kCancelled ? JobResult::kCancelled
                                                  : JobResult::kFailed;
    });
}

void LRegionWindow::ToNewFiles(const LChosen& chosen) {
    if (!chosen.regions.empty()) RegionsToNew(chosen.regions, frame_.EditHost());
}

void LRegionWindow::Assemble() {
    const auto answer = AskAssemble(this, list_->HasSelected());
    if (!answer) return;
    ShowNow();
    const LChosen chosen = answer->all ? AllRegions() : SelectedRegions();
    if (chosen.regions.empty()) return;
    const QString running = QStringLiteral("RegionAssembling");
    LSoundDocumentRef assembled(new LSoundDocument);
    LEditHost& host = frame_.EditHost();
    SetSettingBool(kRegionSettings, running, true);
    const JobResult result = host.RunJob(QStringLiteral("Assembling Regions"), [&](LProgress& progress) {
        return AssembleRegions(chosen.regions, answer->gapMs, assembled->sound, progress);
    });
    SetSettingBool(kRegionSettings, running, false);
    if (result != JobResult::kSuccess) return;
    assembled->title = QStringLiteral("Assembled Regions");
    assembled->isModified = assembled->isModifiedSinceLastAutosave = true;
    host.AddDocument(assembled);
}

void LRegionWindow::Export(const LChosen& chosen) {
    if (chosen.regions.empty()) return;
    const auto target =
        AskPieceTarget(this, QStringLiteral("Export Regions"), kRegionSettings,
                       QStringLiteral("ExportRegionFolder"), QStringLiteral("ExportRegionFormat"));
    if (!target) return;
    QStringList written;
    ExportRegions(chosen.regions, *target, frame_.EditHost(), written);
}

void LRegionWindow::CopyToCd() {
    const LChosen chosen = SelectedRegions();
    if (gCopyRegionsToCd && !chosen.regions.empty()) gCopyRegionsToCd(chosen.regions, frame_.EditHost());
}

}  // namespace ondarix
