// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>

#include "effects/chain_file.h"

using namespace ondarix;

namespace {

constexpr int32_t kFrames = 40;
constexpr int kPulledEffects = 64;  // of longer chains only the list is looked at

// A short stereo wave, silence around it.
class LWave final : public LSoundSource {
  public:
    LWave() : LSoundSource(44100, 2) { peak = 1; }
    float* Read(float* dest, int32_t frames) override {
        for (int32_t i = 0; i < frames * 2; ++i) *dest++ = i % 14 < 7 ? 0.5f : -1.0f;
        position_ += frames;
        return dest;
    }
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return kFrames; }
    void Seek(int64_t frame) override { position_ = frame; }

  private:
    int64_t position_ = 0;
};

bool ReadChain(std::span<const uint8_t> bytes, LEffectChain& chain) {
    return ReadEffectChain(std::make_shared<LMemoryBytes>(bytes), chain);
}

void CheckParameters(const LEffect& effect) {
    LEffectParam param;
    for (int i = 0; i < effect.GetParameterCount(); ++i) {
        if (!effect.GetParameterInfo(i, param)) std::abort();
        const bool silent = param.type == LParamType::kDb && param.value == kMinusInfinityDb;
        if (!silent && !(param.value >= param.minimum && param.value <= param.maximum)) std::abort();
    }
}

void Pull(LEffectChain& chain) {
    LNullProgress progress;
    const auto open = [] { return MakeSource<LWave>(); };
    chain.SetFormat({44100, 2});
    if (chain.NeedsMeasure() && chain.Measure(open, progress) != JobResult::kSuccess) std::abort();
    const LSoundSourceRef filter = chain.CreateFilter(open());
    float block[kFrames * 2];
    filter->Read(block, kFrames);
    for (const float one : block)
        if (!std::isfinite(one)) std::abort();
}

// Into memory; what LLsdfWriter writes goes by path.
std::vector<uint8_t> Written(const LEffectChain& chain) {
    const int fd = memfd_create("chain", MFD_CLOEXEC);
    if (fd < 0) std::abort();
    {
        LLsdfWriter writer(QStringLiteral("/proc/self/fd/%1").arg(fd), 11, kChainVersion);
        chain.Save(writer);
        writer.Close();
        if (writer.Failed()) std::abort();
    }
    std::vector<uint8_t> bytes(static_cast<size_t>(lseek(fd, 0, SEEK_END)));
    if (pread(fd, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) std::abort();
    close(fd);
    return bytes;
}

}  // namespace

// A chain of anybody's is read, played and saved; what was saved stays the same from then on.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    LEffectChain chain;
    if (!ReadChain({data, size}, chain)) {
        if (chain.Count() != 0) std::abort();
        return 0;
    }
    if (chain.Count() > LEffectChain::kMostEffects) std::abort();
    for (const LEffect* effect : chain.Effects()) {
        if (effect->GetType() == 0 || effect->GetType() == 9) std::abort();
        CheckParameters(*effect);
    }
    const std::vector<uint8_t> first = Written(chain);
    if (chain.Count() <= kPulledEffects) Pull(chain);
    LEffectChain again;
    if (!ReadChain(first, again) || again.Count() != chain.Count() || Written(again) != first) std::abort();
    return 0;
}
