// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/failure.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <new>

#include "gen/phase.h"

namespace ondarix {
namespace {

// Allocates nothing itself.
void OnOutOfMemory() {
    char where[64];
    DescribeProgramPhase(where, sizeof where);
    char line[128];
    const int length = std::snprintf(line, sizeof line, "ondarix: out of memory (%s)\n", where);
    [[maybe_unused]] const ssize_t put = write(STDERR_FILENO, line, static_cast<size_t>(length));
    std::abort();
}

}  // namespace

void InstallOutOfMemoryHandler() { std::set_new_handler(&OnOutOfMemory); }

}  // namespace ondarix
