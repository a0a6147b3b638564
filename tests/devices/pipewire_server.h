// SPDX-License-Identifier: GPL-3.0-or-later
// A PipeWire server of a test's own, with its session manager and message bus in a private folder and sinks
// that play into nothing. Qt Core and the system only.
#pragma once
#include <QTemporaryDir>

#include "devices/server_process.h"

namespace ondarix::test {

class PipeWireServer {
  public:
    PipeWireServer();
    ~PipeWireServer();

    // Answering and routing when it returns true, with one sink "out" of two channels, which is the default.
    // Also again, after Stop() or Kill().
    bool Start();
    void Stop();
    void Kill();
    void Freeze() { server_.Signal(SIGSTOP); }
    void Thaw() { server_.Signal(SIGCONT); }

    // Names hold letters and digits only.
    bool AddSink(const QString& name, const QString& description, int channels = 2);
    bool RemoveNode(const QString& name);

    // What a client must be started with to find it.
    const ServerEnvironment& Environment() const { return environment_; }
    // The same for clients in this process.
    void UseHere() const;
    ToolResult Tool(const QString& program, const QStringList& arguments) const {
        return RunTool(environment_, program, arguments);
    }

    // Records what a sink plays; true once the recorder is connected.
    bool StartRecording(const QString& wavPath, const QString& sink = QStringLiteral("out"), int channels = 2,
                        int rate = 48000);
    // 32-bit floats, interleaved.
    std::vector<float> StopRecording();

  private:
    QTemporaryDir folder_;
    ServerEnvironment environment_;
    QString recording_;
    ServerProcess bus_, server_, manager_, recorder_;
};

}  // namespace ondarix::test
