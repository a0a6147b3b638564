// SPDX-License-Identifier: GPL-3.0-or-later
// Effects on a document: what is selected is rendered through the stack and comes back as one undo step.
#pragma once
#include <functional>
#include <memory>
#include <vector>

#include "effects/effect.h"
#include "sound/edit_host.h"

namespace ondarix {

inline constexpr const char* kMemoryTitle = "Not Enough Memory";
inline constexpr const char* kMemoryText =
    "Sorry, we don't have enough memory available to apply this effect to such a long length of audio. To "
    "use "
    "the effect, try working with a shorter length of audio or closing other programs which use a lot of "
    "memory.";
inline constexpr const char* kEffectLengthTitle = "Maximum File Length Exceeded";
inline constexpr const char* kEffectLengthText =
    "The chosen settings cannot be used as they cause the audio to exceed the maximum length.";
inline constexpr const char* kStereoRequiredTitle = "Convert to Stereo Required";
inline constexpr const char* kStereoRequiredText =
    "This effect can only be applied to stereo files.\r\nWould you like to convert the file to stereo";

inline constexpr const char* kUnsupportedFormatTitle = "Unsupported File Format";
inline constexpr const char* kStereoOnlyText =
    "This feature is applicable for stereo (2-channel) files only.";

using LEffectList = std::vector<std::unique_ptr<LEffect>>;

// What an effect is applied to: a stretch of a document's sound, or of the channel that is edited alone.
struct LEffectOperation {
    LSound sound;                // as it was when the operation was made; of one channel: mono
    int64_t start = 0, end = 0;  // frames, end exclusive
    bool wholeFile = false;      // nothing was selected
    int selectedChannel = -1;    // from 0; -1: all

    // The selection, otherwise everything. Nothing in an empty sound.
    static std::optional<LEffectOperation> Of(const LSoundDocument& document);
    LSound Range() const;  // the samples, as a sound of their own
};

// How it ended. kSuccess also when the effects had nothing to do: then there is no undo entry. kCancelled:
// refused or cancelled; kFailed: after a message. Otherwise than with kSuccess the document is as before.
using LApplied = std::function<void(JobResult result)>;

// Renders the selection through `effects` as a job of the document (LEditHost::RunDocumentJob), which may end
// later; `done` is called then, on the interface thread. The selection becomes the result where something was
// selected before. `effects` are clones of the caller's.
void ApplyEffects(const LSoundDocumentRef& document, LEditHost& host, LEffectList effects,
                  const QString& undoName, LApplied done = {});
void ApplyEffectToSelection(const LSoundDocumentRef& document, LEditHost& host, const LEffect& effect,
                            const QString& undoName, LApplied done = {});

// Puts `result` in the place of the operation's stretch, as one undo step: what every job of an effect ends
// with. Refuses a result that would make the sound too long. Where the length changes, bookmarks and regions
// inside of the stretch move in proportion and those behind it with what follows.
JobResult PutResult(LSoundDocument& document, LEditHost& host, const LEffectOperation& operation,
                    const LSound& result, const QString& undoName);

// What commands of effects for stereo (kEffectStereoOnly) ask before they begin. kSuccess: what is edited has
// two channels, after a conversion that the user has agreed to, with an undo entry of its own; otherwise the
// effect is not applied.
JobResult EnsureStereo(LSoundDocument& document, LEditHost& host);
// The same for effects that make no sense on what was converted: a message, and kFailed.
JobResult RequireStereo(const LSoundDocument& document, LEditHost& host);

}  // namespace ondarix
