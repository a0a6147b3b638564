// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_dialogs.h"

#include <utility>

#include "app/effect_gain_dialog.h"
#include "app/effect_normalize_dialog.h"

namespace ondarix {

std::unique_ptr<LEffectDialog> MakeEffectDialog(LEffectContext context, const LEffectRow& row,
                                                std::unique_ptr<LEffect> effect) {
    context.help = QString::fromUtf8(row.help);
    if (row.command == kCmdAmplify)
        return std::make_unique<LAmplifyDialog>(std::move(context), row, std::move(effect));
    if (row.command == kCmdNormalize)
        return std::make_unique<LNormalizeDialog>(std::move(context), row, std::move(effect));
    return std::make_unique<LParameterDialog>(std::move(context), row, std::move(effect));
}

}  // namespace ondarix
