// SPDX-License-Identifier: GPL-3.0-or-later
// Requests to end from outside: SIGTERM, SIGINT and SIGHUP arrive as one call on the interface thread.
#pragma once
#include <QObject>
#include <functional>

namespace ondarix {

// One at a time in a process. [ui]
class LSignalWatch : public QObject {
  public:
    explicit LSignalWatch(std::function<void()> onEnd);
    ~LSignalWatch() override;

  private:
    std::function<void()> onEnd_;
    int pipe_[2] = {-1, -1};
};

}  // namespace ondarix
