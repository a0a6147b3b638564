// SPDX-License-Identifier: GPL-3.0-or-later
// The life of the editor's process, from its arguments to its end.
#pragma once

class QWidget;

namespace ondarix {

// Either hands the arguments to the instance that runs, or is the instance until its window is closed.
// The exit status: 0, or 2 when no window can be had.
int RunEditor(int argc, char** argv);

// Called once before the first command line is worked through, to offer what was autosaved. Null: nothing.
extern void (*gOfferRecovery)(QWidget* frame);

}  // namespace ondarix
