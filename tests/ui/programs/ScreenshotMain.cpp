#include "persistence/SettingsKeys.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/ui/DesktopProbe.h"
#include "tests/ui/ViewFixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QStyleHints>
#include <QTest>
#include <cstdlib>
#include <filesystem>

namespace sonvale::tests {

namespace {

namespace keys = persistence::keys;

std::filesystem::path folder; ///< where the pictures go

/// Draws every screen in light and dark.
class Screenshots : public ViewFixture {
protected:
    Screenshots() {
        // Whatever moves or blinks would make each run's pictures different.
        views().appearance().overrideMotionReduced(true);
        QGuiApplication::styleHints()->setCursorFlashTime(0);
    }

    void draw(QQuickView& view, const std::string& name) {
        for (const bool isDark : {false, true}) {
            views().appearance().overrideDark(isDark);
            // A pointer that rests on a button would colour it.
            QTest::mouseMove(&view, QPoint(0, 0));
            settleViews();
            const auto file = folder / fmt::format("{}-{}.png", name, isDark ? "dark" : "light");
            EXPECT_TRUE(view.grabWindow()
                            .convertToFormat(QImage::Format_RGB32)
                            .save(QString::fromStdString(file.string()), "PNG", highestCompression))
                << file;
        }
        views().appearance().overrideDark(std::nullopt);
    }

    void denyEverything() {
        capture().setStatus(platform::CaptureStatus::denied);
        accessibility().setTrusted(false);
        tap().setPermitted(false);
        recogniser().setAuthorization(platform::SpeechAuthorization::denied);
    }
    void showLogin() {
        completeOnboardingAndStart();
        settleViews();
    }

private:
    static constexpr int highestCompression = 0; ///< Qt's "quality" of a PNG
};

} // namespace

TEST_F(Screenshots, OfEveryStepOfOnboarding) {
    denyEverything();
    for (std::int64_t step = 0; step < 12; ++step) {
        // The list shows best with something of each kind.
        if (step == 5) {
            capture().setStatus(platform::CaptureStatus::authorized);
            recogniser().setAuthorization(platform::SpeechAuthorization::authorized);
        }
        settings().set(keys::onboardingStep, step);
        auto& view = openDashboard();
        draw(view, fmt::format("onboarding-{:02}-{}", step,
                               view.rootObject()
                                   ->property("model")
                                   .value<ui::DashboardModel*>()
                                   ->onboarding()
                                   ->stepName()
                                   .toStdString()));
    }
}

TEST_F(Screenshots, OfAGrantThatWasAskedFor) {
    denyEverything();
    settings().set(keys::onboardingStep, 4);
    auto& view = openDashboard();
    click(view, "ask");
    draw(view, "onboarding-asked");
    tap().setPermitted(true);
    click(view, "checkAgain");
    draw(view, "onboarding-granted");
}

TEST_F(Screenshots, OfTheWayIn) {
    showLogin();
    auto& view = openDashboard();
    draw(view, "login-sign-in");
    type(view, "ann@example.com");
    press(view, Qt::Key_Return);
    draw(view, "login-error");
    click(view, "switchMode");
    draw(view, "login-sign-up");
    network().hangNext();
    for (const auto* field : {"password", "confirmPassword"}) {
        click(view, field);
        type(view, "long enough");
    }
    press(view, Qt::Key_Return);
    draw(view, "login-waiting");
}

TEST_F(Screenshots, OfTheMenu) {
    draw(openMenu(), "menu-idle");
    change([&] {
        state().lastTranscription =
            "Could you send me the notes from this morning, and the figures for the second quarter? I would "
            "like to go through them before we meet on Thursday.";
    });
    draw(openMenu(), "menu-transcript");
    click(openMenu(), "language");
    draw(*menu().view(), "menu-languages");
    change([&] { state().surfaceError("No audio recorded. Check your microphone."); });
    draw(openMenu(), "menu-error");
}

TEST_F(Screenshots, OfHome) {
    settings().set(keys::refreshToken, "refresh");
    rebuildState();
    showLogin();
    draw(openDashboard(), "home");
}

} // namespace sonvale::tests

/// Writes the pictures into the folder that is named. QT_SCALE_FACTOR counts.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc != 2)
        return EXIT_FAILURE;
    sonvale::tests::folder = argv[1];
    std::filesystem::create_directories(sonvale::tests::folder);
    const sonvale::tests::PrivateDisplay display(sonvale::tests::WindowManager::openbox,
                                                 {"-screen", "0", "2560x1600x24"});
    setenv("DISPLAY", display.name().c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    const sonvale::tests::TemporaryDirectory runtimeDirectory;
    setenv("XDG_RUNTIME_DIR", runtimeDirectory.path().c_str(), 1);
    unsetenv("WAYLAND_DISPLAY");
    // The desktop of whoever runs it must not show in the pictures.
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
