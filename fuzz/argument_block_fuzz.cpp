// SPDX-License-Identifier: GPL-3.0-or-later
// What arrives on the instance socket: the block, and the switch loop over whatever it holds.
#include <QDir>
#include <cstdlib>

#include "app/argument_block.h"
#include "app/command_line_processor.h"

using namespace ondarix;

namespace {

// Accepts everything and does nothing.
class SilentFrame final : public LFrameActions {
  public:
    bool CanAcceptWork() const override { return true; }
    void BringForward() override {}
    void SaveActive() override {}
    void SaveActiveAs(const QString&) override {}
    void HideToBackground() override {}
    bool CanClose() override { return true; }
    void PostClose(bool) override {}
    bool Play(int64_t, int64_t) override { return false; }
    bool Record() override { return false; }
    bool StopAll() override { return false; }
    bool RestartPlayback() override { return false; }
    void Minimize() override {}
    void Maximize() override {}
    void Restore() override {}
    void ResizeClient(std::optional<int>, std::optional<int>) override {}
    bool StartBatch(const LBatchRequest&) override { return false; }
    void Tell(const QString&, const QString&) override {}
    bool OpenSound(const QString&) override { return true; }
    bool OpenProject(const QString&) override { return false; }
    bool MayOpenMore() const override { return true; }
    void OpenLink(const QString&) override {}
    void AddListener(const QString&) override {}
};

void Require(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

// The first byte chooses the reading of the rest: a whole block, the start of one that is filled up, or a
// list of paths.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    if (data[0] == 2) {
        PathsOfList(QByteArray(reinterpret_cast<const char*>(data + 1), static_cast<qsizetype>(size - 1)));
        return 0;
    }
    QByteArray block(reinterpret_cast<const char*>(data + 1), static_cast<qsizetype>(size - 1));
    if (data[0] == 1) block.resize(kArgumentBlockBytes, '\0');
    const auto arguments = DecodeArgumentBlock(
        {reinterpret_cast<const uint8_t*>(block.constData()), static_cast<size_t>(block.size())});
    Require(!arguments || block.size() == kArgumentBlockBytes);
    if (!arguments) return 0;
    Require(!arguments->isEmpty() && arguments->size() <= kArgumentBlockEntries);
    for (const QString& argument : *arguments) Require(argument.size() <= 259);
    Require(
        DecodeArgumentBlock({reinterpret_cast<const uint8_t*>(EncodeArgumentBlock(*arguments).constData()),
                             static_cast<size_t>(kArgumentBlockBytes)})
            ->size() == arguments->size());

    SilentFrame frame;
    QString reply;
    LCommandLineProcessor(frame).Process(*arguments, reply);
    MakeArgumentsPortable(*arguments, QStringLiteral("/nowhere"));
    LinkArgument(*arguments);
    return 0;
}
