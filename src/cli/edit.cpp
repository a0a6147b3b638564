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

void PrintHistory(const LSoundDocument& document, LConsole& console) {
    const std::vector<int> slots = document.HistorySlots();
    const int present = PresentSlotOf(document);
    QJsonArray labels;
    int number = 0, index = -1;
    for (const int slot : slots) {
        const LUndoEntry& entry = document.Entry(slot);
        if (slot == present) index = number;
        labels += entry.label;
        console.Print(
            QString("%1 %2  %3").arg(slot == present ? ">" : " ").arg(++number, 2).arg(entry.label));
    }
    if (present < 0) console.Print(">");
    console.Result()["history"] = labels;
    console.Result()["historyIndex"] = index;
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
    json["files"] = QJsonArray::fromStringList(session.written);
}

}  // namespace

ExitStatus RunEdit(const LArguments& arguments, LContext& context) {
    QString error;
    const std::vector<LEditStep> steps = ParseSteps(arguments.operands.mid(2), error);
    if (!error.isEmpty()) return context.console.Fail("edit: " + error, ExitStatus::kUsage);
    const auto change = [&](LLoadedSound& loaded, const LOutput& output) {
        LEditSession session(context, loaded, arguments.operands[0], output);
        ExitStatus status = ApplySteps(steps, session);
        if (status != ExitStatus::kSuccess) return status;
        if (session.HasFiles() && !output.IsNone() && session.Doc().sound.Length() == 0)
            return context.console.Fail("nothing is left of the sound to be saved");
        status = session.WriteFiles();
        if (status != ExitStatus::kSuccess) return status;
        TellState(session, context.console.Result());
        if (arguments.Has(kHistoryOption.name)) PrintHistory(session.Doc(), context.console);
        session.GiveBack(loaded);
        return status;
    };
    return RewriteSound(arguments, context, change, true);
}

}  // namespace ondarix
