// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/pulse_library.h"

#include "devices/library.h"

namespace ondarix {
namespace {

struct LPulseLibrary {
    LPulseApi api;
    LLibrary library{"libpulse.so.0"};
    LPulseLibrary() {
#define ONDARIX_PULSE_FIND(name) library.Find(#name, api.name);
        ONDARIX_PULSE_FUNCTIONS(ONDARIX_PULSE_FIND)
#undef ONDARIX_PULSE_FIND
    }
};

}  // namespace

const LPulseApi* PulseApi() {
    static const LPulseLibrary loaded;
    return loaded.library.IsComplete() ? &loaded.api : nullptr;
}

}  // namespace ondarix
