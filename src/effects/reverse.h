// SPDX-License-Identifier: GPL-3.0-or-later
// The sound backwards.
#pragma once
#include "effects/param_table.h"

namespace ondarix {

// Not a filter: a source that reads the one behind it in blocks of 8192 frames, from the last one on. The
// channels of a frame keep their order.
class LReverseEffect final : public LPlainEffect<LReverseEffect> {
  public:
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("Reverse"); }
    int32_t GetType() const override { return 0; }
};

}  // namespace ondarix
