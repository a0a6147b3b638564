// SPDX-License-Identifier: GPL-3.0-or-later
#include "gen/progress.h"

namespace ondarix {

WaitResult LNullProgress::Sleep(int ms) {
    const WaitResult result = WaitForAny({}, {}, ms);
    return result == WaitResult::kTimedOut ? WaitResult::kSignalled : result;
}

WaitResult LNullProgress::WaitForHandle(LWaitHandle handle, int ms) {
    LHandleList list;
    list.Add(handle);
    return WaitForAny(list, {}, ms);
}

WaitResult LNullProgress::WaitForHandles(const LHandleList& handles, int ms) {
    return WaitForAny(handles, {}, ms);
}

}  // namespace ondarix
