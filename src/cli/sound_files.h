// SPDX-License-Identifier: GPL-3.0-or-later
// Opening and saving as the writing subcommands share it.
#pragma once
#include <functional>

#include "cli/command.h"
#include "cli/terminal.h"
#include "formats/load.h"

namespace ondarix {

inline constexpr LOptionRow kBitsOption = {"--bits", "CODING",
                                           "samples of a .wav: 8, 16, 24, 32, float, alaw or mulaw"};
inline constexpr LOptionRow kNoShapingOption = {"--no-shaping", "",
                                                "round plainly where samples become 8 or 16 bits"};
inline constexpr LOptionRow kNoClobberOption = {"--no-clobber", "", "fail when OUT exists"};

// A way to keep samples in a WAV file.
struct LCoding {
    const char* name;  // of --bits
    uint16_t tag;
    uint16_t bits;
    const char* text;  // "PCM 16-bit"
};
// Null: none of those that can be written.
const LCoding* FindCoding(const QString& name);
const LCoding* FindCoding(uint16_t tag, uint16_t bits);

// Opens a file to read it as it stands, without working files, also while it grows. Why not in `fault`, which
// is empty where it could be opened.
LSoundSourceRef OpenFile(const QString& path, LContext& context, QString& fault);
ExitStatus LoadFile(const QString& path, LContext& context, LLoadedSound& loaded);

// Where a sound goes and how, checked before any work is done.
struct LOutputFile {
    QString path;                     // "-": nowhere
    const LCoding* coding = nullptr;  // that of the input where none is asked for; known once it is loaded
    bool noClobber = false;
    bool noShaping = false;
    bool IsNone() const { return path == "-"; }
};
using LSoundChange = std::function<ExitStatus(LLoadedSound&, const LOutputFile&)>;

// What the commands with IN and OUT do: checks OUT before any work is done, loads IN with its bookmarks into
// a private folder, lets `change` at the sound, saves it in the coding asked for or the one that it had, the
// bookmarks beside it, and fills the result of a JSON run. `mayBeNone`: OUT may be "-".
ExitStatus RewriteSound(const LArguments& arguments, LContext& context, const LSoundChange& change,
                        bool mayBeNone = false);

}  // namespace ondarix
