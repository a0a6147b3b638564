// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/sound_files.h"

namespace ondarix {

ExitStatus RunConvert(const LArguments& arguments, LContext& context) {
    return RewriteSound(arguments, context,
                        [](LLoadedSound&, const LOutputFile&) { return ExitStatus::kSuccess; });
}

}  // namespace ondarix
