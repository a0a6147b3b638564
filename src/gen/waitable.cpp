// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/waitable.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

namespace ondarix {
namespace {

using WaitClock = std::chrono::steady_clock;

// poll() with what is left of the time after a signal has interrupted it.
int PollFor(pollfd* fds, nfds_t count, int ms) {
    const auto end = WaitClock::now() + std::chrono::milliseconds(std::max(ms, 0));
    int left = ms < 0 ? -1 : ms;
    for (;;) {
        const int ready = poll(fds, count, left);
        if (ready >= 0 || errno != EINTR) return ready;
        if (ms < 0) continue;
        const auto rest =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - WaitClock::now()).count();
        left = static_cast<int>(std::clamp<int64_t>(rest, 0, ms));
    }
}

// A descriptor whose other end has hung up will not be signalled again, but waiting longer is no use either.
bool IsReady(const pollfd& entry) { return (entry.revents & (POLLIN | POLLHUP | POLLERR)) != 0; }

}  // namespace

LEvent::LEvent(Mode mode, bool signalled)
    : fd_(eventfd(signalled ? 1 : 0, EFD_CLOEXEC | EFD_NONBLOCK)), mode_(mode) {}

LEvent::~LEvent() {
    if (fd_ >= 0) close(fd_);
}

void LEvent::Set() {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t put = write(fd_, &one, sizeof one);  // fails only when long signalled
}

void LEvent::Reset() {
    uint64_t count;
    [[maybe_unused]] const ssize_t got = read(fd_, &count, sizeof count);
}

bool LEvent::IsSet() const {
    pollfd entry{fd_, POLLIN, 0};
    return PollFor(&entry, 1, 0) > 0;
}

bool LEvent::Wait(int ms) {
    const auto end = WaitClock::now() + std::chrono::milliseconds(std::max(ms, 0));
    for (;;) {
        pollfd entry{fd_, POLLIN, 0};
        const auto rest =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - WaitClock::now()).count();
        if (PollFor(&entry, 1, ms < 0 ? -1 : static_cast<int>(std::max<int64_t>(rest, 0))) <= 0) return false;
        if (mode_ == Mode::kManualReset) return true;
        uint64_t count;
        if (read(fd_, &count, sizeof count) == sizeof count) return true;  // otherwise another thread took it
    }
}

LProcessWaitable::LProcessWaitable(int pid) : fd_(static_cast<int>(syscall(SYS_pidfd_open, pid, 0))) {}

LProcessWaitable::~LProcessWaitable() {
    if (fd_ >= 0) close(fd_);
}

bool LHandleList::Add(LWaitHandle handle) {
    if (count_ == kCapacity) return false;
    handles_[static_cast<size_t>(count_++)] = handle;
    return true;
}

WaitResult WaitForAny(const LHandleList& handles, LWaitHandle cancel, int ms) {
    std::array<pollfd, LHandleList::kCapacity> entries{};
    nfds_t count = 0;
    entries[count++] = {cancel.fd, POLLIN, 0};  // poll() passes over a descriptor of -1
    const int waited = std::min(handles.Count(), LHandleList::kWaitedFor);
    for (int i = 0; i < waited; ++i) entries[count++] = {handles.At(i).fd, POLLIN, 0};
    if (PollFor(entries.data(), count, ms) <= 0) return WaitResult::kTimedOut;
    if (IsReady(entries[0])) return WaitResult::kCancelled;
    const bool signalled = std::any_of(entries.begin() + 1, entries.begin() + count, IsReady);
    return signalled ? WaitResult::kSignalled : WaitResult::kTimedOut;
}

}  // namespace ondarix
