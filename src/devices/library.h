// SPDX-License-Identifier: GPL-3.0-or-later
// The client library of a sound system, loaded when it is first asked for, so that a machine without it still
// starts. It stays until the process ends: such libraries leave threads and destructors behind.
#pragma once
#include <dlfcn.h>

namespace ondarix {

class LLibrary {
  public:
    // `soname` with its major version: "libpulse.so.0".
    explicit LLibrary(const char* soname) : handle_(dlopen(soname, RTLD_NOW | RTLD_LOCAL)) {}

    // Fills a function pointer declared as decltype(&name) from the library's public header.
    template <typename Function>
    void Find(const char* name, Function*& function) {
        void* address = handle_ ? dlsym(handle_, name) : nullptr;
        complete_ = complete_ && address;
        function = reinterpret_cast<Function*>(address);
    }
    // The library is there, and had every function that it was asked for.
    bool IsComplete() const { return handle_ && complete_; }

  private:
    void* handle_;
    bool complete_ = true;
};

}  // namespace ondarix
