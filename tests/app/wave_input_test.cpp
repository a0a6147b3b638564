// SPDX-License-Identifier: GPL-3.0-or-later
// What mouse and keyboard do in the wave view and its row of markers.
#include <QSignalSpy>
#include <QWheelEvent>

#include "gen/settings.h"
#include "sound/snap.h"
#include "wave_view_fixture.h"

namespace ondarix {
namespace {

const auto kSettings = QStringLiteral("Settings");

void Wheel(LWaveView& view, double x, QPoint turn, QPoint pixels, Qt::KeyboardModifiers modifiers = {}) {
    const QPointF at(x, 50);
    QWheelEvent event(at, view.mapToGlobal(at), pixels, turn, {}, modifiers, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&view, &event);
}

class WaveMarkersTest : public WaveViewTest {
  protected:
    void SetUp() override {
        WaveViewTest::SetUp();
        MakeTone();
        ShowWindow();
        first = Bookmark(30000, "first");
        second = Bookmark(80000, "second");
        ASSERT_EQ(AddRegion(*document, host, 50000, 70000, QStringLiteral("part")), JobResult::kSuccess);
        region = document->regions.back().serial;
        QTest::qWait(1);
    }
    int BookmarkRow() { return 6; }
    int RegionRow() { return Row().height() - 6; }
    int64_t Position(uint32_t index) { return FindBookmark(*document, index)->position; }
    // Frames of so many pixels, give or take rounding.
    int64_t Pixels(double count) {
        return std::llround(count * static_cast<double>(Range().Frames()) / View().width());
    }
    int Steps() { return static_cast<int>(document->HistorySlots().size()); }

    uint32_t first = 0, second = 0, region = 0;
};

TEST_F(WaveMarkersTest, ABookmarkIsDraggedInOneStepAndEscapeTakesItBack) {
    ASSERT_TRUE(Row().isVisible());
    const QString before = document->UndoLabel();
    Drag(Row(), {XOf(30000) + 2, BookmarkRow()}, {XOf(30000) + 102, BookmarkRow()});
    EXPECT_NEAR(static_cast<double>(Position(first)), static_cast<double>(30000 + Pixels(100)), 2);
    EXPECT_NE(document->UndoLabel(), before);
    const int64_t moved = Position(first);
    EXPECT_EQ(document->bookmarks.size(), 2u);
    EXPECT_EQ(View().Cursor(), 0) << "a drag is no click";
    EXPECT_TRUE(document->Undo());
    window->Refresh();
    EXPECT_EQ(Position(first), 30000);
    EXPECT_EQ(document->UndoLabel(), before) << "one step";

    QTest::mousePress(&Row(), Qt::LeftButton, {}, {XOf(30000) + 2, BookmarkRow()});
    MoveTo(Row(), {XOf(30000) + 52, BookmarkRow()});
    EXPECT_NEAR(static_cast<double>(Row().Markers()[0].start), static_cast<double>(30000 + Pixels(50)), 2)
        << "shown while it is dragged";
    EXPECT_EQ(Position(first), 30000) << "the document does not know of it yet";
    const QImage dragged = Shown();
    const auto lineAt = [&](int64_t frame) {
        const double ratio = View().devicePixelRatioF();
        const int x = static_cast<int>(XOf(frame) * ratio), y = static_cast<int>(10 * ratio);
        int painted = 0;
        for (int i = -2; i <= 3; ++i) painted += dragged.pixel(x + i, y) != WaveColours().background.rgb();
        return painted > 0;
    };
    EXPECT_TRUE(lineAt(Row().Markers()[0].start));
    EXPECT_FALSE(lineAt(30000));
    Key(Row(), Qt::Key_Escape);
    QTest::mouseRelease(&Row(), Qt::LeftButton, {}, {XOf(30000) + 52, BookmarkRow()});
    EXPECT_EQ(Position(first), 30000);
    EXPECT_EQ(Row().Markers()[0].start, 30000);
    EXPECT_EQ(document->UndoLabel(), before);
    EXPECT_GT(moved, 30000);
}

TEST_F(WaveMarkersTest, EndsAndSpansOfRegionsAreDragged) {
    const auto range = [&] {
        const LRegion* at = FindRegion(*document, region);
        return std::pair(at->startFrame, at->endFrame);
    };
    Drag(Row(), {XOf(70000), RegionRow()}, {XOf(70000) + 60, RegionRow()});
    EXPECT_EQ(range().first, 50000);
    EXPECT_NEAR(static_cast<double>(range().second), static_cast<double>(70000 + Pixels(60)), 2);
    const int64_t end = range().second;
    Drag(Row(), {XOf(50000), RegionRow()}, {XOf(50000) - 40, RegionRow()});
    EXPECT_NEAR(static_cast<double>(range().first), static_cast<double>(50000 - Pixels(40)), 2);
    EXPECT_EQ(range().second, end);
    const auto [from, to] = range();
    Drag(Row(), {XOf((from + to) / 2), RegionRow()}, {XOf((from + to) / 2) - 3000, RegionRow()});
    EXPECT_EQ(range(), std::pair(int64_t{0}, to - from)) << "stays whole at the start of the sound";
    Drag(Row(), {XOf(0), RegionRow()}, {XOf(0) + 3000, RegionRow()});
    EXPECT_EQ(range(), std::pair(to - from - 1, to - from)) << "an end does not pass the other one";
    for (int i = 0; i < 4; ++i) document->Undo();
    EXPECT_EQ(range(), std::pair(int64_t{50000}, int64_t{70000}));
    EXPECT_EQ(document->UndoLabel(), QStringLiteral("Add region"));
}

TEST_F(WaveMarkersTest, AClickGoesThereADoubleClickAsksForAName) {
    QSignalSpy bookmark(window.get(), &LSoundWindow::RenameBookmarkRequested);
    QSignalSpy renamed(window.get(), &LSoundWindow::RenameRegionRequested);
    QTest::mouseClick(&Row(), Qt::LeftButton, {}, {XOf(80000) + 2, BookmarkRow()});
    EXPECT_EQ(View().Cursor(), 80000);
    QTest::mouseDClick(&Row(), Qt::LeftButton, {}, {XOf(80000) + 2, BookmarkRow()});
    QTest::mouseDClick(&Row(), Qt::LeftButton, {}, {XOf(60000), RegionRow()});
    ASSERT_EQ(bookmark.size(), 1);
    EXPECT_EQ(bookmark[0][0].toUInt(), second);
    ASSERT_EQ(renamed.size(), 1);
    EXPECT_EQ(renamed[0][0].toUInt(), region);
    Hover(Row(), {XOf(70000), RegionRow()});
    EXPECT_EQ(Row().cursor().shape(), Qt::SizeHorCursor);
    Hover(Row(), {XOf(80000) + 3, BookmarkRow()});
    EXPECT_EQ(Row().cursor().shape(), Qt::OpenHandCursor);
}

TEST_F(WaveMarkersTest, TheKeyboardDoesWhatTheMouseDoes) {
    Row().setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(Row().hasFocus());
    EXPECT_EQ(Row().Focused().name, QStringLiteral("first"));
    Key(Row(), Qt::Key_Right);
    EXPECT_EQ(Row().Focused().name, QStringLiteral("part"));
    Key(Row(), Qt::Key_Right);
    EXPECT_EQ(Row().Focused().name, QStringLiteral("second"));
    EXPECT_EQ(Row().accessibleDescription(), QStringLiteral("second at 0:00:01.814"));
    Key(Row(), Qt::Key_Right);
    EXPECT_EQ(Row().Focused().name, QStringLiteral("second"));
    Key(Row(), Qt::Key_Return);
    EXPECT_EQ(View().Cursor(), 80000);

    // Several presses held as one: one step.
    const QString before = document->UndoLabel();
    for (int i = 0; i < 5; ++i) QTest::keyPress(&Row(), Qt::Key_Left, Qt::ControlModifier);
    EXPECT_EQ(Position(second), 80000);
    QTest::keyRelease(&Row(), Qt::Key_Left, Qt::ControlModifier);
    const int64_t pixel = Range().Frames() / View().width();
    EXPECT_EQ(Position(second), 80000 - 5 * pixel);
    EXPECT_TRUE(document->Undo());
    window->Refresh();
    EXPECT_EQ(Position(second), 80000);
    EXPECT_EQ(document->UndoLabel(), before);
    QTest::keyPress(&Row(), Qt::Key_Left, Qt::ControlModifier);
    Key(Row(), Qt::Key_Escape);
    QTest::keyRelease(&Row(), Qt::Key_Left, Qt::ControlModifier);
    EXPECT_EQ(Position(second), 80000);

    Key(Row(), Qt::Key_Left);
    Key(Row(), Qt::Key_Right, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(FindRegion(*document, region)->endFrame, 70000 + pixel);
    EXPECT_EQ(FindRegion(*document, region)->startFrame, 50000);

    QSignalSpy rename(window.get(), &LSoundWindow::RenameRegionRequested);
    Key(Row(), Qt::Key_F2);
    EXPECT_EQ(rename.size(), 1);
    host.inner.answers = {1};
    Key(Row(), Qt::Key_Delete);
    EXPECT_EQ(document->regions.size(), 1u) << "refused";
    host.inner.answers = {0};
    Key(Row(), Qt::Key_Delete);
    EXPECT_TRUE(document->regions.empty());
    EXPECT_EQ(host.inner.told.last(), QStringLiteral("Confirm Delete|Delete the selected region(s)?"));
    Key(Row(), Qt::Key_Escape);
    EXPECT_TRUE(View().hasFocus());
}

TEST_F(WaveMarkersTest, PlacesOfTheContextMenuNameWhatIsThere) {
    QSignalSpy spy(window.get(), &LSoundWindow::ContextMenuRequested);
    LViewPlace place;
    QObject::connect(window.get(), &LSoundWindow::ContextMenuRequested,
                     [&](QPoint, const LViewPlace& at) { place = at; });
    const auto menu = [&](QWidget& widget, QPoint at, QContextMenuEvent::Reason reason) {
        QContextMenuEvent event(reason, at, widget.mapToGlobal(at));
        QCoreApplication::sendEvent(&widget, &event);
    };
    menu(View(), {XOf(60000), View().height() - 20}, QContextMenuEvent::Mouse);
    EXPECT_EQ(place.channel, 1);
    EXPECT_EQ(place.regionSerial, region);
    EXPECT_EQ(place.bookmarkIndex, 0u);
    menu(View(), {XOf(30000) + 1, 20}, QContextMenuEvent::Mouse);
    EXPECT_EQ(place.channel, 0);
    EXPECT_EQ(place.bookmarkIndex, first);
    EXPECT_EQ(place.regionSerial, 0u);
    menu(Row(), {XOf(80000) + 2, BookmarkRow()}, QContextMenuEvent::Mouse);
    EXPECT_EQ(place.bookmarkIndex, second);
    View().MoveCursor(100000, false);
    menu(View(), {0, 0}, QContextMenuEvent::Keyboard);
    EXPECT_EQ(place.frame, 100000);
    EXPECT_EQ(spy.size(), 4);
}

TEST_F(WaveMarkersTest, DoubleAndTripleClicksSelectMoreAndMore) {
    const auto selected = [&] { return std::pair(document->EditRange().start, document->EditRange().end); };
    QTest::mouseDClick(&View(), Qt::LeftButton, {}, {XOf(60000), 50});
    EXPECT_EQ(selected(), std::pair(int64_t{50000}, int64_t{70000})) << "the region";
    QTest::mouseClick(&View(), Qt::LeftButton, {}, {XOf(60000), 50});
    EXPECT_EQ(selected(), std::pair(int64_t{0}, int64_t{3 * kRate})) << "a third click: all";
    QTest::mouseDClick(&View(), Qt::LeftButton, {}, {XOf(45000), 50});
    EXPECT_EQ(selected(), std::pair(int64_t{30000}, int64_t{80000})) << "from bookmark to bookmark";
    QTest::mouseDClick(&View(), Qt::LeftButton, {}, {XOf(100000), 50});
    EXPECT_EQ(selected(), std::pair(int64_t{80000}, int64_t{3 * kRate}));
}

TEST_F(WaveViewTest, EdgesOfTheSelectionAreDraggedAndSnap) {
    MakeTone();
    document->sound.InsertSilence(50000, 3000);  // joints at 50000 and 53000
    ShowWindow();
    View().Select(30000, 60000);
    Drag(View(), {XOf(30000), 50}, {XOf(30000) - 100, 50});
    EXPECT_EQ(document->EditRange().end, 60000);
    EXPECT_EQ(document->EditRange().start, Range().FrameAt(XOf(30000) - 100, View().width()));
    Drag(View(), {XOf(60000) + 2, 50}, {XOf(100000), 50});
    EXPECT_NEAR(static_cast<double>(document->EditRange().end), 100000, 200);
    // Past the other edge: both change their parts.
    Drag(View(), {XOf(document->EditRange().end), 50}, {10, 50});
    EXPECT_EQ(document->EditRange().start, Range().FrameAt(10, View().width()));
    QTest::mouseClick(&View(), Qt::LeftButton, {}, {XOf(document->EditRange().end), 50});
    EXPECT_TRUE(document->EditRange().IsEmpty()) << "a click on an edge is a click";

    const int near = XOf(50000) + 4;
    Drag(View(), {600, 50}, {near, 50});
    EXPECT_NE(document->EditRange().start, 50000);
    SetSettingBool(kSettings, QStringLiteral("SnapSelection"), true);
    Drag(View(), {600, 50}, {near, 50});
    EXPECT_EQ(document->EditRange().start, 50000) << "the joint of two pieces";
    Drag(View(), {600, 50}, {near, 50}, Qt::AltModifier);
    EXPECT_NE(document->EditRange().start, 50000) << "Alt: as it is put";
    SetSettingBool(kSettings, QStringLiteral("SnapSelection"), false);
    Drag(View(), {600, 50}, {near, 50}, Qt::AltModifier);
    EXPECT_EQ(document->EditRange().start, 50000) << "Alt: snapped";
}

TEST_F(WaveViewTest, TheWheelZoomsWhereTheSettingsSayAndScrolls) {
    MakeTone();
    ShowWindow();
    View().MoveCursor(20000, false);
    const int64_t under = Range().FrameAt(700, View().width());
    Wheel(View(), 700, {0, 480}, {}, Qt::ControlModifier);
    EXPECT_NEAR(Range().XOf(under, View().width()), 700, 1);
    Range().ShowAll();
    const double cursor = Range().XOf(20000, View().width());
    SetSettingBool(kSettings, QStringLiteral("bZoomToMouse"), false);
    Wheel(View(), 700, {0, 480}, {}, Qt::ControlModifier);
    EXPECT_NEAR(Range().XOf(20000, View().width()), cursor, 1);
    SetSettingBool(kSettings, QStringLiteral("bZoomToMouse"), true);
    Wheel(View(), 700, {0, 120}, {}, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_NEAR(View().VerticalZoom(), 1.25, 0.001);

    SetSettingBool(kSettings, QStringLiteral("ExtendZoom"), false);
    for (int i = 0; i < 60; ++i) View().Zoom(0.5);
    EXPECT_EQ(Range().Frames(), View().width()) << "a sample a pixel";
    SetSettingBool(kSettings, QStringLiteral("ExtendZoom"), true);
    for (int i = 0; i < 60; ++i) View().Zoom(0.5);
    EXPECT_EQ(Range().Frames(), LViewRange::kFewestFrames);

    // A touch pad moves the view by as many pixels as the fingers went, also less than a frame at a time.
    Range().Show(1000, 100);
    for (int i = 0; i < 100; ++i) Wheel(View(), 400, {-5, 0}, {-1, 0});
    EXPECT_NEAR(static_cast<double>(Range().Start()), 1000 + 100.0 * 100 / View().width(), 1);
    // A notch takes a moment, two notches go twice as far.
    Range().Show(10000, 8000);
    Wheel(View(), 400, {0, -120}, {});
    Wheel(View(), 400, {-120, 0}, {});
    EXPECT_LT(Range().Start(), 12000);
    EXPECT_TRUE(PumpUntil([&] { return Range().Start() == 12000; })) << Range().Start();
    // Whoever else moves the view meanwhile has the last word.
    Wheel(View(), 400, {0, -120}, {});
    QTest::qWait(30);
    Range().Show(50000, 8000);
    QTest::qWait(250);
    EXPECT_EQ(Range().Start(), 50000);
}

TEST_F(WaveViewTest, ThePencilWritesWhatIsDrawnInOneStep) {
    Make(3000, 2, [](int64_t frame, int channel) { return channel ? 0.25 : (frame % 7) / 20.0; });
    ShowWindow();
    const std::vector<float> before = ReadSound(document->sound);
    QSignalSpy hint(window.get(), &LSoundWindow::Hint);
    View().SetSampleEditing(true);
    EXPECT_EQ(hint.size(), 1) << "too far out";
    QTest::mouseClick(&View(), Qt::LeftButton, {}, {300, 50});
    EXPECT_FALSE(document->CanUndo());
    EXPECT_EQ(hint.size(), 2);

    Range().Show(1000, 50);
    Shown();
    QTest::mousePress(&View(), Qt::LeftButton, {}, PlaceOf(1010, 0.5, 1));
    MoveTo(View(), PlaceOf(1014, -0.5, 1));
    EXPECT_EQ(ReadSound(document->sound), before) << "only shown so far";
    const QImage preview = Shown();
    EXPECT_EQ(preview.pixel(PlaceOf(1012, 0, 1)), WaveColours().pencil.rgb());
    MoveTo(View(), PlaceOf(1015, 0.75, 1));
    QTest::mouseRelease(&View(), Qt::LeftButton, {}, PlaceOf(1015, 0.75, 1));
    const std::vector<float> after = ReadSound(document->sound);
    ASSERT_EQ(after.size(), before.size());
    const double row = 1 / StripOf(1, 2, View().height()).HalfSpan();
    const double drawn[] = {0.5, 0.25, 0, -0.25, -0.5, 0.75};
    for (size_t i = 0; i < after.size(); ++i) {
        const auto frame = static_cast<int64_t>(i / 2);
        if (i % 2 == 1 && frame >= 1010 && frame <= 1015)
            EXPECT_NEAR(static_cast<double>(after[i]), drawn[frame - 1010], row) << frame;
        else
            ASSERT_EQ(after[i], before[i]) << i;
    }
    EXPECT_EQ(Shown().pixel(PlaceOf(1012, 0, 1)), WaveColours().wave.rgb());
    EXPECT_TRUE(document->Undo());
    window->Refresh();
    EXPECT_EQ(ReadSound(document->sound), before);
    EXPECT_FALSE(document->CanUndo()) << "one stroke, one step";
}

TEST_F(WaveViewTest, EscapeTakesAStrokeBackAndKeysMoveTheSampleAtTheCursor) {
    Make(3000, 1, [](int64_t, int) { return 0.25; });
    ShowWindow();
    View().SetSampleEditing(true);
    Range().Show(1000, 50);
    const std::vector<float> before = ReadSound(document->sound);
    QTest::mousePress(&View(), Qt::LeftButton, {}, PlaceOf(1010, 0.9, 0));
    MoveTo(View(), PlaceOf(1020, 0.9, 0));
    Key(View(), Qt::Key_Escape);
    QTest::mouseRelease(&View(), Qt::LeftButton, {}, PlaceOf(1020, 0.9, 0));
    EXPECT_EQ(ReadSound(document->sound), before);
    EXPECT_FALSE(document->CanUndo());

    View().MoveCursor(1005, false);
    for (int i = 0; i < 8; ++i) QTest::keyPress(&View(), Qt::Key_Up);
    QTest::keyPress(&View(), Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_FALSE(document->CanUndo());
    QTest::keyRelease(&View(), Qt::Key_Down, Qt::ShiftModifier);
    const std::vector<float> after = ReadSound(document->sound);
    EXPECT_NEAR(static_cast<double>(after[1005]), 0.25 - 2 / StripOf(0, 1, View().height()).HalfSpan(), 1e-6);
    EXPECT_EQ(after[1004], 0.25f);
    EXPECT_EQ(after[1006], 0.25f);
    EXPECT_TRUE(document->Undo());
    window->Refresh();
    EXPECT_FALSE(document->CanUndo());
    EXPECT_EQ(ReadSound(document->sound), before);
}

}  // namespace
}  // namespace ondarix
