// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/jack_library.h"

#include <signal.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

namespace ondarix {
namespace {

std::atomic<int> jackCallsLeft{0};

struct LJackCall {
    std::mutex lock;
    std::condition_variable ended;
    bool hasEnded = false;
    bool isLeft = false;
};

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
    if (state.isLeft) --jackCallsLeft;
    state.ended.notify_all();
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
    return Jack()->clientOpen(name, JackNoStartServer, nullptr);
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
    ++jackCallsLeft;
    return false;
}

bool IsJackStuck() { return jackCallsLeft > 0; }

}  // namespace ondarix
