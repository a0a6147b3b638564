// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/theme.h"

#include <QApplication>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleOption>

#include "gen/settings.h"

namespace ondarix {
namespace {

struct LThemeState {
    LThemeChoice choice = LThemeChoice::kSystem;
    bool systemDark = false;
    bool asked = false;
    bool dark = false;
};
LThemeState& State() {
    static LThemeState state;
    return state;
}

// Fusion without pictures on the buttons of dialogs, and with boxes to tick that can be seen on a dark
// ground: Fusion draws their outline darker than the window.
class LPlainFusion final : public QProxyStyle {
  public:
    LPlainFusion() : QProxyStyle(QStringLiteral("Fusion")) {}
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override {
        if (hint == SH_DialogButtonBox_ButtonsHaveIcons) return 0;
        return QProxyStyle::styleHint(hint, option, widget, data);
    }
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override {
        const bool isBox = element == PE_IndicatorCheckBox || element == PE_IndicatorRadioButton;
        const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
        if (!isBox || !IsDarkTheme() || !button)
            return QProxyStyle::drawPrimitive(element, option, painter, widget);
        QStyleOptionButton lighter(*button);
        lighter.palette.setColor(QPalette::Window, QColor(kBoxOutline));
        QProxyStyle::drawPrimitive(element, &lighter, painter, widget);
    }

  private:
    static constexpr QRgb kBoxOutline = 0xffb4bac2;  // which Fusion darkens
};

struct LPaletteRow {
    QPalette::ColorRole role;
    QRgb light, dark;
};
constexpr LPaletteRow kPalette[] = {
    {QPalette::Window, 0xfff2f4f5, 0xff25292d},
    {QPalette::WindowText, 0xff1c2327, 0xffdde3e8},
    {QPalette::Base, 0xffffffff, 0xff1b1e21},
    {QPalette::AlternateBase, 0xfff5f7f8, 0xff202427},
    {QPalette::Text, 0xff1c2327, 0xffdde3e8},
    {QPalette::Button, 0xffe9edef, 0xff30363b},
    {QPalette::ButtonText, 0xff1c2327, 0xffdde3e8},
    {QPalette::BrightText, 0xffc62828, 0xffff6b6b},
    {QPalette::ToolTipBase, 0xff2b3338, 0xff3a4249},
    {QPalette::ToolTipText, 0xfff4f6f7, 0xfff0f3f5},
    {QPalette::Highlight, 0xff12887a, 0xff3f7fd0},
    {QPalette::HighlightedText, 0xffffffff, 0xffffffff},
    {QPalette::Link, 0xff0d7468, 0xff8cb4ff},
    {QPalette::LinkVisited, 0xff5b5f97, 0xffb39ddb},
    {QPalette::PlaceholderText, 0xff5f6c73, 0xff7d888f},
    {QPalette::Light, 0xffffffff, 0xff3d444a},
    {QPalette::Midlight, 0xfff4f6f7, 0xff343a40},
    {QPalette::Mid, 0xffbfc8cc, 0xff1e2225},
    {QPalette::Dark, 0xff9ba7ad, 0xff15181a},
    {QPalette::Shadow, 0xff6b767c, 0xff0b0d0e},
};

QPalette PaletteOf(bool dark) {
    QPalette palette;
    for (const LPaletteRow& row : kPalette)
        palette.setColor(row.role, QColor::fromRgb(dark ? row.dark : row.light));
    const QColor off = QColor::fromRgb(dark ? 0xff6b757c : 0xff9aa5ab);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, off);
    palette.setColor(QPalette::Disabled, QPalette::Highlight,
                     QColor::fromRgb(dark ? 0xff3a4147 : 0xffc9d2d6));
    return palette;
}

const LWaveColours kLight = {
    .background = QColor(0xff, 0xff, 0xff),
    .gap = QColor(0xe8, 0xe8, 0xe8),
    .wave = QColor(41, 181, 163),
    .waveCore = QColor(14, 128, 116),
    .selection = QColor(0xcf, 0xe6, 0xf5),
    .selectedWave = QColor(38, 132, 190),
    .selectedCore = QColor(16, 84, 140),
    .centre = QColor(128, 181, 188),
    .grid = QColor(0xec, 0xf0, 0xf1),
    .cursor = QColor(255, 0, 0),
    .played = QColor(0x10, 0x14, 0x18),
    .rulerBackground = QColor(0xf7, 0xf9, 0xf9),
    .rulerText = QColor(58, 81, 88),
    .rulerTick = QColor(0xb4, 0xc0, 0xc5),
    .area = QColor(0xdd, 0xe4, 0xe7),
    .titleBar = QColor(0x4a, 0x66, 0x70),
    .clip = QColor(0xd9, 0x3a, 0x2b),
    .bookmark = QColor(0xd8, 0x7a, 0x00),
    .bookmarkText = QColor(0x6b, 0x3f, 0x00),
    .region = QColor(0x7a, 0x52, 0xb8),
    .regionText = QColor(0x4a, 0x2f, 0x78),
    .joint = QColor(0x8a, 0x98, 0xa0),
    .pencil = QColor(0xd0, 0x2f, 0x6e),
    .focus = QColor(0x12, 0x88, 0x7a),
};

const LWaveColours kDark = {
    .background = QColor(0x16, 0x19, 0x1c),
    .gap = QColor(0x0e, 0x10, 0x12),
    .wave = QColor(106, 189, 255),
    .waveCore = QColor(52, 118, 196),
    .selection = QColor(0x2a, 0x3a, 0x52),
    .selectedWave = QColor(190, 220, 255),
    .selectedCore = QColor(140, 180, 255),
    .centre = QColor(0x3c, 0x52, 0x68),
    .grid = QColor(0x22, 0x27, 0x2c),
    .cursor = QColor(0xff, 0x5a, 0x4e),
    .played = QColor(0x7c, 0xf2, 0x6e),
    .rulerBackground = QColor(0x20, 0x24, 0x28),
    .rulerText = QColor(0xa9, 0xb6, 0xbf),
    .rulerTick = QColor(0x4b, 0x55, 0x5d),
    .area = QColor(0x15, 0x18, 0x1b),
    .titleBar = QColor(0x35, 0x45, 0x52),
    .clip = QColor(0xff, 0x5a, 0x4e),
    .bookmark = QColor(0xff, 0xb0, 0x4a),
    .bookmarkText = QColor(0xff, 0xd9, 0xa6),
    .region = QColor(0xb0, 0x8c, 0xf0),
    .regionText = QColor(0xdd, 0xcd, 0xff),
    .joint = QColor(0x78, 0x86, 0x92),
    .pencil = QColor(0xff, 0x7a, 0xb0),
    .focus = QColor(0x5a, 0x9c, 0xf0),
};

}  // namespace

LThemeChoice StoredTheme() {
    const int stored = GetSettingInt(QStringLiteral("Settings"), QStringLiteral("Theme"), 0);
    return stored == 1 || stored == 2 ? static_cast<LThemeChoice>(stored) : LThemeChoice::kSystem;
}

void StoreTheme(LThemeChoice choice) {
    SetSettingInt(static_cast<int>(choice), QStringLiteral("Settings"), QStringLiteral("Theme"));
}

void ApplyTheme(LThemeChoice choice) {
    LThemeState& state = State();
    if (!state.asked) {  // before the first palette of our own hides that of the desktop
        state.systemDark =
            state.systemDark || QApplication::palette().color(QPalette::Window).lightness() < 128;
        state.asked = true;
    }
    state.choice = choice;
    state.dark = choice == LThemeChoice::kDark || (choice == LThemeChoice::kSystem && state.systemDark);
    if (!dynamic_cast<LPlainFusion*>(QApplication::style())) QApplication::setStyle(new LPlainFusion);
    QApplication::setPalette(PaletteOf(state.dark));
}

bool IsDarkTheme() { return State().dark; }

const LWaveColours& WaveColours() { return State().dark ? kDark : kLight; }

void SetSystemPrefersDark(bool dark) {
    LThemeState& state = State();
    state.asked = true;
    if (state.systemDark == dark) return;
    state.systemDark = dark;
    if (state.choice == LThemeChoice::kSystem) ApplyTheme(state.choice);
}

}  // namespace ondarix
