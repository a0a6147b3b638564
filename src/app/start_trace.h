// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace ondarix {

// For measuring starts: with ONDARIX_TRACE_START set, writes each word once, as a line on standard error, at
// the moment when it first happens ("window", "waveform"). [ui]
void TraceStart(const char* word);

}  // namespace ondarix
