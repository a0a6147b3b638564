// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <cerrno>
#include <csignal>

namespace ondarix {
namespace {

constexpr int kEndSignals[] = {SIGTERM, SIGINT, SIGHUP};
volatile int gSignalPipe = -1;

void OnEndSignal(int) {
    const int before = errno;
    const char byte = 0;
    if (gSignalPipe >= 0) [[maybe_unused]]
        const ssize_t written = write(gSignalPipe, &byte, 1);
    errno = before;
}

}  // namespace

LSignalWatch::LSignalWatch(std::function<void()> onEnd) : onEnd_(std::move(onEnd)) {
    if (pipe2(pipe_, O_CLOEXEC | O_NONBLOCK) != 0) return;
    gSignalPipe = pipe_[1];
    auto* notifier = new QSocketNotifier(pipe_[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        char bytes[16];
        while (read(pipe_[0], bytes, sizeof bytes) > 0) {
        }
        onEnd_();
    });
    struct sigaction action {};
    action.sa_handler = &OnEndSignal;
    action.sa_flags = SA_RESTART;
    for (int number : kEndSignals) sigaction(number, &action, nullptr);
}

LSignalWatch::~LSignalWatch() {
    for (int number : kEndSignals) std::signal(number, SIG_DFL);
    gSignalPipe = -1;
    for (int fd : pipe_)
        if (fd >= 0) close(fd);
}

}  // namespace ondarix
