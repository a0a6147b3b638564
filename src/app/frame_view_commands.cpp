// SPDX-License-Identifier: GPL-3.0-or-later
#include <QMessageBox>
#include <cmath>

#include "app/frame_handlers.h"
#include "app/input_dialogs.h"
#include "app/theme.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

constexpr double kVerticalStep = 1.5;

void ZoomVertically(LCommandCall& call, double factor) {
    call.sound->View().SetVerticalZoom(call.sound->View().VerticalZoom() * factor);
}

void ToggleDb(LCommandCall& call) {
    const QString section = QStringLiteral("Settings"), name = QStringLiteral("ShowDBLines");
    const bool on = !GetSettingBool(section, name, false);
    SetSettingBool(section, name, on);
    for (LSoundWindow* sound : call.frame.Sounds()) sound->View().SetShowsDb(on);
}

void ChooseTheme(LCommandCall& call) {
    const auto choice = static_cast<LThemeChoice>(call.id - kCmdThemeSystem);
    StoreTheme(choice);
    ApplyTheme(choice);
}

void ZoomToDb(LCommandCall& call) {
    const auto typed =
        AskName(&call.frame, QStringLiteral("Zoom to dB Range"),
                QStringLiteral("&Full height, in dB below full scale:"), QStringLiteral("-12"));
    if (!typed) return;
    bool ok = false;
    const double level = typed->trimmed().toDouble(&ok);
    if (ok && std::isfinite(level))
        call.sound->View().ZoomToDbRange(-std::abs(level));
    else
        call.Host().Messages().Tell(QStringLiteral("Zoom to dB Range"),
                                    QStringLiteral("The level is a number of decibels, such as -12."));
}

void ToggleSampleEditing(LCommandCall& call) {
    LWaveView& view = call.sound->View();
    view.SetSampleEditing(!view.SampleEditing());
}

void About(LCommandCall& call) {
    QMessageBox box(&call.frame);
    box.setObjectName(QStringLiteral("aboutDialog"));
    box.setWindowTitle(QStringLiteral("About Ondarix"));
    box.setIconPixmap(ProgramIcon().pixmap(72, 72));
    box.setText(QStringLiteral("<h3>Ondarix Sound Editor %1</h3>").arg(QStringLiteral(ONDARIX_VERSION)));
    box.setInformativeText(QStringLiteral(
        "Vellmark Works. Free software under the GNU General Public License, version 3 or later."));
    box.exec();
}

constexpr LCommandHandler kViewHandlers[] = {
    {kCmdZoomIn, [](LCommandCall& call) { call.sound->View().Zoom(0.5); }},
    {kCmdZoomOut, [](LCommandCall& call) { call.sound->View().Zoom(2); }},
    {kCmdZoomFull, [](LCommandCall& call) { call.sound->Range().ShowAll(); }},
    {kCmdZoomToSelection, [](LCommandCall& call) { call.sound->View().ZoomToSelection(); }},
    {kCmdVerticalIn, [](LCommandCall& call) { ZoomVertically(call, kVerticalStep); }},
    {kCmdVerticalOut, [](LCommandCall& call) { ZoomVertically(call, 1 / kVerticalStep); }},
    {kCmdVerticalDefault, [](LCommandCall& call) { call.sound->View().SetVerticalZoom(1); }},
    {kCmdZoomToDb, ZoomToDb},
    {kCmdMonoView, [](LCommandCall& call) { call.sound->View().SetMonoView(true); }},
    {kCmdMultiChannelView, [](LCommandCall& call) { call.sound->View().SetMonoView(false); }},
    {kCmdSampleEditing, ToggleSampleEditing},
    {kCmdShowDb, ToggleDb},
    {kCmdThemeSystem, ChooseTheme},
    {kCmdThemeLight, ChooseTheme},
    {kCmdThemeDark, ChooseTheme},
    {kCmdHideTools, [](LCommandCall& call) { call.frame.ShowTools(!call.frame.ShowsTools()); }},
    {kCmdSidePanel, [](LCommandCall& call) { call.frame.ShowSidePanel(!call.frame.ShowsSidePanel()); }},
    {kCmdPlayerBar, [](LCommandCall& call) { call.frame.ShowPlayer(!call.frame.ShowsPlayer()); }},
    {kCmdTabs, [](LCommandCall& call) { call.frame.Area().ShowTabs(!call.frame.Area().ShowsTabs()); }},
    {kCmdTile, [](LCommandCall& call) { call.frame.Area().Tile(); }},
    {kCmdCascade, [](LCommandCall& call) { call.frame.Area().Cascade(); }},
    {kCmdNextSound, [](LCommandCall& call) { call.frame.Area().activateNextSubWindow(); }},
    {kCmdPreviousSound, [](LCommandCall& call) { call.frame.Area().activatePreviousSubWindow(); }},
    {kCmdAbout, About},
};

}  // namespace

std::span<const LCommandHandler> ViewHandlers() { return kViewHandlers; }

}  // namespace ondarix
