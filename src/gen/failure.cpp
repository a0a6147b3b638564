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
    char line[96];
    const int length = std::snprintf(line, sizeof line, "ondarix: out of memory (phase %d, thread %d)\n",
                                     static_cast<int>(ProgramPhase()), static_cast<int>(gettid()));
    [[maybe_unused]] const ssize_t put = write(STDERR_FILENO, line, static_cast<size_t>(length));
    std::abort();
}

}  // namespace

void InstallOutOfMemoryHandler() { std::set_new_handler(&OnOutOfMemory); }

}  // namespace ondarix
