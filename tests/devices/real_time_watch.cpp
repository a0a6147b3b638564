// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/real_time_watch.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "gen/realtime.h"

namespace ondarix::test {
namespace {

enum class LOffence : uint8_t { kMemory, kLock, kFile, kWait };
struct LNote {
    std::atomic<const char*> what{nullptr};
    std::atomic<void*> from{nullptr};
    std::atomic<LOffence> kind{};
};
std::array<LNote, 64> notes;
std::atomic<uint32_t> noted{0};

// What the libraries of the sound systems do when a call-back calls them is their own.
bool IsOfSoundSystem(void* address) {
    Dl_info info{};
    if (!dladdr(address, &info)) return false;
    for (const char* name : {"libpulse", "libpipewire", "libspa", "libjack", "libasound", "alsa-lib"})
        if (std::strstr(info.dli_fname, name)) return true;
    return false;
}

[[maybe_unused]] void Watch(LOffence kind, const char* what, void* from) {
    if (!InRealTimeCall() || IsOfSoundSystem(from)) return;
    LNote& note = notes[noted.fetch_add(1) % notes.size()];
    note.kind = kind;
    note.from = from;
    note.what = what;
}

// An address for addr2line, since the names of file-local functions are not in the program.
std::string Place(void* address) {
    Dl_info info{};
    char text[512];
    if (!dladdr(address, &info)) return "?";
    std::snprintf(text, sizeof text, "%s+0x%zx %s", info.dli_fname,
                  static_cast<size_t>(static_cast<char*>(address) - static_cast<char*>(info.dli_fbase)),
                  info.dli_sname ? info.dli_sname : "");
    return text;
}

class LWatcher final : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override { TakeRealTimeOffences(); }
    void OnTestEnd(const testing::TestInfo&) override {
        const LRealTimeOffences offences = TakeRealTimeOffences();
        if (offences.Total() > 0) ADD_FAILURE() << "in a real-time call:\n" << offences.text;
    }
};

[[maybe_unused]] const bool watching = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new LWatcher);
    return true;
}();

}  // namespace

LRealTimeOffences TakeRealTimeOffences() {
    LRealTimeOffences sum;
    const uint32_t count = noted.exchange(0);
    for (uint32_t i = 0; i < std::min<uint32_t>(count, notes.size()); ++i) {
        switch (notes[i].kind.load()) {
            case LOffence::kMemory:
                ++sum.memory;
                break;
            case LOffence::kLock:
                ++sum.locks;
                break;
            case LOffence::kFile:
                ++sum.files;
                break;
            case LOffence::kWait:
                ++sum.waits;
                break;
        }
        const char* what = notes[i].what;
        if (sum.text.size() < 2000)
            sum.text += std::string(what ? what : "?") + " from " + Place(notes[i].from) + "\n";
    }
    return sum;
}

}  // namespace ondarix::test

using ondarix::test::LOffence;
using ondarix::test::Watch;
#define CALLER __builtin_return_address(0)

#if defined(__SANITIZE_THREAD__)

// Nothing: that sanitizer must see who gives memory back.

#elif defined(__SANITIZE_ADDRESS__)

void* operator new(size_t size) {
    Watch(LOffence::kMemory, "operator new", CALLER);
    if (void* block = std::malloc(size ? size : 1)) return block;
    std::abort();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    Watch(LOffence::kMemory, "operator new", CALLER);
    return std::malloc(size ? size : 1);
}
void* operator new(size_t size, std::align_val_t align) {
    Watch(LOffence::kMemory, "operator new", CALLER);
    void* block = nullptr;
    if (posix_memalign(&block, static_cast<size_t>(align), size ? size : 1) != 0) std::abort();
    return block;
}
void operator delete(void* block) noexcept {
    if (block) Watch(LOffence::kMemory, "operator delete", CALLER);
    std::free(block);
}
void operator delete(void* block, size_t) noexcept { operator delete(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { operator delete(block); }
void operator delete(void* block, std::align_val_t) noexcept { operator delete(block); }
void operator delete(void* block, size_t, std::align_val_t) noexcept { operator delete(block); }

#else

// The allocator's own names and the next definition of the rest: what libraries call lands here too.
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);

void* malloc(size_t size) {
    Watch(LOffence::kMemory, "malloc", CALLER);
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    Watch(LOffence::kMemory, "calloc", CALLER);
    return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
    Watch(LOffence::kMemory, "realloc", CALLER);
    return __libc_realloc(block, size);
}
void* aligned_alloc(size_t align, size_t size) {
    Watch(LOffence::kMemory, "aligned_alloc", CALLER);
    return __libc_memalign(align, size);
}
int posix_memalign(void** block, size_t align, size_t size) {
    Watch(LOffence::kMemory, "posix_memalign", CALLER);
    *block = __libc_memalign(align, size);
    return *block ? 0 : ENOMEM;
}
void free(void* block) {
    if (block) Watch(LOffence::kMemory, "free", CALLER);
    __libc_free(block);
}
}

namespace {

template <typename F>
F Next(const char* name) {
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define WATCHED(kind, result, name, parameters, arguments)                                   \
    extern "C" result name parameters {                                                      \
        static std::atomic<result(*) parameters> next{nullptr};                              \
        if (!next.load(std::memory_order_relaxed)) next = Next<result(*) parameters>(#name); \
        Watch(kind, #name, CALLER);                                                          \
        return next.load(std::memory_order_relaxed) arguments;                               \
    }

WATCHED(LOffence::kLock, int, pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))
WATCHED(LOffence::kLock, int, pthread_rwlock_rdlock, (pthread_rwlock_t * lock), (lock))
WATCHED(LOffence::kLock, int, pthread_rwlock_wrlock, (pthread_rwlock_t * lock), (lock))
WATCHED(LOffence::kWait, int, sem_wait, (sem_t * semaphore), (semaphore))
WATCHED(LOffence::kWait, int, poll, (pollfd * fds, nfds_t count, int ms), (fds, count, ms))
WATCHED(LOffence::kWait, int, nanosleep, (const timespec* time, timespec* rest), (time, rest))
WATCHED(LOffence::kFile, FILE*, fopen, (const char* path, const char* mode), (path, mode))
WATCHED(LOffence::kFile, FILE*, fopen64, (const char* path, const char* mode), (path, mode))
WATCHED(LOffence::kFile, int, fsync, (int fd), (fd))

// With a variable end, which the macro cannot write. The mode is there, or is not looked at.
extern "C" int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    Watch(LOffence::kFile, "open", CALLER);
    return openat(AT_FDCWD, path, flags, mode);
}
extern "C" int open64(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    Watch(LOffence::kFile, "open64", CALLER);
    return openat(AT_FDCWD, path, flags, mode);
}

#endif
