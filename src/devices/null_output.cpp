// SPDX-License-Identifier: GPL-3.0-or-later
// A device without sound: a clock takes what a sound card would have taken. With a file, what is played is
// written there, as raw 32-bit floats of the machine, interleaved; silence that stands for nothing (a pause,
// the time before the sound) is not.
#include <fcntl.h>
#include <unistd.h>

#include <QFile>
#include <algorithm>
#include <chrono>

#include "devices/output.h"
#include "gen/background_thread.h"
#include "gen/realtime.h"

namespace ondarix {
namespace {

constexpr int kPeriodMs = 10;

class LNullOutput final : public LOutput, private LBackgroundThread {
  public:
    LNullOutput() : LBackgroundThread("NULD") {}
    ~LNullOutput() override { Stop(); }

    LDeviceStatus Open(const LDeviceSelection& selection, LOutputSetup& setup) override {
        format_ = setup.format;
        block_.resize(static_cast<size_t>(kBlockFrames) * format_.channels);
        return selection.id.isEmpty() || OpenFile(selection.id) ? kDeviceGood : kDeviceRefused;
    }

    bool Start(LPlayQueue& queue) override {
        queue_ = &queue;
        return LBackgroundThread::Start();
    }

    void Close() override {
        Stop();
        file_.close();
    }

  protected:
    void Run() override {
        using Clock = std::chrono::steady_clock;
        const Clock::time_point begin = Clock::now();
        int64_t given = 0;
        while (Sleep(kPeriodMs) != WaitResult::kCancelled) {
            const std::chrono::duration<double> passed = Clock::now() - begin;
            const auto due = static_cast<int64_t>(passed.count() * format_.sampleRate);
            while (given < due && !IsCancelled()) {
                const auto now = static_cast<int32_t>(std::min<int64_t>(due - given, kBlockFrames));
                Give(now);
                given += now;
            }
        }
    }

  private:
    // A pipe that nobody reads, or reads too slowly, must not be waited for.
    bool OpenFile(const QString& path) {
        const int file = ::open(QFile::encodeName(path).constData(),
                                O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, 0666);
        if (file < 0) return false;
        if (file_.open(file, QIODevice::WriteOnly | QIODevice::Unbuffered, QFile::AutoCloseHandle))
            return true;
        ::close(file);
        return false;
    }

    void Give(int32_t frames) {
        const int32_t taken = queue_->Take(block_.data(), frames, frames);
        if (taken == 0 || !file_.isOpen()) return;
        const qint64 bytes = taken * format_.FrameBytes();
        if (file_.write(reinterpret_cast<const char*>(block_.data()), bytes) != bytes) {
            file_.close();
            queue_->Fail(kDeviceLost);
        }
    }

    LSoundFormat format_;
    LPlayQueue* queue_ = nullptr;
    std::vector<float> block_;
    QFile file_;
};

constexpr LBackendRow kNullRow = {
    LDeviceMode::kNull,
    "Null",
    "Without Sound",
    [] { return true; },
    [](LDeviceDirection) { return std::vector<LDeviceInfo>(); },
    [] { return std::unique_ptr<LOutput>(std::make_unique<LNullOutput>()); },
    // NOLINTNEXTLINE(performance-unnecessary-value-param): the row has it so
    [](std::function<void()>) { return std::unique_ptr<LDeviceWatch>(); },
};

}  // namespace

const LBackendRow& NullBackend() { return kNullRow; }

}  // namespace ondarix
