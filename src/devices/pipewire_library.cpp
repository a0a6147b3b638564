// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/pipewire_library.h"

#include <QtGlobal>

namespace ondarix {

LPipeWireLibrary::LPipeWireLibrary() : LLibrary("libpipewire-0.3.so.0") {
    Find("pw_thread_loop_new", loopNew);
    Find("pw_thread_loop_destroy", loopDestroy);
    Find("pw_thread_loop_start", loopStart);
    Find("pw_thread_loop_stop", loopStop);
    Find("pw_thread_loop_lock", loopLock);
    Find("pw_thread_loop_unlock", loopUnlock);
    Find("pw_thread_loop_signal", loopSignal);
    Find("pw_thread_loop_get_loop", loopLoop);
    Find("pw_thread_loop_get_time", loopTime);
    Find("pw_thread_loop_timed_wait_full", loopWait);
    Find("pw_context_new", contextNew);
    Find("pw_context_destroy", contextDestroy);
    Find("pw_context_connect", contextConnect);
    Find("pw_core_disconnect", coreDisconnect);
    Find("pw_proxy_destroy", proxyDestroy);
    Find("pw_properties_new", propertiesNew);
    Find("pw_properties_set", propertiesSet);
    Find("pw_stream_new", streamNew);
    Find("pw_stream_destroy", streamDestroy);
    Find("pw_stream_connect", streamConnect);
    Find("pw_stream_add_listener", streamAddListener);
    Find("pw_stream_set_active", streamSetActive);
    Find("pw_stream_dequeue_buffer", streamDequeue);
    Find("pw_stream_queue_buffer", streamQueue);
    Find("pw_stream_get_time_n", streamTime);
    decltype(&pw_init) init = nullptr;
    decltype(&pw_log_set_level) setLogLevel = nullptr;
    Find("pw_init", init);
    Find("pw_log_set_level", setLogLevel);
    if (!IsComplete()) return;
    init(nullptr, nullptr);
    // It tells standard error of every server that is not there.
    if (qEnvironmentVariableIsEmpty("PIPEWIRE_DEBUG")) setLogLevel(SPA_LOG_LEVEL_NONE);
}

const LPipeWireLibrary* PipeWire() {
    static const LPipeWireLibrary library;
    return library.IsComplete() ? &library : nullptr;
}

}  // namespace ondarix
