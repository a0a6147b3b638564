// SPDX-License-Identifier: GPL-3.0-or-later
// A JACK server of a test's own, with a dummy driver whose outputs can be listened to. Tests may run
// side by side, each with a name of its own. Qt Core and the system only.
#pragma once
#include "devices/server_process.h"

namespace ondarix::test {

class JackServer {
  public:
    explicit JackServer(int rate = 48000, int bufferFrames = 256, int channels = 2);
    ~JackServer();

    // Answering when it returns true. Also again, after Stop() or Kill().
    bool Start();
    void Stop();
    void Kill();
    void Freeze() { server_.Signal(SIGSTOP); }
    void Thaw() { server_.Signal(SIGCONT); }

    // What a client must be started with to find it.
    const ServerEnvironment& Environment() const { return environment_; }
    // The same for clients in this process.
    void UseHere() const;
    ToolResult Tool(const QString& program, const QStringList& arguments) const {
        return RunTool(environment_, program, arguments);
    }

    // Records `channels` of what the server's outputs play; true once the recorder is connected.
    bool StartRecording(const QString& wavPath, int channels = 2);
    // 32-bit floats, interleaved.
    std::vector<float> StopRecording();

  private:
    void NoteSharedMemory();
    void RemoveSharedMemory();
    int rate_, bufferFrames_, channels_;
    QString name_;
    int lock_;  // of the name
    ServerEnvironment environment_;
    QStringList memory_;
    QString recording_;
    ServerProcess server_, recorder_;
};

}  // namespace ondarix::test
