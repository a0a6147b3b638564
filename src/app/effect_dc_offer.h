// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QObject>
#include <QPointer>
#include <deque>
#include <memory>

#include "app/frame_documents.h"
#include "sound/sound.h"

namespace ondarix {

class LDcOffsetCheck;

// Looks at each sound that was opened from a file, in the background and one after another; one that seems to
// have a DC offset gets a strip below its waves with a button for the correction. Not while the setting
// EnableDCOffsetAnalyzer of section Analyzers is off. [ui]
class LDcOffsetOffers final : public QObject {
    Q_OBJECT
  public:
    explicit LDcOffsetOffers(LFrameDocuments& documents, QObject* parent = nullptr);
    ~LDcOffsetOffers() override;
    bool IsIdle() const { return waiting_.empty() && !check_; }

  private:
    struct LAsked {
        QPointer<QObject> window;
        uint64_t serial = 0;  // of the history: a sound that was changed since is not judged any more
        LSound sound;
    };
    void LookForNew();
    void Next();
    void Take(bool suggests);
    void Offer(LSoundWindow& window);

    LFrameDocuments& documents_;
    std::deque<LAsked> waiting_;  // the first is under way while there is a check
    std::unique_ptr<LDcOffsetCheck> check_;
};

}  // namespace ondarix
