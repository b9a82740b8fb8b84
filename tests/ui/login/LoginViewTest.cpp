#include "base/Json.h"
#include "persistence/SettingsKeys.h"
#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/common/ViewFixture.h"

#include <gtest/gtest.h>

#include <QTest>
#include <algorithm>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;
using platform::UrlError;
using tests::eventuallyInQt;
using Texts = std::vector<std::string>;

constexpr const char* session =
    R"({"access_token":"a","refresh_token":"r","token_type":"bearer","user":{"email":"ann@example.com"}})";

class LoginView : public tests::ViewFixture {
protected:
    LoginView() { completeOnboardingAndStart(); }

    void fill(QQuickView& view, const std::string& field, const std::string& text) {
        click(view, field);
        QTest::keyClick(&view, Qt::Key_A, Qt::ControlModifier);
        press(view, Qt::Key_Delete);
        type(view, text);
    }
    /// Returns the error after the user has submitted these fields, without a request.
    std::string errorOf(QQuickView& view, const std::string& email, const std::string& password,
                        const std::string& confirmation = "") {
        fill(view, "email", email);
        fill(view, "password", password);
        if (isShown(view, "confirmPassword"))
            fill(view, "confirmPassword", confirmation);
        click(view, "submit");
        EXPECT_TRUE(network().requests().empty());
        return text(view, "localError");
    }
    /// Returns the error after an answer of the service.
    std::string errorAfter(int status, const std::string& body) {
        network().answerNext(status, body);
        return errorOfService();
    }
    std::string errorOfService() {
        auto& view = openDashboard();
        fill(view, "email", "ann@example.com");
        fill(view, "password", "long enough");
        click(view, "submit");
        return text(view, "localError");
    }
    tests::FakeRequest& request() {
        const auto last = network().lastRequest();
        if (!last)
            throw std::runtime_error("the service was not asked");
        return *last; // owned by the network
    }
    base::Json lastBody() { return base::Json::parse(request().body.value()); }

    static QString shownText(QQuickView& view, const std::string& field) {
        return input(view, field).property("displayText").toString();
    }
    static QQuickItem& input(QQuickView& view, const std::string& field) {
        for (auto* each : item(view, field).childItems()) {
            if (each->inherits("QQuickTextField"))
                return *each;
        }
        throw std::runtime_error("no field to type into");
    }
    static QQuickItem& eye(QQuickView& view, const std::string& field) {
        for (auto* each : item(view, field).childItems()) {
            if (each->objectName() == QLatin1String("reveal"))
                return *each;
        }
        throw std::runtime_error("no eye");
    }
    void clickEye(QQuickView& view, const std::string& field) {
        auto& button = eye(view, field);
        QTest::mouseClick(&view, Qt::LeftButton, {},
                          button.mapToScene(QPointF(button.width() / 2, button.height() / 2)).toPoint());
        settleViews();
    }
    static std::string placeholder(QQuickView& view, const std::string& field) {
        return item(view, field).property("placeholder").toString().toStdString();
    }
};

} // namespace

TEST_F(LoginView, ShowsItsTextsInBothModes) {
    auto& view = openDashboard();
    const auto placeholders = [&] {
        Texts texts;
        for (const auto* field : {"email", "password", "confirmPassword"}) {
            if (isShown(view, field))
                texts.push_back(placeholder(view, field));
        }
        return texts;
    };
    EXPECT_EQ(text(view, "title"), "Sign In");
    EXPECT_EQ(text(view, "subtitle"), "Sign in to your Son Vale account.");
    EXPECT_EQ(placeholders(), (Texts{"Email address", "Password"}));
    EXPECT_EQ(text(view, "submit"), "Sign In");
    EXPECT_EQ(text(view, "switchMode"), "Don't have an account? <b>Sign up</b>");
    EXPECT_FALSE(isShown(view, "localError"));

    click(view, "switchMode");
    EXPECT_EQ(text(view, "title"), "Create Account");
    EXPECT_EQ(text(view, "subtitle"), "Create an account to start using Son Vale.");
    EXPECT_EQ(placeholders(), (Texts{"Email address", "Password", "Confirm password"}));
    EXPECT_EQ(text(view, "submit"), "Create Account");
    EXPECT_EQ(text(view, "switchMode"), "Already have an account? <b>Sign in</b>");
    const auto texts = readable(view);
    for (const auto* each : {"Email address", "Password", "Confirm password"})
        EXPECT_EQ(std::ranges::count(texts, each), 1) << each << " stands in its field";
}

TEST_F(LoginView, ShowsTheFirstError) {
    auto& view = openDashboard();
    constexpr const char* noEmail = "Please enter your email address.";
    constexpr const char* badEmail = "Please enter a valid email address.";
    constexpr const char* shortPassword = "Password must be at least 8 characters.";
    EXPECT_EQ(errorOf(view, "", ""), noEmail);
    EXPECT_EQ(errorOf(view, "   ", "long enough"), noEmail);
    EXPECT_EQ(errorOf(view, "ann.example.com", "short"), badEmail);
    EXPECT_EQ(errorOf(view, "a@", "1234567"), shortPassword);
    EXPECT_EQ(errorOf(view, "a@", "שלוםשלו"), shortPassword) << "characters count, not bytes";

    click(view, "switchMode");
    EXPECT_EQ(errorOf(view, "", "short", "other"), noEmail);
    EXPECT_EQ(errorOf(view, "ann", "short", "other"), badEmail);
    EXPECT_EQ(errorOf(view, "a@", "short", "other"), shortPassword);
    EXPECT_EQ(errorOf(view, "a@", "long enough", "long enough "), "Passwords do not match.");
}

TEST_F(LoginView, ClearsTheErrorAndTheConfirmationWhenTheModeChanges) {
    auto& view = openDashboard();
    click(view, "switchMode");
    EXPECT_EQ(errorOf(view, "a@", "long enough", "other words"), "Passwords do not match.");
    click(view, "switchMode");
    EXPECT_FALSE(isShown(view, "localError"));
    click(view, "switchMode");
    EXPECT_EQ(text(view, "email"), "a@");
    EXPECT_EQ(text(view, "password"), "long enough");
    EXPECT_EQ(text(view, "confirmPassword"), "");
}

TEST_F(LoginView, ShowsAPasswordWhileItsEyeIsOpen) {
    auto& view = openDashboard();
    fill(view, "password", "long enough");
    EXPECT_FALSE(shownText(view, "password").contains(QLatin1Char('l')));
    EXPECT_EQ(eye(view, "password").property("symbol"), QStringLiteral("eye.slash"));
    clickEye(view, "password");
    EXPECT_EQ(shownText(view, "password"), QStringLiteral("long enough"));
    EXPECT_EQ(eye(view, "password").property("symbol"), QStringLiteral("eye"));
    clickEye(view, "password");
    EXPECT_FALSE(shownText(view, "password").contains(QLatin1Char('l')));
    EXPECT_FALSE(eye(view, "email").isVisible());
}

TEST_F(LoginView, SignsInAndShowsHome) {
    network().answerNext(200, session);
    auto& view = openDashboard();
    fill(view, "email", " \tann@example.com  ");
    fill(view, "password", " pass word ");
    click(view, "submit");
    EXPECT_EQ(request().url, "https://api.sonvale.com/auth/login");
    EXPECT_EQ(lastBody(), (base::Json{{"email", "ann@example.com"}, {"password", " pass word "}}));
    EXPECT_TRUE(isShown(view, "home"));
    EXPECT_FALSE(isShown(view, "login"));
    EXPECT_EQ(settings().stored(keys::userEmail), "ann@example.com");
}

TEST_F(LoginView, CreatesAnAccountByKeyboardOnly) {
    network().answerNext(200, session);
    auto& view = openDashboard();
    EXPECT_EQ(focused(view), "email");
    Texts order;
    for (int i = 0; i < 5; ++i) {
        order.push_back(focused(view));
        press(view, Qt::Key_Tab);
    }
    EXPECT_EQ(order, (Texts{"email", "password", "reveal", "submit", "switchMode"}));
    press(view, Qt::Key_Backtab);
    EXPECT_EQ(focused(view), "switchMode");
    press(view, Qt::Key_Space);
    EXPECT_EQ(text(view, "title"), "Create Account");

    press(view, Qt::Key_Tab);
    EXPECT_EQ(focused(view), "email");
    type(view, "ann@example.com");
    press(view, Qt::Key_Tab);
    type(view, "long enough");
    press(view, Qt::Key_Tab);
    press(view, Qt::Key_Tab);
    EXPECT_EQ(focused(view), "confirmPassword");
    type(view, "long enough");
    press(view, Qt::Key_Return);
    EXPECT_EQ(request().url, "https://api.sonvale.com/auth/signup");
    EXPECT_EQ(lastBody(), (base::Json{{"email", "ann@example.com"}, {"password", "long enough"}}));
    EXPECT_TRUE(isShown(view, "home"));
}

TEST_F(LoginView, SubmitsWithReturnFromEveryField) {
    auto& view = openDashboard();
    click(view, "switchMode");
    for (const auto* field : {"email", "password", "confirmPassword"}) {
        fill(view, "email", "");
        EXPECT_EQ(errorOf(view, "a@", "short"), "Password must be at least 8 characters.");
        fill(view, "email", "");
        click(view, field);
        press(view, Qt::Key_Return);
        EXPECT_EQ(text(view, "localError"), "Please enter your email address.") << field;
    }
}

TEST_F(LoginView, IsEmptyAgainAfterSigningOut) {
    network().answerNext(200, session);
    auto& view = openDashboard();
    fill(view, "email", "ann@example.com");
    fill(view, "password", "my secret password");
    click(view, "submit");
    ASSERT_TRUE(isShown(view, "home"));
    const auto& form = *view.rootObject()->property("model").value<DashboardModel*>()->loginModel();
    EXPECT_EQ(form.email() + form.password(), QString()) << "nothing is kept while the user is signed in";

    click(view, "signOut");
    ASSERT_TRUE(isShown(view, "login"));
    EXPECT_EQ(text(view, "email"), "");
    EXPECT_EQ(text(view, "password"), "");
    clickEye(view, "password");
    EXPECT_EQ(shownText(view, "password"), QString());
    EXPECT_EQ(focused(view), "reveal");
    click(view, "submit");
    EXPECT_EQ(network().requests().size(), 1U) << "one click does not sign in again";
    EXPECT_EQ(text(view, "localError"), "Please enter your email address.");
}

TEST_F(LoginView, AsksToSignInAfterASignOutOfANewAccount) {
    network().answerNext(200, session);
    auto& view = openDashboard();
    click(view, "switchMode");
    fill(view, "email", "ann@example.com");
    fill(view, "password", "long enough");
    fill(view, "confirmPassword", "long enough");
    click(view, "submit");
    ASSERT_TRUE(isShown(view, "home"));
    change([&] { state().authService->signOut(); });
    EXPECT_EQ(text(view, "title"), "Sign In");
    EXPECT_FALSE(isShown(view, "confirmPassword"));
    click(view, "switchMode");
    for (const auto* field : {"email", "password", "confirmPassword"})
        EXPECT_EQ(text(view, field), "") << field;
}

TEST_F(LoginView, StartsEmptyWhenASessionEndsWhileAnErrorIsShown) {
    auto& view = openDashboard();
    EXPECT_EQ(errorOf(view, "a@", "short"), "Password must be at least 8 characters.");
    network().answerNext(200, session);
    runtime::spawn(runtimeSupport().main(), state().authService->signIn("ann@example.com", "long enough"));
    settleViews();
    ASSERT_TRUE(isShown(view, "home"));
    change([&] { state().authService->signOut(); });
    EXPECT_FALSE(isShown(view, "localError"));
    EXPECT_EQ(text(view, "email") + text(view, "password"), "");
}

TEST_F(LoginView, KeepsTheInputAfterARefusal) {
    EXPECT_EQ(errorAfter(401, R"({"message":""})"), "");
    auto& view = openDashboard();
    fill(view, "email", "ann@example.com");
    fill(view, "password", "long enough");
    network().answerNext(401, R"({"message":""})");
    click(view, "submit");
    EXPECT_TRUE(isShown(view, "login"));
    EXPECT_EQ(text(view, "email"), "ann@example.com");
    EXPECT_EQ(text(view, "password"), "long enough");
}

TEST_F(LoginView, IsShownToASignedOutUserOfABuildWithAKeyToo) {
    addresses.key = "sk-of-this-build";
    closeDashboard();
    rebuildState();
    completeOnboardingAndStart();
    auto& view = openDashboard();
    EXPECT_TRUE(isShown(view, "login"));
    EXPECT_FALSE(isShown(view, "home"));
    EXPECT_EQ(text(view, "withoutAccount"), "Continue without an account");
    click(view, "withoutAccount");
    ASSERT_TRUE(isShown(view, "home"));
    EXPECT_FALSE(isShown(view, "signOut"));
    EXPECT_EQ(text(view, "signIn"), "Sign In");

    click(view, "sidebar.help");
    const auto texts = readable(view);
    EXPECT_EQ(std::ranges::count(texts, "You must be signed in to use support chat."), 1);
    EXPECT_EQ(outside(view), Texts{});
    click(view, "signInForSupport");
    ASSERT_TRUE(isShown(view, "login"));
    click(view, "withoutAccount");
    click(view, "signIn");
    ASSERT_TRUE(isShown(view, "login"));

    network().answerNext(200, session);
    fill(view, "email", "ann@example.com");
    fill(view, "password", "long enough");
    click(view, "submit");
    ASSERT_TRUE(isShown(view, "home"));
    EXPECT_FALSE(isShown(view, "signIn"));
    click(view, "sidebar.help");
    EXPECT_FALSE(isShown(view, "signInFirst"));
    click(view, "signOut");
    EXPECT_TRUE(isShown(view, "login")) << "the choice to go on without an account ended with the sign-in";
}

TEST_F(LoginView, OffersNoWayAroundARequiredAccount) {
    auto& view = openDashboard();
    EXPECT_FALSE(isShown(view, "withoutAccount"));
    view.rootObject()->property("model").value<DashboardModel*>()->continueWithoutAccount();
    settleViews();
    EXPECT_TRUE(isShown(view, "login"));
}

TEST_F(LoginView, IsDisabledDuringARequest) {
    network().hangNext();
    auto& view = openDashboard();
    fill(view, "email", "ann@example.com");
    fill(view, "password", "long enough");
    press(view, Qt::Key_Return);
    for (const auto* each : {"email", "password"})
        EXPECT_FALSE(input(view, each).isEnabled()) << each;
    EXPECT_FALSE(item(view, "submit").isEnabled());
    EXPECT_TRUE(isShown(view, "busy"));
    EXPECT_FALSE(eye(view, "password").isEnabled());
    EXPECT_FALSE(item(view, "switchMode").isEnabled());
    click(view, "submit");
    press(view, Qt::Key_Return);
    EXPECT_EQ(network().requests().size(), 1U);

    request().answer(500, "");
    settleViews();
    EXPECT_TRUE(input(view, "email").isEnabled());
    EXPECT_TRUE(item(view, "submit").isEnabled());
    EXPECT_FALSE(isShown(view, "busy"));
    EXPECT_EQ(text(view, "password"), "long enough") << "to try again";
    EXPECT_TRUE(input(view, "password").hasActiveFocus()) << "where the user was";
    network().answerNext(200, session);
    press(view, Qt::Key_Return);
    EXPECT_TRUE(isShown(view, "home"));
}

TEST_F(LoginView, ShowsTheReasonOfARefusal) {
    EXPECT_EQ(errorAfter(401, R"({"message":"Invalid login credentials"})"), "Invalid login credentials");
    EXPECT_EQ(errorAfter(500, ""), "Server error (500).");
    EXPECT_EQ(errorAfter(400, R"({"error_code":"email_not_confirmed","msg":"x"})"),
              "Please confirm your account using the link sent to your email.");
    EXPECT_EQ(errorAfter(200, "no JSON"), "Unexpected response from the server. Please try again.");
    network().failNext(UrlError::Code::cannotConnectToHost, "Could not connect to the server.");
    EXPECT_EQ(errorOfService(), "Network error: Could not connect to the server.");
    EXPECT_EQ(errorAfter(401, R"({"message":"<b>no</b> <img src='x'>"})"), "<b>no</b> <img src='x'>");
    EXPECT_FALSE(state().authService->isAuthenticated.get());
}

TEST_F(LoginView, ClearsTheErrorForTheNextRequest) {
    EXPECT_EQ(errorAfter(500, ""), "Server error (500).");
    auto& view = openDashboard();
    EXPECT_FALSE(isShown(view, "localError"));
    EXPECT_EQ(errorOfService(), "") << "no answer yet";
}

TEST_F(LoginView, AcceptsAnyInput) {
    struct Case {
        std::string email;
        std::string password;
    };
    for (const auto& each : {Case{std::string(10000, 'e') + "@example.com", "long enough"},
                             Case{"👩‍👩‍👧‍👦@example.com", "👍👍👍👍👍👍👍👍"},
                             Case{"שלום@דוגמה.com", "סיסמה ארוכה"}, Case{"a@", "        "},
                             Case{"<b>a</b>@\"&", "\"\\<&%1$&"}}) {
        network().answerNext(401, R"({"message":"Invalid login credentials"})");
        auto& view = openDashboard();
        click(view, "email");
        paste(view, each.email);
        click(view, "password");
        paste(view, each.password);
        EXPECT_EQ(outside(view), Texts{});
        press(view, Qt::Key_Return);
        EXPECT_EQ(lastBody(), (base::Json{{"email", each.email}, {"password", each.password}}));
        EXPECT_EQ(text(view, "localError"), "Invalid login credentials");
        clickEye(view, "password");
        EXPECT_EQ(outside(view), Texts{});
    }
}

TEST_F(LoginView, StaysInsideItsWindow) {
    std::string longWords;
    for (int i = 0; i < 400; ++i)
        longWords += "the server has much to say ";
    auto& view = openDashboard();
    for (const auto& size : {QSize(800, 600), QSize(900, 700)}) {
        view.resize(size);
        ASSERT_TRUE(eventuallyInQt(10, [&] { return view.rootObject()->size() == QSizeF(size); }));
        settleViews();
        EXPECT_EQ(outside(view), Texts{});
        click(view, "switchMode");
        EXPECT_EQ(outside(view), Texts{});
        fill(view, "email", "ann@example.com");
        fill(view, "password", "long enough");
        fill(view, "confirmPassword", "long enough");
        network().answerNext(500, base::jsonText({{"message", longWords}}));
        press(view, Qt::Key_Return);
        EXPECT_TRUE(isShown(view, "localError"));
        EXPECT_EQ(outside(view), Texts{});
        const auto& link = item(view, "switchMode");
        EXPECT_LE(link.mapRectToScene(link.boundingRect()).bottom(), size.height())
            << "the way out is in sight without scrolling";
        click(view, "switchMode");
    }
}

} // namespace sonvale::ui
