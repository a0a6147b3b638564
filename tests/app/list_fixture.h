// SPDX-License-Identifier: GPL-3.0-or-later
// Sounds in windows without the main frame around them, for the windows and dialogs beside it.
#pragma once
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest/QTest>
#include <functional>

#include "app/frame_documents.h"
#include "app/sound_window.h"
#include "gtest/gtest.h"
#include "sound/cache.h"
#include "sound/marks.h"
#include "waiting.h"

namespace ondarix {

class LBareFrame final : public QWidget, public LFrameDocuments, public LEditHost, private LMessageHost {
  public:
    // LFrameDocuments.
    QList<LSoundWindow*> Sounds() override {
        QList<LSoundWindow*> all;
        for (const auto& window : windows) all.append(window.get());
        return all;
    }
    LSoundWindow* ActiveSound() override { return active; }
    void Activate(LSoundWindow& window) override {
        active = &window;
        Q_EMIT notifier.ActiveChanged();
    }
    LEditHost& EditHost() override { return *this; }
    LDocumentNotifier& Notifier() override { return notifier; }
    bool RunCommand(int) override { return false; }
    QWidget* Window() override { return this; }

    // LEditHost.
    LMessageHost& Messages() override { return *this; }
    JobResult RunJob(const QString&, const std::function<JobResult(LProgress&)>& work) override {
        LNullProgress progress;
        return work(progress);
    }
    void DocumentChanged(LSoundDocument& document) override { Q_EMIT notifier.DocumentChanged(&document); }
    void Refresh(LSoundDocument& document) override {
        for (const auto& window : windows)
            if (&window->Document() == &document) window->Refresh();
        Q_EMIT notifier.DocumentChanged(&document);
    }
    void PlaySelection(LSoundDocument& document) override { played = &document; }
    bool AddDocument(LSoundDocumentRef document) override {
        windows.push_back(std::make_unique<LSoundWindow>(std::move(document), *this));
        active = windows.back().get();
        active->resize(600, 300);
        Q_EMIT notifier.ListChanged();
        Q_EMIT notifier.ActiveChanged();
        return true;
    }

    // Two minutes of silence at 44.1 kHz, mono, with the base of a history.
    LSoundDocument& AddSilence(const char* title) {
        LSoundDocumentRef document(new LSoundDocument);
        document->sound = LSound(44100, 1);
        document->sound.InsertSilence(0, 120 * 44100);
        document->title = QLatin1String(title);
        document->PushUndo(QStringLiteral("Load File"), false);
        AddDocument(document);
        return active->Document();
    }
    void Close(const LSoundDocument& document) {
        std::erase_if(windows, [&](const auto& window) { return &window->Document() == &document; });
        active = windows.empty() ? nullptr : windows.back().get();
        Q_EMIT notifier.ListChanged();
        Q_EMIT notifier.ActiveChanged();
    }

    LDocumentNotifier notifier;
    std::vector<std::unique_ptr<LSoundWindow>> windows;
    LSoundWindow* active = nullptr;
    LSoundDocument* played = nullptr;
    QStringList told;  // "title|text" of messages and questions
    QList<int> answers;

  private:
    void Tell(const QString& title, const QString& text) override { told << title + u'|' + text; }
    int Ask(const QString& title, const QString& text, const QStringList&, int safe, const QString&,
            bool*) override {
        told << title + u'|' + text;
        return answers.isEmpty() ? safe : answers.takeFirst();
    }
};

// Answers the modal dialogs that come up while it lives, in order; all of them must.
class LModalAnswers {
  public:
    explicit LModalAnswers(std::vector<std::function<void(QWidget&)>> answers)
        : answers_(std::move(answers)) {
        AnswerSoon();
    }
    ~LModalAnswers() { EXPECT_EQ(next_, answers_.size()) << "dialogs that did not come"; }

  private:
    // A new timer each time: one that is being handled is silent while its handler has a dialog open.
    void AnswerSoon() {
        QTimer::singleShot(5, &context_, [this] { Answer(); });
    }
    void Answer() {
        AnswerSoon();
        QWidget* dialog = QApplication::activeModalWidget();
        // Keys of an inactive window run no shortcut.
        if (!dialog || dialog == answered_ || !dialog->isActiveWindow()) return;
        if (next_ >= answers_.size()) {
            ADD_FAILURE() << "unexpected dialog " << dialog->objectName().toStdString();
            dialog->close();
            return;
        }
        answered_ = dialog;
        const auto answer = answers_[next_++];
        answer(*dialog);
        answered_ = dialog->isVisible() ? dialog : nullptr;
    }
    std::vector<std::function<void(QWidget&)>> answers_;
    size_t next_ = 0;
    QWidget* answered_ = nullptr;
    QObject context_;
};

inline void PressOk(QWidget& dialog) {
    QTest::mouseClick(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok), Qt::LeftButton);
}
inline void PressCancel(QWidget& dialog) {
    QTest::mouseClick(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel),
                      Qt::LeftButton);
}
// Replaces the text of a field as a person does.
inline void TypeInto(QWidget& dialog, const char* name, const char* text) {
    auto* field = dialog.findChild<QWidget*>(QLatin1String(name));
    ASSERT_NE(field, nullptr) << name;
    field->setFocus();
    if (auto* combo = qobject_cast<QComboBox*>(field)) field = combo->lineEdit();
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(field, QLatin1String(text));
}

class ListTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        ASSERT_TRUE(OpenCache());
    }
    void TearDown() override {
        frame.windows.clear();
        CloseCache();
    }
    QString In(const char* name) const { return folder.filePath(QLatin1String(name)); }

    QTemporaryDir folder;
    LBareFrame frame;
};

}  // namespace ondarix
