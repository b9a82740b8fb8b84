#include "adapters/freedesktop/QtSessionLock.h"

#include "tests/contract/freedesktop/ScriptedLocker.h"
#include "tests/fakes/FakeSessionLock.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/PrivateBus.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QUuid>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::tests {

namespace {

using adapters::freedesktop::QtSessionLock;

/// A connection to a bus of the test's own.
class Bus {
public:
    Bus()
        : connection(QDBusConnection::connectToBus(QString::fromStdString(bus_.address()), name_)) {}
    ~Bus() { QDBusConnection::disconnectFromBus(name_); }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    std::string address() const { return bus_.address(); }

private:
    PrivateBus bus_{{}};
    const QString name_ = QUuid::createUuid().toString();

public:
    QDBusConnection connection;
};

bool comesToHold(const std::function<bool()>& condition) {
    return eventually(10, [&] {
        QCoreApplication::processEvents();
        return condition();
    });
}

/// A desktop whose session a test locks, in one of the ways of desktops.
class Harness {
public:
    Harness() = default;
    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;
    virtual ~Harness() = default;

    /// Makes the port; the session may be locked already.
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
    Bus session_;
    Bus system_;
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
    testing::AssertionResult reportsComeToBe(const std::vector<bool>& wanted) {
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
    EXPECT_TRUE(reportsComeToBe({true}));
    harness->setLocked(true);
    harness->setLocked(false);
    EXPECT_TRUE(reportsComeToBe({true, false}));
    harness->setLocked(true);
    EXPECT_TRUE(reportsComeToBe({true, false, true}));
}

TEST_P(SessionLockContract, ReportsASessionThatIsLockedAlready) {
    harness->setLocked(true);
    observe();
    EXPECT_TRUE(reportsComeToBe({true}));
    harness->setLocked(false);
    EXPECT_TRUE(reportsComeToBe({true, false}));
}

INSTANTIATE_TEST_SUITE_P(, SessionLockContract, testing::ValuesIn(makers()),
                         [](const auto& info) { return info.param.name; });

/// The adapter on buses of the test's own.
class QtSessionLockTest : public testing::Test {
protected:
    QtSessionLockTest() {
        lock.setOnLockChange([this](bool isLocked) { reports.push_back(isLocked); });
    }

    Bus session;
    Bus system;
    std::vector<bool> reports;
    QtSessionLock lock{session.connection, system.connection};
};

TEST_F(QtSessionLockTest, StaysLockedUntilAllSay) {
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

TEST_F(QtSessionLockTest, TakesAScreenSaverThatLeavesForEnded) {
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
