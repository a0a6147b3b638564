// SPDX-License-Identifier: GPL-3.0-or-later
// Another duration at the same pitch, by overlapping pieces of the sound that fit each other: W. Verhelst and
// M. Roelands, "An overlap-add technique based on waveform similarity (WSOLA) for high quality time-scale
// modification of speech", ICASSP 1993.
//
// Pieces of 48 ms lie 24 ms apart in the output, under raised cosines that add up to 1. Each is taken within
// 16 ms of where it belongs, where it is most alike to what follows the piece before. All channels are moved
// alike; what is compared is the sum of all of them and that of the even less the odd ones, for two channels
// the same as both of them. Frame 0 stays frame 0. One thread at a time.
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

namespace ondarix {

class LTimeStretch {
  public:
    // Fills `frames` interleaved frames of the input from frame `first`, which may be negative: zeros for
    // what is not there. `first` mostly joins on to the range before.
    using Fetch = std::function<void(float* dest, int64_t first, int64_t frames)>;

    // `from` frames of the input become `to` of the output; both at least 1. Channels and rate at least 1.
    LTimeStretch(int32_t rate, int channels, int64_t from, int64_t to, Fetch fetch);

    // Interleaved output frames from number `first`, at least 0. Where they do not join on to those before,
    // the pieces are laid anew from there.
    void Produce(float* dest, int64_t first, int64_t frames);
    // How many output frames from 0 can be made of the first `available` input frames without the need of a
    // later one.
    int64_t Ready(int64_t available) const;

  private:
    using Floats = std::vector<float>;
    int64_t Place(int64_t piece) const;  // input frame where the middle of a piece belongs
    void Hold(int64_t first);            // has the input from `first` on, for one search
    void Mix(const float* from, int64_t frames, int64_t at);
    void Restart(int64_t piece);
    void MakeBlock();  // the output from the middle of the last piece to that of the next one
    int64_t Best();    // frame of the held input where the next piece is to begin
    void KeepTail(int64_t at);

    int channels_;
    int64_t from_, to_;
    Fetch fetch_;
    int64_t hop_, reach_;          // frames between pieces; frames that one may be moved either way
    int64_t coarse_;               // frames that are taken together in a first search
    Floats rise_;                  // hop_
    int64_t base_ = 0, held_ = 0;  // frames of the input that are held, from `base_` on
    Floats input_;                 // interleaved, 2 * (hop_ + reach_) frames
    Floats tail_;                  // what follows the middle of the last piece, hop_ frames
    Floats block_;                 // of the output, hop_ frames
    struct LPlane {
        Floats input, tail, coarseInput, coarseTail;
    };
    std::vector<LPlane> planes_;  // one or two
    Floats scores_;
    std::vector<double> energy_;  // of all frames before one
    int64_t piece_ = -1;          // whose tail is kept; -1: none
    int64_t blockPiece_ = -1;     // where the block begins; -1: none is made
};

}  // namespace ondarix
