// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QString>

namespace ondarix {

// A widget that paints a value itself, which assistive programs ask for when they want it: nothing is sent
// while it changes many times a second.
class LSpokenValue {
  public:
    virtual ~LSpokenValue() = default;
    virtual QString SpokenValue() const = 0;
};

// From now on such widgets answer. Once for the program; later calls do nothing. [ui]
void InstallSpokenValues();

}  // namespace ondarix
