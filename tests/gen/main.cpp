// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "gen/settings_worker.h"

// The same program is its own second process: "--settings-worker N COUNT" writes and leaves.
int main(int argc, char** argv) {
    if (argc == 4 && QString::fromLatin1(argv[1]) == QLatin1String("--settings-worker"))
        return ondarix::RunSettingsWorker(QString::fromLatin1(argv[2]), QByteArray(argv[3]).toInt());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
