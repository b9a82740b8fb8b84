#include "adapters/freedesktop/PortalAppearance.h"

#include "tests/contract/ScriptedPortal.h"
#include "tests/fakes/FakeAppearance.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/PrivateBus.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QUuid>
#include <functional>
#include <optional>

namespace sonvale::tests {

namespace {

using adapters::freedesktop::PortalAppearance;
using Preferences = platform::Appearance::Preferences;

const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");
const QString gnomeGroup = QStringLiteral("org.gnome.desktop.interface");
const QString animations = QStringLiteral("enable-animations");

unsigned schemeOf(const std::optional<bool>& isDark) {
    return !isDark ? 0 : *isDark ? 1 : 2;
}

class FakeSubject {
public:
    platform::Appearance& appearance() { return fake_; }
    void begin(const Preferences& preferences) { fake_.control().setPreferences(preferences); }
    void change(const Preferences& preferences) { fake_.control().setPreferences(preferences); }

private:
    FakeAppearance fake_;
};

class PortalSubject {
public:
    PortalSubject() = default;
    ~PortalSubject() {
        adapter_.reset();
        QDBusConnection::disconnectFromBus(name_);
    }
    PortalSubject(const PortalSubject&) = delete;
    PortalSubject& operator=(const PortalSubject&) = delete;

    platform::Appearance& appearance() {
        if (!adapter_)
            adapter_.emplace(QDBusConnection::connectToBus(QString::fromStdString(bus_.address()), name_));
        return *adapter_;
    }
    void begin(const Preferences& preferences) {
        portal_.set(appearanceGroup, colorScheme, schemeOf(preferences.isDark));
        portal_.set(gnomeGroup, animations, !preferences.isMotionReduced);
    }
    void change(const Preferences& preferences) {
        portal_.change(appearanceGroup, colorScheme, schemeOf(preferences.isDark));
        portal_.change(gnomeGroup, animations, !preferences.isMotionReduced);
    }
    ScriptedPortal& portal() { return portal_; }

private:
    const QString name_ = QUuid::createUuid().toString();
    PrivateBus bus_{{}};
    ScriptedPortal portal_{bus_.address()};
    std::optional<PortalAppearance> adapter_;
};

/// What every appearance does. `Subject` gives `appearance()`, `begin(preferences)` before it, and
/// `change(preferences)`.
template <class Subject>
class AppearanceContract : public testing::Test {
protected:
    bool becomes(const Preferences& preferences) {
        return eventually(10, [&] {
            QCoreApplication::processEvents();
            return subject.appearance().preferences() == preferences;
        });
    }

    Subject subject;
};

using Subjects = testing::Types<FakeSubject, PortalSubject>;
TYPED_TEST_SUITE(AppearanceContract, Subjects);

} // namespace

TYPED_TEST(AppearanceContract, KnowsThePreferencesThatAreSetAlready) {
    this->subject.begin({.isDark = true, .isMotionReduced = true});
    EXPECT_TRUE(this->becomes({.isDark = true, .isMotionReduced = true}));
}

TYPED_TEST(AppearanceContract, ReportsEachChange) {
    int reports = 0;
    this->subject.appearance().setOnChange([&] { ++reports; });
    this->subject.change({.isDark = true});
    EXPECT_TRUE(this->becomes({.isDark = true}));
    this->subject.change({.isDark = false});
    EXPECT_TRUE(this->becomes({.isDark = false}));
    this->subject.change({.isMotionReduced = true});
    EXPECT_TRUE(this->becomes({.isMotionReduced = true}));
    EXPECT_GE(reports, 3);
    const int before = reports;
    this->subject.change({.isMotionReduced = true});
    this->subject.change({.isDark = true, .isMotionReduced = true});
    EXPECT_TRUE(this->becomes({.isDark = true, .isMotionReduced = true}));
    EXPECT_EQ(reports, before + 1) << "the same preferences are no change";
}

TEST(PortalAppearance, IgnoresSettingsOfOtherPrograms) {
    PortalSubject subject;
    subject.begin({.isDark = true});
    ASSERT_TRUE(eventually(10, [&] {
        QCoreApplication::processEvents();
        return subject.appearance().preferences().isDark == true;
    }));
    subject.portal().change(gnomeGroup, colorScheme, 2U);
    subject.portal().change(appearanceGroup, QStringLiteral("contrast"), 2U);
    subject.portal().change(gnomeGroup, animations, false);
    EXPECT_TRUE(eventually(10, [&] {
        QCoreApplication::processEvents();
        return subject.appearance().preferences().isMotionReduced;
    }));
    EXPECT_EQ(subject.appearance().preferences().isDark, true);
}

TEST(PortalAppearance, HasNoPreferenceWithoutABus) {
    const PortalAppearance appearance(QDBusConnection(QStringLiteral("no such connection")));
    QCoreApplication::processEvents();
    EXPECT_EQ(appearance.preferences(), Preferences());
}

} // namespace sonvale::tests
