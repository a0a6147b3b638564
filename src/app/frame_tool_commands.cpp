// SPDX-License-Identifier: GPL-3.0-or-later
// Options, keys and search.
#include "app/custom_keys.h"
#include "app/frame_handlers.h"
#include "app/options_dialog.h"
#include "app/playback.h"
#include "app/player_bar.h"
#include "app/search_bar.h"
#include "devices/device_list.h"

namespace ondarix {
namespace {

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
    {kCmdOptions, [](LCommandCall& call) { call.frame.ShowOptions(); }},
    {kCmdCustomKeys, CustomKeys},
    {kCmdSearch, Search},
};

}  // namespace

void LMainFrame::ShowOptions(const QString& page) {
    LOptionsDialog dialog(this);
    dialog.ShowPage(page);
    connect(&dialog, &LOptionsDialog::Applied, this, [this, device = ChosenOutputText()]() mutable {
        SettingsChanged();
        playback_->OptionsChanged();
        const QString now = ChosenOutputText();
        if (now == device) return;
        device = now;
        playback_->DeviceChanged();
        playerBar_->ShowSettings();
    });
    dialog.exec();
}

std::span<const LCommandHandler> ToolHandlers() { return kToolHandlers; }

}  // namespace ondarix
