#include "services/ConnectivityMonitor.h"

#include "tests/fakes/FakePathMonitor.h"
#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

namespace sonvale::services {

namespace {

using platform::NetworkPath;

class ConnectivityMonitorTest : public testing::Test {
protected:
    void report(const NetworkPath& changed) {
        link.report(changed);
        runtime.runUntilIdle();
    }

    tests::TestRuntime runtime;
    tests::FakePathMonitor paths;
    tests::FakePathMonitor::Control& link = paths.control();
    std::optional<ConnectivityMonitor> monitor{std::in_place, runtime.main(), paths};
};

struct TypeCase {
    NetworkPath path;
    ConnectionType type;
};

} // namespace

TEST_F(ConnectivityMonitorTest, IsConnectedByUnknownMeansBeforeTheFirstReport) {
    EXPECT_TRUE(link.isStarted());
    EXPECT_TRUE(monitor->isConnected().get());
    EXPECT_EQ(monitor->connectionType().get(), ConnectionType::unknown);
}

TEST_F(ConnectivityMonitorTest, ReportsTheFirstTypeThatThePathUses) {
    const TypeCase cases[] = {
        {{.isSatisfied = true}, ConnectionType::unknown},
        {{.isSatisfied = true, .usesWifi = true}, ConnectionType::wifi},
        {{.isSatisfied = true, .usesCellular = true}, ConnectionType::cellular},
        {{.isSatisfied = true, .usesWiredEthernet = true}, ConnectionType::wired},
        {{.isSatisfied = true, .usesWifi = true, .usesCellular = true, .usesWiredEthernet = true},
         ConnectionType::wifi},
        {{.isSatisfied = true, .usesCellular = true, .usesWiredEthernet = true}, ConnectionType::cellular},
        {{.isSatisfied = true, .usesWifi = true, .usesWiredEthernet = true}, ConnectionType::wifi},
    };
    for (const auto& [path, type] : cases) {
        report(path);
        EXPECT_TRUE(monitor->isConnected().get());
        EXPECT_EQ(monitor->connectionType().get(), type);
    }
}

TEST_F(ConnectivityMonitorTest, APathOnAVirtualInterfaceOnlyIsConnectedAndUnknown) {
    report({.isSatisfied = true, .usesWiredEthernet = true});
    report({.isSatisfied = true});
    EXPECT_TRUE(monitor->isConnected().get());
    EXPECT_EQ(monitor->connectionType().get(), ConnectionType::unknown);
}

TEST_F(ConnectivityMonitorTest, AnUnsatisfiedPathIsNotConnected) {
    report({.isSatisfied = false, .usesWifi = true});
    EXPECT_FALSE(monitor->isConnected().get());
    EXPECT_EQ(monitor->connectionType().get(), ConnectionType::wifi);
    report({});
    EXPECT_EQ(monitor->connectionType().get(), ConnectionType::unknown);
}

TEST_F(ConnectivityMonitorTest, WritesOnTheMainActorOnly) {
    std::thread([this] { link.report({}); }).join();
    EXPECT_TRUE(monitor->isConnected().get());
    runtime.runUntilIdle();
    EXPECT_FALSE(monitor->isConnected().get());
}

TEST_F(ConnectivityMonitorTest, NotifiesObserversIfAValueChangesOnly) {
    std::vector<bool> connected;
    std::vector<ConnectionType> types;
    const auto first = monitor->isConnected().subscribe([&](bool value) { connected.push_back(value); });
    const auto second =
        monitor->connectionType().subscribe([&](ConnectionType value) { types.push_back(value); });
    const NetworkPath wifi{.isSatisfied = true, .usesWifi = true};
    report(wifi);
    report(wifi);
    report({});
    report({});
    EXPECT_EQ(connected, std::vector<bool>{false});
    EXPECT_EQ(types, (std::vector<ConnectionType>{ConnectionType::wifi, ConnectionType::unknown}));
}

TEST_F(ConnectivityMonitorTest, NotifiesOfEachOtherPathAfterTheFirst) {
    int changes = 0;
    monitor->setOnPathChange([&] { ++changes; });
    NetworkPath path{.isSatisfied = true, .usesWifi = true, .addresses = 1};
    report(path);
    report(path);
    EXPECT_EQ(changes, 0);
    path.addresses = 2;
    report(path);
    EXPECT_EQ(changes, 1);
    report(path);
    EXPECT_EQ(changes, 1);
    report({});
    report(path);
    EXPECT_EQ(changes, 3);
}

TEST_F(ConnectivityMonitorTest, CancelsItsMonitorAtItsDestruction) {
    EXPECT_TRUE(link.isStarted());
    monitor.reset();
    EXPECT_FALSE(link.isStarted());
}

TEST_F(ConnectivityMonitorTest, DropsAReportThatArrivesAfterItsDestruction) {
    std::vector<bool> connected;
    const auto subscription =
        monitor->isConnected().subscribe([&](bool value) { connected.push_back(value); });
    link.report({});
    monitor.reset();
    runtime.runUntilIdle();
    EXPECT_TRUE(connected.empty());
}

} // namespace sonvale::services
