// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/graph_cursor.h"
