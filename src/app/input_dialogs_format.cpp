// SPDX-License-Identifier: GPL-3.0-or-later
// Questions about the format of a sound.
#include <algorithm>

#include "app/input_dialogs.h"
#include "app/input_form.h"
#include "app/time_text.h"
#include "formats/save.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

constexpr int32_t kLeastRate = 8000, kMostRate = 384000;
constexpr int32_t kOfferedRates[] = {8000,  11025, 12000, 16000, 22050,  24000,  32000,  37800,
                                     44100, 48000, 88200, 96000, 176400, 192000, 352800, 384000};
constexpr int kOfferedChannels[] = {1, 2, 4, 6, 8, 10, 12, 16, 24, 32};
const QString kFormatSettings = QStringLiteral("Settings");

// A list of the common rates; any other may be typed.
QComboBox* AddRate(LInputForm& form, int32_t rate) {
    QStringList items;
    for (const int32_t offered : kOfferedRates) items.append(QString::number(offered));
    QComboBox* combo = form.Choice(QStringLiteral("&Sample rate (Hz):"), QStringLiteral("rate"), items, 0);
    combo->setEditable(true);
    combo->setInsertPolicy(QComboBox::NoInsert);
    combo->lineEdit()->setValidator(new QIntValidator(1, kMostRate, combo));
    combo->lineEdit()->setAccessibleName(combo->accessibleName());
    combo->setCurrentText(QString::number(rate));
    combo->lineEdit()->selectAll();
    return combo;
}

QString RateRefusal(const QComboBox& rate) {
    const int typed = rate.currentText().toInt();
    if (typed >= kLeastRate && typed <= kMostRate) return {};
    return QStringLiteral("The sample rate must lie between %1 Hz and %2 Hz.").arg(kLeastRate).arg(kMostRate);
}

// Each item's data is its number of channels.
QComboBox* AddChannels(LInputForm& form, int channels) {
    std::vector<int> offered(std::begin(kOfferedChannels), std::end(kOfferedChannels));
    if (std::find(offered.begin(), offered.end(), channels) == offered.end()) offered.push_back(channels);
    std::sort(offered.begin(), offered.end());
    QComboBox* combo = form.Choice(QStringLiteral("&Channels:"), QStringLiteral("channels"), {}, 0);
    for (const int count : offered) combo->addItem(ChannelCountText(count), count);
    combo->setCurrentIndex(combo->findData(channels));
    return combo;
}

}  // namespace

std::optional<int32_t> AskSampleRate(QWidget* owner, int32_t present) {
    const QString name = QStringLiteral("ConvertSampleRate");
    LInputForm form(owner, QStringLiteral("sampleRateDialog"), QStringLiteral("Convert Sample Rate"));
    form.Note(QStringLiteral("The sound has %1.").arg(RateText(present)));
    QComboBox* rate = AddRate(form, GetSettingInt(kFormatSettings, name, 44100));
    form.refuse = [rate] { return RateRefusal(*rate); };
    if (!form.Run()) return std::nullopt;
    const int32_t chosen = rate->currentText().toInt();
    SetSettingInt(chosen, kFormatSettings, name);
    return chosen;
}

std::optional<LSoundFormat> AskNewFile(QWidget* owner) {
    const QString rateName = QStringLiteral("DefaultSampleRate");
    const QString channelsName = QStringLiteral("DefaultChannels");
    LInputForm form(owner, QStringLiteral("newFileDialog"), QStringLiteral("New File"));
    QComboBox* rate =
        AddRate(form, std::clamp(GetSettingInt(kFormatSettings, rateName, 44100), kLeastRate, kMostRate));
    QComboBox* channels =
        AddChannels(form, std::clamp(GetSettingInt(kFormatSettings, channelsName, 2), 1, 255));
    form.refuse = [rate] { return RateRefusal(*rate); };
    if (!form.Run()) return std::nullopt;
    const LSoundFormat chosen{rate->currentText().toInt(),
                              static_cast<uint8_t>(channels->currentData().toInt())};
    SetSettingInt(chosen.sampleRate, kFormatSettings, rateName);
    SetSettingInt(chosen.channels, kFormatSettings, channelsName);
    return chosen;
}

}  // namespace ondarix
