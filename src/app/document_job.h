// SPDX-License-Identifier: GPL-3.0-or-later
// Jobs that work on one document each, on threads of their own, while the frame and the other documents stay
// usable. [ui]
#pragma once
#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "gen/background_thread.h"
#include "sound/edit_host.h"

class QLabel;
class QProgressBar;
class QPushButton;

namespace ondarix {

class LSoundWindow;

// The strip at the lower edge of a sound's window: what is done, how far it is, and "Cancel".
class LDocumentJobPanel final : public QWidget {
    Q_OBJECT
  public:
    LDocumentJobPanel(const QString& title, const QString& documentTitle, QWidget* parent);
    void SetStatus(const QString& text, int line);
    void SetPercent(int percent);
    void SetIndeterminate(bool on);
    void SetRemaining(const QString& text);
    void SetCancelling();  // asked for already

  Q_SIGNALS:
    void Cancelled();

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QLabel* title_;
    QLabel* status_[2];
    QLabel* remaining_;
    QProgressBar* bar_;
    QPushButton* cancel_;
};

// One job. `ended` is called on the interface thread, later, when the work has returned.
class LDocumentJob final : public QObject, private LBackgroundThread {
    Q_OBJECT
  public:
    LDocumentJob(LSoundDocumentRef document, const QString& title, LDocumentWork work,
                 LDocumentFinish finish);
    ~LDocumentJob() override;  // cancels and waits

    bool Begin();
    void AskToCancel();
    void CancelAndWait();
    bool HasEnded() const { return ended_; }
    LSoundDocument& Document() { return *document_; }
    // Title and, once it lasts, how far it is.
    const QString& Title() const { return title_; }
    // The panel comes into the window when the job has lasted a while; called at each tick.
    void Show(LSoundWindow* window);
    bool IsShown() const { return !panel_.isNull(); }
    // Of what is shown; nothing: nobody knows.
    std::optional<int> Percent() const;

    // Taken out by who ends the job.
    LDocumentFinish TakeFinish() { return std::move(finish_); }
    JobResult Result() const { return result_; }
    QStringList Errors() const;

  Q_SIGNALS:
    void Ended();

  private:
    struct State {
        QString status[2];
        QStringList errors;
        double fraction = 0;
        bool indeterminate = false;
    };
    // On the worker.
    void Run() override;
    void ReportError(const QString& text) override;
    void SetStatus(const QString& text, int line) override;
    void SetFraction(double fraction) override;
    void SetIndeterminate() override { SetKnown(false); }
    void SetDeterminate() override { SetKnown(true); }
    void SetKnown(bool known);
    State Look() const;
    void ShowState(const State& state);

    LSoundDocumentRef document_;
    QString title_;
    LDocumentWork work_;
    LDocumentFinish finish_;
    JobResult result_ = JobResult::kFailed;
    bool ended_ = false;
    bool cancelling_ = false;
    QElapsedTimer clock_;
    QPointer<LDocumentJobPanel> panel_;
    mutable std::mutex lock_;
    State state_;
};

// What the jobs need of the frame.
class LDocumentJobOwner {
  public:
    virtual ~LDocumentJobOwner() = default;
    virtual LSoundWindow* WindowOfDocument(const LSoundDocument& document) = 0;  // null: none
    // Whether the end of a job has to wait: something modal is open, or another job runs on this thread.
    virtual bool IsHeldUp() = 0;
    virtual void TellError(const QString& text) = 0;
    virtual void BusyChanged(LSoundDocument& document) = 0;
};

// Why a document cannot be changed now.
QString BusyText(const LSoundDocument& document);

// All that run. The document of each is busy until its `finish` is called.
class LDocumentJobs final : public QObject {
    Q_OBJECT
  public:
    explicit LDocumentJobs(LDocumentJobOwner& owner);
    ~LDocumentJobs() override;  // cancels all

    void Start(LSoundDocumentRef document, const QString& title, LDocumentWork work, LDocumentFinish finish);
    bool IsEmpty() const { return jobs_.empty(); }
    QString TitleOf(const LSoundDocument& document) const;  // "": not busy with any
    // The user wants it; the end comes later.
    void AskToCancel(const LSoundDocument& document);
    // At once: the work has returned, `finish` been called with kCancelled and the document is free.
    void Cancel(const LSoundDocument& document);
    void CancelAll();
    // Returns when the document is free, with a loop of its own meanwhile. Whether all went well. The
    // document must outlive the call.
    bool Wait(const LSoundDocument& document);

  Q_SIGNALS:
    void Finished(const ondarix::LSoundDocument* document, bool successfully);

  private:
    LDocumentJob* Find(const LSoundDocument& document) const;
    void Tick();
    void FinishEnded();
    void Finish(LDocumentJob& job, JobResult result);
    void ShowLauncher();

    LDocumentJobOwner& owner_;
    std::vector<std::unique_ptr<LDocumentJob>> jobs_;
    QTimer tick_;
    bool showsLauncher_ = false;
    bool finishing_ = false;
};

}  // namespace ondarix
