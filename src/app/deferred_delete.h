// SPDX-License-Identifier: GPL-3.0-or-later
// Objects that must not die inside their own event handlers wait here and go, in the order in which they
// came, after the event is handled. [ui]
#pragma once
#include <functional>
#include <memory>
#include <vector>

namespace ondarix {

// A handler may run an event loop of its own (a modal dialog) or a job that pumps events. What the handler
// queued before must outlive it, so every object remembers the level of the event that was being handled
// when it came: 0 outside of events, otherwise one more than the loops and pumps around it. An object goes
// when that event has been handled.
class LDeferredDeleteList {
  public:
    template <typename T>
    void Add(std::unique_ptr<T> object) {
        waiting_.push_back({object.release(), [](void* p) { delete static_cast<T*>(p); }, active_});
    }
    void Empty();     // objects added while it runs go in the same run
    void EmptyDue();  // those only that no handler in progress has queued
    bool IsEmpty() const { return waiting_.empty(); }
    ~LDeferredDeleteList() { Empty(); }

    // Around the delivery of one event. An event sent from inside another one is not outermost: it is part
    // of that one, and nothing goes after it.
    class EventScope {
      public:
        explicit EventScope(LDeferredDeleteList& list);
        ~EventScope();
        EventScope(const EventScope&) = delete;
        EventScope& operator=(const EventScope&) = delete;
        bool IsOutermost() const { return outermost_; }

      private:
        LDeferredDeleteList& list_;
        int before_;
        bool outermost_;
    };
    // Around a pump of events that is no event loop, for instance QCoreApplication::processEvents().
    class PumpScope {
      public:
        explicit PumpScope(LDeferredDeleteList& list) : list_(list) { ++list_.pumps_; }
        ~PumpScope();
        PumpScope(const PumpScope&) = delete;
        PumpScope& operator=(const PumpScope&) = delete;

      private:
        LDeferredDeleteList& list_;
    };

  private:
    struct Item {
        void* object;
        void (*destroy)(void*);
        int level;
    };
    int NextLevel() const;  // of an event that the innermost loop or pump would deliver now

    std::vector<Item> waiting_;
    int active_ = 0;  // level of the innermost event in a scope
    int pumps_ = 0;
};
LDeferredDeleteList& DeferredDeletes();  // the process's one

}  // namespace ondarix
