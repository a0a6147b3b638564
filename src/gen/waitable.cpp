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

// Milliseconds that are left of a wait.
class LDeadline {
  public:
    explicit LDeadline(int ms)
        : ms_(ms), end_(WaitClock::now() + std::chrono::milliseconds(std::max(ms, 0))) {}
    int Left() const {
        if (ms_ < 0) return kWaitForever;
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end_ - WaitClock::now()).count();
        return static_cast<int>(std::clamp<int64_t>(rest, 0, ms_));
    }

  private:
    int ms_;
    WaitClock::time_point end_;
};

// poll() again with what is left of the time when a signal has interrupted it.
int PollUntil(pollfd* fds, nfds_t count, const LDeadline& deadline) {
    for (;;) {
        const int ready = poll(fds, count, deadline.Left());
        if (ready >= 0 || errno != EINTR) return ready;
    }
}

// A descriptor whose other end has hung up will not be signalled again, but waiting longer is no use either.
bool IsReady(const pollfd& entry) { return (entry.revents & (POLLIN | POLLHUP | POLLERR)) != 0; }

// False when it is an automatic event that another thread was quicker to take.
bool Take(const LWaitHandle& handle) {
    uint64_t count;
    return !handle.consumed || read(handle.fd, &count, sizeof count) == sizeof count;
}

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
    return PollUntil(&entry, 1, LDeadline(0)) > 0;
}

bool LEvent::Wait(int ms) {
    LHandleList list;
    list.Add(Handle());
    return WaitForAny(list, {}, ms) == WaitResult::kSignalled;
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
    for (const LDeadline deadline(ms);;) {
        if (PollUntil(entries.data(), count, deadline) <= 0) return WaitResult::kTimedOut;
        bool anyReady = false;
        for (nfds_t i = 0; i < count; ++i) {
            if (!IsReady(entries[i])) continue;
            anyReady = true;
            if (i == 0 && Take(cancel)) return WaitResult::kCancelled;
            if (i > 0 && Take(handles.At(static_cast<int>(i) - 1))) return WaitResult::kSignalled;
        }
        if (!anyReady) return WaitResult::kTimedOut;
    }
}

}  // namespace ondarix
