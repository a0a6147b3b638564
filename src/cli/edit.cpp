// SPDX-License-Identifier: GPL-3.0-or-later
#include <QJsonArray>
#include <algorithm>

#include "cli/edit_operations.h"

namespace ondarix {
namespace {

// Of one step that did not succeed: the fault, or what the engine has told last.
ExitStatus StepFailed(const LEditStep& step, JobResult result, LEditSession& session) {
    LContext& context = session.context;
    if (result == JobResult::kCancelled && context.progress.IsCancelled()) return context.Ended(result, {});
    QString text = session.TakeFault();
    const QStringList notes = context.host.TakeNotes();
    if (text.isEmpty()) text = notes.isEmpty() ? QString("there is nothing to do") : notes.last();
    context.progress.Clear();
    return context.console.Fail(QString("%1: %2").arg(step.row->name, text));
}

ExitStatus ApplySteps(const std::vector<LEditStep>& steps, LEditSession& session) {
    LContext& context = session.context;
    QStringList remarks;
    for (const LEditStep& step : steps) {
        if (context.progress.IsCancelled()) return context.Ended(JobResult::kCancelled, {});
        const JobResult result = ApplyStep(step, session);
        if (result != JobResult::kSuccess) return StepFailed(step, result, session);
        remarks += context.host.TakeNotes();
    }
    // Shown once it is known that the run succeeds.
    for (const QString& remark : remarks) context.host.Tell({}, remark);
    return ExitStatus::kSuccess;
}

// The slot that holds the present state: -1 while that is not among the entries.
int PresentSlotOf(const LSoundDocument& document) {
    const int next = (document.undoIndex + 1) % LSoundDocument::kUndoSlots;
    if (!document.Entry(next).label.isEmpty()) return next;
    return document.Entry(document.undoIndex).isBase ? document.undoIndex : -1;
}

// A line for each entry of the history; the present state as a line of its own where it is no entry.
QString HistoryText(const LSoundDocument& document, QJsonObject& json) {
    const int present = PresentSlotOf(document);
    QJsonArray labels;
    QString text;
    int index = -1;
    for (const int slot : document.HistorySlots()) {
        const LUndoEntry& entry = document.Entry(slot);
        if (slot == present) index = static_cast<int>(labels.size());
        labels += entry.label;
        text +=
            QString("%1 %2  %3\n").arg(slot == present ? ">" : " ").arg(labels.size(), 2).arg(entry.label);
    }
    json["history"] = labels;
    json["historyIndex"] = index;
    return present < 0 ? text + ">\n" : text;
}

QJsonArray BookmarksToJson(const LSoundDocument& document) {
    QJsonArray array;
    for (const LBookmark& one : document.bookmarks)
        array += QJsonObject{
            {"name", one.name}, {"frame", JsonInt(one.position)}, {"ms", JsonInt(one.positionMs)}};
    return array;
}

QJsonArray RegionsToJson(const LSoundDocument& document) {
    QJsonArray array;
    for (const LRegion& one : document.regions) {
        array += QJsonObject{
            {"name", one.name}, {"start", JsonInt(one.startFrame)}, {"end", JsonInt(one.endFrame)}};
    }
    return array;
}

void TellState(const LEditSession& session, QJsonObject& json) {
    const LSoundDocument& document = *session.document;
    const LSelection range = document.EditRange();
    json["selection"] = QJsonObject{{"start", JsonInt(range.start)}, {"end", JsonInt(range.end)}};
    json["cursor"] = JsonInt(document.cursor);
    json["bookmarks"] = BookmarksToJson(document);
    json["regions"] = RegionsToJson(document);
}

}  // namespace

ExitStatus RunEdit(const LArguments& arguments, LContext& context) {
    QString error;
    const std::vector<LEditStep> steps = ParseSteps(arguments.operands.mid(2), error);
    if (!error.isEmpty()) return context.console.Fail("edit: " + error, ExitStatus::kUsage);
    QString history;
    const auto change = [&](LLoadedSound& loaded, const LOutputFile& output) {
        LEditSession session(context, loaded, arguments.operands[0], output);
        ExitStatus status = ApplySteps(steps, session);
        if (status != ExitStatus::kSuccess) return status;
        if (session.HasFiles() && !output.IsNone() && session.Doc().sound.Length() == 0)
            return context.console.Fail("nothing is left of the sound to be saved");
        status = session.WriteFiles();
        context.console.Result()["files"] = QJsonArray::fromStringList(session.written);
        if (status != ExitStatus::kSuccess) return status;
        TellState(session, context.console.Result());
        if (arguments.Has(kHistoryOption.name))
            history = HistoryText(session.Doc(), context.console.Result());
        session.GiveBack(loaded);
        return status;
    };
    const ExitStatus status = RewriteSound(arguments, context, change, true);
    if (status == ExitStatus::kSuccess) context.console.PrintText(history);
    return status;
}

}  // namespace ondarix
