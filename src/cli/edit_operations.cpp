// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/edit_operations.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "gen/text.h"

namespace ondarix {
namespace {

// Whole numbers that an operand may be.
struct LNumberKind {
    char kind;
    int64_t least, most;
    const char* what;
};
constexpr LNumberKind kNumberKinds[] = {
    {'N', 0, 1'000'000, "a number of times"},
    {'%', -1'000'000, 1'000'000, "a whole percentage"},
    {'K', 1, 100'000, "a number"},
    {'R', 1, 10'000'000, "a sample rate"},
    {'C', 1, 255, "a number of channels"},
    {'H', 1, 255, "a channel, or \"all\","},
    {'M', 0, 3'600'000, "a number of milliseconds"},
};

template <typename F>
void ForEachRow(F&& use) {
    for (const auto rows : {SoundSteps(), CommandSteps(), MixSteps(), MarkSteps(), PieceSteps()}) {
        for (const LEditRow& row : rows) use(row);
    }
}

const LEditRow* FindStep(const QString& name) {
    const LEditRow* found = nullptr;
    ForEachRow([&](const LEditRow& row) {
        if (name == row.name) found = &row;
    });
    return found;
}

// Empty on success, as the other parsers here.
QString ParseNumber(const LNumberKind& kind, const QString& word, LEditStep& step) {
    if (kind.kind == 'H' && word == "all") return {};
    bool ok = false;
    step.number = word.toLongLong(&ok);
    if (ok && step.number >= kind.least && step.number <= kind.most) return {};
    return QString("\"%1\" is not %2 (%3 to %4)").arg(word, kind.what).arg(kind.least).arg(kind.most);
}

QString ParseDecibels(const QString& word, LEditStep& step) {
    bool ok = false;
    step.decibels = word.toDouble(&ok);
    if (ok && step.decibels >= -90 && step.decibels <= 0) return {};
    return QString("\"%1\" is not a level in dB (-90 to 0)").arg(word);
}

QString ParsePlace(char kind, const QString& word, LEditStep& step) {
    const auto position = ParsePosition(word);
    if (!position)
        return QString("\"%1\" is not a position (as 12345, 1.5s, 250ms, 0:01:02.5, end)").arg(word);
    if (kind == 'L' && (position->fromEnd || position->negative))
        return QString("\"%1\" is not a length").arg(word);
    step.positions.push_back(*position);
    return {};
}

// Of a bookmark or region: text of one line.
QString CheckName(const QString& name) {
    const bool controls = std::any_of(name.begin(), name.end(), [](QChar c) {
        return c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
               c == QChar::ParagraphSeparator;
    });
    if (name.trimmed().isEmpty()) return "the name is empty";
    if (controls) return QString("the name \"%1\" holds control characters").arg(name);
    if (name.size() > kFixedTextLength)
        return QString("the name is longer than %1 characters").arg(kFixedTextLength);
    return {};
}

QString ParseOperand(char kind, const QString& word, LEditStep& step) {
    for (const LNumberKind& number : kNumberKinds) {
        if (number.kind == kind) return ParseNumber(number, word, step);
    }
    if (kind == 'D') return ParseDecibels(word, step);
    if (kind == 'P' || kind == 'Q' || kind == 'L') return ParsePlace(kind, word, step);
    step.texts += word;
    if (kind == 'T') return CheckName(word);
    const char* const what = kind == 'F' ? "file" : "folder";
    return word.isEmpty() ? QString("the name of the %1 is empty").arg(what) : QString();
}

// Takes the operands behind the name that stands before `index`.
QString ParseStep(const QStringList& words, qsizetype& index, LEditStep& step) {
    const auto isOver = [&] { return index >= words.size() || FindStep(words[index]); };
    for (const char* kind = step.row->kinds; *kind; ++kind) {
        if (*kind == '[') {
            if (isOver()) return {};
            continue;
        }
        if (index >= words.size()) return "an argument is missing";
        QString fault;
        do fault = ParseOperand(*kind, words[index++], step);
        while (fault.isEmpty() && kind[1] == '+' && !isOver());
        if (!fault.isEmpty()) return fault;
        if (kind[1] == '+') ++kind;
    }
    return {};
}

// The frames that a step means, or why it cannot mean any.
QString ResolvePlaces(const LEditStep& step, const LSound& sound, std::vector<int64_t>& at) {
    const int64_t length = sound.Length();
    for (const LPosition& position : step.positions) {
        at.push_back(position.Resolve(length, sound.sampleRate));
        if (std::abs(at.back()) > kMostFrames) return "the position is out of range";
    }
    const char* kinds = step.row->kinds + std::strspn(step.row->kinds, "[");
    if (std::strncmp(kinds, "PP", 2) != 0 && std::strncmp(kinds, "QQ", 2) != 0) kinds = "";
    if (*kinds && at.size() >= 2 && at[0] > at[1])
        return QString("the range ends (frame %1) before it starts (frame %2)").arg(at[1]).arg(at[0]);
    if (!std::strchr(step.row->kinds, 'Q')) return {};
    for (const int64_t frame : at) {
        if (frame < 0 || frame > length)
            return QString("frame %1 lies outside the sound, which has %2").arg(frame).arg(length);
    }
    return {};
}

}  // namespace

int64_t CountPieces(const LSound& sound) {
    int64_t pieces = 0;
    for (const LSoundSegment* segment = sound.segments.get(); segment; segment = segment->next.get())
        ++pieces;
    return pieces;
}

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
        const QString fault = ParseStep(words, index, step);
        if (!fault.isEmpty()) {
            error = QString("%1: %2").arg(step.row->name, fault);
            return {};
        }
        steps.push_back(std::move(step));
    }
    return steps;
}

JobResult ApplyStep(const LEditStep& step, LEditSession& session) {
    std::vector<int64_t> at;
    const QString fault = ResolvePlaces(step, session.Doc().Edited(), at);
    if (!fault.isEmpty()) return session.Fault(fault);
    session.host.hasSpoken = false;
    const JobResult result = step.row->run(step, at, session);
    if (result != JobResult::kSuccess) return result;
    const LSound& sound = session.Doc().sound;
    if (sound.Length() > kMostFrames) return session.Fault("the sound would become too long");
    if (CountPieces(sound) > kMostPieces) return session.Fault("the sound would fall into too many pieces");
    return result;
}

std::vector<LOperationHelp> EditOperations() {
    std::vector<LOperationHelp> rows;
    ForEachRow([&](const LEditRow& row) { rows.push_back({row.name, row.operands, row.help}); });
    return rows;
}

}  // namespace ondarix
