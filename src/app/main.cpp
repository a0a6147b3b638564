// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/startup.h"

int main(int argc, char** argv) { return ondarix::RunEditor(argc, argv); }
