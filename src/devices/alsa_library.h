// SPDX-License-Identifier: GPL-3.0-or-later
// The ALSA library (alsa-project.org, LGPL-2.1), found at run time. Its complaints about devices that are not
// there do not go to standard error.
#pragma once
#include <alsa/asoundlib.h>

namespace ondarix {

#define ONDARIX_ALSA_FUNCTIONS(X)             \
    X(snd_card_next)                          \
    X(snd_ctl_card_info)                      \
    X(snd_ctl_card_info_free)                 \
    X(snd_ctl_card_info_get_id)               \
    X(snd_ctl_card_info_get_name)             \
    X(snd_ctl_card_info_malloc)               \
    X(snd_ctl_close)                          \
    X(snd_ctl_open)                           \
    X(snd_ctl_pcm_info)                       \
    X(snd_ctl_pcm_next_device)                \
    X(snd_device_name_free_hint)              \
    X(snd_device_name_get_hint)               \
    X(snd_device_name_hint)                   \
    X(snd_lib_error_set_handler)              \
    X(snd_pcm_avail_update)                   \
    X(snd_pcm_close)                          \
    X(snd_pcm_delay)                          \
    X(snd_pcm_drop)                           \
    X(snd_pcm_hw_params)                      \
    X(snd_pcm_hw_params_any)                  \
    X(snd_pcm_hw_params_free)                 \
    X(snd_pcm_hw_params_get_buffer_size)      \
    X(snd_pcm_hw_params_get_period_size)      \
    X(snd_pcm_hw_params_get_rate_max)         \
    X(snd_pcm_hw_params_get_rate_min)         \
    X(snd_pcm_hw_params_malloc)               \
    X(snd_pcm_hw_params_set_access)           \
    X(snd_pcm_hw_params_set_buffer_time_near) \
    X(snd_pcm_hw_params_set_channels_near)    \
    X(snd_pcm_hw_params_set_format)           \
    X(snd_pcm_hw_params_set_period_time_near) \
    X(snd_pcm_hw_params_set_rate)             \
    X(snd_pcm_hw_params_set_rate_resample)    \
    X(snd_pcm_hw_params_test_format)          \
    X(snd_pcm_hw_params_test_rate)            \
    X(snd_pcm_info_free)                      \
    X(snd_pcm_info_get_name)                  \
    X(snd_pcm_info_malloc)                    \
    X(snd_pcm_info_set_device)                \
    X(snd_pcm_info_set_stream)                \
    X(snd_pcm_info_set_subdevice)             \
    X(snd_pcm_open)                           \
    X(snd_pcm_prepare)                        \
    X(snd_pcm_resume)                         \
    X(snd_pcm_start)                          \
    X(snd_pcm_state)                          \
    X(snd_pcm_sw_params)                      \
    X(snd_pcm_sw_params_current)              \
    X(snd_pcm_sw_params_free)                 \
    X(snd_pcm_sw_params_get_boundary)         \
    X(snd_pcm_sw_params_malloc)               \
    X(snd_pcm_sw_params_set_avail_min)        \
    X(snd_pcm_sw_params_set_start_threshold)  \
    X(snd_pcm_wait)                           \
    X(snd_pcm_writei)

struct LAlsaApi {
// NOLINTNEXTLINE(bugprone-macro-parentheses): a name that is declared
#define ONDARIX_ALSA_POINTER(name) decltype(&::name) name = nullptr;
    ONDARIX_ALSA_FUNCTIONS(ONDARIX_ALSA_POINTER)
#undef ONDARIX_ALSA_POINTER
};

// Null where the library is not installed. [any]
const LAlsaApi* AlsaApi();

}  // namespace ondarix
