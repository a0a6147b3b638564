// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QCoreApplication>
#include <QElapsedTimer>

#include "patience.h"

namespace ondarix {

// Lets events in until `done` answers true, `ms` at most.
template <typename Done>
bool PumpUntil(Done done, int ms = test::kPatienceMs) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.hasExpired(ms)) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

}  // namespace ondarix
