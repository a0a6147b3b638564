// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_dc_offer.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <utility>

#include "app/commands.h"
#include "app/sound_window.h"
#include "effects/dc_offset.h"
#include "gen/background_thread.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

constexpr const char* kLookedAt = "dcOffsetLookedAt";  // property of a sound's window
constexpr const char* kOfferText = "This file seems to contain DC offset";

}  // namespace

class LDcOffsetCheck final : public LBackgroundThread {
  public:
    LDcOffsetCheck(const LSound& sound, std::function<void(bool)> done)
        : LBackgroundThread("DCOF"), sound_(sound), done_(std::move(done)) {}
    ~LDcOffsetCheck() override { Stop(); }

  protected:
    void Run() override {
        const bool suggests = SuggestsDcOffset(sound_);
        if (!IsCancelled()) done_(suggests);
    }

  private:
    const LSound& sound_;
    std::function<void(bool)> done_;
};

LDcOffsetOffers::LDcOffsetOffers(LFrameDocuments& documents, QObject* parent)
    : QObject(parent), documents_(documents) {
    connect(&documents_.Notifier(), &LDocumentNotifier::ListChanged, this, &LDcOffsetOffers::LookForNew);
    LookForNew();
}

LDcOffsetOffers::~LDcOffsetOffers() = default;

void LDcOffsetOffers::LookForNew() {
    const bool on =
        GetSettingBool(QStringLiteral("Analyzers"), QStringLiteral("EnableDCOffsetAnalyzer"), true);
    for (LSoundWindow* window : documents_.Sounds()) {
        if (window->property(kLookedAt).toBool()) continue;
        window->setProperty(kLookedAt, true);
        const LSoundDocument& document = window->Document();
        if (!on || document.path.isEmpty() || document.sound.IsEmpty()) continue;
        LAsked asked{window, document.historySerial,
                     LSound(document.sound.sampleRate, document.sound.channels)};
        document.sound.CopyRange(0, document.sound.Length(), asked.sound);
        waiting_.push_back(std::move(asked));
    }
    if (!check_) Next();
}

void LDcOffsetOffers::Next() {
    while (!waiting_.empty() && !waiting_.front().window) waiting_.pop_front();
    if (waiting_.empty()) return;
    check_ = std::make_unique<LDcOffsetCheck>(waiting_.front().sound, [this](bool suggests) {
        QMetaObject::invokeMethod(
            this, [this, suggests] { Take(suggests); }, Qt::QueuedConnection);
    });
    check_->Start(ThreadPriority::kLowest);
}

void LDcOffsetOffers::Take(bool suggests) {
    check_.reset();
    const LAsked asked = std::move(waiting_.front());
    waiting_.pop_front();
    auto* window = static_cast<LSoundWindow*>(asked.window.data());
    if (suggests && window && window->Document().historySerial == asked.serial) Offer(*window);
    Next();
}

void LDcOffsetOffers::Offer(LSoundWindow& window) {
    auto* strip = new QFrame;
    strip->setObjectName(QStringLiteral("dcOffsetOffer"));
    strip->setFrameShape(QFrame::StyledPanel);
    strip->setAccessibleName(QLatin1String(kOfferText));
    auto* row = new QHBoxLayout(strip);
    row->setContentsMargins(8, 3, 8, 3);
    row->addWidget(new QLabel(QLatin1String(kOfferText), strip));
    auto* correct = new QPushButton(QStringLiteral("Correct"), strip);
    correct->setObjectName(QStringLiteral("correctDcOffset"));
    correct->setAccessibleName(QStringLiteral("Correct the DC offset of the whole sound"));
    auto* dismiss = new QPushButton(QStringLiteral("Dismiss"), strip);
    dismiss->setObjectName(QStringLiteral("dismissDcOffset"));
    row->addStretch(1);
    row->addWidget(correct);
    row->addWidget(dismiss);
    // It goes for good once the click on it has been dealt with.
    const auto end = [strip] {
        strip->hide();
        strip->deleteLater();
    };
    connect(dismiss, &QPushButton::clicked, strip, end);
    connect(correct, &QPushButton::clicked, strip, [this, end, &window] {
        documents_.Activate(window);
        const LSoundDocument& document = window.Document();
        if (!document.EditRange().IsEmpty()) window.View().Select(document.cursor, document.cursor);
        if (documents_.RunCommand(kCmdDcOffset)) end();
    });
    // Whatever has changed the sound, the strip may not be true any more.
    connect(&documents_.Notifier(), &LDocumentNotifier::DocumentChanged, strip,
            [end, &window, serial = window.Document().historySerial](LSoundDocument* document) {
                if (document == &window.Document() && document->historySerial != serial) end();
            });
    window.ShowBelow(strip);
}

}  // namespace ondarix
