// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/start_trace.h"

#include <QtGlobal>
#include <cstdio>
#include <set>
#include <string>

namespace ondarix {

void TraceStart(const char* word) {
    static const bool on = qEnvironmentVariableIsSet("ONDARIX_TRACE_START");
    if (!on) return;
    static std::set<std::string> told;
    if (told.insert(word).second) std::fprintf(stderr, "%s\n", word);
}

}  // namespace ondarix
