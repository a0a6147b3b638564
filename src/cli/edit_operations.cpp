// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/edit_operations.h"

#include <algorithm>
#include <span>

namespace ondarix {

// What an operation takes, one letter an operand: P position, L length, N times, % percentage, F file.
struct LEditRow {
    const char* name;
    const char* operands;
    void (*apply)(LSound& sound, int64_t first, int64_t second, int64_t number, const LSound* inserted);
};

namespace {

constexpr int64_t kMostTimes = 1'000'000;
constexpr int64_t kMostPercent = 1'000'000;
// A piece of a sound takes some hundred bytes of memory, and saving copies the list once.
constexpr int64_t kMostPieces = 100'000;

constexpr LEditRow kSteps[] = {
    {"delete", "PP", [](LSound& s, int64_t a, int64_t b, int64_t, const LSound*) { s.Delete(a, b); }},
    {"keep", "PP", [](LSound& s, int64_t a, int64_t b, int64_t, const LSound*) { s.Keep(a, b); }},
    {"silence", "PP", [](LSound& s, int64_t a, int64_t b, int64_t, const LSound*) { s.Silence(a, b); }},
    {"insert-silence", "PL",
     [](LSound& s, int64_t a, int64_t b, int64_t, const LSound*) { s.InsertSilence(a, b); }},
    {"insert", "PF",
     [](LSound& s, int64_t a, int64_t, int64_t, const LSound* inserted) { s.Insert(a, *inserted); }},
    {"repeat", "PPN",
     [](LSound& s, int64_t a, int64_t b, int64_t times, const LSound*) { s.Repeat(a, b, times); }},
    {"scale", "PP%",
     [](LSound& s, int64_t a, int64_t b, int64_t percent, const LSound*) {
         s.ScaleRangePercent(a, b, static_cast<int>(percent));
     }},
};

const LEditRow* FindStep(const QString& name) {
    const auto found = std::find_if(std::begin(kSteps), std::end(kSteps),
                                    [&](const LEditRow& row) { return name == row.name; });
    return found == std::end(kSteps) ? nullptr : found;
}

bool ParseNumber(const QString& word, int64_t least, int64_t most, int64_t& number) {
    bool ok = false;
    number = word.toLongLong(&ok);
    return ok && number >= least && number <= most;
}

// Empty on success.
QString ParseOperand(QChar kind, const QString& word, int positionIndex, LEditStep& step) {
    switch (kind.unicode()) {
        case 'F':
            step.file = word;
            return word.isEmpty() ? QString("the name of the file is empty") : QString();
        case 'N':
            return ParseNumber(word, 0, kMostTimes, step.number)
                       ? QString()
                       : QString("\"%1\" is not a number of times (0 to %2)").arg(word).arg(kMostTimes);
        case '%':
            return ParseNumber(word, -kMostPercent, kMostPercent, step.number)
                       ? QString()
                       : QString("\"%1\" is not a whole percentage").arg(word);
        default:
            break;
    }
    const auto position = ParsePosition(word);
    if (!position)
        return QString("\"%1\" is not a position (as 12345, 1.5s, 250ms, 0:01:02.5, end)").arg(word);
    if (kind == 'L' && (position->fromEnd || position->negative)) {
        return QString("\"%1\" is not a length").arg(word);
    }
    step.positions[positionIndex] = *position;
    return {};
}

int64_t CountPieces(const LSound& sound) {
    int64_t pieces = 0;
    for (const LSoundSegment* segment = sound.segments.get(); segment; segment = segment->next.get())
        ++pieces;
    return pieces;
}

// Operations that make a sound longer are measured before, in double precision, which is enough for a limit
// far below what 64 bits hold.
QString CheckGrowth(const LEditStep& step, int64_t first, int64_t second, const LSound* inserted,
                    const LSound& sound) {
    double added = 0;
    double pieces = static_cast<double>(CountPieces(sound)) + 4;
    if (inserted) {
        added = static_cast<double>(inserted->Length());
        pieces += static_cast<double>(CountPieces(*inserted));
    } else if (step.row->operands[1] == 'L') {
        added = static_cast<double>(second);
    } else if (step.row->operands[2] == 'N') {
        LSound range;
        sound.CopyRange(first, second, range);
        added = static_cast<double>(second - first) * static_cast<double>(step.number);
        pieces += static_cast<double>(CountPieces(range)) * static_cast<double>(step.number);
    }
    const auto reach = static_cast<double>(std::max({sound.Length(), std::abs(first), std::abs(second)}));
    if (reach + added > static_cast<double>(kMostFrames)) return "the sound would become too long";
    if (pieces > static_cast<double>(kMostPieces)) return "the sound would fall into too many pieces";
    return {};
}

}  // namespace

std::vector<LEditStep> ParseSteps(const QStringList& words, QString& error) {
    std::vector<LEditStep> steps;
    qsizetype index = 0;
    while (index < words.size()) {
        LEditStep step;
        step.row = FindStep(words[index]);
        if (!step.row) {
            error = QString("unknown operation \"%1\"").arg(words[index]);
            return {};
        }
        ++index;
        int positionIndex = 0;
        for (const QChar kind : QLatin1String(step.row->operands)) {
            const QString fault = index < words.size() ? ParseOperand(kind, words[index], positionIndex, step)
                                                       : QString("an argument is missing");
            if (!fault.isEmpty()) {
                error = QString("%1: %2").arg(step.row->name, fault);
                return {};
            }
            if (kind == 'P' || kind == 'L') ++positionIndex;
            ++index;
        }
        steps.push_back(std::move(step));
    }
    return steps;
}

const char* StepName(const LEditStep& step) { return step.row->name; }

bool StepNeedsFile(const LEditStep& step) { return step.row->operands[1] == 'F'; }

QString ApplyStep(const LEditStep& step, const LSound* inserted, LSound& sound) {
    const int64_t length = sound.Length();
    const int64_t first = step.positions[0].Resolve(length, sound.sampleRate);
    const int64_t second = step.positions[1].Resolve(length, sound.sampleRate);
    if (std::abs(first) > kMostFrames || std::abs(second) > kMostFrames) {
        return "the position is out of range";
    }
    const bool isRange = step.row->operands[1] == 'P';
    if (isRange && first > second) {
        return QString("the range ends (frame %1) before it starts (frame %2)").arg(second).arg(first);
    }
    QString fault = CheckGrowth(step, first, second, inserted, sound);
    if (fault.isEmpty()) step.row->apply(sound, first, second, step.number, inserted);
    return fault;
}

}  // namespace ondarix
