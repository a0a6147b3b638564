// SPDX-License-Identifier: GPL-3.0-or-later
// Opening and saving as the writing subcommands share it.
#pragma once
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

// The private folder of working files for the time of one command.
class LWorkingFolder {
  public:
    LWorkingFolder();
    ~LWorkingFolder();
    LWorkingFolder(const LWorkingFolder&) = delete;
    LWorkingFolder& operator=(const LWorkingFolder&) = delete;
    bool IsOpen() const { return open_; }

  private:
    bool open_;
};

// Where a sound goes and how, checked before any work is done.
struct LOutput {
    QString path;
    const LCoding* coding = nullptr;  // null: as the input has it
    bool noClobber = false;
    bool noShaping = false;
};
ExitStatus CheckOutput(const LArguments& arguments, LContext& context, LOutput& output);

ExitStatus LoadFile(const QString& path, LContext& context, LLoadedSound& loaded);
// Loads the sound that is to be saved, and settles the coding where none was asked for.
ExitStatus LoadInput(const QString& path, LContext& context, LLoadedSound& loaded, LOutput& output);
// Saves and fills the result of a JSON run.
ExitStatus SaveFile(LLoadedSound& loaded, const LOutput& output, LContext& context);

}  // namespace ondarix
