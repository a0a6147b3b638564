// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <condition_variable>
#include <mutex>
#include <vector>

#include "gen/background_thread.h"
#include "sound/source.h"

namespace ondarix {

// Pulls a source on a thread of its own, a few blocks ahead of the thread that takes them: reading and
// computing go on while the other one writes. A thread that has to wait sleeps until half of the ring is
// ready for it, for waking costs more than copying a block. From Start() until Close() the source belongs to
// that thread. Not for sources that grow.
class LReadAhead final : private LBackgroundThread {
  public:
    struct Block {
        std::vector<float> samples;  // of kBlockFrames frames
        int32_t frames = 0;          // 0: the end has been reached
        int64_t position = 0;        // of the first
        int64_t end = 0;             // length of the source when it was read
    };

    explicit LReadAhead(LSoundSource& source);
    ~LReadAhead() override;
    bool Start();  // false: no thread could be made, and the source is still the caller's
    // The next block, the caller's until it asks again; null: none within `ms`, or HasFailed().
    const Block* Next(int ms);
    bool HasFailed();  // memory ran out while reading
    // Waits for the read in progress; what has been read and not been taken is lost.
    void Close();

  private:
    void Run() override;
    bool WaitForRoom();   // false: closing
    size_t Free() const;  // blocks that nobody holds; locked
    size_t Half() const { return blocks_.size() / 2; }
    bool Fill(Block& block);  // false: the last one

    LSoundSource& source_;
    std::vector<Block> blocks_;  // a ring
    std::mutex mutex_;           // for all below
    std::condition_variable canTake_, canRead_;
    size_t taken_ = 0;  // blocks that the caller has had, the present one included
    size_t read_ = 0;
    bool holds_ = false;  // the caller has the block before `taken_`
    bool closing_ = false, failed_ = false, atEnd_ = false;
};

}  // namespace ondarix
