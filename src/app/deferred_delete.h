// SPDX-License-Identifier: GPL-3.0-or-later
// Objects that must not die inside their own event handlers wait here and go, in the order in which they
// came, after the event is handled. [ui]
#pragma once
#include <functional>
#include <memory>
#include <vector>

namespace ondarix {

class LDeferredDeleteList {
  public:
    template <typename T>
    void Add(std::unique_ptr<T> object) {
        waiting_.push_back({object.release(), [](void* p) { delete static_cast<T*>(p); }});
    }
    void Empty();  // objects added while it runs go in the same run
    bool IsEmpty() const { return waiting_.empty(); }
    ~LDeferredDeleteList() { Empty(); }

  private:
    struct Item {
        void* object;
        void (*destroy)(void*);
    };
    std::vector<Item> waiting_;
};
LDeferredDeleteList& DeferredDeletes();  // the process's one

}  // namespace ondarix
