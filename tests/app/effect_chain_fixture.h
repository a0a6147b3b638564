// SPDX-License-Identifier: GPL-3.0-or-later
// The effect chain window beside a real frame, used by keys and clicks.
#pragma once
#include <QDropEvent>
#include <QMimeData>
#include <QUrl>

#include "app/effect_chain_window.h"
#include "app/effect_param_control.h"
#include "effect_preview_fixture.h"
#include "effects/chain_file.h"
#include "effects/ecf_bytes.h"
#include "effects/effect_table.h"
#include "list_fixture.h"

namespace ondarix {

class EffectChainWindowTest : public EffectPreviewTest {
  protected:
    void SetUp() override {
        EffectPreviewTest::SetUp();
        SetSettingString(QStringLiteral("Settings"), QStringLiteral("MultiEffectsFolder"), folder.path());
    }
    using WindowTest::In;
    template <typename T>
    static T& In(QWidget& window, const char* name) {
        T* child = window.findChild<T*>(QLatin1String(name));
        EXPECT_NE(child, nullptr) << name;
        return *child;
    }

    LEffectChainWindow& Chain() {
        auto* window = frame->findChild<LEffectChainWindow*>();
        if (!window || !window->isVisible()) {
            EXPECT_TRUE(Run(kCmdEffectChain));
            window = frame->findChild<LEffectChainWindow*>();
        }
        window->activateWindow();
        EXPECT_TRUE(PumpUntil([&] { return window->isActiveWindow(); }));
        return *window;
    }
    void CloseChain() {
        Press("closeChain");
        EXPECT_TRUE(PumpUntil([&] { return !frame->findChild<LEffectChainWindow*>(); }));
    }
    LEffectChainList& List() { return In<LEffectChainList>(Chain(), "effectChain"); }
    QPushButton& Button(const char* name) { return In<QPushButton>(Chain(), name); }
    void Press(const char* name) { QTest::mouseClick(&Button(name), Qt::LeftButton); }
    QString Text(const char* label) { return In<QLabel>(Chain(), label).text(); }
    void Add(const char* id) {
        auto& offered = In<QComboBox>(Chain(), "effectToAdd");
        offered.setCurrentIndex(offered.findData(QLatin1String(id)));
        Press("addEffect");
    }
    void Type(const char* field, const char* text) {
        auto& number = In<QDoubleSpinBox>(Chain(), field);
        number.setFocus();
        number.selectAll();
        QTest::keyClicks(&number, QLatin1String(text));
    }
    void AddGain(const char* percent) {
        Add("amplify");
        Type("gain", percent);
    }
    // The gains of the chain's "Amplify" effects, in order.
    std::vector<double> Gains() {
        std::vector<double> gains;
        LEffectParam param;
        for (const LEffect* effect : Chain().Chain().Effects())
            if (effect->GetType() == 1 && effect->GetParameterInfo(0, param)) gains.push_back(param.value);
        return gains;
    }
    static void Drop(QWidget& target, QPointF at, const QMimeData* data) {
        QDragEnterEvent enter(at.toPoint(), Qt::MoveAction, data, Qt::LeftButton, {});
        QApplication::sendEvent(&target, &enter);
        EXPECT_TRUE(enter.isAccepted());
        QDragMoveEvent move(at.toPoint(), Qt::MoveAction, data, Qt::LeftButton, {});
        QApplication::sendEvent(&target, &move);
        QDropEvent drop(at, Qt::MoveAction, data, Qt::LeftButton, {});
        QApplication::sendEvent(&target, &drop);
    }
    // Names the file in a dialog for files and agrees.
    static std::function<void(QWidget&)> Named(const QString& path) {
        return [path](QWidget& dialog) {
            auto& name = In<QLineEdit>(dialog, "fileNameEdit");
            name.setText(path);
            QTest::keyClick(&name, Qt::Key_Return);
        };
    }
    QString Put(const char* name, const QByteArray& bytes) const {
        QFile file(In(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return In(name);
    }
    LSoundDocument& Document() { return frame->ActiveSound()->Document(); }
    std::vector<float> Now() { return SamplesOf(Document().sound); }
    // What a stack of gains over all channels, made by hand, gives.
    static std::vector<float> Stacked(const LSound& sound, const std::vector<int>& percents) {
        LEffectList list;
        std::vector<const LEffect*> effects;
        for (const int percent : percents) {
            list.push_back(MakeEffect(1));
            list.back()->SetParameter(0, percent);
            effects.push_back(list.back().get());
        }
        LSoundSourceRef source = WrapInEffects(OpenForEffects(sound), effects);
        std::vector<float> samples(static_cast<size_t>(sound.Length()) * sound.channels);
        source->Read(samples.data(), static_cast<int32_t>(sound.Length()));
        return samples;
    }
};

}  // namespace ondarix
