// SPDX-License-Identifier: GPL-3.0-or-later
// Questions about times, numbers and names.
#include "app/input_dialogs.h"

#include <algorithm>

#include "app/input_form.h"
#include "app/time_text.h"
#include "gen/settings.h"
#include "gen/text.h"

namespace ondarix {
namespace {

const QString kAskTemp = QStringLiteral("Temp");
const QString kAskSettings = QStringLiteral("Settings");
const QString kAskStored = QStringLiteral("StoredValues");

int64_t RememberedFrames(const QString& name, int64_t fallback) {
    bool ok = false;
    const int64_t frames = GetSettingString(kAskTemp, name, {}).toLongLong(&ok);
    return ok ? frames : fallback;
}

void RememberFrames(const QString& name, int64_t frames) {
    SetSettingString(kAskTemp, name, QString::number(frames));
}

// Whether times are shown as such or as frames, for all fields of a form, kept under `setting`.
void AddTimeOrFrames(LInputForm& form, const QString& setting, const std::vector<LTimeEdit*>& fields) {
    const bool asTime = GetSettingBool(kAskSettings, setting, true);
    for (LTimeEdit* field : fields) field->ShowFrames(!asTime);
    QComboBox* unit =
        form.Choice(QStringLiteral("S&how as:"), QStringLiteral("timeOrFrames"),
                    {QStringLiteral("Hours, minutes, seconds"), QStringLiteral("Frames")}, asTime ? 0 : 1);
    QObject::connect(unit, &QComboBox::currentIndexChanged, &form.Dialog(), [setting, fields](int index) {
        SetSettingBool(kAskSettings, setting, index == 0);
        for (LTimeEdit* field : fields) field->ShowFrames(index == 1);
    });
}

}  // namespace

std::optional<int64_t> AskSilenceLength(QWidget* owner, LSoundFormat format) {
    LInputForm form(owner, QStringLiteral("silenceLengthDialog"), QStringLiteral("Insert Silence"));
    LTimeEdit* length = form.Time(QStringLiteral("&Length:"), QStringLiteral("length"), format.sampleRate, 1,
                                  kMostInputFrames);
    length->setText(
        GetSettingString(kAskTemp, QStringLiteral("SilenceLength"), QStringLiteral("0:00:01.000")));
    length->selectAll();
    if (!form.Run()) return std::nullopt;
    SetSettingString(kAskTemp, QStringLiteral("SilenceLength"), length->text());
    return length->Frames();
}

std::optional<LSelection> AskTimeRange(QWidget* owner, const LSoundDocument& document) {
    const int64_t total = document.Edited().Length();
    const int32_t rate = document.sound.sampleRate;
    LInputForm form(owner, QStringLiteral("timeRangeDialog"), QStringLiteral("Select Specified Time"));
    LTimeEdit* start = form.Time(QStringLiteral("&Start:"), QStringLiteral("start"), rate, 0, total);
    LTimeEdit* end = form.Time(QStringLiteral("&End:"), QStringLiteral("end"), rate, 0, total);
    AddTimeOrFrames(form, QStringLiteral("IsRegionSelectTimeBased"), {start, end});
    const bool selected = document.HasSelection();
    start->SetFrames(selected ? document.selectionStart : RememberedFrames(QStringLiteral("StartSel"), 0));
    end->SetFrames(selected ? document.selectionEnd : RememberedFrames(QStringLiteral("EndSel"), total));
    start->selectAll();
    form.Note(QStringLiteral("The sound is %1 long.").arg(TimeText(total, rate)));
    form.refuse = [&] {
        return *start->Frames() < *end->Frames()
                   ? QString()
                   : QStringLiteral("The end of the selection must lie behind its start.");
    };
    if (!form.Run()) return std::nullopt;
    const LSelection chosen{*start->Frames(), *end->Frames()};
    RememberFrames(QStringLiteral("StartSel"), chosen.start);
    RememberFrames(QStringLiteral("EndSel"), chosen.end);
    return chosen;
}

std::optional<int64_t> AskPosition(QWidget* owner, const LSoundDocument& document) {
    const int64_t total = document.Edited().Length();
    const int32_t rate = document.sound.sampleRate;
    LInputForm form(owner, QStringLiteral("positionDialog"), QStringLiteral("Jump to Location"));
    LTimeEdit* position = form.Time(QStringLiteral("&Location:"), QStringLiteral("position"), rate, 0, total);
    AddTimeOrFrames(form, QStringLiteral("IsJumpTimeBased"), {position});
    position->SetFrames(RememberedFrames(QStringLiteral("Cursor"), document.cursor));
    position->selectAll();
    form.Note(QStringLiteral("The sound is %1 long.").arg(TimeText(total, rate)));
    if (!form.Run()) return std::nullopt;
    RememberFrames(QStringLiteral("Cursor"), *position->Frames());
    return position->Frames();
}

std::optional<int64_t> AskRepeatCount(QWidget* owner) {
    static constexpr int kMostLoops = 9999;
    const QString name = QStringLiteral("RepeatNumTimes");
    LInputForm form(owner, QStringLiteral("repeatDialog"), QStringLiteral("Repeat Loop"));
    QSpinBox* times = form.Number(QStringLiteral("&Number of times:"), QStringLiteral("times"), 1, kMostLoops,
                                  GetSettingInt(kAskStored, name, 1));
    if (!form.Run()) return std::nullopt;
    SetSettingInt(times->value(), kAskStored, name);
    return times->value();
}

// Whether a name will do is the command's to say.
std::optional<QString> AskName(QWidget* owner, const QString& title, const QString& label,
                               const QString& name) {
    LInputForm form(owner, QStringLiteral("nameDialog"), title);
    QLineEdit* text = form.Text(label, QStringLiteral("name"), name);
    if (!form.Run()) return std::nullopt;
    return CutToFixedText(text->text().trimmed());
}

std::optional<LPartsAnswer> AskParts(QWidget* owner, const LSoundDocument& document) {
    static constexpr int kMostParts = 9999;
    const int64_t total = document.Edited().Length();
    const int32_t rate = document.sound.sampleRate;
    LInputForm form(owner, QStringLiteral("partsDialog"), QStringLiteral("Split into Equal Parts"));
    QComboBox* kind =
        form.Choice(QStringLiteral("&Split into:"), QStringLiteral("kind"),
                    {QStringLiteral("A number of equal parts"), QStringLiteral("Parts of one length")},
                    GetSettingInt(kAskTemp, QStringLiteral("PartsKind"), 0));
    QSpinBox* parts = form.Number(QStringLiteral("&Number of parts:"), QStringLiteral("parts"), 2, kMostParts,
                                  GetSettingInt(kAskTemp, QStringLiteral("Parts"), 2));
    LTimeEdit* interval = form.Time(QStringLiteral("&Length of a part:"), QStringLiteral("interval"), rate, 1,
                                    std::max<int64_t>(1, total));
    interval->setText(
        GetSettingString(kAskTemp, QStringLiteral("PartLength"), TimeInputText(int64_t{rate} * 60, rate)));
    const auto showKind = [=](int index) {
        parts->setEnabled(index == 0);
        interval->setEnabled(index == 1);
    };
    QObject::connect(kind, &QComboBox::currentIndexChanged, &form.Dialog(), showKind);
    showKind(kind->currentIndex());
    form.Note(QStringLiteral("The sound is %1 long.").arg(TimeText(total, rate)));
    if (!form.Run()) return std::nullopt;
    SetSettingInt(kind->currentIndex(), kAskTemp, QStringLiteral("PartsKind"));
    if (kind->currentIndex() == 0) {
        SetSettingInt(parts->value(), kAskTemp, QStringLiteral("Parts"));
        return LPartsAnswer{parts->value(), 0};
    }
    SetSettingString(kAskTemp, QStringLiteral("PartLength"), interval->text());
    return LPartsAnswer{0, *interval->Frames()};
}

std::optional<LSilenceSettings> AskSilences(QWidget* owner, const QString& title) {
    static constexpr int kLongestMs = 600'000;
    const LSilenceSettings first;
    LInputForm form(owner, QStringLiteral("silencesDialog"), title);
    QDoubleSpinBox* threshold =
        form.Decimal(QStringLiteral("&Silent below:"), QStringLiteral("threshold"), -90, 0,
                     GetSettingDouble(kAskTemp, QStringLiteral("SilenceThreshold"), first.thresholdDb),
                     QStringLiteral(" dB"));
    QSpinBox* shortest = form.Number(
        QStringLiteral("S&hortest silence:"), QStringLiteral("shortest"), 0, kLongestMs,
        GetSettingInt(kAskTemp, QStringLiteral("SilenceShortest"), static_cast<int>(first.minSilenceMs)),
        QStringLiteral(" ms"));
    QSpinBox* margin = form.Number(
        QStringLiteral("&Kept at both ends:"), QStringLiteral("margin"), 0, kLongestMs,
        GetSettingInt(kAskTemp, QStringLiteral("SilenceMargin"), static_cast<int>(first.marginMs)),
        QStringLiteral(" ms"));
    if (!form.Run()) return std::nullopt;
    SetSettingDouble(kAskTemp, QStringLiteral("SilenceThreshold"), threshold->value());
    SetSettingInt(shortest->value(), kAskTemp, QStringLiteral("SilenceShortest"));
    SetSettingInt(margin->value(), kAskTemp, QStringLiteral("SilenceMargin"));
    LSilenceSettings chosen;
    chosen.thresholdDb = threshold->value();
    chosen.minSilenceMs = shortest->value();
    chosen.marginMs = margin->value();
    return chosen;
}

}  // namespace ondarix
