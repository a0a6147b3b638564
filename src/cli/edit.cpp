// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/edit_operations.h"
#include "cli/sound_files.h"
#include "formats/save.h"

namespace ondarix {
namespace {

// Loads the file of an "insert" in the format of the sound that it goes into.
ExitStatus LoadInserted(const QString& path, const LSound& target, LContext& context, LSound& inserted) {
    LLoadedSound loaded;
    const ExitStatus status = LoadFile(path, context, loaded);
    if (status != ExitStatus::kSuccess) return status;
    if (loaded.sound.Format() == target.Format()) {
        inserted = std::move(loaded.sound);
        return status;
    }
    const JobResult result =
        loaded.sound.ConvertFormat(inserted, target.sampleRate, target.channels, context.progress);
    return context.Ended(result, QString("insert: \"%1\" cannot be converted").arg(path));
}

ExitStatus ApplySteps(const std::vector<LEditStep>& steps, LSound& sound, LContext& context) {
    for (const LEditStep& step : steps) {
        LSound inserted;
        if (StepNeedsFile(step)) {
            const ExitStatus status = LoadInserted(step.file, sound, context, inserted);
            if (status != ExitStatus::kSuccess) return status;
        }
        if (context.progress.IsCancelled()) return context.Ended(JobResult::kCancelled, {});
        const QString fault = ApplyStep(step, StepNeedsFile(step) ? &inserted : nullptr, sound);
        if (!fault.isEmpty()) return context.console.Fail(QString("%1: %2").arg(StepName(step), fault));
    }
    return ExitStatus::kSuccess;
}

}  // namespace

ExitStatus RunEdit(const LArguments& arguments, LContext& context) {
    QString error;
    const std::vector<LEditStep> steps = ParseSteps(arguments.operands.mid(2), error);
    if (!error.isEmpty()) return context.console.Fail("edit: " + error, ExitStatus::kUsage);
    return RewriteSound(arguments, context, [&](LSound& sound) { return ApplySteps(steps, sound, context); });
}

}  // namespace ondarix
