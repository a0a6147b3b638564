// SPDX-License-Identifier: GPL-3.0-or-later
// The PulseAudio client library (freedesktop.org, LGPL-2.1), found at run time.
#pragma once
#include <pulse/pulseaudio.h>

namespace ondarix {

#define ONDARIX_PULSE_FUNCTIONS(X)       \
    X(pa_channel_map_init)               \
    X(pa_context_connect)                \
    X(pa_context_disconnect)             \
    X(pa_context_get_server_info)        \
    X(pa_context_get_sink_info_list)     \
    X(pa_context_get_source_info_list)   \
    X(pa_context_get_state)              \
    X(pa_context_new_with_proplist)      \
    X(pa_context_set_state_callback)     \
    X(pa_context_set_subscribe_callback) \
    X(pa_context_subscribe)              \
    X(pa_context_unref)                  \
    X(pa_operation_cancel)               \
    X(pa_operation_get_state)            \
    X(pa_operation_set_state_callback)   \
    X(pa_operation_unref)                \
    X(pa_proplist_free)                  \
    X(pa_proplist_new)                   \
    X(pa_proplist_sets)                  \
    X(pa_stream_begin_write)             \
    X(pa_stream_connect_playback)        \
    X(pa_stream_cork)                    \
    X(pa_stream_disconnect)              \
    X(pa_stream_flush)                   \
    X(pa_stream_get_buffer_attr)         \
    X(pa_stream_get_latency)             \
    X(pa_stream_get_state)               \
    X(pa_stream_get_timing_info)         \
    X(pa_stream_get_underflow_index)     \
    X(pa_stream_new_with_proplist)       \
    X(pa_stream_set_state_callback)      \
    X(pa_stream_set_underflow_callback)  \
    X(pa_stream_set_write_callback)      \
    X(pa_stream_unref)                   \
    X(pa_stream_writable_size)           \
    X(pa_stream_write)                   \
    X(pa_threaded_mainloop_free)         \
    X(pa_threaded_mainloop_get_api)      \
    X(pa_threaded_mainloop_lock)         \
    X(pa_threaded_mainloop_new)          \
    X(pa_threaded_mainloop_set_name)     \
    X(pa_threaded_mainloop_start)        \
    X(pa_threaded_mainloop_stop)         \
    X(pa_threaded_mainloop_unlock)

struct LPulseApi {
// NOLINTNEXTLINE(bugprone-macro-parentheses): a name that is declared
#define ONDARIX_PULSE_POINTER(name) decltype(&::name) name = nullptr;
    ONDARIX_PULSE_FUNCTIONS(ONDARIX_PULSE_POINTER)
#undef ONDARIX_PULSE_POINTER
};

// Null where the library is not installed. [any]
const LPulseApi* PulseApi();

}  // namespace ondarix
