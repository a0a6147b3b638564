// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QAbstractSlider>
#include <QActionGroup>
#include <QBoxLayout>
#include <QMenu>
#include <QToolButton>
#include <vector>

#include "app/level_meter.h"
#include "app/output_choices.h"
#include "app/playback.h"
#include "app/time_display.h"

namespace ondarix {

// The controls of playing, in one row. What does not fit a narrow window leaves it, the least needed first;
// all of it stands in the menus or the options as well. [ui]
class LPlayerBar final : public QWidget {
    Q_OBJECT
  public:
    LPlayerBar(LPlayback& playback, LFrameDocuments& documents, QWidget* parent);

    LLevelMeter& Meter() { return *meter_; }
    // After another sound became active, or the active one has changed.
    void ShowSound();
    // Loop, speed, volume and device as they are now.
    void ShowSettings();
    QSize minimumSizeHint() const override;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    // A part that is left out, or made small, when the bar is too narrow.
    struct LFold {
        QWidget* part;
        std::function<void(bool small)> apply;
        int gain = 0;  // pixels
    };
    QToolButton* AddButton(const char* name, const char* icon, const QString& text);
    void AddTransport();
    void AddSpeeds();
    void AddVolume();
    void AddDevices();
    void Connect();
    void MakeFolds();
    void Fold();
    void ShowState();
    void ShowPosition(int64_t frame);
    void ShowVolume();
    void FillDevices();
    void ChooseDevice(const QString& text);
    void ToggleMute();
    void Hold(LPlayManner manner, bool on);

    LPlayback& playback_;
    LFrameDocuments& documents_;
    QHBoxLayout* row_;
    QToolButton *rewind_, *play_, *stop_, *forward_, *loop_, *scrub_, *speed_, *mute_, *device_;
    LTimeDisplay* time_;
    LLevelMeter* meter_;
    QAbstractSlider* volume_;
    QMenu* speeds_;
    QMenu* devices_;
    QActionGroup* deviceGroup_;
    LOutputChoices choices_;
    std::vector<LFold> folds_;
    size_t folded_ = 0;  // so many of them are
    int unfolded_ = 0;   // width of everything
};

}  // namespace ondarix
