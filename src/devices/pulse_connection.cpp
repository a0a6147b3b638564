// SPDX-License-Identifier: GPL-3.0-or-later
#include "devices/pulse_connection.h"

#include <pthread.h>
#include <sched.h>

#include "devices/output.h"
#include "devices/server_patience.h"

namespace ondarix {
namespace {

constexpr const char* kPulseThreadName = "ondarix-pulse";
LServerPatience pulsePatience;

// Nothing, silently, where the system does not grant it.
void AskForRealTime() {
    sched_param parameters{};
    parameters.sched_priority = sched_get_priority_min(SCHED_RR);
    pthread_setschedparam(pthread_self(), SCHED_RR, &parameters);
}

bool IsGood(pa_context_state_t state) {
    return state != PA_CONTEXT_UNCONNECTED && state != PA_CONTEXT_FAILED && state != PA_CONTEXT_TERMINATED;
}

}  // namespace

bool LPulseConnection::Begin() {
    loop_ = api_.pa_threaded_mainloop_new();
    if (!loop_) return false;
    // Before it runs: later the library would name the calling thread.
    api_.pa_threaded_mainloop_set_name(loop_, kPulseThreadName);
    pa_proplist* properties = api_.pa_proplist_new();
    api_.pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, kClientName);
    api_.pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, kApplicationId);
    api_.pa_proplist_sets(properties, PA_PROP_APPLICATION_ICON_NAME, kApplicationId);
    api_.pa_proplist_sets(properties, PA_PROP_APPLICATION_VERSION, ONDARIX_VERSION);
    context_ =
        api_.pa_context_new_with_proplist(api_.pa_threaded_mainloop_get_api(loop_), kClientName, properties);
    api_.pa_proplist_free(properties);
    if (!context_) return false;
    api_.pa_context_set_state_callback(
        context_, [](pa_context*, void* self) { static_cast<LPulseConnection*>(self)->StateChanged(); },
        this);
    return api_.pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0 &&
           api_.pa_threaded_mainloop_start(loop_) >= 0;
}

QDeadlineTimer LPulseConnection::Deadline(int ms) {
    return QDeadlineTimer(pulsePatience.Ms(ms), Qt::PreciseTimer);
}

bool LPulseConnection::Connect(QDeadlineTimer deadline, bool critical) {
    Close();
    critical_ = critical;
    if (!Begin()) {
        Close();
        return false;
    }
    if (WaitFor([this] { return api_.pa_context_get_state(context_) == PA_CONTEXT_READY; }, deadline)) {
        pulsePatience.NoteAnswer();
        return true;
    }
    if (deadline.hasExpired()) pulsePatience.NoteSilence();
    Close();
    return false;
}

void LPulseConnection::StateChanged() {
    const pa_context_state_t state = api_.pa_context_get_state(context_);
    if (state == PA_CONTEXT_READY && critical_) AskForRealTime();
    if (!IsGood(state) && lost_) lost_();
    Signal();
}

void LPulseConnection::Close() {
    if (!loop_) return;
    {
        const LLock lock(*this);
        if (context_) {
            api_.pa_context_set_state_callback(context_, nullptr, nullptr);
            api_.pa_context_set_subscribe_callback(context_, nullptr, nullptr);
            api_.pa_context_disconnect(context_);
        }
    }
    api_.pa_threaded_mainloop_stop(loop_);
    if (context_) api_.pa_context_unref(context_);
    api_.pa_threaded_mainloop_free(loop_);
    context_ = nullptr;
    loop_ = nullptr;
}

bool LPulseConnection::IsReady() {
    if (!loop_) return false;
    const LLock lock(*this);
    return api_.pa_context_get_state(context_) == PA_CONTEXT_READY;
}

bool LPulseConnection::WaitFor(const std::function<bool()>& holds, QDeadlineTimer deadline) {
    for (;;) {
        changed_.Reset();
        {
            const LLock lock(*this);
            if (holds()) return true;
            if (!IsGood(api_.pa_context_get_state(context_))) return false;
        }
        if (deadline.hasExpired()) return false;
        changed_.Wait(static_cast<int>(deadline.remainingTime()));
    }
}

bool LPulseConnection::Complete(pa_operation* operation, QDeadlineTimer deadline) {
    if (!operation) return false;
    {
        const LLock lock(*this);
        api_.pa_operation_set_state_callback(
            operation, [](pa_operation*, void* self) { static_cast<LPulseConnection*>(self)->Signal(); },
            this);
    }
    const auto ended = [&] { return api_.pa_operation_get_state(operation) != PA_OPERATION_RUNNING; };
    WaitFor(ended, deadline);
    const LLock lock(*this);
    const bool done = api_.pa_operation_get_state(operation) == PA_OPERATION_DONE;
    api_.pa_operation_set_state_callback(operation, nullptr, nullptr);
    if (!done) api_.pa_operation_cancel(operation);
    api_.pa_operation_unref(operation);
    return done;
}

}  // namespace ondarix
