// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include "devices/alsa_stream.h"
#include "devices/output.h"

namespace ondarix {

// A PCM of the ALSA library. [thread: see LOutput]
class LAlsaOutput final : public LOutput {
  public:
    ~LAlsaOutput() override { Close(); }
    LDeviceStatus Open(const LDeviceSelection& selection, LOutputSetup& setup) override;
    bool Start(LPlayQueue& queue) override;
    void Flush() override;
    void Close() override;
    // The least one not below `rate` that the device takes, else its highest.
    int32_t PreferredRate(int32_t rate) override;

  private:
    std::unique_ptr<LAlsaStream> stream_;
    std::vector<int32_t> rates_;
    int32_t openRate_ = 0;
};

}  // namespace ondarix
