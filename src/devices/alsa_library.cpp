// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/alsa_library.h"

#include "devices/library.h"

namespace ondarix {
namespace {

void SayNothing(const char*, int, const char*, int, const char*, ...) {}

struct LAlsaLibrary {
    LAlsaApi api;
    LLibrary library{"libasound.so.2"};
    LAlsaLibrary() {
#define ONDARIX_ALSA_FIND(name) library.Find(#name, api.name);
        ONDARIX_ALSA_FUNCTIONS(ONDARIX_ALSA_FIND)
#undef ONDARIX_ALSA_FIND
        if (library.IsComplete()) api.snd_lib_error_set_handler(&SayNothing);
    }
};

}  // namespace

const LAlsaApi* AlsaApi() {
    static const LAlsaLibrary loaded;
    return loaded.library.IsComplete() ? &loaded.api : nullptr;
}

}  // namespace ondarix
