// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/jack_library.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>

namespace ondarix {
namespace {

using JackClock = std::chrono::steady_clock;

// Who asks is not kept longer than this by calls that others have left alone.
constexpr std::chrono::milliseconds kJackPatience{900};
constexpr int kJackOpenTries = 2;

struct LJackCall {
    const JackClock::time_point begin = JackClock::now();
    std::mutex lock;
    std::condition_variable ended;
    bool hasEnded = false;
    bool isLeft = false;
};

struct LLeftJackCalls {
    std::mutex lock;
    std::condition_variable ended;
    std::multiset<JackClock::time_point> begins;
};

// Never destroyed: such a call may outlive the program's statics.
LLeftJackCalls& LeftJackCalls() {
    static LLeftJackCalls& calls = *new LLeftJackCalls;
    return calls;
}

// The client library writes to sockets of a server that may have gone.
void BlockBrokenPipes() {
    sigset_t pipes;
    sigemptyset(&pipes);
    sigaddset(&pipes, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipes, nullptr);
}

void EndJackCall(LJackCall& state) {
    const std::lock_guard guard(state.lock);
    state.hasEnded = true;
    state.ended.notify_all();
    if (!state.isLeft) return;
    LLeftJackCalls& left = LeftJackCalls();
    const std::lock_guard leftGuard(left.lock);
    left.begins.erase(left.begins.find(state.begin));
    left.ended.notify_all();
}

bool WaitForLeftCalls(JackClock::time_point deadline) {
    LLeftJackCalls& left = LeftJackCalls();
    std::unique_lock guard(left.lock);
    while (!left.begins.empty()) {
        const auto until = std::min(deadline, *left.begins.begin() + kJackPatience);
        if (JackClock::now() >= until) return false;
        left.ended.wait_until(guard, until);
    }
    return true;
}

}  // namespace

LJackLibrary::LJackLibrary() : LLibrary("libjack.so.0") {
    Find("jack_client_open", clientOpen);
    Find("jack_client_close", clientClose);
    Find("jack_activate", activate);
    Find("jack_set_process_callback", setProcess);
    Find("jack_set_xrun_callback", setXrun);
    Find("jack_on_info_shutdown", onShutdown);
    Find("jack_set_client_registration_callback", setClientRegistration);
    Find("jack_set_port_registration_callback", setPortRegistration);
    Find("jack_get_sample_rate", sampleRate);
    Find("jack_get_buffer_size", bufferSize);
    Find("jack_port_register", portRegister);
    Find("jack_port_get_buffer", portBuffer);
    Find("jack_port_get_latency_range", portLatency);
    Find("jack_port_name", portName);
    Find("jack_get_ports", getPorts);
    Find("jack_connect", connect);
    Find("jack_free", free);
    decltype(&jack_set_error_function) setError = nullptr;
    decltype(&jack_set_info_function) setInfo = nullptr;
    Find("jack_set_error_function", setError);
    Find("jack_set_info_function", setInfo);
    if (!IsComplete()) return;
    // It tells standard error of every server that is not there.
    setError([](const char*) {});
    setInfo([](const char*) {});
}

const LJackLibrary* Jack() {
    static const LJackLibrary library;
    return library.IsComplete() ? &library : nullptr;
}

jack_client_t* OpenJackClient(const char* name) {
    // A server that is there may fail to take a client, as when it drops another one at that moment.
    for (int tries = 0; tries < kJackOpenTries; ++tries) {
        jack_status_t status{};
        if (jack_client_t* const client = Jack()->clientOpen(name, JackNoStartServer, &status)) return client;
        if (status & JackServerFailed) break;
    }
    return nullptr;
}

std::vector<QString> JackPorts(jack_client_t* client, unsigned long flags) {
    std::vector<QString> names;
    const char** ports = Jack()->getPorts(client, nullptr, JACK_DEFAULT_AUDIO_TYPE, flags);
    for (const char** port = ports; port && *port; ++port) names.push_back(QString::fromUtf8(*port));
    if (ports) Jack()->free(ports);
    return names;
}

QString JackClientOfPort(const QString& port) { return port.section(u':', 0, 0); }

bool RunJackCall(std::function<void()> call, int ms) {
    const auto state = std::make_shared<LJackCall>();
    try {
        std::thread([state, call = std::move(call)]() mutable {
            BlockBrokenPipes();
            call();
            call = nullptr;  // what it owns goes before anybody is told
            EndJackCall(*state);
        }).detach();
    } catch (const std::system_error&) {
        return false;
    }
    std::unique_lock guard(state->lock);
    if (state->ended.wait_for(guard, std::chrono::milliseconds(ms), [&] { return state->hasEnded; }))
        return true;
    state->isLeft = true;
    LLeftJackCalls& left = LeftJackCalls();
    const std::lock_guard leftGuard(left.lock);
    left.begins.insert(state->begin);
    return false;
}

bool AskJack(std::function<void()> call, int ms) {
    const auto deadline = JackClock::now() + std::chrono::milliseconds(ms);
    if (!WaitForLeftCalls(deadline)) return false;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - JackClock::now());
    return RunJackCall(std::move(call), static_cast<int>(left.count()));
}

}  // namespace ondarix
