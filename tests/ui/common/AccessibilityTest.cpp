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

/// What a user needs who does not see the screen or does not use a mouse, on every screen.
class Accessibility : public tests::ViewFixture {
protected:
    static void expectNames(QQuickView& view, const std::string& screen) {
        for (auto* control : controls(view)) {
            const auto name = screen + ": " + nameOf(control);
            auto* told = QAccessible::queryAccessibleInterface(control);
            ASSERT_TRUE(told) << name;
            EXPECT_FALSE(told->text(QAccessible::Name).isEmpty()) << name;
            EXPECT_FALSE(told->text(QAccessible::Name).contains(QLatin1Char('<'))) << name;
            EXPECT_NE(told->role(), QAccessible::NoRole) << name;
            EXPECT_TRUE(told->state().focusable) << name;
        }
    }

    /// Walks once around with Tab: each control once, and rows beside them, the one that has the keyboard
    /// being marked and no other, in the order of reading.
    void expectTabOrder(QQuickView& view, const std::string& screen) {
        const auto all = controls(view);
        std::vector<QQuickItem*> walked;
        const std::size_t most = 2 * all.size() + 10;
        for (std::size_t i = 0; i < most; ++i) {
            QTest::keyClick(&view, Qt::Key_Tab);
            settleViews();
            auto* focused = view.activeFocusItem();
            ASSERT_TRUE(focused) << screen;
            if (std::ranges::find(walked, focused) != walked.end())
                break;
            walked.push_back(focused);
            EXPECT_EQ(visibleRings(view.contentItem()), 1) << screen << ": " << nameOf(focused);
        }
        EXPECT_LT(walked.size(), most) << screen;
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

TEST_F(Accessibility, OfTheGrantsInTheList) {
    tap().setPermitted(false);
    settings().set(keys::onboardingStep, 5);
    auto& view = openDashboard();
    const auto description = [&](const char* grant) {
        auto* row = item(view, std::string("permission.") + grant).parentItem();
        auto* told = QAccessible::queryAccessibleInterface(row);
        return told ? told->text(QAccessible::Name).toStdString() + ": " +
                          told->text(QAccessible::Description).toStdString()
                    : std::string("nothing");
    };
    EXPECT_EQ(description("Microphone"), "Microphone: Granted");
    EXPECT_EQ(description("Input Monitoring"), "Input Monitoring: Not granted");
}

TEST_F(Accessibility, OfTheWayIn) {
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

TEST_F(Accessibility, NamesThePasswordsAlsoWhileTheyAreHidden) {
    completeOnboardingAndStart();
    auto& view = openDashboard();
    click(view, "switchMode");
    for (const auto& [field, name] :
         {std::pair("password", "Password"), std::pair("confirmPassword", "Confirm password")}) {
        const auto children = item(view, field).childItems();
        const auto input = std::ranges::find_if(
            children, [](const QQuickItem* each) { return each->inherits("QQuickTextField"); });
        ASSERT_NE(input, children.end()) << field;
        // As Qt marks it once there is assistive technology.
        QQmlProperty mark(*input, QStringLiteral("Accessible.passwordEdit"), qmlContext(*input));
        ASSERT_TRUE(mark.write(true));
        for (const bool isRevealed : {false, true, false}) {
            item(view, field).setProperty("isRevealed", isRevealed);
            settleViews();
            auto* told = QAccessible::queryAccessibleInterface(*input);
            ASSERT_TRUE(told) << field;
            EXPECT_EQ(told->text(QAccessible::Name).toStdString(), name) << isRevealed;
            EXPECT_EQ(told->role(), QAccessible::EditableText);
            EXPECT_EQ(told->state().passwordEdit, !isRevealed) << field;
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

TEST_F(Accessibility, OfTheSheetOfASnippet) {
    startSignedIn();
    auto& view = openDashboard();
    click(view, "sidebar.snippets");
    click(view, "addNew");
    auto* sheet = QAccessible::queryAccessibleInterface(&item(view, "sheet"));
    ASSERT_TRUE(sheet);
    EXPECT_EQ(sheet->role(), QAccessible::Dialog);
    EXPECT_EQ(sheet->text(QAccessible::Name), QStringLiteral("Add Snippet"));
}

TEST_F(Accessibility, OfARowOfTheHistory) {
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
    auto* told = QAccessible::queryAccessibleInterface(&item(view, "language"));
    ASSERT_TRUE(told && told->actionInterface());
    EXPECT_TRUE(told->actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
    told->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
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
