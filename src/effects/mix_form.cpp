// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/mix_form.h"

#include "effects/stored_values.h"

namespace ondarix {
namespace {

LEffectRow RowOfForm(const char* section) {
    LEffectRow row{};
    row.section = section;
    return row;
}

}  // namespace

void LoadForm(LEffect& form, const char* section) { LoadStoredValues(form, RowOfForm(section)); }

bool StoreForm(const LEffect& form, const char* section) {
    return SaveStoredValues(form, RowOfForm(section));
}

}  // namespace ondarix
