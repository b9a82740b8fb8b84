#include "adapters/freedesktop/QtSessionLock.h"

#include "tests/contract/freedesktop/BusConnection.h"
#include "tests/contract/freedesktop/ScriptedLocker.h"
#include "tests/fakes/FakeSessionLock.h"
#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::tests {

namespace {

using adapters::freedesktop::QtSessionLock;

/// A desktop whose session a test locks, in one of the ways of real desktops.
class Harness {
public:
    Harness() = default;
    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;
    virtual ~Harness() = default;

    /// Makes the port. The session may already be locked.
    virtual platform::SessionLock& lock() = 0;
    virtual void setLocked(bool isLocked) = 0;
};

class FakeHarness final : public Harness {
public:
    platform::SessionLock& lock() override { return fake_; }
    void setLocked(bool isLocked) override { fake_.control().setLocked(isLocked); }

private:
    FakeSessionLock fake_;
};

class LockerHarness final : public Harness {
public:
    explicit LockerHarness(const ScriptedLocker::Kind& kind)
        : locker_(kind.isOfSystem ? system_.address() : session_.address(), kind) {}

    platform::SessionLock& lock() override { return lock_.emplace(session_.connection, system_.connection); }
    void setLocked(bool isLocked) override { locker_.setLocked(isLocked); }

private:
    BusConnection session_;
    BusConnection system_;
    ScriptedLocker locker_;
    std::optional<QtSessionLock> lock_;
};

struct Maker {
    std::string name;
    std::function<std::unique_ptr<Harness>()> make;
};

class SessionLockContract : public testing::TestWithParam<Maker> {
protected:
    void observe() {
        harness->lock().setOnLockChange([this](bool isLocked) { reports.push_back(isLocked); });
    }
    testing::AssertionResult waitForReports(const std::vector<bool>& wanted) {
        comesToHold([&] { return reports.size() >= wanted.size(); });
        if (reports == wanted)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << testing::PrintToString(reports);
    }

    std::unique_ptr<Harness> harness = GetParam().make();
    std::vector<bool> reports;
};

std::vector<Maker> makers() {
    std::vector<Maker> all{{"Fake", [] { return std::make_unique<FakeHarness>(); }}};
    for (const auto& kind : ScriptedLocker::kinds())
        all.push_back({kind.label, [kind] { return std::make_unique<LockerHarness>(kind); }});
    return all;
}

} // namespace

TEST_P(SessionLockContract, ReportsEachChangeOnce) {
    observe();
    harness->setLocked(true);
    EXPECT_TRUE(waitForReports({true}));
    harness->setLocked(true);
    harness->setLocked(false);
    EXPECT_TRUE(waitForReports({true, false}));
    harness->setLocked(true);
    EXPECT_TRUE(waitForReports({true, false, true}));
}

TEST_P(SessionLockContract, ReportsASessionThatIsAlreadyLocked) {
    harness->setLocked(true);
    observe();
    EXPECT_TRUE(waitForReports({true}));
    harness->setLocked(false);
    EXPECT_TRUE(waitForReports({true, false}));
}

INSTANTIATE_TEST_SUITE_P(, SessionLockContract, testing::ValuesIn(makers()),
                         [](const auto& info) { return info.param.name; });

/// The adapter on private buses.
class QtSessionLockTest : public testing::Test {
protected:
    QtSessionLockTest() {
        lock.setOnLockChange([this](bool isLocked) { reports.push_back(isLocked); });
    }

    BusConnection session;
    BusConnection system;
    std::vector<bool> reports;
    QtSessionLock lock{session.connection, system.connection};
};

TEST_F(QtSessionLockTest, StaysLockedUntilAllSourcesReportUnlocked) {
    ScriptedLocker saver(session.address(), ScriptedLocker::kinds().front());
    ScriptedLocker other(session.address(), ScriptedLocker::kinds().at(1));
    saver.setLocked(true);
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    other.setLocked(true);
    other.setLocked(false);
    saver.setLocked(false);
    EXPECT_TRUE(comesToHold([&] { return reports.size() == 2; }));
    EXPECT_EQ(reports, (std::vector{true, false}));
}

TEST_F(QtSessionLockTest, CountsAScreenSaverThatLeavesTheBusAsEnded) {
    std::optional<ScriptedLocker> saver(std::in_place, session.address(), ScriptedLocker::kinds().front());
    saver->setLocked(true);
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    saver.reset();
    EXPECT_TRUE(comesToHold([&] { return reports.size() == 2; }));
}

TEST_F(QtSessionLockTest, IgnoresReportsOfAnotherForm) {
    ScriptedLocker saver(session.address(), ScriptedLocker::kinds().front());
    saver.send(QStringLiteral("ActiveChanged"), {QStringLiteral("yes")});
    saver.send(QStringLiteral("ActiveChanged"), {});
    saver.send(QStringLiteral("WakeUpScreen"), {true});
    saver.setLocked(true);
    EXPECT_TRUE(comesToHold([&] { return !reports.empty(); }));
    saver.setLocked(false);
    EXPECT_TRUE(comesToHold([&] { return reports.size() > 1; }));
    EXPECT_EQ(reports, (std::vector{true, false}));
}

TEST(QtSessionLock, IsUnlockedWithoutBuses) {
    const QDBusConnection none(QStringLiteral("no such connection"));
    QtSessionLock lock(none, none);
    lock.setOnLockChange([](bool) { ADD_FAILURE(); });
    QCoreApplication::processEvents();
}

} // namespace sonvale::tests
