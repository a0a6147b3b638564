// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/deferred_delete.h"

#include <QThread>
#include <algorithm>
#include <utility>

namespace ondarix {

void LDeferredDeleteList::Empty() {
    const int active = std::exchange(active_, 0);
    EmptyDue();
    active_ = active;
}

void LDeferredDeleteList::EmptyDue() {
    for (;;) {
        const auto next = std::find_if(waiting_.begin(), waiting_.end(), [this](const Item& item) {
            return active_ == 0 || item.level > active_;
        });
        if (next == waiting_.end()) return;
        const Item item = *next;
        waiting_.erase(next);
        item.destroy(item.object);
    }
}

int LDeferredDeleteList::NextLevel() const { return QThread::currentThread()->loopLevel() + pumps_ + 1; }

LDeferredDeleteList::EventScope::EventScope(LDeferredDeleteList& list)
    : list_(list), before_(list.active_), outermost_(list.NextLevel() > list.active_) {
    if (outermost_) list_.active_ = list_.NextLevel();
}

LDeferredDeleteList::EventScope::~EventScope() {
    if (!outermost_) return;
    list_.active_ = before_;
    list_.EmptyDue();
}

LDeferredDeleteList::PumpScope::~PumpScope() {
    --list_.pumps_;
    list_.EmptyDue();
}

LDeferredDeleteList& DeferredDeletes() {
    static LDeferredDeleteList list;
    return list;
}

}  // namespace ondarix
