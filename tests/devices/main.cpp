// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QTemporaryDir>

// Players post to the event loop of the main thread; settings are those of an empty home.
int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    const QTemporaryDir home;
    qputenv("ONDARIX_HOME", home.path().toUtf8());
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
