// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/sound_files.h"

namespace ondarix {

ExitStatus RunConvert(const LArguments& arguments, LContext& context) {
    LOutput output;
    ExitStatus status = CheckOutput(arguments, context, output);
    if (status != ExitStatus::kSuccess) return status;
    const LWorkingFolder folder;
    if (!folder.IsOpen()) return context.console.Fail("no folder for working files can be made");
    LLoadedSound loaded;
    status = LoadInput(arguments.operands[0], context, loaded, output);
    if (status != ExitStatus::kSuccess) return status;
    return SaveFile(loaded, output, context);
}

}  // namespace ondarix
