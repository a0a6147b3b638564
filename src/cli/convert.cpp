// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/sound_files.h"

namespace ondarix {

ExitStatus RunConvert(const LArguments& arguments, LContext& context) {
    const QString input = arguments.operands[0];
    LOutput output;
    ExitStatus status = CheckOutput(arguments, input, context, output);
    if (status != ExitStatus::kSuccess) return status;
    const LWorkingFolder folder;
    if (!folder.IsOpen()) return context.console.Fail("no folder for working files can be made");
    LLoadedSound loaded;
    status = LoadFile(input, context, loaded);
    if (status != ExitStatus::kSuccess) return status;
    context.console.Result()["input"] = input;
    return SaveFile(loaded, output, context);
}

}  // namespace ondarix
