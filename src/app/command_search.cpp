// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/command_search.h"

#include <QRegularExpression>
#include <QStringList>
#include <algorithm>

#include "app/shortcuts.h"

namespace ondarix {
namespace {

enum LFit : int {
    kNoFit = 0,
    kScattered = 60,
    kMistyped = 150,
    kInitials = 250,
    kInside = 400,
    kWordStart = 600,
    kStart = 800,
    kSame = 1000,
};
// Of a fit, in percent of one in the name.
constexpr int kPathShare = 50, kKeysShare = 70, kHintShare = 20;

QStringList WordsOf(const QString& text) {
    static const QRegularExpression kBetween(QStringLiteral("[^\\p{L}\\p{N}+]+"));
    return text.split(kBetween, Qt::SkipEmptyParts);
}

bool StartsAWord(const QString& text, qsizetype at) { return at == 0 || !text.at(at - 1).isLetterOrNumber(); }

// At most one letter differs, is missing or stands too many, or two neighbours are exchanged.
bool IsMistyped(const QString& word, const QString& meant) {
    const QStringView a(word), b(meant);
    if (qAbs(a.size() - b.size()) > 1) return false;
    qsizetype same = 0;
    while (same < a.size() && same < b.size() && a[same] == b[same]) ++same;
    const QStringView restA = a.sliced(same), restB = b.sliced(same);
    if (restA.size() != restB.size()) {
        const bool longerA = restA.size() > restB.size();
        return longerA ? restA.sliced(1) == restB : restB.sliced(1) == restA;
    }
    if (restA.isEmpty() || restA.sliced(1) == restB.sliced(1)) return true;
    return restA.size() > 1 && restA[0] == restB[1] && restA[1] == restB[0] &&
           restA.sliced(2) == restB.sliced(2);
}

// From the first letter on, not over more than three times its own length.
bool IsScattered(const QString& word, const QString& text) {
    qsizetype at = text.indexOf(word.at(0));
    while (at >= 0 && !StartsAWord(text, at)) at = text.indexOf(word.at(0), at + 1);
    const qsizetype begin = at;
    for (qsizetype i = 1; i < word.size() && at >= 0; ++i) at = text.indexOf(word.at(i), at + 1);
    return at >= 0 && at - begin < word.size() * 3;
}

int RowFit(const LCommandRow& row, const QString& word, const QString& keys) {
    int fit = FitOf(word, PlainText(row));
    fit = std::max(fit, FitOf(word, CommandPath(row)) * kPathShare / 100);
    if (word == QString::number(row.id)) fit = std::max<int>(fit, kSame);
    if (keys.contains(word, Qt::CaseInsensitive) && word.size() > 1)
        fit = std::max(fit, kSame * kKeysShare / 100);
    const QString hint = CommandHint(row);
    if (word.size() > 2 && hint.contains(word, Qt::CaseInsensitive))
        fit = std::max(fit, kInside * kHintShare / 100);
    return fit;
}

}  // namespace

int FitOf(const QString& askedWord, const QString& askedText) {
    const QString word = askedWord.toLower(), text = askedText.toLower();
    if (word.isEmpty() || text.isEmpty()) return kNoFit;
    if (word == text) return kSame;
    if (text.startsWith(word)) return kStart;
    const qsizetype found = text.indexOf(word);
    for (qsizetype at = found; at >= 0; at = text.indexOf(word, at + 1))
        if (StartsAWord(text, at)) return kWordStart;
    if (found >= 0) return kInside;
    if (word.size() < 2) return kNoFit;
    QString initials;
    const QStringList words = WordsOf(text);
    for (const QString& one : words) initials += one.at(0);
    if (initials.contains(word)) return kInitials;
    for (const QString& one : words)
        if (word.size() >= 4 && IsMistyped(word, one)) return kMistyped;
    return word.size() >= 3 && IsScattered(word, text) ? kScattered : kNoFit;
}

std::vector<const LCommandRow*> SearchCommands(const QString& query) {
    struct LFound {
        const LCommandRow* row;
        int fit;
        int weakest;       // of the words
        qsizetype length;  // of two equal fits the shorter name is meant
    };
    const QStringList words = query.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const auto keys = AllShortcuts();
    std::vector<LFound> found;
    for (const LCommandRow& row : CommandTable()) {
        if (!IsVisible(row)) continue;
        const QString keyText = QKeySequence::listToString(keys.value(row.id), QKeySequence::PortableText);
        int fit = words.size() > 1 ? FitOf(query.simplified(), PlainText(row)) : 0;
        int weakest = kSame;
        for (const QString& word : words) {
            const int one = RowFit(row, word, keyText);
            weakest = std::min(weakest, one);
            fit += one;
        }
        if (weakest > 0) found.push_back({&row, fit, weakest, words.isEmpty() ? 0 : PlainText(row).size()});
    }
    // Scattered letters are a last resort.
    const bool hasBetter =
        std::any_of(found.begin(), found.end(), [](const LFound& one) { return one.weakest > kScattered; });
    if (hasBetter) std::erase_if(found, [](const LFound& one) { return one.weakest <= kScattered; });
    std::stable_sort(found.begin(), found.end(), [](const LFound& a, const LFound& b) {
        return a.fit != b.fit ? a.fit > b.fit : a.length < b.length;
    });
    std::vector<const LCommandRow*> rows;
    rows.reserve(found.size());
    for (const LFound& one : found) rows.push_back(one.row);
    return rows;
}

QString MenuPath(const LCommandRow& row) {
    QString path = CommandPath(row);
    path.chop(PlainText(row).size());
    while (path.endsWith(QLatin1Char(' ')) || path.endsWith(QLatin1Char('>'))) path.chop(1);
    return path;
}

QString WhyUnavailable(const LCommandRow& row, bool soundIsOpen) {
    if (!soundIsOpen && !CommandHint(row).isEmpty()) return CommandHint(row);
    switch (row.need) {
        case LNeed::kUndo:
        case LNeed::kRedo:
            return QStringLiteral("No changes detected to %1").arg(PlainText(row));
        case LNeed::kSelection:
            return QStringLiteral("Select a part of the sound to use %1").arg(PlainText(row));
        case LNeed::kClip:
        case LNeed::kSoundAndClip:
            return QStringLiteral("Copy a sound to use %1").arg(PlainText(row));
        case LNeed::kContent:
            return QStringLiteral("The sound is empty");
        case LNeed::kRevert:
            return QStringLiteral("The sound is as it was saved");
        case LNeed::kBookmarks:
            return QStringLiteral("The sound has no bookmarks");
        case LNeed::kRegions:
            return QStringLiteral("No open sound has a region");
        case LNeed::kSeveral:
            return QStringLiteral("Open a second sound to use %1").arg(PlainText(row));
        case LNeed::kChannels:
            return row.id > kCmdEditFirstChannel ? QStringLiteral("The sound does not have this channel")
                                                 : QStringLiteral("The sound has one channel only");
        case LNeed::kMarks:
            return QStringLiteral("Mark both positions to use %1").arg(PlainText(row));
        case LNeed::kPlaying:
            return QStringLiteral("Nothing is playing");
        default:
            return QStringLiteral("Not available now");
    }
}

}  // namespace ondarix
