#include "persistence/SettingsKeys.h"
#include "tests/ui/common/ViewFixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlProperty>
#include <QTest>
#include <algorithm>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;

/// Checks on every screen for users who do not see the screen or do not use a mouse.
class Accessibility : public tests::ViewFixture {
protected:
    static void expectNames(QQuickView& view, const std::string& screen) {
        for (auto* control : controls(view)) {
            const auto name = screen + ": " + nameOf(control);
            auto* accessible = QAccessible::queryAccessibleInterface(control);
            ASSERT_TRUE(accessible) << name;
            EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty()) << name;
            EXPECT_FALSE(accessible->text(QAccessible::Name).contains(QLatin1Char('<'))) << name;
            EXPECT_NE(accessible->role(), QAccessible::NoRole) << name;
            EXPECT_TRUE(accessible->state().focusable) << name;
        }
    }

    /// Walks once around with Tab. It must reach each control once, in reading order, and may also reach
    /// rows. Only the item with the keyboard is marked.
    void expectTabOrder(QQuickView& view, const std::string& screen) {
        const auto all = controls(view);
        std::vector<QQuickItem*> walked;
        const std::size_t maxSteps = 2 * all.size() + 10;
        for (std::size_t i = 0; i < maxSteps; ++i) {
            QTest::keyClick(&view, Qt::Key_Tab);
            settleViews();
            auto* focused = view.activeFocusItem();
            ASSERT_TRUE(focused) << screen;
            if (std::ranges::find(walked, focused) != walked.end())
                break;
            walked.push_back(focused);
            EXPECT_EQ(visibleRings(view.contentItem()), 1) << screen << ": " << nameOf(focused);
        }
        EXPECT_LT(walked.size(), maxSteps) << screen;
        for (auto* control : all)
            EXPECT_NE(std::ranges::find(walked, control), walked.end())
                << screen << ": " << nameOf(control) << " is not among " << namesOf(walked);

        const auto first = std::ranges::min_element(walked, isReadBefore);
        std::ranges::rotate(walked, first);
        EXPECT_TRUE(std::ranges::is_sorted(walked, isReadBefore)) << screen << ": " << namesOf(walked);
    }

    void expectUsable(QQuickView& view, const std::string& screen) {
        expectNames(view, screen);
        expectTabOrder(view, screen);
    }

private:
    static QPointF middle(const QQuickItem* item) { return item->mapToScene(item->boundingRect().center()); }
    static bool isInSidebar(const QQuickItem* item) {
        while (item && item->objectName() != QLatin1String("sidebar"))
            item = item->parentItem();
        return item;
    }
    static bool isReadBefore(const QQuickItem* one, const QQuickItem* other) {
        if (isInSidebar(one) != isInSidebar(other))
            return isInSidebar(one);
        constexpr double sameLine = 20;
        const auto a = middle(one);
        const auto b = middle(other);
        return std::abs(a.y() - b.y()) > sameLine ? a.y() < b.y() : a.x() < b.x();
    }
    static int visibleRings(QQuickItem* from) {
        int count = from->objectName() == QLatin1String("focusRing") && from->isVisible() ? 1 : 0;
        for (auto* child : from->childItems())
            count += visibleRings(child);
        return count;
    }
    static std::string nameOf(const QQuickItem* item) {
        for (; item; item = item->parentItem()) {
            if (!item->objectName().isEmpty())
                return item->objectName().toStdString();
        }
        return "nothing";
    }
    static std::string namesOf(const std::vector<QQuickItem*>& items) {
        std::string names;
        for (const auto* item : items)
            names += nameOf(item) + " ";
        return names;
    }
};

} // namespace

TEST_F(Accessibility, OfEveryStepOfOnboarding) {
    capture().setStatus(platform::CaptureStatus::denied);
    accessibility().setTrusted(false);
    tap().setPermitted(false);
    recognizer().setAuthorization(platform::SpeechAuthorization::denied);
    for (std::int64_t step = 0; step < 12; ++step) {
        settings().set(keys::onboardingStep, step);
        auto& view = openDashboard();
        expectUsable(view, fmt::format("step {}", step));
        if (isShown(view, "ask")) {
            click(view, "ask");
            expectUsable(view, fmt::format("step {}, asked", step));
        }
    }
}

TEST_F(Accessibility, OfThePermissionsInTheList) {
    tap().setPermitted(false);
    settings().set(keys::onboardingStep, 5);
    auto& view = openDashboard();
    const auto description = [&](const char* name) {
        auto* row = item(view, std::string("permission.") + name).parentItem();
        auto* accessible = QAccessible::queryAccessibleInterface(row);
        return accessible ? accessible->text(QAccessible::Name).toStdString() + ": " +
                                accessible->text(QAccessible::Description).toStdString()
                          : std::string("nothing");
    };
    EXPECT_EQ(description("Microphone"), "Microphone: Granted");
    EXPECT_EQ(description("Input Monitoring"), "Input Monitoring: Not granted");
}

TEST_F(Accessibility, OfSignIn) {
    completeOnboardingAndStart();
    auto& view = openDashboard();
    expectUsable(view, "sign in");
    click(view, "submit");
    auto* error = QAccessible::queryAccessibleInterface(&item(view, "localError"));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->role(), QAccessible::AlertMessage);
    EXPECT_EQ(error->text(QAccessible::Name), QStringLiteral("Please enter your email address."));
    click(view, "switchMode");
    expectUsable(view, "sign up");
}

TEST_F(Accessibility, NamesThePasswordFieldsWhileTheyAreHidden) {
    completeOnboardingAndStart();
    auto& view = openDashboard();
    click(view, "switchMode");
    for (const auto& [field, name] :
         {std::pair("password", "Password"), std::pair("confirmPassword", "Confirm password")}) {
        const auto children = item(view, field).childItems();
        const auto input = std::ranges::find_if(
            children, [](const QQuickItem* each) { return each->inherits("QQuickTextField"); });
        ASSERT_NE(input, children.end()) << field;
        // Qt sets this while assistive technology is running.
        QQmlProperty mark(*input, QStringLiteral("Accessible.passwordEdit"), qmlContext(*input));
        ASSERT_TRUE(mark.write(true));
        for (const bool isRevealed : {false, true, false}) {
            item(view, field).setProperty("isRevealed", isRevealed);
            settleViews();
            auto* accessible = QAccessible::queryAccessibleInterface(*input);
            ASSERT_TRUE(accessible) << field;
            EXPECT_EQ(accessible->text(QAccessible::Name).toStdString(), name) << isRevealed;
            EXPECT_EQ(accessible->role(), QAccessible::EditableText);
            EXPECT_EQ(accessible->state().passwordEdit, !isRevealed) << field;
        }
    }
}

TEST_F(Accessibility, OfEveryTab) {
    settings().set(keys::refreshToken, "refresh");
    capture().setStatus(platform::CaptureStatus::denied);
    rebuildState();
    completeOnboardingAndStart();
    for (const auto* trigger : {"one", "two"})
        state().modelContext->insert(persistence::Snippet{.trigger = trigger, .content = "content"});
    state().modelContext->save();
    auto& view = openDashboard();
    for (const auto* tab : {"home", "snippets", "style", "scratchpad", "settings", "help"}) {
        click(view, std::string("sidebar.") + tab);
        expectUsable(view, tab);
    }
}

TEST_F(Accessibility, OfTheSnippetSheet) {
    startSignedIn();
    auto& view = openDashboard();
    click(view, "sidebar.snippets");
    click(view, "addNew");
    auto* sheet = QAccessible::queryAccessibleInterface(&item(view, "sheet"));
    ASSERT_TRUE(sheet);
    EXPECT_EQ(sheet->role(), QAccessible::Dialog);
    EXPECT_EQ(sheet->text(QAccessible::Name), QStringLiteral("Add Snippet"));
}

TEST_F(Accessibility, OfAHistoryRow) {
    startSignedIn();
    auto& view = openDashboard();
    change([&] { dictate("some words"); });
    auto* row = QAccessible::queryAccessibleInterface(&item(view, "transcription.0"));
    ASSERT_TRUE(row && row->actionInterface());
    EXPECT_EQ(row->role(), QAccessible::ListItem);
    EXPECT_TRUE(row->text(QAccessible::Name).endsWith(QStringLiteral("some words")));
    row->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    settleViews();
    EXPECT_EQ(pasteboard().text(), "some words");
}

TEST_F(Accessibility, PressesButtons) {
    auto& view = openMenu();
    auto* accessible = QAccessible::queryAccessibleInterface(&item(view, "language"));
    ASSERT_TRUE(accessible && accessible->actionInterface());
    EXPECT_TRUE(
        accessible->actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
    accessible->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    settleViews();
    EXPECT_TRUE(isShown(view, "languages"));
}

TEST_F(Accessibility, OfTheMenu) {
    expectUsable(openMenu(), "menu");
    change([&] { state().lastTranscription = "words"; });
    auto& view = openMenu();
    expectUsable(view, "menu with a transcript");
    click(view, "language");
    expectNames(view, "menu with languages");
}

} // namespace sonvale::ui
