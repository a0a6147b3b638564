// SPDX-License-Identifier: GPL-3.0-or-later
// Times as people type them into a dialog.
#pragma once
#include <QLineEdit>
#include <QString>
#include <QValidator>
#include <cstdint>
#include <optional>

namespace ondarix {

// What is told when a typed time has no meaning.
inline constexpr const char* kTimeInputHelp =
    "Type a time as \"1:02.5\", \"1:02:03.004\", \"500 ms\", \"44100 frames\" or plain seconds.";

// Longer times have no meaning here; at 192 kHz this many frames are over 370 years.
inline constexpr int64_t kMostInputFrames = int64_t{1} << 51;

// The nearest frame of "1:02.5" (minutes, seconds), "1:02:03.004", "500 ms", "2.5 s", "44100 frames" or plain
// seconds. Blanks and case do not matter, a comma stands for a point as well. Nothing for other text, for a
// field of 60 or more behind a colon and for times beyond kMostInputFrames. [any]
std::optional<int64_t> ParseTimeInput(const QString& text, int32_t sampleRate);

// "h:mm:ss.mmm" with as many decimals, 3, 6 or 9, as lead back to exactly this frame.
QString TimeInputText(int64_t frames, int32_t sampleRate);
QString FramesInputText(int64_t frames);  // "44100 frames"

// Lets only those characters in that a time can be typed with.
class LTimeValidator final : public QValidator {
  public:
    LTimeValidator(int32_t sampleRate, QObject* parent) : QValidator(parent), sampleRate_(sampleRate) {}
    State validate(QString& text, int& position) const override;

  private:
    int32_t sampleRate_;
};

// A field for one time, within limits that it tells when they are broken. [ui]
class LTimeEdit final : public QLineEdit {
  public:
    LTimeEdit(int32_t sampleRate, int64_t least, int64_t most, QWidget* parent = nullptr);

    void SetFrames(int64_t frames);
    // How SetFrames and a change of this show the value; any form may be typed.
    void ShowFrames(bool frames);
    std::optional<int64_t> Frames() const { return ParseTimeInput(text(), sampleRate_); }
    // Why the text cannot be taken; empty: it can.
    QString Refusal() const;

  private:
    QString TextOf(int64_t frames) const;

    int32_t sampleRate_;
    int64_t least_, most_;
    bool showsFrames_ = false;
};

}  // namespace ondarix
