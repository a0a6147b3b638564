// SPDX-License-Identifier: GPL-3.0-or-later
// "edit" against a model that does the same on a list of single frames.
#include <algorithm>
#include <cmath>
#include <random>

#include "cli/plain_wav.h"
#include "cli/program.h"

namespace ondarix::test {
namespace {

// A frame of the model: where it comes from, and the product of the gains that it has been through.
struct Cell {
    int file = -1;  // -1: silence
    int64_t frame = 0;
    float gain = 1.0f;
};
using Cells = std::vector<Cell>;

Cells CellsOf(int file, int64_t frames) {
    Cells cells(static_cast<size_t>(frames));
    for (size_t i = 0; i < cells.size(); ++i) cells[i] = {file, static_cast<int64_t>(i), 1.0f};
    return cells;
}

// The edits, on positions that may lie anywhere.
class Model {
  public:
    explicit Model(Cells cells) : cells_(std::move(cells)) {}
    const Cells& All() const { return cells_; }
    int64_t Length() const { return static_cast<int64_t>(cells_.size()); }

    void Delete(int64_t from, int64_t to) {
        from = std::clamp<int64_t>(from, 0, Length());
        to = std::clamp<int64_t>(to, from, Length());
        cells_.erase(cells_.begin() + from, cells_.begin() + to);
    }
    void Keep(int64_t from, int64_t to) {
        from = std::max<int64_t>(from, 0);
        Delete(std::max<int64_t>(to, from), Length());
        Delete(0, from);
    }
    // Silence before frame 0 falls away.
    void InsertSilence(int64_t at, int64_t length) {
        if (at < 0) length = std::max<int64_t>(0, length + at);
        Put(std::max<int64_t>(at, 0), Cells(static_cast<size_t>(length)));
    }
    // What stood at 0 moves by -at frames more than was inserted.
    void Insert(int64_t at, Cells what) {
        if (at < 0) what.resize(what.size() + static_cast<size_t>(-at));
        Put(std::max<int64_t>(at, 0), what);
    }
    Cells Copy(int64_t from, int64_t to) const {
        Cells range;
        for (int64_t i = from; i < to; ++i) {
            range.push_back(i >= 0 && i < Length() ? cells_[static_cast<size_t>(i)] : Cell{});
        }
        return range;
    }
    // Of these ranges, what lies in the sound counts.
    void Silence(int64_t from, int64_t to) {
        for (int64_t i = std::max<int64_t>(from, 0); i < std::min(to, Length()); ++i)
            cells_[static_cast<size_t>(i)] = {};
    }
    void Repeat(int64_t from, int64_t to, int times) {
        from = std::clamp<int64_t>(from, 0, Length());
        to = std::min(to, Length());
        const Cells range = Copy(from, to);
        for (int i = 0; i < times; ++i) Insert(from, range);
    }
    void Scale(int64_t from, int64_t to, int percent) {
        if (percent == 100) return;
        for (int64_t i = std::max<int64_t>(from, 0); i < std::min(to, Length()); ++i)
            cells_[static_cast<size_t>(i)].gain *= static_cast<float>(percent * 0.01);
    }

  private:
    void Put(int64_t at, const Cells& what) {
        if (at > Length()) cells_.resize(static_cast<size_t>(at));
        cells_.insert(cells_.begin() + at, what.begin(), what.end());
    }
    Cells cells_;
};

// Draws operations, writes them in every notation, and applies them to the model.
class EditWriter {
  public:
    EditWriter(unsigned seed, Model& model, int rate) : random_(seed), model_(model), rate_(rate) {}

    QStringList Next(const QString& otherFile, const Cells& other) {
        const int64_t at = Frame();
        const auto [from, to] = std::minmax({Frame(), Frame()});
        switch (Draw(0, 6)) {
            case 0: {
                const QStringList words{"delete", Text(from), Text(to)};
                model_.Delete(from, to);
                return words;
            }
            case 1: {
                // A crop to nothing would end every sequence with an empty sound.
                const int64_t end = std::max<int64_t>(to, 50);
                const int64_t start = std::min<int64_t>({from, end - 40, model_.Length() / 2});
                const QStringList words{"keep", Text(start), Text(end)};
                model_.Keep(start, end);
                return words;
            }
            case 2: {
                const QStringList words{"silence", Text(from), Text(to)};
                model_.Silence(from, to);
                return words;
            }
            case 3: {
                const int64_t length = Draw(0, 300);
                const QStringList words{"insert-silence", Text(at), Plain(length)};
                model_.InsertSilence(at, length);
                return words;
            }
            case 4: {
                const QStringList words{"insert", Text(at), otherFile};
                model_.Insert(at, other);
                return words;
            }
            case 5: {
                const int64_t start = std::max(from, to - 300);
                const int times = Draw(0, 4);
                const QStringList words{"repeat", Text(start), Text(to), QString::number(times)};
                model_.Repeat(start, to, times);
                return words;
            }
            default: {
                const int percent =
                    std::vector{0, 25, 50, 75, 90, 100, 130, -100}[static_cast<size_t>(Draw(0, 7))];
                const QStringList words{"scale", Text(from), Text(to), QString::number(percent)};
                model_.Scale(from, to, percent);
                return words;
            }
        }
    }

    int Draw(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }

  private:
    // Mostly inside, sometimes before the start or behind the end, often just at a border.
    int64_t Frame() {
        const auto length = static_cast<int>(model_.Length());
        switch (Draw(0, 9)) {
            case 0:
                return 0;
            case 1:
                return length;
            case 2:
                return Draw(-120, -1);
            case 3:
                return length + Draw(1, 120);
            default:
                return Draw(0, length);
        }
    }
    QString Plain(int64_t frames) {
        switch (Draw(0, 2)) {
            case 0:
                return QString::number(static_cast<double>(frames) / rate_, 'f', 9) + 's';
            case 1:
                return QString::number(static_cast<double>(frames) * 1000 / rate_, 'f', 6) + "ms";
            default:
                return QString::number(frames);
        }
    }
    QString Signed(int64_t frames) { return (frames < 0 ? "-" : "") + Plain(std::abs(frames)); }
    QString Text(int64_t frame) {
        if (Draw(0, 2) > 0) return Signed(frame);
        const int64_t before = model_.Length() - frame;
        if (before == 0 && Draw(0, 1)) return "end";
        return (before < 0 ? "end+" : "end-") + Plain(std::abs(before));
    }

    std::mt19937 random_;
    Model& model_;
    int rate_;
};

struct Kind {
    int tag, bits;
    float tolerance;  // of a value below 1: how integers are scaled in the last bit is the program's own
};
constexpr Kind kKinds[] = {{1, 8, 1e-7f}, {1, 16, 1e-7f}, {1, 24, 1e-7f}, {1, 32, 1e-7f}, {3, 32, 0.0f}};

TEST(CliEdit, RandomSequencesEqualTheModelFrameForFrame) {
    const Home home;
    int64_t compared = 0;
    for (unsigned seed = 1; seed <= 50; ++seed) {
        std::mt19937 random(seed * 977);
        const Kind kind = kKinds[seed % std::size(kKinds)];
        const Kind otherKind = kKinds[(seed / 5) % std::size(kKinds)];
        const int channels = 1 + static_cast<int>(seed % 3);
        const int rate = std::vector{8000, 22050, 44100, 96000}[seed % 4];
        const PlainWav wavs[] = {
            NoiseWav(seed, kind.tag, kind.bits, rate, channels, 200 + static_cast<int>(random() % 3000),
                     0.15),
            NoiseWav(seed + 1000, otherKind.tag, otherKind.bits, rate, channels, 100, 0.15)};
        WriteFile(home.File("in.wav"), wavs[0].ToBytes());
        WriteFile(home.File("other.wav"), wavs[1].ToBytes());

        Model model(CellsOf(0, wavs[0].Frames()));
        EditWriter writer(seed, model, rate);
        QStringList line{"edit", "in.wav", "out.wav", "--bits", "float"};
        const int count = writer.Draw(1, 6);
        for (int i = 0; i < count; ++i) line += writer.Next("other.wav", CellsOf(1, wavs[1].Frames()));
        const std::string shown = line.join(' ').toStdString();

        const Outcome outcome = home.Run(line);
        if (model.Length() == 0) {
            EXPECT_EQ(outcome.status, 2) << shown;
            continue;
        }
        ASSERT_EQ(outcome.status, 0) << shown << '\n' << outcome.err.toStdString();
        const PlainWav result = ReadPlainWav(home.File("out.wav"));
        ASSERT_EQ(result.Frames(), model.Length()) << shown;
        const std::vector<float> got = result.Samples();
        const std::vector<float> inputs[] = {wavs[0].Samples(), wavs[1].Samples()};
        const float tolerances[] = {kind.tolerance, otherKind.tolerance};
        for (size_t i = 0; i < got.size(); ++i) {
            const Cell& cell = model.All()[i / static_cast<size_t>(channels)];
            float want = 0, tolerance = 0;
            if (cell.file >= 0) {
                const auto channel = static_cast<int64_t>(i) % channels;
                want = inputs[cell.file][static_cast<size_t>(cell.frame * channels + channel)] * cell.gain;
                tolerance = tolerances[cell.file];
            }
            ASSERT_LE(std::fabs(got[i] - want), tolerance) << shown << ", sample " << i;
        }
        compared += result.Frames();
    }
    EXPECT_GT(compared, 50'000);
    EXPECT_EQ(home.Leftovers(), QStringList());
}

// The frame that a notation means, seen by how much "delete 0 POSITION" takes away.
TEST(CliEdit, PositionsMeanTheFrameThatTheySay) {
    const Home home;
    WriteFile(home.File("in.wav"), NoiseWav(1, 1, 8, 8000, 1, 80'000, 0.5).ToBytes());
    const struct {
        const char* text;
        int64_t frame;
    } table[] = {
        {"0", 0},          {"12345", 12345},
        {"1.5s", 12000},   {".5s", 4000},
        {"0s", 0},         {"250ms", 2000},
        {"0.125ms", 1},    {"0.06ms", 0},
        {"0.0625ms", 1},  // halves go up
        {"0.000125s", 1},  {"0.000124999999999999s", 1},
        {"0:01", 8000},    {"0:01.5", 12000},
        {"0:02.5", 20000}, {"0:00:02.5", 20000},
        {"end", 80000},    {"end-1.5s", 68000},
        {"end-79999", 1},  {"end-0:01", 72000},
        {"end-0", 80000},  {"00000000000000000005", 5},
    };
    for (const auto& row : table) {
        const Outcome outcome = home.Run(
            {"edit", "--json", "in.wav", "out.wav", "delete", "0", row.text, "insert-silence", "end", "1"});
        EXPECT_EQ(outcome.status, 0) << row.text << outcome.err.toStdString();
        EXPECT_EQ(80'001 - outcome.Json()["frames"].toInteger(), row.frame) << row.text;
    }
    // Outside the sound: silence behind the end, and what of it reaches frame 0.
    const struct {
        const char* text;
        int64_t frames;
    } outside[] = {{"-50", 80'050},       {"-12.5ms", 80'000}, {"-0:00.005", 80'060},   {"end+1s", 88'100},
                   {"end-80010", 80'090}, {"1:00", 480'100},   {"0:01:00.001", 480'108}};
    for (const auto& row : outside) {
        const Outcome outcome =
            home.Run({"edit", "--json", "in.wav", "out.wav", "insert-silence", row.text, "100"});
        EXPECT_EQ(outcome.Json()["frames"].toInteger(), row.frames) << row.text;
    }
}

TEST(CliEdit, WrongOperationsAreToldBeforeAnythingIsOpened) {
    const Home home;
    const QList<QStringList> lines = {
        {"delete", "1"},
        {"delete", "1", "2", "3"},
        {"cut", "1"},
        {"frobnicate", "1", "2"},
        {"delete", "nan", "end"},
        {"delete", "0", "inf"},
        {"delete", "0", "1e3"},
        {"delete", "0", "0x10"},
        {"delete", "0", "+5"},
        {"delete", "0", "1.5"},
        {"delete", "0", "1.s"},
        {"delete", "0", "s"},
        {"delete", "0", "ms"},
        {"delete", "0", ""},
        {"delete", "0", "- 5"},
        {"delete", "0", "1:5"},
        {"delete", "0", "1:60"},
        {"delete", "0", "1:60:00"},
        {"delete", "0", "1:2:03:04"},
        {"delete", "0", ":05"},
        {"delete", "0", "1:-05"},
        {"delete", "0", "end5"},
        {"delete", "0", "end--5"},
        {"delete", "0", "ende"},
        {"delete", "0", "9223372036854775808"},
        {"delete", "0", "-99999999999999999999999999"},
        {"delete", "0", "99999999999999999999s"},
        {"delete", "0", "99999999:00:00"},
        {"delete", "0", "٣"},
        {"insert-silence", "0", "-5"},
        {"insert-silence", "0", "end"},
        {"repeat", "0", "1", "-1"},
        {"repeat", "0", "1", "two"},
        {"repeat", "0", "1", "99999999999999999999"},
        {"scale", "0", "1", "50%"},
        {"scale", "0", "1", "1.5"},
        {"scale", "0", "1", "4294967396"},
        {"insert", "0", ""},
    };
    for (const QStringList& words : lines) {
        const Outcome outcome = home.Run(QStringList{"edit", "absent.wav", "out.wav"} + words);
        EXPECT_EQ(outcome.status, 64) << words.join(' ').toStdString();
        EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err.toStdString();
        EXPECT_FALSE(outcome.err.contains("absent.wav")) << outcome.err.toStdString();
    }
    EXPECT_EQ(home.FileNames(), QStringList());
}

TEST(CliEdit, WhatCannotBeAppliedWritesNothing) {
    const Home home;
    WriteFile(home.File("in.wav"), NoiseWav(1, 1, 16, 44100, 2, 1000, 0.5).ToBytes());
    const QList<QStringList> lines = {
        {"delete", "0", "end"},        // nothing is left
        {"delete", "500", "end-600"},  // ends before it starts
        {"insert", "0", "absent.wav"},
        {"insert-silence", "0", "2251799813685248"},
        {"repeat", "0", "end", "1000000"},
        {"insert-silence", "0", "10000000:00"},
        {"repeat", "0", "end", "1000", "repeat", "0", "end", "1000", "repeat", "0", "end", "1000"},
        {"delete", "0", "10", "silence", "20", "10"},
    };
    for (const QStringList& words : lines) {
        const Outcome outcome = home.Run(QStringList{"edit", "--json", "in.wav", "out.wav"} + words);
        EXPECT_EQ(outcome.status, 2) << words.join(' ').toStdString();
        EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err.toStdString();
        EXPECT_EQ(outcome.Json()["status"].toInt(), 2);
        EXPECT_FALSE(outcome.Json()["error"].toString().isEmpty());
    }
    EXPECT_EQ(home.FileNames(), (QStringList{"in.wav"}));
    EXPECT_EQ(home.Leftovers(), QStringList());
}

// A mono file at another rate goes in as sox converts it. A tone that begins and ends softly lies inside both
// filters' passbands, so that two good converters agree.
TEST(CliEdit, InsertingConvertsRateAndChannels) {
    const Home home;
    const QStringList asFloat{"-e", "float", "-b", "32"};
    RunTool("sox",
            QStringList{"-n", "-r", "44100", "-c", "2"} + asFloat +
                QStringList{home.File("in.wav"), "synth", "0.1", "sine", "300", "sine", "500", "gain", "-9"});
    RunTool("sox", QStringList{"-n", "-r", "48000"} + asFloat +
                       QStringList{home.File("mono.wav"), "synth", "1", "sine", "1000", "gain", "-6", "fade",
                                   "h", "0.4", "1", "0.4"});
    const Outcome outcome = home.Run({"edit", "in.wav", "out.wav", "insert", "2205", "mono.wav"});
    ASSERT_EQ(outcome.status, 0) << outcome.err.toStdString();
    const auto raw = [&](const char* file, const QStringList& effects) {
        return FloatSamples(home.File(file), effects);
    };
    const QByteArray want = raw("in.wav", {"trim", "0s", "2205s"}) +
                            raw("mono.wav", {"rate", "-v", "44100", "channels", "2"}) +
                            raw("in.wav", {"trim", "2205s"});
    EXPECT_LT(LoudestDifference(raw("out.wav", {}), want), 2e-6);
}

// Cuts both ends and fades out in ten steps, as a user would; judged by another program.
TEST(CliEdit, CutAndFadeAsAnotherProgramSeesThem) {
    const Home home;
    RunTool("sox", {"-n", "-r", "48000", "-b", "16", home.File("in.wav"), "synth", "2", "sine", "440", "gain",
                    "-6"});
    QStringList line{"edit", "in.wav", "in.wav", "delete", "0", "100ms", "delete", "end-100ms", "end"};
    for (int step = 0; step < 10; ++step) {
        line += {"scale", QString("end-%1ms").arg(400 - step * 40), QString("end-%1ms").arg(360 - step * 40),
                 QString::number(95 - step * 10)};
    }
    const Outcome outcome = home.Run(line);
    ASSERT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_EQ(RunTool("soxi", {"-s", home.File("in.wav")}).trimmed(), "86400");
    const QByteArray raw = RunTool("sox", {home.File("in.wav"), "-t", "f32", "-"});
    for (int step = 0; step < 10; ++step) {
        float peak = 0;
        for (int i = 0; i < 1920; ++i) {
            float sample;
            std::memcpy(&sample, raw.constData() + (86400 - (10 - step) * 1920 + i) * 4, 4);
            peak = std::max(peak, std::fabs(sample));
        }
        EXPECT_NEAR(peak, 0.5012 * (0.95 - step * 0.1), 0.002) << step;
    }
}

}  // namespace
}  // namespace ondarix::test
