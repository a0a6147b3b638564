// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QScrollBar>
#include <QWidget>
#include <functional>
#include <optional>

#include "app/overview_bar.h"
#include "app/time_ruler.h"
#include "app/view_range.h"
#include "app/wave_view.h"
#include "display/wave_columns.h"
#include "formats/format_record.h"
#include "sound/edit_host.h"

namespace ondarix {

// One open sound inside the frame: rulers, waveform, scroll bar and overview. [ui]
class LSoundWindow final : public QWidget {
    Q_OBJECT
  public:
    // `host` carries out what is dragged and drawn in the view; it outlives the window.
    LSoundWindow(LSoundDocumentRef document, LEditHost& host);

    LSoundDocument& Document() { return *document_.Get(); }
    LWaveView& View() { return *view_; }
    LViewRange& Range() { return range_; }

    // Shows the document as it is now: sound, marks, selection, view and title.
    void Refresh();
    // After title, path or the modified mark have changed.
    void ShowTitle();

    // How the samples of the file lay on disk, where it was a WAV that this program can write as well.
    std::optional<LFormatRecord> fileRecord;
    // Asked before the window goes; false keeps it.
    std::function<bool(LSoundWindow&)> mayClose;

  Q_SIGNALS:
    void SelectionChanged();
    void Closed();

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void ShowRange();

    LSoundDocumentRef document_;
    LEditHost& host_;
    LViewRange range_;
    LWaveColumns columns_;
    LWaveView* view_;
    LTimeRuler* timeRuler_;
    LLevelRuler* levelRuler_;
    LOverviewBar* overview_;
    QScrollBar* scrollBar_;
    int64_t framesPerStep_ = 1;  // of the scroll bar, whose values are 32 bits wide
};

}  // namespace ondarix
