// SPDX-License-Identifier: GPL-3.0-or-later
// What a screen reader is told: the tree of accessible objects of real windows, walked from the outside.
#include <QAccessible>
#include <QApplication>
#include <QDialog>
#include <QSet>
#include <QTimer>
#include <functional>

#include "window_fixture.h"

namespace ondarix {
namespace {

using enum QAccessible::Role;

const QSet<int> kControls = {PushButton, CheckBox, RadioButton, ComboBox, EditableText, SpinBox, Slider,
                             ScrollBar,  MenuItem, ButtonMenu,  List,     Tree,         Table,   PageTab};

// Each object of the tree that can be seen, with the path of its names.
void Walk(QAccessibleInterface* one, const QString& path,
          const std::function<void(QAccessibleInterface&, const QString&)>& visit) {
    if (!one || !one->isValid() || one->state().invisible) return;
    const QString here = path + u'/' + (one->object() ? one->object()->metaObject()->className() : "-") +
                         u':' + one->text(QAccessible::Name);
    visit(*one, here);
    for (int i = 0; i < one->childCount(); ++i) Walk(one->child(i), here, visit);
}

// Names of controls below `root` that have none.
QStringList NamelessControls(QWidget& root) {
    QStringList nameless;
    Walk(QAccessible::queryAccessibleInterface(&root), {},
         [&](QAccessibleInterface& one, const QString& path) {
             if (!kControls.contains(one.role())) return;
             const bool separator = one.role() == MenuItem && one.text(QAccessible::Name).isEmpty() &&
                                    one.childCount() == 0 && !one.state().focusable;
             // The line of an editable combo box and of a spin box speaks through the box around it.
             const auto* parent = one.parent();
             const bool inner = parent && (parent->role() == ComboBox || parent->role() == SpinBox);
             // Corner buttons and arrows of Qt's own scrolling areas and views.
             const auto isOfQt = [](const QObject* object) {
                 return object && object->objectName().startsWith(QStringLiteral("qt_"));
             };
             const bool ofQt = one.object() && (isOfQt(one.object()) || isOfQt(one.object()->parent()));
             if (!separator && !inner && !ofQt && one.text(QAccessible::Name).trimmed().isEmpty())
                 nameless.append(path);
         });
    return nameless;
}

// Widgets that take the focus by Tab without a name or a meaningful role.
QStringList NamelessStops(QWidget& root) {
    QStringList nameless;
    for (QWidget* widget : root.findChildren<QWidget*>()) {
        if (!widget->isVisible() || !(widget->focusPolicy() & Qt::TabFocus) || widget->focusProxy()) continue;
        if (widget->objectName().startsWith(QStringLiteral("qt_"))) continue;
        QAccessibleInterface* one = QAccessible::queryAccessibleInterface(widget);
        if (!one || one->text(QAccessible::Name).trimmed().isEmpty() || one->role() == NoRole)
            nameless.append(QString::fromLatin1(widget->metaObject()->className()) + u' ' +
                            widget->objectName());
    }
    return nameless;
}

void ExpectNamed(QWidget& window) {
    EXPECT_EQ(NamelessControls(window).join(u'\n').toStdString(), "") << window.windowTitle().toStdString();
    EXPECT_EQ(NamelessStops(window).join(u'\n').toStdString(), "") << window.windowTitle().toStdString();
}

TEST_F(WindowTest, EveryControlOfTheFrameHasANameAndARole) {
    ExpectNamed(*frame);  // the start screen
    Open(MakeWav("a.wav"));
    ExpectNamed(*frame);
    // A reader finds the waveform by its name and hears where the selection is.
    frame->ActiveSound()->View().Select(44100, 88200);
    QAccessibleInterface* wave = QAccessible::queryAccessibleInterface(&frame->ActiveSound()->View());
    ASSERT_NE(wave, nullptr);
    EXPECT_TRUE(wave->text(QAccessible::Name).contains(QStringLiteral("Waveform"), Qt::CaseInsensitive));
    const QString told = wave->text(QAccessible::Value) + wave->text(QAccessible::Description);
    EXPECT_TRUE(told.contains(u'1') && told.contains(u'2')) << told.toStdString();
}

// Every command that opens a dialog of this program: its controls are named, and Escape closes it.
TEST_F(WindowTest, EveryDialogOfACommandIsNamedAndClosesByEscape) {
    Open(MakeWav("a.wav"));
    frame->ActiveSound()->View().Select(1000, 50000);
    int dialogs = 0;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible()) return;
        ++dialogs;
        if (!modal->inherits("QFileDialog")) ExpectNamed(*modal);
        QTest::keyClick(modal, Qt::Key_Escape);
        if (QApplication::activeModalWidget() == modal && modal->isVisible()) {
            ADD_FAILURE() << "Escape leaves open: " << modal->windowTitle().toStdString();
            modal->close();
        }
    });
    watch.start(20);
    for (const LCommandRow& row : CommandTable()) {
        const bool asks = QString::fromUtf8(row.text).contains(QStringLiteral("..."));
        if (!IsVisible(row) || !asks) continue;
        frame->RunCommand(row.id);
        QTest::qWait(30);
    }
    EXPECT_GE(dialogs, 8);
    EXPECT_FALSE(QApplication::activeModalWidget());
}

TEST_F(WindowTest, EveryWindowBesideTheSoundsIsNamed) {
    Open(MakeWav("a.wav"));
    for (const LCommandRow& row : CommandTable())
        if (IsVisible(row) && QString::fromUtf8(row.text).contains(QRegularExpression("Manager|List\\b")))
            frame->RunCommand(row.id);
    QTest::qWait(10);
    int windows = 0;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible() || window == frame.get()) continue;
        ++windows;
        ExpectNamed(*window);
    }
    EXPECT_GE(windows, 3) << "history, bookmarks, regions";
}

}  // namespace
}  // namespace ondarix
