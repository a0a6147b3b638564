#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds the tests of the sound devices under the thread sanitizer and runs those that touch nothing but our own code:
# the queue, the player, the tap, chains and the null device; before them, rendering on two threads. The libraries of
# the sound servers are not instrumented: what they guard would be reported as races, there and in all that follows.
# Usage: tsan.sh [FILTER of GoogleTest [ARGUMENT of GoogleTest...]]
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
ours='PlayQueue.*:NullOutput.*:RealTime*:PlayerTest.*:PlayerSwapTest.*:PlayerMap.*:Playback*:HostileTest.*:PlayChain.*:Scrub.*'
server='PlayerTest.WhatTheDeviceRefusesIsConverted'
long='PlayChain.AnyBlockSizeAndASeekGiveTheSameSamples:PlayChain.FollowsASoundThatGrows'  # and one thread only
filter=${1:-$ours-$server:$long}
cd "$here"
cmake --preset tsan >/dev/null
cmake --build build/tsan --target test_devices test_sound -- --quiet
export TSAN_OPTIONS="exitcode=66 second_deadlock_stack=1 suppressions=$here/scripts/tsan.supp"
[ $# -gt 0 ] || QT_QPA_PLATFORM=offscreen build/tsan/tests/test_sound --gtest_filter='ReadAhead*'
QT_QPA_PLATFORM=offscreen build/tsan/tests/test_devices --gtest_filter="$filter" "${@:2}"
