// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "devices/device_types.h"
#include "gen/messages.h"

namespace ondarix {

// Tells why nothing is heard on a device, by its text in quotes. True: the user wants to choose another one.
bool TellPlayFailure(LMessageHost& messages, uint16_t status, const QString& device, LDeviceMode mode,
                     bool whilePlaying);

}  // namespace ondarix
