// SPDX-License-Identifier: GPL-3.0-or-later
// A file through the editor's own player.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <algorithm>
#include <cstdio>

#include "cli/positions.h"
#include "cli/sound_files.h"
#include "devices/device_list.h"
#include "devices/play_chain.h"
#include "devices/player.h"
#include "formats/save.h"

namespace ondarix {
namespace {

constexpr int kCancelPollMs = 20;
// A sound that still grows, and of which nothing has come for so long, has no writer any more: its header was
// left open, as by programs that write into a pipe.
constexpr int kGrowthEndMs = 5000;
constexpr double kSlowestPlay = 0.1, kFastestPlay = 5.0;
constexpr int kLowestVolume = -127;
constexpr int kMostLoops = 1'000'000;

struct LPlayOptions {
    std::optional<LPosition> from, to;
    double speed = 1.0;
    bool tape = false;
    int loops = 1;
    std::optional<int> volume;  // dB
};

// Empty: all can be used.
QString ReadPlayOptions(const LArguments& arguments, LPlayOptions& options) {
    for (const auto& [name, position] : {std::pair{"--from", &options.from}, {"--to", &options.to}}) {
        if (!arguments.Has(name)) continue;
        *position = ParsePosition(arguments.Value(name));
        if (!*position) return QString("%1: \"%2\" is no position").arg(name, arguments.Value(name));
    }
    bool isNumber = true;
    if (arguments.Has("--speed")) options.speed = arguments.Value("--speed").toDouble(&isNumber);
    if (!isNumber || !(options.speed >= kSlowestPlay && options.speed <= kFastestPlay))
        return QString("--speed: \"%1\" is no number from 0.1 to 5").arg(arguments.Value("--speed"));
    options.tape = arguments.Has("--tape");
    const QString loops = arguments.Value("--loop");
    if (loops == "forever")
        options.loops = kLoopForever;
    else if (arguments.Has("--loop"))
        options.loops = loops.toInt(&isNumber);
    if (!isNumber || options.loops == 0 || options.loops > kMostLoops ||
        (options.loops < 0 && loops != "forever"))
        return QString("--loop: \"%1\" is neither a number of passes nor \"forever\"").arg(loops);
    if (arguments.Has("--volume")) options.volume = arguments.Value("--volume").toInt(&isNumber);
    if (!isNumber || (options.volume && (*options.volume > 0 || *options.volume < kLowestVolume)))
        return QString("--volume: \"%1\" is no whole number from -127 to 0").arg(arguments.Value("--volume"));
    return {};
}

// Empty: the places lie in the sound. One that still grows may reach the end of the range later.
QString PlaceRange(const LPlayOptions& options, LPlayRequest& request) {
    LSoundSource& sound = *request.sound;
    const int64_t length = sound.GetLength();
    const auto rate = static_cast<int32_t>(sound.sampleRate);
    const auto lies = [&](int64_t frame) { return frame >= 0 && (frame <= length || sound.IsGrowing()); };
    if (options.from) request.start = options.from->Resolve(length, rate);
    if (options.to) request.end = options.to->Resolve(length, rate);
    for (const int64_t frame : {request.start, options.to ? request.end : 0}) {
        if (!lies(frame))
            return QString("frame %1 lies outside the sound, which has %2").arg(frame).arg(length);
    }
    if (options.to && request.end < request.start) return "--to lies before --from";
    request.speed = options.speed;
    request.keepPitch = !options.tape;
    request.loops = options.loops;
    return {};
}

QString DeviceFault(uint16_t status, const QString& device) {
    switch (status) {
        case kDeviceRateUnsupported:
            return QString("%1 cannot play at a sample rate that the sound could be converted to")
                .arg(device);
        case kDeviceNoChannels:
            return QString("there is nothing that %1 could play").arg(device);
        case kDeviceNoLibrary:
            return QString("%1: the library of this sound system is not installed").arg(device);
        case kDeviceNoPosition:
            return QString("%1 does not tell its position").arg(device);
        case kDeviceLost:
            return QString("%1 has gone while it played, or can take no more").arg(device);
        case kDeviceExclusive:
            return QString("%1 is in use by another program").arg(device);
        case kDeviceOpening:
            return QString("%1 does not come to be ready").arg(device);
        default:
            return QString("%1 cannot be opened (see: ondarix-cli devices)").arg(device);
    }
}

// One playing, from begin to end, in an event loop of its own.
class LPlayRun final : private LSoundPlayerEvents {
  public:
    LPlayRun(LContext& context, const LDeviceSelection& device, const LPlayRequest& request)
        : context_(context), device_(DeviceText(device)), chain_(request), source_(chain_.Source()) {
        player_.SetListener(this);
        player_.SelectDevice(device);
    }

    ExitStatus Run(const QString& path, std::optional<int> volume);

  private:
    void OnPlayStarted(uintptr_t) override;
    void OnPlayStopped(uintptr_t) override {
        stopped_ = true;
        loop_.quit();
    }
    void OnPositionFrames(uintptr_t, int64_t frames) override;
    void Report(int64_t heard);
    bool HasStoppedGrowing();

    LContext& context_;
    QString device_, path_;
    LPlayChain chain_;
    LSoundSourceRef source_;
    int64_t begin_ = source_->GetPosition();
    int64_t length_ = source_->IsGrowing() ? -1 : source_->GetLength();  // -1: not known
    int32_t deviceRate_ = 0;
    int64_t lastHeard_ = -1;
    QElapsedTimer sinceHeard_;
    bool stopped_ = false, cancelled_ = false;
    QEventLoop loop_;
    LSoundPlayer player_;
};

void LPlayRun::OnPlayStarted(uintptr_t) {
    deviceRate_ = player_.Device().Rate();
    const auto rate = static_cast<int32_t>(source_->sampleRate);
    QString line =
        QString("Playing %1 (%2 Hz, %3)").arg(path_).arg(rate).arg(ChannelCountText(source_->channels));
    line += " on " + device_;
    if (deviceRate_ != rate) line += QString(" at %1 Hz").arg(deviceRate_);
    context_.console.Print(OneLine(line));
    std::fflush(stdout);
}

void LPlayRun::OnPositionFrames(uintptr_t, int64_t frames) {
    LTerminalProgress& progress = context_.progress;
    progress.SetStatus(TimeText(chain_.ToSound(frames), source_->sampleRate).chopped(2), 0);
    if (length_ > begin_)
        progress.SetFraction(static_cast<double>(frames - begin_) / static_cast<double>(length_ - begin_));
}

bool LPlayRun::HasStoppedGrowing() {
    const int64_t heard = player_.GetPositionFrames();
    if (heard != lastHeard_) sinceHeard_.start();
    lastHeard_ = heard;
    return length_ < 0 && sinceHeard_.elapsed() > kGrowthEndMs;
}

void LPlayRun::Report(int64_t heard) {
    const LDeviceSelection& selection = player_.Device().Selection();
    QJsonObject& json = context_.console.Result();
    json["path"] = path_;
    json["device"] = device_;
    json["backend"] = BackendOf(selection.mode).name;
    json["mode"] = static_cast<int>(selection.mode);
    json["sampleRate"] = static_cast<int>(source_->sampleRate);
    json["channels"] = source_->channels;
    json["deviceRate"] = deviceRate_;
    json["speed"] = chain_.Request().speed;
    json["frames"] = JsonInt(heard);
    json["seconds"] = static_cast<double>(heard) / static_cast<double>(source_->sampleRate);
    json["gaps"] = JsonInt(deviceRate_ ? player_.Device().Gaps() : 0);
    json["cancelled"] = cancelled_;
}

ExitStatus LPlayRun::Run(const QString& path, std::optional<int> volume) {
    path_ = path;
    if (volume) player_.SetVolume(static_cast<int8_t>(*volume));
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop_, [this] {
        if (stopped_) return;
        cancelled_ = context_.progress.IsCancelled();
        if (cancelled_ || HasStoppedGrowing()) player_.Stop();
    });
    poll.start(kCancelPollMs);
    const bool played = player_.Play(source_);
    if (played && !stopped_) loop_.exec();
    context_.progress.Clear();
    Report(played ? std::max<int64_t>(player_.GetPositionFrames() - begin_, 0) : 0);
    if (cancelled_) return context_.Ended(JobResult::kCancelled, {});
    if (!played || player_.LastStatus() != kDeviceGood)
        return context_.console.Fail(DeviceFault(player_.LastStatus(), device_));
    if (const uint32_t gaps = player_.Device().Gaps())
        context_.console.Warn(QString("%1 ran out of sound %2 times").arg(device_).arg(gaps));
    return ExitStatus::kSuccess;
}

}  // namespace

ExitStatus RunPlay(const LArguments& arguments, LContext& context) {
    LPlayOptions options;
    QString fault = ReadPlayOptions(arguments, options);
    if (!fault.isEmpty()) return context.console.Fail(fault, ExitStatus::kUsage);
    const QString path = arguments.operands[0];
    LPlayRequest request;
    request.sound = OpenFile(path, context, fault);
    if (fault.isEmpty()) fault = PlaceRange(options, request);
    if (!fault.isEmpty()) return context.console.Fail(fault);
    const bool named = arguments.Has("--device");
    const auto device = named ? FindDevice(arguments.Value("--device")) : ChosenOutput();
    if (!device) {
        return context.console.Fail(
            QString("there is no device \"%1\" (see: ondarix-cli devices)").arg(arguments.Value("--device")));
    }
    int argumentCount = 1;
    char name[] = "ondarix-cli";
    char* names[] = {name, nullptr};
    const QCoreApplication application(argumentCount, names);
    return LPlayRun(context, *device, request).Run(path, options.volume);
}

}  // namespace ondarix
