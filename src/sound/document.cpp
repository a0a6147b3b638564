// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/document.h"

#include <algorithm>

namespace ondarix {

void LSoundDocument::ClampPositions() {
    const int64_t length = Edited().Length();
    for (int64_t* position : {&selectionStart, &selectionEnd, &cursor, &viewStart, &viewEnd})
        *position = std::clamp<int64_t>(*position, 0, length);
}

}  // namespace ondarix
