// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <memory>

#include "app/effect_chain_list.h"
#include "app/effect_chain_values.h"
#include "app/effect_preview.h"
#include "app/frame.h"

class QBoxLayout;

namespace ondarix {

struct LCommandCall;

// "Effect Chain Window": effects one behind the other, heard over what is selected in the active sound and
// applied to it, kept in ".ecf" files. Stands beside the sounds; what is in it when it closes is there again
// when it opens. [ui]
class LEffectChainWindow final : public QDialog {
    Q_OBJECT
  public:
    explicit LEffectChainWindow(LMainFrame& frame);
    ~LEffectChainWindow() override;

    const LEffectChain& Chain() const { return list_->Effects().Chain(); }
    const QString& Path() const { return path_; }  // where it was saved or read last; empty: nowhere
    bool IsModified() const { return modified_; }
    // In the place of what is there, once the user agrees to lose that. False: it stays, which was told or
    // agreed to.
    bool Load(const QString& path);
    bool Save(const QString& path);
    LEffectPreview* Preview() { return preview_.get(); }  // null: nothing was played yet

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    QPushButton* Button(const QString& text, const char* name, const char* icon, const QString& help,
                        void (LEffectChainWindow::*act)());
    void BuildFileRow(QBoxLayout& layout);
    void BuildList(QBoxLayout& layout);
    void BuildTransport(QBoxLayout& layout);
    void Connect();

    // Effects.
    void ShowOffered();
    void AddChosen();
    void RemoveChosen();
    void MoveUp() { list_->MoveChosen(-1); }
    void MoveDown() { list_->MoveChosen(1); }
    void ShowChosen();
    void OpenChosen();
    void Edited();

    // Files.
    void New();
    void AskAndLoad();
    bool AskAndSave();
    void SaveAsked() { AskAndSave(); }
    bool MayReplace();
    void Keep() const;
    void ShowFile();
    void Tell(const QString& title, const QString& text);

    // Playing and applying: effect_chain_transport.cpp.
    void Follow();  // another sound, or another state of it
    void ShowTransport();
    QString Hint() const;
    bool CanWork() const;
    bool HasEffects();  // where it has none, that is told
    LEffectList Effects() const;
    void TogglePlay();
    void BypassChosen(bool on);
    void Apply();
    void MakePreview(LPreviewSoundRef sound);
    void StopPreview();

    LMainFrame& frame_;
    QString path_;
    bool modified_ = false;
    LSoundFormat format_;  // that the effects were told

    LEffectChainList* list_ = nullptr;
    LEffectChainValues* values_ = nullptr;
    QComboBox* offered_ = nullptr;
    QLabel *file_ = nullptr, *hint_ = nullptr;
    QPushButton *add_ = nullptr, *up_ = nullptr, *down_ = nullptr, *play_ = nullptr, *bypass_ = nullptr,
                *apply_ = nullptr;

    std::unique_ptr<LEffectPreview> preview_;
    QPointer<LSoundWindow> heard_;  // the sound that the preview is of
    int64_t heardStart_ = 0;        // frame of it
    int leftOut_ = -1;              // row that is passed over for the moment
    QTimer reread_;                 // until a chain that was read is heard
};

// The commands: the window, and a stored chain applied at once.
void ShowEffectChain(LCommandCall& call);
void ApplyStoredChain(LCommandCall& call);

}  // namespace ondarix
