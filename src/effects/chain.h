// SPDX-License-Identifier: GPL-3.0-or-later
// Effects one behind the other: what the chain window edits, what batch conversion applies, and what an
// ".ecf" file holds. An effect like any other to those that apply or play it.
#pragma once
#include "effects/effect.h"

namespace ondarix {

class LEffectChain final : public LEffect {
  public:
    // Filters pull each other, so that their number is limited by the stack of a thread.
    static constexpr int kMostEffects = 1000;

    LEffectChain() = default;
    LEffectChain(const LEffectChain& other);  // clones of its effects
    LEffectChain& operator=(const LEffectChain& other);
    LEffectChain(LEffectChain&&) = default;
    LEffectChain& operator=(LEffectChain&&) = default;

    int Count() const { return static_cast<int>(effects_.size()); }
    LEffect* At(int index);  // null outside
    const LEffect* At(int index) const;
    std::vector<const LEffect*> Effects() const;  // in order, those that are off included

    // False, and the effect is gone, where it is null or the chain is full.
    bool Add(std::unique_ptr<LEffect> effect) { return Insert(Count(), std::move(effect)); }
    bool Insert(int index, std::unique_ptr<LEffect> effect);                       // 0 to Count()
    std::unique_ptr<LEffect> Remove(int index);                                    // null outside
    std::unique_ptr<LEffect> Replace(int index, std::unique_ptr<LEffect> effect);  // the one that was there
    bool Move(int from, int to);  // to where it stands afterwards; false outside
    // `enabled` of an effect; switching it on ends its bypass too, as which a file keeps one that is off.
    void SetEnabled(int index, bool on);
    bool IsOn(int index) const;  // neither switched off nor bypassed
    void Clear() { effects_.clear(); }

    // Each effect that is on wraps what those before it give.
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override;
    QString GetName() const override { return QStringLiteral("Effect Chain"); }
    int32_t GetType() const override { return 0; }
    std::unique_ptr<LEffect> Clone() const override { return std::make_unique<LEffectChain>(*this); }
    bool NeedsMeasure() const override;
    // Those that need it, in order, each over what the ones before it give. Unless all succeed, none of them
    // has changed. What At() gave before is gone afterwards.
    JobResult Measure(const LOpenSource& open, LProgress& progress) override;
    void SetFormat(LSoundFormat format) override;
    void SetHost(void* window) override;
    void Detach() override;

    // The body of an ".ecf" file: a type number and a group for each effect that has a stored form.
    void Save(LLsdfWriter& writer) const override;
    // In the place of what it held. A type noted goes for every group up to the next one; what has no place
    // in a chain is thrown away.
    void Load(LLsdfReader& reader) override;

  private:
    bool IsInside(int index) const { return index >= 0 && index < Count(); }

    std::vector<std::unique_ptr<LEffect>> effects_;
};

}  // namespace ondarix
