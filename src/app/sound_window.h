// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QGridLayout>
#include <QScrollBar>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

#include "app/overview_bar.h"
#include "app/time_ruler.h"
#include "app/view_range.h"
#include "app/wave_view.h"
#include "app/wave_view_channels.h"
#include "app/wave_view_marker_row.h"
#include "formats/format_record.h"
#include "sound/edit_host.h"

namespace ondarix {

// One open sound inside the frame: rulers, waveform, scroll bar and overview. [ui]
class LSoundWindow final : public QWidget {
    Q_OBJECT
  public:
    // `host` carries out what is dragged and drawn in the view; it outlives the window.
    LSoundWindow(LSoundDocumentRef document, LEditHost& host);
    ~LSoundWindow() override;

    LSoundDocument& Document() { return *document_.Get(); }
    LWaveView& View() { return *view_; }
    LViewRange& Range() { return range_; }
    LMarkerRow& MarkerRow() { return *markerRow_; }
    // Waves, rulers and markers as they are shown, in pixels of the screen.
    QImage Picture();
    // Waits for columns that are still computed. True: everything in view is exact.
    bool Complete(int ms = -1);

    // Marks where the sound is heard; -1: nowhere. Where the setting "AutoScroll" wants it, the view pages on
    // when that leaves it; `reveal`: the view goes there. `back`: it is heard from right to left.
    void ShowPlayed(int64_t frame, bool reveal, bool back);
    // Shows the document as it is now: sound, marks, selection, view and title.
    void Refresh();
    // After title, path or the modified mark have changed.
    void ShowTitle();
    // A strip at the lower edge, which becomes a child of this window.
    void ShowBelow(QWidget* strip);

    // How the samples of the file lay on disk, where it was a WAV that this program can write as well.
    std::optional<LFormatRecord> fileRecord;
    // Asked before the window goes; false keeps it.
    std::function<bool(LSoundWindow&)> mayClose;

  Q_SIGNALS:
    void SelectionChanged();
    void Closed();
    void ContextMenuRequested(QPoint global, const ondarix::LViewPlace& place);
    void ChannelClicked(int channel);  // from 0
    void RenameBookmarkRequested(uint index);
    void RenameRegionRequested(uint serial);
    void Hint(const QString& text);  // for the status bar
    void CancelRequested();          // of the job that works on the document: Escape

  protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void ShowRange();
    void ShowSound();
    void ShowLevels();
    void Arrange();
    void Connect();
    void TakeColumns();

    LSoundDocumentRef document_;
    LEditHost& host_;
    QGridLayout* grid_ = nullptr;
    LViewRange range_;
    std::unique_ptr<LWaveColumnsWorker> worker_;
    LWaveView* view_;
    LMarkerRow* markerRow_;
    LChannelBar* channels_;
    LTimeRuler* timeRuler_;
    LLevelRuler* levelRuler_;
    LOverviewBar* overview_;
    QScrollBar* scrollBar_;
    int64_t framesPerStep_ = 1;  // of the scroll bar, whose values are 32 bits wide
};

}  // namespace ondarix
