// SPDX-License-Identifier: GPL-3.0-or-later
#include "effects/chain.h"

#include <algorithm>
#include <utility>

#include "effects/effect_table.h"
#include "effects/stack.h"

namespace ondarix {
namespace {

// Equalizers are stored in the concrete form that is in use, never as the container of all of them.
constexpr int32_t kEqualizerContainer = 9;

bool IsOnInChain(const LEffect& effect) { return effect.enabled && effect.IsEnabled() && effect.bypass == 0; }

}  // namespace

LEffectChain::LEffectChain(const LEffectChain& other) : LEffect(other) {
    effects_.reserve(other.effects_.size());
    for (const auto& effect : other.effects_) effects_.push_back(effect->Clone());
}

LEffectChain& LEffectChain::operator=(const LEffectChain& other) {
    if (this != &other) *this = LEffectChain(other);
    return *this;
}

LEffect* LEffectChain::At(int index) {
    return IsInside(index) ? effects_[static_cast<size_t>(index)].get() : nullptr;
}

const LEffect* LEffectChain::At(int index) const {
    return IsInside(index) ? effects_[static_cast<size_t>(index)].get() : nullptr;
}

std::vector<const LEffect*> LEffectChain::Effects() const {
    std::vector<const LEffect*> all;
    all.reserve(effects_.size());
    for (const auto& effect : effects_) all.push_back(effect.get());
    return all;
}

bool LEffectChain::Insert(int index, std::unique_ptr<LEffect> effect) {
    if (!effect || index < 0 || index > Count() || Count() >= kMostEffects) return false;
    effects_.insert(effects_.begin() + index, std::move(effect));
    return true;
}

std::unique_ptr<LEffect> LEffectChain::Remove(int index) {
    if (!IsInside(index)) return nullptr;
    std::unique_ptr<LEffect> removed = std::move(effects_[static_cast<size_t>(index)]);
    effects_.erase(effects_.begin() + index);
    return removed;
}

std::unique_ptr<LEffect> LEffectChain::Replace(int index, std::unique_ptr<LEffect> effect) {
    if (!IsInside(index) || !effect) return nullptr;
    return std::exchange(effects_[static_cast<size_t>(index)], std::move(effect));
}

bool LEffectChain::Move(int from, int to) {
    if (!IsInside(from) || !IsInside(to)) return false;
    const auto begin = effects_.begin();
    if (from < to)
        std::rotate(begin + from, begin + from + 1, begin + to + 1);
    else
        std::rotate(begin + to, begin + from, begin + from + 1);
    return true;
}

void LEffectChain::SetEnabled(int index, bool on) {
    LEffect* const effect = At(index);
    if (!effect) return;
    effect->enabled = on;
    if (on) effect->bypass = 0;
}

bool LEffectChain::IsOn(int index) const {
    const LEffect* const effect = At(index);
    return effect && IsOnInChain(*effect);
}

LSoundSourceRef LEffectChain::CreateFilter(LSoundSourceRef source) const {
    return WrapInEffects(std::move(source), Effects());
}

bool LEffectChain::NeedsMeasure() const {
    return std::any_of(effects_.begin(), effects_.end(),
                       [](const auto& effect) { return IsOnInChain(*effect) && effect->NeedsMeasure(); });
}

JobResult LEffectChain::Measure(const LOpenSource& open, LProgress& progress) {
    LEffectChain measured(*this);
    for (size_t i = 0; i < measured.effects_.size(); ++i) {
        LEffect& effect = *measured.effects_[i];
        if (!IsOnInChain(effect) || !effect.NeedsMeasure()) continue;
        std::vector<const LEffect*> before = measured.Effects();
        before.resize(i);
        const auto openHere = [&] { return WrapInEffects(open(), before); };
        if (const JobResult result = effect.Measure(openHere, progress); result != JobResult::kSuccess)
            return result;
    }
    effects_ = std::move(measured.effects_);
    return JobResult::kSuccess;
}

void LEffectChain::SetFormat(LSoundFormat format) {
    for (const auto& effect : effects_) effect->SetFormat(format);
}

void LEffectChain::SetHost(void* window) {
    for (const auto& effect : effects_) effect->SetHost(window);
}

void LEffectChain::Detach() {
    for (const auto& effect : effects_) effect->Detach();
}

void LEffectChain::Save(LLsdfWriter& writer) const {
    for (const auto& effect : effects_) {
        if (effect->GetType() == 0) continue;
        writer.PutU32(kEffectTypeTag, static_cast<uint32_t>(effect->GetType()));
        writer.Open(kEffectGroupTag);
        effect->SaveStored(writer);
        writer.CloseChunk();
    }
}

void LEffectChain::Load(LLsdfReader& reader) {
    effects_.clear();
    int32_t type = 0;
    while (const auto chunk = reader.Next()) {
        if (chunk->id == kEffectTypeTag) {
            if (const auto value = reader.U32()) type = static_cast<int32_t>(*value);
            continue;
        }
        if (chunk->id != kEffectGroupTag || type == kEqualizerContainer) continue;
        std::unique_ptr<LEffect> effect = MakeEffect(type);
        if (!effect || !reader.Enter()) continue;
        effect->LoadStored(reader);
        reader.Leave();
        if (!Add(std::move(effect))) return;
    }
}

}  // namespace ondarix
