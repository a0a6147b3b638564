// SPDX-License-Identifier: GPL-3.0-or-later
// From the start of the process to the painted main window, and with an hour of sound to its drawn waveform;
// beside a bare Qt window in the same run. Needs a display (QT_QPA_PLATFORM=offscreen will do): bench_start
// EDITOR BARE_WINDOW [FOLDER], where the folder (default /dev/shm) takes some 2 GB.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench.h"

namespace {

namespace fs = std::filesystem;
constexpr int kRuns = 7;

// Milliseconds until the program has written the word as a line on standard error; negative when it never
// did.
double MsUntil(const std::vector<std::string>& command, const char* word) {
    int lines[2];
    if (pipe2(lines, O_CLOEXEC) != 0) return -1;
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        dup2(lines[1], STDERR_FILENO);
        std::vector<const char*> arguments;
        for (const std::string& argument : command) arguments.push_back(argument.c_str());
        arguments.push_back(nullptr);
        execv(arguments[0], const_cast<char* const*>(arguments.data()));
        _exit(127);
    }
    close(lines[1]);
    FILE* from = fdopen(lines[0], "r");
    char line[256];
    double ms = -1;
    while (ms < 0 && std::fgets(line, sizeof line, from)) {
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        if (std::strncmp(line, word, std::strlen(word)) == 0) ms = took.count();
    }
    kill(child, SIGTERM);
    while (std::fgets(line, sizeof line, from)) continue;
    std::fclose(from);
    waitpid(child, nullptr, 0);
    return ms;
}

double BestStart(const std::vector<std::string>& command, const char* word, int runs,
                 const fs::path& forget = {}) {
    double best = 1e300;
    for (int i = 0; i < runs; ++i) {
        if (!forget.empty()) fs::remove_all(forget);
        const double ms = MsUntil(command, word);
        if (ms < 0) {
            std::fprintf(stderr, "%s never said \"%s\"\n", command[0].c_str(), word);
            std::exit(1);
        }
        best = std::min(best, ms);
    }
    return best;
}

// 16 bits, stereo, 44.1 kHz.
void WriteHour(const fs::path& path) {
    const uint32_t bytes = 3600U * 44100 * 4, rate = 44100, perSecond = 44100 * 4, riff = bytes + 36,
                   format = 16;
    const uint16_t tag = 1, channels = 2, align = 4, bits = 16;
    std::ofstream file(path, std::ios::binary);
    const auto put = [&file](const auto& value) {
        file.write(reinterpret_cast<const char*>(&value), sizeof value);
    };
    file << "RIFF";
    put(riff);
    file << "WAVEfmt ";
    put(format), put(tag), put(channels), put(rate), put(perSecond), put(align), put(bits);
    file << "data";
    put(bytes);
    std::vector<int16_t> second(44100 * 2);
    for (size_t i = 0; i < second.size(); ++i) second[i] = static_cast<int16_t>(i * 7919 % 30011 - 15000);
    for (int i = 0; i < 3600; ++i)
        file.write(reinterpret_cast<const char*>(second.data()),
                   static_cast<std::streamsize>(second.size() * 2));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: bench_start EDITOR BARE_WINDOW [FOLDER]\n");
        return 64;
    }
    using ondarix::bench::Report;
    const fs::path folder =
        fs::path(argc > 3 ? argv[3] : "/dev/shm") / ("ondarix-start-" + std::to_string(getpid()));
    fs::create_directories(folder);
    const fs::path home = folder / "home", hour = folder / "hour.wav";
    setenv("ONDARIX_HOME", home.c_str(), 1);
    setenv("ONDARIX_TRACE_START", "1", 1);
    const double bare = BestStart({argv[2]}, "window", kRuns);
    std::printf("%-44s %10.3f ms\n", "bare Qt window", bare);
    bool good = Report("start to painted main window", BestStart({argv[1]}, "window", kRuns), "ms", 200);
    WriteHour(hour);
    good &= Report("start with an hour of sound to its waveform",
                   BestStart({argv[1], hour.string()}, "waveform", 3, home / "data"), "ms", 1200);
    good &= Report("the same, decoded before", BestStart({argv[1], hour.string()}, "waveform", 3), "ms", 300);
    fs::remove_all(folder);
    return good ? 0 : 1;
}
