// SPDX-License-Identifier: GPL-3.0-or-later
// Samples of files to floats and back. Nominal range -1 to +1; integer widths are scaled by their largest
// positive value, so 16-bit 32767 is 1.0 and -32768 lies just below -1.0. `count` is samples, not frames.
#pragma once
#include <cstdint>

namespace ondarix {

inline constexpr float kPcmPeakBound = 0.999969482421875f;  // 1 - 1/32768
inline constexpr float kPcm8Step = 0.007874016f;            // 1/127
inline constexpr float kPcm16Step = 3.0518509e-5f;          // 1/32767

void FloatFromPcm8(const uint8_t* from, float* to, int64_t count);   // unsigned, 128 is zero
void FloatFromPcm16(const uint8_t* from, float* to, int64_t count);  // little-endian, as are those below
void FloatFromPcm24(const uint8_t* from, float* to, int64_t count);  // 1/8388607
void FloatFromPcm32(const uint8_t* from, float* to, int64_t count);  // 1/2147483647, computed in double
void FloatFromF32(const uint8_t* from, float* to, int64_t count);
void FloatFromF64(const uint8_t* from, float* to, int64_t count);

// Plain rounding, halves away from zero: trunc(x * scale +- 0.5). 8 and 16 bits keep the low bits without
// clamping (a limiter stands before them); 24 and 32 bits saturate, since their full scale is not exact in
// a float. A value that no integer holds (NaN, overflow of 32 bits) gives 0.
void Pcm8FromFloat(const float* from, uint8_t* to, int64_t count);
void Pcm16FromFloat(const float* from, uint8_t* to, int64_t count);
void Pcm24FromFloat(const float* from, uint8_t* to, int64_t count);
void Pcm32FromFloat(const float* from, uint8_t* to, int64_t count);

// ITU-T G.711, through the 16-bit scale.
void FloatFromALaw(const uint8_t* from, float* to, int64_t count);
void FloatFromMuLaw(const uint8_t* from, float* to, int64_t count);
void ALawFromFloat(const float* from, uint8_t* to, int64_t count);
void MuLawFromFloat(const float* from, uint8_t* to, int64_t count);

}  // namespace ondarix
