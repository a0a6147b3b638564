// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_chain_window.h"

#include <QDialogButtonBox>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QScreen>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>
#include <utility>

#include "app/effect_chain_files.h"
#include "app/effect_dialogs.h"
#include "app/frame_handlers.h"
#include "app/theme.h"
#include "app/window_messages.h"
#include "effects/chain_file.h"
#include "effects/stored_values.h"
#include "gen/settings.h"

namespace ondarix {
namespace {

const QString kChainSection = QStringLiteral("EffectChain");
const QString kWindowTitle = QStringLiteral("Effect Chain Window");
const QString kChainTitle = QStringLiteral("Effect Chain");
constexpr QSize kChainWindowSize(820, 520), kChainLeastSize(620, 380);
constexpr int kRereadDelayMs = 2000;  // until what was read is heard

}  // namespace

LEffectChainWindow::LEffectChainWindow(LMainFrame& frame) : QDialog(&frame), frame_(frame) {
    setObjectName(QStringLiteral("effectChainWindow"));
    setWindowTitle(kWindowTitle);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setWindowFlag(Qt::WindowMaximizeButtonHint, true);
    setAcceptDrops(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 12, 12, 12);
    layout->setSpacing(10);
    BuildFileRow(*layout);
    BuildList(*layout);
    BuildTransport(*layout);
    Connect();

    LWorkingChain kept = LoadKeptChain();
    path_ = kept.path;
    modified_ = kept.isModified;
    kept.chain.SetFormat(format_);
    list_->Effects().SetChain(std::move(kept.chain));
    list_->Choose(0);
    ShowOffered();
    Follow();
    ShowFile();
    ShowChosen();
    const QSize stored(GetSettingInt(kChainSection, QStringLiteral("Width"), kChainWindowSize.width()),
                       GetSettingInt(kChainSection, QStringLiteral("Height"), kChainWindowSize.height()));
    resize(stored.expandedTo(kChainLeastSize).boundedTo(screen()->availableSize()));
    list_->setFocus();
}

LEffectChainWindow::~LEffectChainWindow() {
    if (isVisible()) Keep();
    values_->SetEffect(nullptr);
    list_->disconnect(this);
    StopPreview();
}

// --- What it is made of

QPushButton* LEffectChainWindow::Button(const QString& text, const char* name, const char* icon,
                                        const QString& help, void (LEffectChainWindow::*act)()) {
    auto* button = new QPushButton(text, this);
    button->setObjectName(QLatin1String(name));
    if (*icon) button->setIcon(ThemedIcon(QLatin1String(icon)));
    button->setToolTip(help);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, act);
    return button;
}

void LEffectChainWindow::BuildFileRow(QBoxLayout& layout) {
    auto* row = new QHBoxLayout;
    row->setSpacing(6);
    file_ = new QLabel(this);
    file_->setObjectName(QStringLiteral("chainFile"));
    file_->setTextFormat(Qt::PlainText);
    file_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    QFont bold = file_->font();
    bold.setBold(true);
    file_->setFont(bold);
    row->addWidget(file_, 1);
    row->addWidget(Button(QStringLiteral("&New"), "newChain", "new",
                          QStringLiteral("Begin an empty chain (Ctrl+N)"), &LEffectChainWindow::New));
    row->addWidget(Button(QStringLiteral("&Load..."), "loadChain", "open",
                          QStringLiteral("Load a chain from a file (Ctrl+O)"),
                          &LEffectChainWindow::AskAndLoad));
    row->addWidget(Button(QStringLiteral("&Save Effect Chain..."), "saveChain", "save",
                          QStringLiteral("Save the chain in a file (Ctrl+S)"),
                          &LEffectChainWindow::SaveAsked));
    layout.addLayout(row);
}

void LEffectChainWindow::BuildList(QBoxLayout& layout) {
    auto* left = new QWidget(this);
    auto* column = new QVBoxLayout(left);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    auto* add = new QHBoxLayout;
    add->setSpacing(6);
    auto* label = new QLabel(QStringLiteral("E&ffect:"), left);
    offered_ = new QComboBox(left);
    offered_->setObjectName(QStringLiteral("effectToAdd"));
    offered_->setAccessibleName(QStringLiteral("Effect to add"));
    offered_->setPlaceholderText(QStringLiteral("Select an effect"));
    offered_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    offered_->setMinimumContentsLength(16);
    label->setBuddy(offered_);
    add->addWidget(label);
    add->addWidget(offered_, 1);
    add_ = Button(QStringLiteral("&Add"), "addEffect", "add",
                  QStringLiteral("Add the effect behind the chosen one"), &LEffectChainWindow::AddChosen);
    add->addWidget(add_);
    column->addLayout(add);
    list_ = new LEffectChainList(left);
    column->addWidget(list_, 1);

    auto* order = new QHBoxLayout;
    order->setSpacing(6);
    up_ =
        Button(QStringLiteral("Move &Up"), "moveEffectUp", "moveup",
               QStringLiteral("Move the effect before the one above (Alt+Up)"), &LEffectChainWindow::MoveUp);
    down_ = Button(QStringLiteral("Move &Down"), "moveEffectDown", "movedown",
                   QStringLiteral("Move the effect behind the one below (Alt+Down)"),
                   &LEffectChainWindow::MoveDown);
    order->addWidget(up_);
    order->addWidget(down_);
    order->addStretch(1);
    order->addWidget(Button(QStringLiteral("&Remove"), "removeEffect", "delete",
                            QStringLiteral("Remove the effect from the chain (Del)"),
                            &LEffectChainWindow::RemoveChosen));
    column->addLayout(order);

    values_ = new LEffectChainValues(frame_.EditHost(), this);
    auto* splitter = new QSplitter(Qt::Horizontal, this);
    splitter->setChildrenCollapsible(false);
    splitter->setHandleWidth(10);
    splitter->addWidget(left);
    splitter->addWidget(values_);
    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 1);
    layout.addWidget(splitter, 1);
}

void LEffectChainWindow::BuildTransport(QBoxLayout& layout) {
    hint_ = new QLabel(this);
    hint_->setObjectName(QStringLiteral("chainHint"));
    hint_->setTextFormat(Qt::PlainText);
    hint_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    layout.addWidget(hint_);
    auto* row = new QHBoxLayout;
    row->setSpacing(6);
    play_ = Button({}, "playChain", "play",
                   QStringLiteral("Hear what is selected with the effects, over and over (Ctrl+Space)"),
                   &LEffectChainWindow::TogglePlay);
    bypass_ = new QPushButton(QStringLiteral("&Bypass (Hold down)"), this);
    bypass_->setObjectName(QStringLiteral("bypassChain"));
    bypass_->setToolTip(QStringLiteral("Hear the sound as it is while the button is held down"));
    bypass_->setAutoDefault(false);
    apply_ = Button(QStringLiteral("Appl&y Effects..."), "applyChain", "",
                    QStringLiteral("Apply the effects to what is selected, or to the whole sound"),
                    &LEffectChainWindow::Apply);
    auto* close = new QPushButton(QStringLiteral("&Close"), this);
    close->setObjectName(QStringLiteral("closeChain"));
    close->setAutoDefault(false);
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    row->addWidget(play_);
    row->addWidget(bypass_);
    row->addStretch(1);
    row->addWidget(apply_);
    row->addWidget(close);
    layout.addLayout(row);
}

void LEffectChainWindow::Connect() {
    LEffectChainModel* model = &list_->Effects();
    connect(model, &LEffectChainModel::Edited, this, &LEffectChainWindow::Edited);
    connect(list_, &LEffectChainList::Chosen, this, &LEffectChainWindow::ShowChosen);
    connect(list_, &LEffectChainList::Opened, this, &LEffectChainWindow::OpenChosen);
    connect(list_, &LEffectChainList::Deleted, this, &LEffectChainWindow::RemoveChosen);
    connect(values_, &LEffectChainValues::DialogAsked, this, &LEffectChainWindow::OpenChosen);
    connect(values_, &LEffectChainValues::ValuesChanged, model, [this, model] {
        if (list_->Row() >= 0) model->TellValues(list_->Row());
    });
    connect(values_, &LEffectChainValues::BypassHeld, this, &LEffectChainWindow::BypassChosen);
    const auto hold = [this](bool on) {
        if (preview_) preview_->SetBypass(on);
    };
    connect(bypass_, &QPushButton::pressed, this, [hold] { hold(true); });
    connect(bypass_, &QPushButton::released, this, [hold] { hold(false); });

    const LDocumentNotifier& notifier = frame_.Notifier();
    for (const auto change : {&LDocumentNotifier::ListChanged, &LDocumentNotifier::ActiveChanged,
                              &LDocumentNotifier::SelectionChanged})
        connect(&notifier, change, this, &LEffectChainWindow::Follow);
    connect(&notifier, &LDocumentNotifier::DocumentChanged, this, &LEffectChainWindow::Follow);
    reread_.setSingleShot(true);
    reread_.setInterval(kRereadDelayMs);
    connect(&reread_, &QTimer::timeout, this, [this] {
        if (preview_) preview_->Change();
    });
    const auto key = [this](const QKeySequence& keys, auto act) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, act);
    };
    key(Qt::CTRL | Qt::Key_Space, &LEffectChainWindow::TogglePlay);
    key(QKeySequence::New, &LEffectChainWindow::New);
    key(QKeySequence::Open, &LEffectChainWindow::AskAndLoad);
    key(QKeySequence::Save, &LEffectChainWindow::SaveAsked);
    key(QKeySequence::Undo, [this] { frame_.RunCommand(kCmdUndo); });
    key(QKeySequence::Redo, [this] { frame_.RunCommand(kCmdRedo); });
}

void LEffectChainWindow::showEvent(QShowEvent* event) {
    Follow();
    QDialog::showEvent(event);
}

void LEffectChainWindow::hideEvent(QHideEvent* event) {
    if (!event->spontaneous()) {  // not where it is only minimized
        if (preview_) preview_->Stop();
        Keep();
    }
    QDialog::hideEvent(event);
}

// --- Effects

void LEffectChainWindow::ShowOffered() {
    const QString chosen = offered_->currentData().toString();
    offered_->clear();
    for (const QString& id : RecentEffects())
        if (const LEffectRow* row = FindEffect(id); row && (row->flags & kEffectInChain))
            offered_->addItem(QString::fromUtf8(row->name), id);
    if (offered_->count() > 0) offered_->insertSeparator(offered_->count());
    for (const LEffectRow& row : EffectTable())
        if (row.make && (row.flags & kEffectInChain))
            offered_->addItem(QString::fromUtf8(row.name), QLatin1String(row.id));
    offered_->setCurrentIndex(chosen.isEmpty() ? -1 : offered_->findData(chosen));
}

void LEffectChainWindow::AddChosen() {
    const LEffectRow* row = FindEffect(offered_->currentData().toString());
    if (!row) return Tell(kChainTitle, QStringLiteral("Please select an effect to add"));
    std::unique_ptr<LEffect> effect = row->make();
    effect->SetFormat(format_);
    LoadStoredValues(*effect, *row);
    const int at = list_->Row() + 1;
    if (!list_->Effects().Insert(at, std::move(effect)))
        return Tell(kChainTitle,
                    QStringLiteral("A chain holds at most %1 effects.").arg(LEffectChain::kMostEffects));
    RememberEffect(QLatin1String(row->id));
    ShowOffered();
    list_->Choose(at);
}

void LEffectChainWindow::RemoveChosen() {
    if (Chain().Count() == 0) return Tell(kChainTitle, QStringLiteral("No effect to remove"));
    const int row = list_->Row();
    if (row < 0) return Tell(kChainTitle, QStringLiteral("Please select an effect to remove"));
    values_->SetEffect(nullptr);
    list_->Effects().Remove(row);
    list_->Choose(row);
    ShowChosen();
}

void LEffectChainWindow::ShowChosen() {
    values_->SetEffect(list_->Effects().At(list_->Row()));
    up_->setEnabled(list_->Row() > 0);
    down_->setEnabled(list_->Row() >= 0 && list_->Row() + 1 < Chain().Count());
}

// In its own dialog where it has one and there is a sound to hear it on; otherwise its values here.
void LEffectChainWindow::OpenChosen() {
    const LEffect* effect = Chain().At(list_->Row());
    const LEffectRow* row = effect ? FindEffect(effect->GetType()) : nullptr;
    LCommandCall call{frame_, row ? row->command : 0, frame_.ActiveSound()};
    auto context =
        row && row->make && (row->flags & kEffectOwnDialog) ? LEffectContext::Of(call) : std::nullopt;
    if (!context) return values_->FocusFirst();
    if (preview_) preview_->Stop();
    const LKeepsWindowActive active;
    const auto dialog = MakeEffectDialog(std::move(*context), *row, effect->Clone());
    if (auto* buttons = dialog->findChild<QDialogButtonBox*>())
        buttons->button(QDialogButtonBox::Ok)->setText(QStringLiteral("&OK"));
    const QPointer<LEffectChainWindow> self(this);
    if (dialog->exec() != QDialog::Accepted || !self) return;
    LEffectList changed = dialog->Applied();
    if (changed.size() != 1) return;
    changed[0]->enabled = effect->enabled;
    changed[0]->bypass = effect->bypass;
    changed[0]->storedWord = effect->storedWord;
    values_->SetEffect(nullptr);
    list_->Effects().Replace(list_->Row(), std::move(changed[0]));
    ShowChosen();
}

void LEffectChainWindow::Edited() {
    modified_ = true;
    reread_.stop();
    if (preview_) preview_->Change();
    up_->setEnabled(list_->Row() > 0);
    down_->setEnabled(list_->Row() >= 0 && list_->Row() + 1 < Chain().Count());
    ShowFile();
    ShowTransport();
}

// --- Files

void LEffectChainWindow::ShowFile() {
    const QString name = path_.isEmpty() ? QStringLiteral("Untitled chain") : QFileInfo(path_).fileName();
    const bool isChanged = modified_ && Chain().Count() > 0;
    file_->setText(isChanged ? name + QStringLiteral(" (changed)") : name);
    file_->setToolTip(path_);
}

void LEffectChainWindow::Tell(const QString& title, const QString& text) {
    frame_.Messages().Tell(title, text);
}

// An empty chain is no loss.
bool LEffectChainWindow::MayReplace() {
    if (!modified_ || Chain().Count() == 0) return true;
    enum { kSave, kDiscard, kCancel };
    const int answer = frame_.Messages().Ask(
        kChainTitle, QStringLiteral("Save the changes to the effect chain before it is replaced?"),
        {QStringLiteral("&Save"), QStringLiteral("&Discard"), QStringLiteral("Cancel")}, kCancel);
    return answer == kDiscard || (answer == kSave && (path_.isEmpty() ? AskAndSave() : Save(path_)));
}

void LEffectChainWindow::New() {
    if (!MayReplace()) return;
    values_->SetEffect(nullptr);
    list_->Effects().SetChain({});
    path_.clear();
    modified_ = false;
    if (preview_) preview_->Stop();
    ShowFile();
    ShowChosen();
    ShowTransport();
}

void LEffectChainWindow::AskAndLoad() {
    const QPointer<LEffectChainWindow> self(this);
    const QString path = AskChainToOpen(this, QStringLiteral("Load Effect Chain"));
    if (self && !path.isEmpty()) Load(path);
}

bool LEffectChainWindow::Load(const QString& path) {
    LEffectChain read;
    if (const LChainRead result = ReadEffectChainFile(path, read); result != LChainRead::kRead) {
        const LChainMessage message = ChainMessage(result);
        Tell(message.title, message.text);
        return false;
    }
    if (!MayReplace()) return false;
    const int row = list_->Row();
    read.SetFormat(format_);
    values_->SetEffect(nullptr);
    list_->Effects().SetChain(std::move(read));
    list_->Choose(row);
    path_ = path;
    modified_ = false;
    ShowFile();
    ShowChosen();
    ShowTransport();
    if (preview_ && preview_->State() != LPreviewState::kStopped) reread_.start();
    return true;
}

bool LEffectChainWindow::AskAndSave() {
    if (Chain().Count() == 0) return Save({});
    const QPointer<LEffectChainWindow> self(this);
    const QString path = AskChainToSave(this, path_);
    return self && !path.isEmpty() && Save(path);
}

bool LEffectChainWindow::Save(const QString& path) {
    const LChainWrite result = WriteEffectChainFile(path, Chain());
    if (result != LChainWrite::kWritten) {
        const LChainMessage message = ChainMessage(result);
        Tell(message.title, message.text);
        return false;
    }
    path_ = path;
    modified_ = false;
    ShowFile();
    return true;
}

void LEffectChainWindow::Keep() const {
    KeepChain({Chain(), path_, modified_});
    SetSettingInt(width(), kChainSection, QStringLiteral("Width"));
    SetSettingInt(height(), kChainSection, QStringLiteral("Height"));
}

void LEffectChainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!ChainFilesOf(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

// After the drop has been answered: the other program does not wait for a question.
void LEffectChainWindow::dropEvent(QDropEvent* event) {
    const QString path = ChainFilesOf(event->mimeData()).value(0);
    if (path.isEmpty()) return;
    event->acceptProposedAction();
    QMetaObject::invokeMethod(
        this, [this, path] { Load(path); }, Qt::QueuedConnection);
}

}  // namespace ondarix
