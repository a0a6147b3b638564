// SPDX-License-Identifier: GPL-3.0-or-later
// Options, keys and search.
#include "app/custom_keys.h"
#include "app/frame_handlers.h"
#include "app/options_dialog.h"
#include "app/search_bar.h"

namespace ondarix {
namespace {

void Options(LCommandCall& call) {
    LOptionsDialog dialog(&call.frame);
    QObject::connect(&dialog, &LOptionsDialog::Applied, &call.frame, &LMainFrame::SettingsChanged);
    dialog.exec();
}

void CustomKeys(LCommandCall& call) {
    LCustomKeysDialog dialog(call.frame);
    QObject::connect(&dialog, &LCustomKeysDialog::Changed, &call.frame, &LMainFrame::SettingsChanged);
    dialog.exec();
}

void Search(LCommandCall& call) {
    auto* bar = call.frame.findChild<LSearchBar*>();
    if (!bar) bar = new LSearchBar(call.frame);
    bar->Open();
}

constexpr LCommandHandler kToolHandlers[] = {
    {kCmdOptions, Options},
    {kCmdCustomKeys, CustomKeys},
    {kCmdSearch, Search},
};

}  // namespace

std::span<const LCommandHandler> ToolHandlers() { return kToolHandlers; }

}  // namespace ondarix
