// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/effect_param_control.h"

#include <QLineEdit>
#include <QtTest/QTest>

#include "effects/effect_table.h"
#include "gtest/gtest.h"

namespace ondarix {
namespace {

LEffectParam Number(LParamType type, double least, double most, const char* unit) {
    LEffectParam param;
    param.type = type;
    param.minimum = param.value = least;
    param.maximum = most;
    param.id = QStringLiteral("value");
    param.name = QStringLiteral("Value");
    param.unit = QString::fromUtf8(unit);
    return param;
}

QSlider& SliderOf(LParamControl& control) { return *control.findChild<QSlider*>(); }

TEST(ParamControl, SliderAndFieldReachBothEndsAndStayInTheRange) {
    const LEffectParam params[] = {
        Number(LParamType::kInt, 1, 400, "%"),        Number(LParamType::kInt, 300, 10000, "Hz"),
        Number(LParamType::kDouble, 0.001, 10, "Hz"), Number(LParamType::kDouble, 0, 2, "Hz"),
        Number(LParamType::kU16, 1, 5000, "Hz"),      Number(LParamType::kInt64, 1, 4000, "ms"),
        Number(LParamType::kDouble, -60, 0, "dB"),    Number(LParamType::kDouble, 50, 400, "%"),
        Number(LParamType::kDb, -60, 12, "dB"),
    };
    for (const LEffectParam& param : params) {
        LParamControl control(param);
        QSlider& slider = SliderOf(control);
        double last = control.Value();
        double told = -1;
        QObject::connect(&control, &LParamControl::Changed, &control, [&](double value) { told = value; });
        for (int place = 1; place <= slider.maximum(); ++place) {
            slider.setValue(place);
            EXPECT_GE(control.Value(), last) << "to the right is more";
            EXPECT_LE(control.Value(), param.maximum);
            last = control.Value();
        }
        EXPECT_EQ(control.Value(), param.maximum) << param.unit.toStdString();
        EXPECT_EQ(told, param.maximum);
        slider.setValue(0);
        EXPECT_EQ(control.Value(), param.minimum);
        EXPECT_EQ(param.type == LParamType::kDouble || control.Value() == std::floor(control.Value()), true);
    }
    // A logarithm for frequencies: the middle of the way is the geometric mean.
    LParamControl frequency(Number(LParamType::kInt, 20, 20000, "Hz"));
    SliderOf(frequency).setValue(SliderOf(frequency).maximum() / 2);
    EXPECT_NEAR(frequency.Value(), std::sqrt(20.0 * 20000), 1);
}

TEST(ParamControl, ValuesFinerThanTheFieldAreKept) {
    LParamControl control(Number(LParamType::kDouble, -60, 0, "dB"));
    int told = 0;
    QObject::connect(&control, &LParamControl::Changed, &control, [&] { ++told; });
    control.SetValue(-12.0412345);
    EXPECT_EQ(control.Value(), -12.0412345);
    EXPECT_EQ(told, 0) << "only the user is told of";
    auto* field = control.findChild<QDoubleSpinBox*>();
    field->selectAll();
    QTest::keyClicks(field, QStringLiteral("-7.5"));
    EXPECT_EQ(control.Value(), -7.5);
    EXPECT_GT(told, 0);
}

TEST(ParamControl, MinusInfinityIsTypedAndShown) {
    LParamControl control(Number(LParamType::kDb, -60, 12, "dB"));
    auto* field = control.findChild<LDBEdit*>();
    ASSERT_NE(field, nullptr);
    field->selectAll();
    QTest::keyClicks(field, QStringLiteral("-inf"));
    EXPECT_EQ(control.Value(), kMinusInfinityDb);
    control.SetValue(-6);
    EXPECT_EQ(field->text(), QStringLiteral("-6 dB"));
    control.SetValue(kMinusInfinityDb);
    EXPECT_EQ(field->text(), QStringLiteral("-inf dB"));
    QTest::keyClick(field, Qt::Key_Up);
    EXPECT_EQ(control.Value(), -60);
    field->selectAll();
    QTest::keyClicks(field, QStringLiteral("x-i7"));
    EXPECT_NE(control.Value(), kMinusInfinityDb);
}

TEST(ParamControl, EveryParameterOfEveryEffectHasAControlWithAName) {
    for (const LEffectRow& row : EffectTable()) {
        if (!row.make) continue;
        const auto effect = row.make();
        effect->SetFormat({44100, 6});
        QWidget owner;
        QFormLayout form(&owner);
        int changes = 0;
        const auto controls = AddParamControls(form, *effect, &owner, [&] { ++changes; });
        ASSERT_EQ(controls.size(), effect->GetParameterCount()) << row.id;
        for (LParamControl* control : controls) {
            EXPECT_FALSE(control->Field()->accessibleName().isEmpty()) << row.id;
            EXPECT_FALSE(control->Field()->objectName().isEmpty()) << row.id;
        }
        LEffectParam param;
        for (int i = 0; i < controls.size(); ++i) {
            auto* slider = controls[i]->findChild<QSlider*>();
            if (!slider) continue;
            slider->setValue(slider->maximum());
            slider->setValue(slider->minimum());
            ASSERT_TRUE(effect->GetParameterInfo(i, param));
            EXPECT_EQ(param.value, controls[i]->Value()) << row.id << " " << param.id.toStdString();
        }
    }
}

}  // namespace
}  // namespace ondarix
