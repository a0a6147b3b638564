// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "devices/output.h"
#include "devices/pulse_connection.h"

namespace ondarix {

// A stream of a PulseAudio server. It follows the server's default where no sink was chosen, and takes any
// number of channels up to eight, which the server mixes. [thread: see LOutput]
class LPulseOutput final : public LOutput {
  public:
    ~LPulseOutput() override { Close(); }
    LDeviceStatus Open(const LDeviceSelection& selection, LOutputSetup& setup) override;
    bool Start(LPlayQueue& queue) override;
    void Flush() override;
    void Close() override;
    int32_t PreferredRate(int32_t rate) override;

  private:
    bool ConnectStream(const QByteArray& sink, QDeadlineTimer deadline);
    pa_stream* NewStream() const;
    void CloseStream();
    // On the connection's thread, or under its lock.
    void Feed(size_t bytes);
    int64_t DelayFrames() const;
    void StreamChanged();
    void NoteFlush();
    void Underflow();

    const LPulseApi* api_ = PulseApi();
    std::unique_ptr<LPulseConnection> connection_;
    pa_stream* stream_ = nullptr;
    LSoundFormat format_;
    LPlayQueue* queue_ = nullptr;
    int64_t heldFrames_ = 0;   // given since the last flush, at most what the server's buffer holds
    bool givesSound_ = false;  // the last frames given were sound, not silence
    // The server's index of what it plays at the last flush, or one ahead of it; below 0: no flush. And the
    // bytes given since then.
    int64_t flushedAt_ = -1, sinceFlush_ = 0;
};

}  // namespace ondarix
