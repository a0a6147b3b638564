// SPDX-License-Identifier: GPL-3.0-or-later
// Every effect, one row each: the factory by type number, and where dialogs, menus, storage, the chain window
// and the command line find what they need. A family is a file with its effects and its rows.
#pragma once
#include <span>

#include "effects/effect.h"

namespace ondarix {

enum LEffectFlag : uint16_t {
    kEffectPlain = 0,
    kEffectInChain = 1,     // offered by the chain window
    kEffectStereoOnly = 2,  // passes other layouts through; the command refuses or asks first
    kEffectNoDialog = 4,    // applied at once
    kEffectNoPreview = 8,
    kEffectOwnDialog = 16,  // has a dialog of its own instead of the one that all share
};

inline constexpr int32_t kPluginEffectType = 32767;

struct LEffectRow {
    int32_t type;                        // key in stored files; 0: a command only, in no file
    const char* id;                      // permanent, lower case with hyphens: the command line's name
    const char* name;                    // of GetName
    const char* undoName;                // in history and progress
    int command;                         // number of the frame's command; 0: none
    uint16_t flags;                      // LEffectFlag
    const char* section;                 // of the settings, where the last used values are kept
    std::unique_ptr<LEffect> (*make)();  // with its defaults; null: not in this version
    const char* help;                    // one line, no full stop
};

// All rows, those of this version and those whose type numbers are taken.
std::span<const LEffectRow> EffectTable();
const LEffectRow* FindEffect(int32_t type);         // null: unknown, and for 0
const LEffectRow* FindEffect(const QString& text);  // by id or name, in any case; those of this version
const LEffectRow* FindEffectOfCommand(int command);

// With its defaults. A placeholder that keeps number and stored fields for a type that this version does not
// know; null for 0.
std::unique_ptr<LEffect> MakeEffect(int32_t type);

// A type that this version does not know: passes every sound through, and is saved as it was loaded.
class LUnknownEffect final : public LEffect {
  public:
    explicit LUnknownEffect(int32_t type) : type_(type) {}
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override { return source; }
    QString GetName() const override { return QStringLiteral("Unknown"); }
    int32_t GetType() const override { return type_; }
    std::unique_ptr<LEffect> Clone() const override { return std::make_unique<LUnknownEffect>(*this); }
    void Save(LLsdfWriter& writer) const override;
    void Load(LLsdfReader& reader) override;
    // Byte for byte as it was loaded, whatever stands there; the common part anew where bypass, word or
    // `enabled` have changed since.
    void SaveStored(LLsdfWriter& writer) const override;
    void LoadStored(LLsdfReader& reader) override;

  private:
    struct LField {
        uint16_t id = 0, type = 0;
        QByteArray payload;
    };
    static constexpr int64_t kMostBytes = 1 << 28;  // of all fields together
    static constexpr size_t kNone = SIZE_MAX;
    bool TakeField(const LsdfChunk& chunk, LLsdfReader& reader, int64_t& left);

    int32_t type_;
    std::vector<LField> fields_;
    size_t common_ = kNone;  // of fields_
    uint8_t loadedBypass_ = 0;
    uint32_t loadedWord_ = 0;
};

// The parts of the table, one family each.
std::span<const LEffectRow> GainEffectRows();       // effects/gain.cpp
std::span<const LEffectRow> EnvelopeEffectRows();   // effects/envelope.cpp
std::span<const LEffectRow> ChannelEffectRows();    // effects/channels.cpp
std::span<const LEffectRow> NormalizeEffectRows();  // effects/normalize.cpp
std::span<const LEffectRow> LaterEffectRows();      // effects/effect_table.cpp

}  // namespace ondarix
