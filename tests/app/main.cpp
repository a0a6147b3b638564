// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <QTemporaryDir>

#include "app/application.h"

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    const QTemporaryDir home;
    qputenv("ONDARIX_HOME", home.path().toUtf8());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    ondarix::LApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
