// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QStringList>
#include <deque>

#include "sound/edit_host.h"
#include "sound/edits.h"
#include "sound_fixture.h"

namespace ondarix {

// Runs jobs at once, answers questions as a test has said before, and writes down what it is told.
class LTestEditHost final : public LEditHost, private LMessageHost {
  public:
    LMessageHost& Messages() override { return *this; }
    JobResult RunJob(const QString& title, const std::function<JobResult(LProgress&)>& work) override {
        jobs << title;
        LJobProgress progress(cancelAfter, told);
        return work(progress);
    }
    bool StopForEdit(LSoundDocument&) override { return mayEdit; }
    void DocumentChanged(LSoundDocument&) override { ++changes; }
    void Refresh(LSoundDocument&) override { ++refreshes; }
    bool AddDocument(LSoundDocumentRef document) override {
        if (!mayOpen) return false;
        documents.push_back(std::move(document));
        return true;
    }
    void PlaySelection(LSoundDocument&) override { ++played; }

    std::deque<int> answers;  // to questions, in order; none left: the safe one
    QStringList told;         // "title|text" of messages, questions and failed jobs ("Error")
    QStringList jobs;         // titles
    std::vector<LSoundDocumentRef> documents;
    int cancelAfter = 1 << 30;  // blocks of each job
    int changes = 0, refreshes = 0, played = 0;
    bool mayEdit = true, mayOpen = true;

  private:
    class LJobProgress final : public LProgress {
      public:
        LJobProgress(int blocks, QStringList& told) : left_(blocks), told_(told) {}
        bool IsCancelled() override { return left_-- <= 0; }
        WaitResult Sleep(int) override { return WaitResult::kSignalled; }
        WaitResult WaitForHandle(LWaitHandle, int) override { return WaitResult::kSignalled; }
        WaitResult WaitForHandles(const LHandleList&, int) override { return WaitResult::kSignalled; }

        void ReportError(const QString& text) override { told_ << QStringLiteral("Error|") + text; }

      private:
        int left_;
        QStringList& told_;
    };
    void Tell(const QString& title, const QString& text) override { told << title + u'|' + text; }
    int Ask(const QString& title, const QString& text, const QStringList&, int safe, const QString&,
            bool*) override {
        told << title + u'|' + text;
        if (answers.empty()) return safe;
        const int answer = answers.front();
        answers.pop_front();
        return answer;
    }
};

}  // namespace ondarix
