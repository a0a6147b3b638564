// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/background_registry.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "gen/background_thread.h"

namespace ondarix {
namespace {

struct ThreadRegistry {
    std::mutex lock;
    std::vector<LBackgroundThread*> threads;
};

ThreadRegistry& Registry() {
    static ThreadRegistry registry;
    return registry;
}

}  // namespace

void RegisterBackgroundThread(LBackgroundThread* thread) {
    const std::lock_guard guard(Registry().lock);
    Registry().threads.push_back(thread);
}

void UnregisterBackgroundThread(LBackgroundThread* thread) {
    const std::lock_guard guard(Registry().lock);
    std::erase(Registry().threads, thread);
}

void StopBackgroundThreads() {
    const std::lock_guard guard(Registry().lock);
    for (LBackgroundThread* thread : Registry().threads) thread->SignalStop();
    for (LBackgroundThread* thread : Registry().threads) thread->Stop();
}

}  // namespace ondarix
