// SPDX-License-Identifier: GPL-3.0-or-later
// One effect as the user has set it: parameters, presets, how it is stored, and what it makes of a source.
// A value: no thread owns it, but one at a time uses it.
#pragma once
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "gen/lsdf.h"
#include "gen/progress.h"
#include "sound/source.h"

namespace ondarix {

// Codes are those of stored files and permanent.
enum class LParamType : uint8_t {
    kInt = 0,     // signed, 32 bits
    kChoice = 2,  // a byte; `choices` name its values from 0 on
    kDouble = 3,
    kDb = 4,  // a signed byte in dB; kMinusInfinityDb is silence
    kBool = 5,
    kInt64 = 7,
    kU16 = 9,
};
inline constexpr int8_t kMinusInfinityDb = -127;

// What GetParameterInfo tells. Every type is exact as a double: the widths that need more are not used near
// their limits.
struct LEffectParam {
    LParamType type = LParamType::kInt;
    double minimum = 0, maximum = 0, value = 0;  // maximum included
    QString id;                                  // permanent: the command line's name, lower case
    QString name;                                // for people
    QString unit;                                // "%", "ms", "Hz", "dB" or empty
    QString setting;  // the name under which the last used value is kept; empty: `id`
    QStringList choices;
    bool isStoredLinear = false;  // a level in dB (kDouble) whose last used value is kept as 10^(dB / 20)
};
// "-6 dB", "-inf dB", "Sinusoidal", "0.5 Hz", "on": as people read and type it, without the unit where
// `withUnit` is false. The text that ParseParam takes back.
QString ParamText(const LEffectParam& param, double value, bool withUnit = true);
// Nothing where the text is no value of that type or lies outside of the range. Units may be there or not; a
// choice is its name, the start of it where that is unique, or its number; "-inf" is kMinusInfinityDb.
std::optional<double> ParseParam(const LEffectParam& param, const QString& text);

// A value that is no parameter.
struct LEffectOption {
    QString id;
    QString value;  // the present one as SetOption takes it; empty: the parameters tell it
    QString help;   // one line, with an example of its form
};

// Opens the sound that an effect is going to work on, from its start, in the state that the effects before it
// leave it in.
using LOpenSource = std::function<LSoundSourceRef()>;

class LEffect {
  public:
    LEffect() = default;
    virtual ~LEffect() = default;

    // A filter over `source`, which may come back itself where there is nothing to do, where it has failed,
    // or where the effect has no meaning for its format. Does not change the effect.
    virtual LSoundSourceRef CreateFilter(LSoundSourceRef source) const = 0;
    virtual QString GetName() const = 0;
    virtual int32_t GetType() const = 0;  // key in stored files; 0: never stored
    virtual std::unique_ptr<LEffect> Clone() const = 0;
    virtual bool IsEnabled() const { return true; }

    virtual int GetParameterCount() const { return 0; }
    // Clamped to the range; what is no number, and an index outside, changes nothing.
    virtual void SetParameter(int /*index*/, double /*value*/) {}
    virtual bool GetParameterInfo(int /*index*/, LEffectParam& /*out*/) const { return false; }

    // The effect's own fields into the chunk that is open: one chunk for each parameter from 8192 on, after
    // the common part (see SaveStored). Doubles are stored as 32-bit floats, whole numbers in 32 bits.
    virtual void Save(LLsdfWriter& writer) const;
    // Of the group that has been entered; what is missing or of another type keeps its value.
    virtual void Load(LLsdfReader& reader);
    // The whole stored form, into and out of the group that is open: the common part, then the own fields.
    virtual void SaveStored(LLsdfWriter& writer) const;
    virtual void LoadStored(LLsdfReader& reader);
    // The older form: the bare parameters in their order, little-endian, each in its own width.
    virtual void LoadFixed(std::span<const uint8_t> bytes);
    virtual int GetStorageVersion() const { return 1; }
    virtual bool IsFixed() const { return false; }
    virtual void SetHost(void* /*window*/) {}
    virtual void Detach() {}
    // Of an editor of its own, in pixels; false: the dialog that all share.
    virtual bool GetEditorSize(int& /*width*/, int& /*height*/) const { return false; }

    virtual int GetPresetCount() const { return 0; }
    virtual QString GetPresetName(int /*index*/) const { return {}; }
    virtual void SetPreset(int /*index*/) {}  // outside of the table: nothing
    // The built-in preset that has the present values (integers exactly, doubles within 0.01), or -1.
    virtual int GetCurrentPreset() const;
    virtual void SetDefaults() {}
    // Everything that a user's preset holds, exactly, on one line and the same in every language. Here: the
    // parameters in their order, separated by blanks.
    virtual QString PresetText() const;
    // False, and nothing changed, where the text is none of PresetText; values are clamped to their ranges.
    // Here: parameters that the text has not get their defaults, so that presets of earlier versions last.
    virtual bool SetPresetText(const QString& text);

    // --- What effects need that must know the whole sound before they can begin.
    virtual bool NeedsMeasure() const { return false; }
    // Reads what `open` gives once and remembers what it found for CreateFilter. Any thread; reports
    // fractions and asks for cancelling every block. kCancelled and kFailed leave nothing to be applied.
    virtual JobResult Measure(const LOpenSource& /*open*/, LProgress& /*progress*/) {
        return JobResult::kSuccess;
    }

    // --- Values that are no parameters (points of a curve, gains of many channels).
    // The format of the sound that the effect will be used on; parameters may follow it.
    virtual void SetFormat(LSoundFormat /*format*/) {}
    // By name, from the command line: why it cannot be taken, empty where it was. Here: the parameters by
    // their ids.
    virtual QString SetOption(const QString& name, const QString& value);
    // What SetOption takes beside the parameters.
    virtual std::vector<LEffectOption> GetOptions() const { return {}; }

    // Saved with the effect, and used by the chain.
    bool enabled = true;  // in its chain
    uint8_t bypass = 0;   // not 0: passed over
    uint32_t storedWord = 0;

  protected:
    LEffect(const LEffect&) = default;
    LEffect& operator=(const LEffect&) = default;
};

// The common part of a stored effect: bypass and word. The format has no place for `enabled`: an effect that
// is off in its chain is stored as bypassed, so that every reader passes it over.
void SaveCommonPart(const LEffect& effect, LLsdfWriter& writer);
// Skips what stands before it; false where there is none.
bool LoadCommonPart(LEffect& effect, LLsdfReader& reader);

inline constexpr uint16_t kEffectTypeTag = 8192;   // in a chain: the type number of the next effect
inline constexpr uint16_t kEffectGroupTag = 4096;  // in a chain: an effect; in an effect: the common part
inline constexpr uint16_t kFirstFieldTag = 8192;   // of the effect's own fields; in the common part: bypass
inline constexpr uint16_t kStoredWordTag = 12288;

}  // namespace ondarix
