#include "tests/ui/common/ViewFixture.h"
#include "ui/menu/TrayIconSymbol.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QQmlComponent>
#include <QQmlEngine>
#include <algorithm>
#include <cmath>
#include <optional>

namespace sonvale::ui {

namespace {

/// Relative luminance and contrast ratio as WCAG 2.1 defines them.
double luminance(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax(luminance(one), luminance(other));
    return (lighter + 0.05) / (darker + 0.05);
}

class Theme : public tests::ViewFixture {
protected:
    Theme() {
        QQmlComponent component(qmlEngine(openDashboard().rootObject()));
        component.setData("import QtQml\nimport SonVale\nQtObject { readonly property var theme: Theme }",
                          QUrl());
        holder_.reset(component.create());
        EXPECT_TRUE(holder_) << component.errorString().toStdString();
    }

    QColor color(const char* name) {
        const auto value = holder_->property("theme").value<QObject*>()->property(name);
        EXPECT_TRUE(value.canConvert<QColor>()) << name;
        return value.value<QColor>();
    }
    void setDark(bool isDark) { views().appearance().overrideDark(isDark); }

private:
    std::unique_ptr<QObject> holder_;
};

} // namespace

TEST_F(Theme, IsLegibleInLightAndDark) {
    constexpr double legible = 4.5;
    for (const bool isDark : {false, true}) {
        setDark(isDark);
        for (const auto* ground : {"window", "surface", "raised"}) {
            for (const auto* text : {"text", "secondaryText", "accent", "good", "caution", "danger"})
                EXPECT_GE(contrast(color(text), color(ground)), legible)
                    << text << " on " << ground << (isDark ? ", dark" : ", light");
        }
        const auto accent = color("accent");
        // Hovered and pressed buttons are darker.
        for (const int factor : {100, 107, 115})
            EXPECT_GE(contrast(color("textOnAccent"), accent.darker(factor)), legible) << factor;
        EXPECT_GE(contrast(color("text"), color("hairline")), legible) << "a pressed row";
    }
}

TEST_F(Theme, MarksFieldsAndTheKeyboardFocusVisibly) {
    constexpr double visible = 3; // for everything except text
    for (const bool isDark : {false, true}) {
        setDark(isDark);
        for (const auto* ground : {"window", "surface"}) {
            EXPECT_GE(contrast(color("fieldLine"), color(ground)), visible) << ground << isDark;
            EXPECT_GE(contrast(color("accent"), color(ground)), visible) << ground << isDark;
        }
        EXPECT_GE(contrast(color("secondaryText"), color("hairline")), visible) << "a pressed symbol";
    }
}

TEST_F(Theme, SharesTheStateColorsWithTheTrayIcon) {
    using platform::RecordingState;
    setDark(false);
    for (const auto& [state, name] :
         {std::pair(RecordingState::idle, "secondaryText"), std::pair(RecordingState::recording, "accent"),
          std::pair(RecordingState::processing, "good")})
        EXPECT_EQ(QColor(trayIconImage(state, 32).pixel(16, 3)), color(name)) << name;
}

TEST_F(Theme, HasAYellowHue) {
    for (const bool isDark : {false, true}) {
        setDark(isDark);
        const auto yellow = color("yellow");
        EXPECT_GE(yellow.hsvHue(), 43);
        EXPECT_LE(yellow.hsvHue(), 65);
        EXPECT_GT(yellow.hsvSaturationF(), 0.6);
        EXPECT_GT(yellow.valueF(), 0.85);
    }
}

TEST_F(Theme, FollowsTheAppearanceWhileWindowsAreOpen) {
    setDark(false);
    const auto light = color("window");
    setDark(true);
    EXPECT_LT(luminance(color("window")), luminance(light));
    setDark(false);
    EXPECT_EQ(color("window"), light);
}

TEST_F(Theme, FollowsTheDesktopWhileWindowsAreOpen) {
    const auto desktop = [&](std::optional<bool> isDark, bool isMotionReduced) {
        desktopAppearance().setPreferences({.isDark = isDark, .isMotionReduced = isMotionReduced});
    };
    desktop(false, false);
    const auto light = color("window");
    EXPECT_FALSE(views().appearance().isMotionReduced());
    desktop(true, true);
    EXPECT_LT(luminance(color("window")), luminance(light));
    EXPECT_TRUE(views().appearance().isMotionReduced());
    // The display's palette is light.
    desktop(std::nullopt, false);
    EXPECT_EQ(color("window"), light);
}

} // namespace sonvale::ui
