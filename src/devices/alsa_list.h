// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QString>
#include <functional>

#include "devices/output.h"
#include "gen/background_thread.h"

namespace ondarix {

// Whether a sound card is there, or something plays under the name "default".
bool AlsaAnswers();
// The devices of each card as they are, then the PCMs that a configuration adds by name. What the library
// itself is made of (converters, mixers, the speakers of a surround set one by one) is left out.
std::vector<LDeviceInfo> ListAlsa(LDeviceDirection direction);

// Tells when something appears in a folder of device nodes, vanishes or changes its permissions; the folder
// may come and go.
class LDeviceNodeWatch final : public LDeviceWatch, private LBackgroundThread {
  public:
    LDeviceNodeWatch(const QString& folder, std::function<void()> changed);
    ~LDeviceNodeWatch() override;

  protected:
    void Run() override;

  private:
    void Look();
    bool ReadEvents();

    QByteArray folder_, parent_, name_;
    std::function<void()> changed_;
    int notify_ = -1;
    int inside_ = -1;  // the watch of the folder itself
};

}  // namespace ondarix
