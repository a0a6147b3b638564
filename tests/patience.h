// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace ondarix::test {

// How long what must come is waited for, and how long what must come back may take. A machine that is busy
// with other work is slow, which is no fault of what is tested.
inline constexpr int kPatienceMs = 10'000;

}  // namespace ondarix::test
