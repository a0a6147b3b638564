// SPDX-License-Identifier: GPL-3.0-or-later
// A source read once by something that keeps no samples.
#pragma once
#include <utility>

#include "sound/cache_writer.h"
#include "sound/sink.h"

namespace ondarix {

// Hands every block on to `feed(const float*, int64_t frames)`.
template <typename F>
class LFeedSink final : public LSoundSink {
  public:
    LFeedSink(LSoundFormat format, F feed) : LSoundSink(format), feed_(std::move(feed)) {}
    void Write(const float* src, int32_t frames) override {
        if (!src) return;
        feed_(src, int64_t{frames});
        framesWritten += frames;
    }

  private:
    F feed_;
};

// From where `source` stands to its end. `isQuick`: `feed` takes less time than reading does.
template <typename F>
JobResult FeedFrom(LSoundSource& source, LProgress& progress, F feed, bool isQuick = false) {
    LFeedSink<F> sink(source.Format(), std::move(feed));
    return isQuick ? PumpSourceHere(source, sink, progress) : PumpSource(source, sink, progress);
}

}  // namespace ondarix
