// SPDX-License-Identifier: GPL-3.0-or-later
// Dialogs that are run from their commands and answered by keys and mouse.
#pragma once
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>

#include "app/effect_dialog.h"
#include "effect_preview_fixture.h"
#include "list_fixture.h"

namespace ondarix {

class MixingTest : public EffectPreviewTest {
  protected:
    using Wave = std::vector<float>;
    using WindowTest::In;
    template <typename T>
    static T& In(QWidget& dialog, const char* name) {
        T* child = dialog.findChild<T*>(QLatin1String(name));
        EXPECT_NE(child, nullptr) << name;
        return *child;
    }
    static LEffectPreview& PreviewOf(QWidget& dialog) {
        return static_cast<LEffectDialog&>(dialog).Preview();
    }
    static void TypeNumber(QWidget& dialog, const char* name, const char* text) {
        auto& field = In<QAbstractSpinBox>(dialog, name);
        field.setFocus();
        field.selectAll();
        QTest::keyClicks(&field, QLatin1String(text));
    }
    static void Choose(QWidget& dialog, const char* name, const char* text) {
        auto& combo = In<QComboBox>(dialog, name);
        const int index = combo.findText(QLatin1String(text));
        ASSERT_GE(index, 0) << text;
        combo.setFocus();
        QTest::keyClick(&combo, Qt::Key_Home);
        for (int i = 0; i < index; ++i) QTest::keyClick(&combo, Qt::Key_Down);
        // An entry that acts lets the list go back to its first one.
    }
    static void Click(QWidget& dialog, const char* button) {
        QTest::mouseClick(&In<QPushButton>(dialog, button), Qt::LeftButton);
    }
    LSoundDocument& Document() { return frame->ActiveSound()->Document(); }
    Wave Now() { return SamplesOf(Document().sound); }
    static Wave Read(LSoundSource& source) {
        Wave samples(static_cast<size_t>(source.GetLength()) * source.channels);
        source.Seek(0);
        source.Read(samples.data(), static_cast<int32_t>(source.GetLength()));
        return samples;
    }
    void Answered(int id, std::vector<std::function<void(QWidget&)>> answers) {
        const LModalAnswers modal(std::move(answers));
        EXPECT_TRUE(Run(id)) << id;
        EXPECT_TRUE(WorksOff());
    }
    // One step back: `before` again, and nothing more to undo.
    void ExpectOneStep(const Wave& before, const char* label) {
        EXPECT_EQ(Document().UndoLabel(), QLatin1String(label));
        EXPECT_TRUE(Run(kCmdUndo));
        EXPECT_EQ(Now(), before);
        EXPECT_FALSE(Document().CanUndo());
    }
};

}  // namespace ondarix
