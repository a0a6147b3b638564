// SPDX-License-Identifier: GPL-3.0-or-later
// The program's folders. With ONDARIX_HOME set all of them lie under that folder (portable use, tests).
// Every one is created when first asked for; an empty string means that it cannot be.
#pragma once
#include <QString>

namespace ondarix {

QString DataFolder();     // working files and what belongs to the user's work
QString ConfigFolder();   // settings.db
QString RuntimeFolder();  // lock and sockets, mode 0700; short enough for a socket's address
QString TempFolder();     // scratch; ONDARIX_HOME/tmp or the system's

}  // namespace ondarix
