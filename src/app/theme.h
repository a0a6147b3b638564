// SPDX-License-Identifier: GPL-3.0-or-later
// The looks of the program: a light and a dark one over the Fusion style, and the colours of what the program
// paints itself. [ui]
#pragma once
#include <QColor>
#include <QIcon>
#include <QString>

namespace ondarix {

enum class LThemeChoice : int { kSystem = 0, kLight = 1, kDark = 2 };

// Of the waveform and its rulers.
struct LWaveColours {
    QColor background;  // of a channel's strip
    QColor gap;         // between strips and behind the end of the sound
    QColor wave;        // body, away from the centre
    QColor waveCore;    // body, at the centre line
    QColor selection;   // background of what is selected
    QColor selectedWave, selectedCore;
    QColor centre;  // centre line
    QColor grid;    // lines at labelled levels
    QColor cursor;
    QColor played;  // where the sound is heard
    QColor rulerBackground, rulerText, rulerTick;
    QColor area;                    // behind the windows of the sounds
    QColor titleBar;                // of the window of the active sound
    QColor clip;                    // samples beyond full scale
    QColor bookmark, bookmarkText;  // flag and line; the name on the flag
    QColor region, regionText;      // border of a region; its name
    QColor joint;                   // tick where edits have joined pieces
    QColor pencil;                  // samples being drawn
    QColor focus;                   // frame of what the keyboard works on
};

// The setting "Theme" of section "Settings".
LThemeChoice StoredTheme();
void StoreTheme(LThemeChoice choice);

// Style and palette of the whole application; widgets learn of it by QEvent::PaletteChange.
void ApplyTheme(LThemeChoice choice);
bool IsDarkTheme();
const LWaveColours& WaveColours();
// What the desktop prefers, as far as it was told; used by LThemeChoice::kSystem.
void SetSystemPrefersDark(bool dark);

// A line drawing of the program's resources in the colour of the present theme's text; empty for an
// unknown name. Drawn when first painted, at the resolution of the screen.
QIcon ThemedIcon(const QString& name);
QIcon ProgramIcon();

}  // namespace ondarix
