// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Marks an inner loop that is compiled twice, plain and for AVX2, and chosen when the program is loaded.
// Only for free functions that are not called from another translation unit's inline code.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && \
    !defined(__SANITIZE_THREAD__)
#define ONDARIX_WIDE __attribute__((target_clones("avx2", "default")))
#else
#define ONDARIX_WIDE
#endif
