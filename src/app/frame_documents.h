// SPDX-License-Identifier: GPL-3.0-or-later
// What the windows beside the sounds (history, lists, dialogs) see of the frame. [ui]
#pragma once
#include <QList>
#include <QObject>
#include <QWidget>

#include "sound/edit_host.h"

namespace ondarix {

class LSoundWindow;

class LDocumentNotifier final : public QObject {
    Q_OBJECT
  public:
    using QObject::QObject;
  Q_SIGNALS:
    void ListChanged();                                  // sounds were opened, closed or renamed
    void ActiveChanged();                                // another sound is the active one, or none
    void DocumentChanged(ondarix::LSoundDocument* one);  // sound, marks or history of it
    void SelectionChanged();                             // of the active sound
};

class LFrameDocuments {
  public:
    virtual ~LFrameDocuments() = default;
    virtual QList<LSoundWindow*> Sounds() = 0;
    virtual LSoundWindow* ActiveSound() = 0;  // null: none is open
    virtual void Activate(LSoundWindow& window) = 0;
    virtual LEditHost& EditHost() = 0;
    virtual LDocumentNotifier& Notifier() = 0;
    // By its number; false: not available now.
    virtual bool RunCommand(int id) = 0;
    virtual bool IsAvailable(int /*id*/) { return true; }
    virtual QWidget* Window() = 0;  // owner of dialogs
};

}  // namespace ondarix
