// SPDX-License-Identifier: GPL-3.0-or-later
// libjack, loaded when it is first asked for, and its requests to the server, kept within a time.
#pragma once
#include <jack/jack.h>

#include <QString>
#include <functional>
#include <vector>

#include "devices/library.h"

namespace ondarix {

struct LJackLibrary : LLibrary {
    LJackLibrary();
    decltype(&jack_client_open) clientOpen;
    decltype(&jack_client_close) clientClose;
    decltype(&jack_activate) activate;
    decltype(&jack_set_process_callback) setProcess;
    decltype(&jack_set_xrun_callback) setXrun;
    decltype(&jack_on_info_shutdown) onShutdown;
    decltype(&jack_set_client_registration_callback) setClientRegistration;
    decltype(&jack_set_port_registration_callback) setPortRegistration;
    decltype(&jack_get_sample_rate) sampleRate;
    decltype(&jack_get_buffer_size) bufferSize;
    decltype(&jack_port_register) portRegister;
    decltype(&jack_port_get_buffer) portBuffer;
    decltype(&jack_port_get_latency_range) portLatency;
    decltype(&jack_port_name) portName;
    decltype(&jack_get_ports) getPorts;
    decltype(&jack_connect) connect;
    decltype(&jack_free) free;
};

// Null where it is not installed.
const LJackLibrary* Jack();

// A client of the running server, never of one started for it; null: none is there, or it takes none, asked
// twice. Blocks as long as the server does not answer.
jack_client_t* OpenJackClient(const char* name);
// Full names of audio ports that have all of `flags` (JackPortFlags), in the server's order.
std::vector<QString> JackPorts(jack_client_t* client, unsigned long flags);
// The part of a port's name before its first colon.
QString JackClientOfPort(const QString& port);

// libjack has no time-outs: opening, registering, connecting and closing wait for the server for ever when it
// is stopped or hangs, one lock inside the library held meanwhile. So each such call runs on a thread of its
// own, which is left alone when it takes too long and ends with the server. Whatever `call` uses must be its
// own. False: it did not end within `ms`.
bool RunJackCall(std::function<void()> call, int ms);
// The same behind the calls that were left alone, which another one would only join. A server that is slow
// ends them soon; one that is frozen costs all who ask it less than a second together, counted from the first
// call that it has not answered. What `call` owns may go on this thread.
bool AskJack(std::function<void()> call, int ms);

}  // namespace ondarix
