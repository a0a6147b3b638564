// SPDX-License-Identifier: GPL-3.0-or-later
// Settings that take the shape of an effect's parameters without being one: what mixing and crossfading ask
// for. Dialog, command line and storage walk the rows as they do for effects.
#pragma once
#include "effects/param_table.h"

namespace ondarix {

// CreateFilter passes everything through; the type is 0: in no file.
template <typename Derived, typename P>
class LSettingsForm : public LTableEffect<Derived, P> {
  public:
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override { return source; }
    int32_t GetType() const override { return 0; }
};

// From and to the section of the settings, each value under its `setting` name. What is absent or no value of
// the row keeps what the form has.
void LoadForm(LEffect& form, const char* section);
bool StoreForm(const LEffect& form, const char* section);

}  // namespace ondarix
