// SPDX-License-Identifier: GPL-3.0-or-later
#include <QJsonArray>

#include "cli/edit_session.h"
#include "cli/effect_words.h"
#include "cli/level.h"
#include "cli/positions.h"
#include "effects/chain.h"
#include "effects/dc_offset.h"
#include "effects/normalize.h"

namespace ondarix {
namespace {

constexpr const char* kChainUndoName = "Applying Effect";

// An effect that is applied while its owner keeps it, to ask it afterwards what it has measured.
class LLentEffect final : public LEffect {
  public:
    explicit LLentEffect(std::shared_ptr<LEffect> lent) : lent_(std::move(lent)) {
        enabled = lent_->enabled;
        bypass = lent_->bypass;
    }
    LSoundSourceRef CreateFilter(LSoundSourceRef source) const override {
        return lent_->CreateFilter(std::move(source));
    }
    QString GetName() const override { return lent_->GetName(); }
    int32_t GetType() const override { return lent_->GetType(); }
    std::unique_ptr<LEffect> Clone() const override { return lent_->Clone(); }
    bool IsEnabled() const override { return lent_->IsEnabled(); }
    bool NeedsMeasure() const override { return lent_->NeedsMeasure(); }
    JobResult Measure(const LOpenSource& open, LProgress& progress) override {
        return lent_->Measure(open, progress);
    }
    void SetFormat(LSoundFormat format) override { lent_->SetFormat(format); }

  private:
    std::shared_ptr<LEffect> lent_;
};

using LKeptEffects = std::vector<std::shared_ptr<LEffect>>;

LEffectList Lend(const LKeptEffects& kept) {
    LEffectList lent;
    for (const auto& effect : kept) lent.push_back(std::make_unique<LLentEffect>(effect));
    return lent;
}

// Levels in dB, null where there was nothing to measure.
QJsonObject MeasuredToJson(const LEffect& effect) {
    QJsonObject json;
    if (const auto* normalize = dynamic_cast<const LNormalizeEffect*>(&effect)) {
        const auto level = normalize->MeasuredLevel();
        json["levelDb"] = level && *level > 0 ? QJsonValue(LevelDb(*level)) : QJsonValue(QJsonValue::Null);
        json["gainDb"] = LevelDb(static_cast<double>(normalize->Gain()));
    }
    if (const auto* offset = dynamic_cast<const LDcOffsetEffect*>(&effect)) {
        QJsonArray means;
        for (const double mean : offset->Means()) means += mean;
        json["means"] = means;
    }
    return json;
}

// What the command line asks for, before anything is opened.
struct LApplyPlan {
    std::vector<LEffectWords> words;
    std::vector<LEffectList> chains;  // one for each of `words`; empty for a single effect
    QStringList remarks;              // for a run that succeeds
    LPosition start, end;
    bool hasRange = false;
    int channel = 0;  // from 1; 0: all
};

QString ParseRangeOption(const LArguments& arguments, const LOptionRow& option, LApplyPlan& plan,
                         LPosition& position) {
    if (!arguments.Has(option.name)) return {};
    const QString text = arguments.Value(option.name);
    const auto parsed = ParsePosition(text);
    if (!parsed)
        return QString("%1: \"%2\" is not a position (as 12345, 1.5s, 250ms, 0:01:02.5, end)")
            .arg(QLatin1String(option.name), text);
    position = *parsed;
    plan.hasRange = true;
    return {};
}

QString ParseChannel(const LArguments& arguments, LApplyPlan& plan) {
    if (!arguments.Has(kChannelOption.name)) return {};
    const QString text = arguments.Value(kChannelOption.name);
    bool ok = false;
    plan.channel = text.toInt(&ok);
    if (ok && plan.channel >= 1 && plan.channel <= 255) return {};
    return QString("--channel: \"%1\" is not a channel (1 to 255)").arg(text);
}

// Why the line cannot be meant so; empty on success.
QString ParsePlan(const LArguments& arguments, LApplyPlan& plan) {
    for (const LOptionRow& option : kPlacedEffectOptions) {
        if (arguments.operands.first(2).contains(QLatin1String(option.name)))
            return QString("%1 must stand behind OUT").arg(QLatin1String(option.name));
    }
    QString error;
    plan.end.fromEnd = true;
    plan.words = ParseEffectWords(arguments.operands.mid(2), error);
    if (error.isEmpty()) error = ParseRangeOption(arguments, kStartOption, plan, plan.start);
    if (error.isEmpty()) error = ParseRangeOption(arguments, kEndOption, plan, plan.end);
    if (error.isEmpty()) error = ParseChannel(arguments, plan);
    for (const LEffectWords& words : plan.words)
        if (error.isEmpty() && words.row) BuildForAnyLayout(words, error);
    return error;
}

// Opens the stored chains, and says what of them this version does not know.
QString ReadChains(LApplyPlan& plan) {
    for (const LEffectWords& words : plan.words) {
        plan.chains.emplace_back();
        if (words.row) continue;
        QString fault = ReadChain(words.chain, plan.chains.back());
        if (!fault.isEmpty()) return fault;
        for (const auto& effect : plan.chains.back()) {
            if (IsUnknown(*effect))
                plan.remarks += QString("\"%1\": %2 is unknown to this version and changes nothing")
                                    .arg(words.chain, EffectId(*effect));
        }
    }
    return {};
}

// Selects the range and the channel; why not, empty on success.
QString SelectPlace(const LApplyPlan& plan, LEditSession& session) {
    LSoundDocument& document = session.Doc();
    if (document.sound.Length() == 0) return "the sound is empty";
    const int channels = document.sound.channels;
    if (plan.channel > channels) return QString("the sound has no channel %1").arg(plan.channel);
    if (plan.channel > 0 && channels > 1 &&
        EditChannel(document, session.host, plan.channel - 1) != JobResult::kSuccess)
        return "the channel cannot be edited alone";
    if (!plan.hasRange) return {};
    const int64_t length = document.Edited().Length();
    const int64_t start = plan.start.Resolve(length, document.sound.sampleRate);
    const int64_t end = plan.end.Resolve(length, document.sound.sampleRate);
    for (const int64_t frame : {start, end}) {
        if (frame < 0 || frame > length)
            return QString("frame %1 lies outside the sound, which has %2").arg(frame).arg(length);
    }
    if (start > end)
        return QString("the range ends (frame %1) before it starts (frame %2)").arg(end).arg(start);
    if (start == end) return "the range is empty";
    document.Select(start, end);
    return {};
}

// What BuildEffect makes of the words, with what the chains hold between.
QString BuildList(LApplyPlan& plan, LSoundFormat format, LKeptEffects& effects) {
    QString error;
    for (size_t i = 0; i < plan.words.size(); ++i) {
        const LEffectWords& words = plan.words[i];
        for (auto& effect : plan.chains[i]) effects.push_back(std::move(effect));
        if (!words.row) continue;
        if ((words.row->flags & kEffectStereoOnly) && format.channels != 2)
            return QString("%1: is for stereo sounds only").arg(QLatin1String(words.row->id));
        auto effect = BuildEffect(words, format, error);
        if (!effect) return error;
        effects.push_back(std::move(effect));
    }
    if (effects.size() > LEffectChain::kMostEffects)
        return QString("at most %1 effects can be applied at once").arg(LEffectChain::kMostEffects);
    return effects.empty() ? QString("the chain holds no effects") : QString();
}

QJsonArray AppliedToJson(const LKeptEffects& effects) {
    QJsonArray array;
    for (const auto& effect : effects) {
        QJsonObject json = EffectToJson(*effect);
        const QJsonObject measured = MeasuredToJson(*effect);
        if (!measured.isEmpty()) json["measured"] = measured;
        array += json;
    }
    return array;
}

QString UndoName(const LApplyPlan& plan) {
    const bool single = plan.words.size() == 1 && plan.words[0].row;
    return QString::fromUtf8(single ? plan.words[0].row->undoName : kChainUndoName);
}

void TellRange(const LApplyPlan& plan, const LSoundDocument& document, QJsonObject& json) {
    const LSelection range = plan.hasRange ? document.EditRange() : LSelection{0, document.Edited().Length()};
    json["start"] = JsonInt(range.start);
    json["end"] = JsonInt(range.end);
    json["framesBefore"] = JsonInt(document.sound.Length());
    if (plan.channel > 0) json["channel"] = plan.channel;
}

ExitStatus Apply(LApplyPlan& plan, LEditSession& session) {
    LContext& context = session.context;
    const auto fail = [&](const QString& fault, ExitStatus status = ExitStatus::kFailed) {
        context.progress.Clear();
        return context.console.Fail("apply: " + fault, status);
    };
    const QString fault = SelectPlace(plan, session);
    if (context.progress.IsCancelled()) return context.Ended(JobResult::kCancelled, {});
    if (!fault.isEmpty()) return fail(fault);
    LKeptEffects effects;
    const QString bad = BuildList(plan, session.Doc().Edited().Format(), effects);
    if (!bad.isEmpty()) return fail(bad);
    QJsonObject& json = context.console.Result();
    TellRange(plan, session.Doc(), json);

    JobResult result = JobResult::kFailed;
    ApplyEffects(session.document, session.host, Lend(effects), UndoName(plan),
                 [&](JobResult ended) { result = ended; });
    json["effects"] = AppliedToJson(effects);
    for (const QString& remark : plan.remarks)
        if (result == JobResult::kSuccess) context.host.Tell({}, remark);
    return context.Ended(result, "apply: the effects cannot be applied");
}

}  // namespace

ExitStatus RunApply(const LArguments& arguments, LContext& context) {
    LApplyPlan plan;
    QString error = ParsePlan(arguments, plan);
    if (!error.isEmpty()) return context.console.Fail("apply: " + error, ExitStatus::kUsage);
    error = ReadChains(plan);
    if (!error.isEmpty()) return context.console.Fail("apply: " + error);
    const auto change = [&](LLoadedSound& loaded, const LOutputFile& output) {
        LEditSession session(context, loaded, arguments.operands[0], output);
        const ExitStatus status = Apply(plan, session);
        if (status == ExitStatus::kSuccess && session.Doc().sound.Length() == 0)
            return context.console.Fail("nothing is left of the sound to be saved");
        session.GiveBack(loaded);
        return status;
    };
    return RewriteSound(arguments, context, change);
}

}  // namespace ondarix
