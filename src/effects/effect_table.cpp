// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/effect_table.h"

namespace ondarix {
namespace {

const std::vector<LEffectRow>& AllRows() {
    static const std::vector<LEffectRow> rows = [] {
        std::vector<LEffectRow> all;
        for (const auto family : {GainEffectRows(), EnvelopeEffectRows(), ChannelEffectRows(),
                                  NormalizeEffectRows(), LaterEffectRows()})
            all.insert(all.end(), family.begin(), family.end());
        return all;
    }();
    return rows;
}

// Numbers that files of other versions hold.
constexpr LEffectRow Taken(int32_t type, const char* id, const char* name) {
    return {type, id, name, name, 0, kEffectPlain, "", nullptr, ""};
}

constexpr LEffectRow kLaterRows[] = {
    Taken(2, "compressor", "Compressor"),
    Taken(3, "echo", "Echo"),
    Taken(4, "chorus", "Chorus"),
    Taken(5, "distortion", "Distortion"),
    Taken(6, "high-pass", "High Pass"),
    Taken(7, "flanger", "Flanger"),
    Taken(8, "reverb", "Reverb"),
    Taken(9, "equalizer", "Equalizer"),
    Taken(10, "parametric-eq", "Parametric EQ"),
    Taken(11, "graphic-eq", "Graphic EQ"),
    Taken(12, "visual-eq", "Visual EQ"),
    Taken(13, "pitch-shifter", "Pitch Shifter"),
    Taken(14, "formant-pitch-shifter", "Pitch Shifter"),
    Taken(15, "low-pass", "Low Pass"),
    Taken(16, "band-equalizer", "Unnamed Effect"),
    Taken(17, "3-band-equalizer", "3 Band Equalizer"),
    Taken(19, "tremolo", "Tremolo"),
    Taken(20, "vibrato", "Vibrato"),
    Taken(21, "doppler", "Doppler"),
    Taken(22, "wah-wah", "Wah-Wah"),
    Taken(23, "graphic-compressor", "Graphic Compressor"),
    Taken(24, "voice-pitch-shifter", "Voice Pitch Shifter"),
    Taken(27, "phaser", "Phaser"),
    Taken(28, "am-radio", "AM Radio"),
    Taken(29, "telephone", "Telephone"),
    Taken(30, "noise-gate", "Noise Gate"),
    Taken(31, "multiband-noise-gate", "Multiband Noise Gating"),
    Taken(32, "click-removal", "Click/Pop Removal"),
    Taken(33, "de-esser", "De-esser"),
    Taken(34, "platform-effect", "Platform Effect"),
    Taken(40, "delay", "Delay"),
    Taken(kPluginEffectType, "plugin", "VST"),
};

}  // namespace

std::span<const LEffectRow> LaterEffectRows() { return kLaterRows; }

std::span<const LEffectRow> EffectTable() { return AllRows(); }

const LEffectRow* FindEffect(int32_t type) {
    for (const LEffectRow& row : AllRows())
        if (type != 0 && row.type == type) return &row;
    return nullptr;
}

const LEffectRow* FindEffect(const QString& text) {
    for (const LEffectRow& row : AllRows()) {
        if (row.make && (text.compare(QLatin1String(row.id), Qt::CaseInsensitive) == 0 ||
                         text.compare(QString::fromUtf8(row.name), Qt::CaseInsensitive) == 0))
            return &row;
    }
    return nullptr;
}

const LEffectRow* FindEffectOfCommand(int command) {
    for (const LEffectRow& row : AllRows())
        if (command != 0 && row.command == command) return &row;
    return nullptr;
}

std::unique_ptr<LEffect> MakeEffect(int32_t type) {
    if (type == 0) return nullptr;
    const LEffectRow* row = FindEffect(type);
    return row && row->make ? row->make() : std::make_unique<LUnknownEffect>(type);
}

bool LUnknownEffect::TakeField(const LsdfChunk& chunk, LLsdfReader& reader, int64_t& left) {
    if (chunk.size > left) return false;
    left -= chunk.size;
    fields_.push_back({chunk.id, chunk.type, reader.Bytes(0, chunk.size)});
    return true;
}

void LUnknownEffect::Save(LLsdfWriter& writer) const {
    for (size_t i = 0; i < fields_.size(); ++i) {
        if (i == common_) continue;
        writer.Open(fields_[i].id, static_cast<LsdfType>(fields_[i].type));
        writer.Write(fields_[i].payload.constData(), fields_[i].payload.size());
        writer.CloseChunk();
    }
}

void LUnknownEffect::Load(LLsdfReader& reader) {
    fields_.clear();
    common_ = kNone;
    int64_t left = kMostBytes;
    while (const auto chunk = reader.Next())
        if (!TakeField(*chunk, reader, left)) return;
}

void LUnknownEffect::SaveStored(LLsdfWriter& writer) const {
    const bool same = enabled && bypass == loadedBypass_ && storedWord == loadedWord_;
    if (common_ == kNone || !same) SaveCommonPart(*this, writer);
    for (size_t i = 0; i < fields_.size(); ++i) {
        if (i == common_ && !same) continue;
        writer.Open(fields_[i].id, static_cast<LsdfType>(fields_[i].type));
        writer.Write(fields_[i].payload.constData(), fields_[i].payload.size());
        writer.CloseChunk();
    }
}

void LUnknownEffect::LoadStored(LLsdfReader& reader) {
    fields_.clear();
    common_ = kNone;
    int64_t left = kMostBytes;
    while (const auto chunk = reader.Next()) {
        if (!TakeField(*chunk, reader, left)) break;
        if (common_ != kNone || chunk->id != kEffectGroupTag || !reader.Enter()) continue;
        common_ = fields_.size() - 1;
        while (const auto field = reader.Next()) {
            if (field->id == kFirstFieldTag) bypass = reader.Byte().value_or(bypass);
            if (field->id == kStoredWordTag) storedWord = reader.U32().value_or(storedWord);
        }
        reader.Leave();
    }
    loadedBypass_ = bypass;
    loadedWord_ = storedWord;
}

}  // namespace ondarix
