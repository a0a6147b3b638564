// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "sound/wrapper_source.h"

namespace ondarix {

// A link of a play chain.
class LPlayWrapper : public LWrapperSource {
  protected:
    using LWrapperSource::LWrapperSource;
    // `frames` frames of the child from `first` on, zeros where it has none.
    float* ReadChild(float* dest, int64_t first, int64_t frames);
};

}  // namespace ondarix
