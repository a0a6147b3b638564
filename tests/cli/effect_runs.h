// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of effects on the command line share.
#pragma once
#include <QJsonArray>
#include <functional>

#include "cli/program.h"

namespace ondarix::test {

// The array of "effects --json".
QJsonArray AllEffects(const Home& home);

// Fails with `status` and exactly one line that holds all of `parts`, and changes nothing on disk.
void ExpectRefused(const Home& home, const QStringList& line, int status, const QStringList& parts = {},
                   const std::function<void()>& inChild = {});

}  // namespace ondarix::test
