// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <memory>

#include "devices/output.h"

namespace ondarix {

std::unique_ptr<LOutput> MakePipeWireOutput();

}  // namespace ondarix
