// SPDX-License-Identifier: GPL-3.0-or-later
// libpipewire, loaded and initialised when it is first asked for. What its headers define inline (methods of
// the core, formats) needs no symbol.
#pragma once
#include <pipewire/pipewire.h>

#include "devices/library.h"

namespace ondarix {

struct LPipeWireLibrary : LLibrary {
    LPipeWireLibrary();
    decltype(&pw_thread_loop_new) loopNew;
    decltype(&pw_thread_loop_destroy) loopDestroy;
    decltype(&pw_thread_loop_start) loopStart;
    decltype(&pw_thread_loop_stop) loopStop;
    decltype(&pw_thread_loop_lock) loopLock;
    decltype(&pw_thread_loop_unlock) loopUnlock;
    decltype(&pw_thread_loop_signal) loopSignal;
    decltype(&pw_thread_loop_get_loop) loopLoop;
    decltype(&pw_thread_loop_get_time) loopTime;
    decltype(&pw_thread_loop_timed_wait_full) loopWait;
    decltype(&pw_context_new) contextNew;
    decltype(&pw_context_destroy) contextDestroy;
    decltype(&pw_context_connect) contextConnect;
    decltype(&pw_core_disconnect) coreDisconnect;
    decltype(&pw_proxy_destroy) proxyDestroy;
    decltype(&pw_properties_new) propertiesNew;
    decltype(&pw_properties_set) propertiesSet;
    decltype(&pw_stream_new) streamNew;
    decltype(&pw_stream_destroy) streamDestroy;
    decltype(&pw_stream_connect) streamConnect;
    decltype(&pw_stream_add_listener) streamAddListener;
    decltype(&pw_stream_set_active) streamSetActive;
    decltype(&pw_stream_dequeue_buffer) streamDequeue;
    decltype(&pw_stream_queue_buffer) streamQueue;
    decltype(&pw_stream_get_time_n) streamTime;
};

// Null where it is not installed.
const LPipeWireLibrary* PipeWire();

}  // namespace ondarix
