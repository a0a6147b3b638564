// SPDX-License-Identifier: GPL-3.0-or-later
// Sounds heard at once: the sum of sources, each at its place with a gain and a position between left and
// right, and the commands that mix a clip or a file into a document.
#pragma once
#include <vector>

#include "effects/apply.h"
#include "effects/mix_form.h"
#include "sound/sound.h"

namespace ondarix {

struct LMixInput {
    LSoundSourceRef source;
    int64_t at = 0;       // frame of the mix at which it begins; may be negative
    int64_t from = 0;     // the frame of the source that comes there
    int64_t length = -1;  // frames that are taken; -1: all that follow
    double gain = 1;      // linear
    double pan = 0;       // -1 left, 0 where it is, 1 right; see PanGains
};

// Sums the inputs over `length` frames; silence where none is. Inputs of another format are converted. The
// peak bound is the sum of theirs.
class LMixSource final : public LSoundSource {
  public:
    LMixSource(std::vector<LMixInput> inputs, LSoundFormat format, int64_t length);
    float* Read(float* dest, int32_t frames) override;
    int64_t GetPosition() override { return position_; }
    int64_t GetLength() override { return length_; }
    void Seek(int64_t frame) override { position_ = frame; }

  private:
    struct LVoice {
        LSoundSourceRef source;
        int64_t at, from, end;     // `end`: frame of the mix
        std::vector<float> gains;  // one a channel
    };
    void Add(LVoice& voice, float* dest, int32_t frames);

    std::vector<LVoice> voices_;
    std::vector<float> block_;
    int64_t length_, position_ = 0;
};

// Gains of the channels for a position between left and right: the side that is turned away from is lowered
// in proportion, the other and the centre stay. Up to 8 channels stand for speakers in the order of WAVE;
// mono and layouts beyond have no sides.
std::vector<float> PanGains(int channels, double pan);

// What is asked of "Paste Mix" and "Mix with File": section MixBasic, of the clip that comes in.
struct LMixSettings {
    int32_t volumePercent = 100;  // 0 to 400
    int32_t panPercent = 0;       // -100 (left) to 100 (right)
    bool operator==(const LMixSettings&) const = default;
};
inline constexpr const char* kMixSection = "MixBasic";
class LMixForm final : public LSettingsForm<LMixForm, LMixSettings> {
  public:
    static std::span<const LParamRow<LMixSettings>> Rows();
    QString GetName() const override { return QStringLiteral("Mix"); }
};

// Where a clip is mixed in: over the selection, cut at its end, or from the cursor on, also past the end.
struct LMixPlace {
    int64_t start = 0;   // frame of the edited sound
    int64_t length = 0;  // frames
};
LMixPlace PlaceOfMix(const LSoundDocument& document, const LSound& clip);

// The stretch of `sound` at `place` with the clip over it, converted to the format of the sound: what is
// heard and what is written. As long as the place.
LSoundSourceRef BuildMix(const LSound& sound, LMixPlace place, const LSound& clip,
                         const LMixSettings& settings);

// One undo step `label`; what was mixed is selected afterwards. A clip that reaches past the end lengthens
// the sound. `done` as for ApplyEffects; kCancelled for a clip without frames.
void MixClip(const LSoundDocumentRef& document, LEditHost& host, const LSound& clip,
             const LMixSettings& settings, const QString& label, LApplied done = {});

// Puts "Paste Mix", with the settings of MixBasic, into gPasteMix. A front calls it once at start.
void RegisterMixing();

}  // namespace ondarix
