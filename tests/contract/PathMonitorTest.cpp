#include "tests/contract/PathMonitorContract.h"
#include "tests/contract/qt/ScriptedNetworkManager.h"
#include "tests/fakes/FakePathMonitor.h"
#include "tests/support/Files.h"

#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace sonvale::tests {

namespace {

using platform::NetworkPath;

class FakeHarness final : public PathMonitorHarness {
public:
    void plugIn() override { set(wiredPath); }
    void pullOut() override { set(noPath); }
    void start() override {
        monitor_->start([this](const NetworkPath& path) { reports_.push_back(path); });
        monitor_->control().report(path_);
    }
    void end() override { monitor_.reset(); }
    std::vector<NetworkPath> reports() override { return reports_; }

private:
    void set(const NetworkPath& path) {
        path_ = path;
        if (monitor_)
            monitor_->control().report(path);
    }

    std::optional<FakePathMonitor> monitor_{std::in_place};
    NetworkPath path_;
    std::vector<NetworkPath> reports_;
};

/// The real monitor, in a program whose network and system bus the test chooses.
class MonitorProgram {
public:
    MonitorProgram(std::vector<std::string> launcher, const std::string& systemBus) {
        int input[2];
        if (pipe2(input, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe for the monitor's program");
        input_ = input[1];
        launcher.emplace_back(SONVALE_PATH_PROGRAM);
        ChildProcess::Options options;
        options.arguments = std::move(launcher);
        options.environment = {{"DBUS_SYSTEM_BUS_ADDRESS", systemBus}};
        options.outputFile = outputFile();
        options.descriptors = {{input[0], STDIN_FILENO}};
        process_.emplace(std::move(options));
        close(input[0]);
    }
    ~MonitorProgram() { closeInput(); }
    MonitorProgram(const MonitorProgram&) = delete;
    MonitorProgram& operator=(const MonitorProgram&) = delete;

    pid_t pid() const { return process_->pid(); }

    void end() {
        closeInput();
        if (process_->wait(20) != 0 || !contentOf(outputFile()).ends_with("ended\n"))
            throw std::runtime_error("the monitor's program did not end well:\n" + contentOf(outputFile()));
    }

    std::vector<NetworkPath> reports() const {
        std::vector<NetworkPath> reports;
        std::istringstream output(contentOf(outputFile()));
        for (std::string line; std::getline(output, line) && !output.eof();) {
            if (line.size() > 5 && line.find_first_not_of("01") == 4 && line[4] == ' ')
                reports.push_back({line[0] == '1', line[1] == '1', line[2] == '1', line[3] == '1',
                                   std::stoull(line.substr(5))});
            else if (line != "ended")
                throw std::runtime_error("the monitor's program says: " + line);
        }
        return reports;
    }

private:
    std::string outputFile() const { return directory_.path() + "/output"; }
    void closeInput() {
        if (input_ >= 0)
            close(input_);
        input_ = -1;
    }

    TemporaryDirectory directory_;
    int input_ = -1;
    std::optional<ChildProcess> process_;
};

/// Without NetworkManager, with a private network of one link and the other end of its cable.
class InterfacesHarness final : public PathMonitorHarness {
public:
    /// `whileWaiting` is called at each check of the reports.
    explicit InterfacesHarness(std::function<void()> whileWaiting = [] {})
        : whileWaiting_(std::move(whileWaiting))
        , network_(makeNetwork()) {
        if (!eventually(20, [this] { return inNetwork({"ip", "link", "show", "up", "dev", "cable"}) == 0; }))
            throw std::runtime_error("no network of the test's own");
    }

    void plugIn() override { check(inNetwork({"ip", "link", "set", "far", "up"})); }
    void pullOut() override { check(inNetwork({"ip", "link", "set", "far", "down"})); }
    void start() override { startWith("unix:path=/nonexistent"); }
    /// Starts the monitor with this system bus.
    void startWith(const std::string& systemBus) { program_.emplace(enter(), systemBus); }
    void end() override { program_->end(); }
    std::vector<NetworkPath> reports() override {
        whileWaiting_();
        return program_->reports();
    }

    void switchOff() { check(inNetwork({"ip", "link", "set", "cable", "down"})); }
    void switchOn() { check(inNetwork({"ip", "link", "set", "cable", "up"})); }
    void remove() { check(inNetwork({"ip", "link", "delete", "cable"})); }
    void giveAddress(const std::string& address) {
        check(inNetwork({"ip", "address", "add", address + "/24", "dev", "cable"}));
    }
    void takeAddress(const std::string& address) {
        check(inNetwork({"ip", "address", "delete", address + "/24", "dev", "cable"}));
    }

private:
    static ChildProcess::Options makeNetwork() {
        ChildProcess::Options options;
        options.arguments = {"unshare",           "--map-root-user", "--net", "sh", "-c",
                             R"(ip link set lo up
                                ip link add cable type veth peer name far
                                ip link set cable up
                                exec sleep 600)"};
        return options;
    }
    std::vector<std::string> enter() const {
        return {"nsenter", "--target=" + std::to_string(network_.pid()), "--user", "--preserve-credentials",
                "--net"};
    }
    int inNetwork(const std::vector<std::string>& command) const {
        auto arguments = enter();
        arguments.insert(arguments.end(), command.begin(), command.end());
        return run(std::move(arguments));
    }
    static void check(int status) {
        if (status != 0)
            throw std::runtime_error("the link does not change");
    }

    const std::function<void()> whileWaiting_;
    ChildProcess network_;
    std::optional<MonitorProgram> program_;
};

class NetworkManagerHarness final : public PathMonitorHarness {
public:
    using State = ScriptedNetworkManager::State;
    using Device = ScriptedNetworkManager::Device;

    void plugIn() override { set(State::connectedGlobally, Device::ethernet); }
    void pullOut() override { set(State::disconnected, Device::none); }
    void start() override { program_.emplace(std::vector<std::string>{}, manager_.address()); }
    void end() override { program_->end(); }
    std::vector<NetworkPath> reports() override {
        QCoreApplication::processEvents();
        auto reports = program_->reports();
        // The addresses belong to the test machine.
        for (auto& report : reports)
            report.addresses = 0;
        return reports;
    }

    void set(State state, Device device) { manager_.set(state, device); }
    void fallSilent() { manager_.fallSilent(); }

private:
    ScriptedNetworkManager manager_;
    std::optional<MonitorProgram> program_;
};

class PathMonitorInterfaces : public PathMonitorContract {
protected:
    InterfacesHarness& network = dynamic_cast<InterfacesHarness&>(*harness);
};

class PathMonitorNetworkManager : public PathMonitorContract {
protected:
    NetworkManagerHarness& network = dynamic_cast<NetworkManagerHarness&>(*harness);
};

template <class Harness>
PathMonitorMaker maker(std::string name) {
    return {std::move(name), [] { return std::make_unique<Harness>(); }};
}

const auto nameOf = [](const auto& info) { return info.param.name; };

} // namespace

TEST_P(PathMonitorContract, ReportsThatNothingIsPluggedIn) {
    harness->start();
    EXPECT_TRUE(waitForReports({noPath}));
}

TEST_P(PathMonitorContract, ReportsACableThatWasPluggedInBefore) {
    harness->plugIn();
    harness->start();
    EXPECT_TRUE(waitForReports({wiredPath}));
}

TEST_P(PathMonitorContract, ReportsEveryChange) {
    harness->start();
    ASSERT_TRUE(waitForReports({noPath}));
    harness->plugIn();
    ASSERT_TRUE(waitForReports({noPath, wiredPath}));
    harness->pullOut();
    ASSERT_TRUE(waitForReports({noPath, wiredPath, noPath}));
    harness->plugIn();
    EXPECT_TRUE(waitForReports({noPath, wiredPath, noPath, wiredPath}));
}

TEST_P(PathMonitorContract, ReportsNothingAfterItsEnd) {
    harness->plugIn();
    harness->start();
    ASSERT_TRUE(waitForReports({wiredPath}));
    harness->end();
    harness->pullOut();
    EXPECT_EQ(harness->reports(), std::vector<NetworkPath>{wiredPath});
}

TEST_P(PathMonitorContract, CanEndRightAfterItsStart) {
    harness->start();
    harness->end();
    const auto reports = harness->reports();
    EXPECT_LE(reports.size(), 1U);
    harness->plugIn();
    pauseMilliseconds(200);
    EXPECT_EQ(harness->reports(), reports) << "a monitor that has ended reports nothing more";
}

TEST_P(PathMonitorInterfaces, IgnoreADisabledInterface) {
    network.plugIn();
    network.start();
    ASSERT_TRUE(waitForReports({wiredPath}));
    network.switchOff();
    ASSERT_TRUE(waitForReports({wiredPath, noPath}));
    network.switchOn();
    EXPECT_TRUE(waitForReports({wiredPath, noPath, wiredPath}));
}

TEST_P(PathMonitorInterfaces, IgnoreARemovedInterface) {
    network.plugIn();
    network.start();
    ASSERT_TRUE(waitForReports({wiredPath}));
    network.remove();
    EXPECT_TRUE(waitForReports({wiredPath, noPath}));
}

/// Returns a report of the wired link with other addresses for each change; the same addresses give the same
/// report.
void reportsEachAddress(InterfacesHarness& network) {
    const auto comesToReports = [&](std::size_t count) {
        return eventually(10, [&] { return network.reports().size() == count; });
    };
    ASSERT_TRUE(comesToReports(1));
    network.giveAddress("10.9.8.7");
    ASSERT_TRUE(comesToReports(2));
    network.giveAddress("10.9.9.9");
    ASSERT_TRUE(comesToReports(3));
    network.takeAddress("10.9.9.9");
    ASSERT_TRUE(comesToReports(4));
    network.takeAddress("10.9.8.7");
    ASSERT_TRUE(comesToReports(5));
    const auto reports = network.reports();
    EXPECT_EQ(reports[0].addresses, 0U);
    EXPECT_NE(reports[1].addresses, 0U);
    EXPECT_NE(reports[2].addresses, reports[1].addresses);
    EXPECT_EQ(reports[3], reports[1]);
    EXPECT_EQ(reports[4], reports[0]);
    for (const auto& report : reports)
        EXPECT_TRUE(report.isSatisfied);
}

TEST_P(PathMonitorInterfaces, ReportANewAddressOnTheSameLink) {
    network.plugIn();
    network.start();
    reportsEachAddress(network);
}

TEST(QtPathMonitor, ReportsAnAddressThatNetworkManagerDoesNotReport) {
    ScriptedNetworkManager manager;
    manager.set(ScriptedNetworkManager::State::connectedGlobally, ScriptedNetworkManager::Device::wifi);
    // The scripted service answers on the test's own thread.
    InterfacesHarness network([] { QCoreApplication::processEvents(); });
    network.plugIn();
    network.startWith(manager.address());
    reportsEachAddress(network);
    for (const auto& report : network.reports())
        EXPECT_TRUE(report.usesWifi);
}

TEST_P(PathMonitorNetworkManager, ReportsWifiCellularAndUnknownLinks) {
    using Device = ScriptedNetworkManager::Device;
    constexpr auto connected = ScriptedNetworkManager::State::connectedGlobally;
    constexpr NetworkPath wifi{.isSatisfied = true, .usesWifi = true};
    constexpr NetworkPath cellular{.isSatisfied = true, .usesCellular = true};
    constexpr NetworkPath unknown{.isSatisfied = true};
    network.set(connected, Device::wifi);
    network.start();
    ASSERT_TRUE(waitForReports({wifi}));
    network.set(connected, Device::modem);
    ASSERT_TRUE(waitForReports({wifi, cellular}));
    network.set(connected, Device::none);
    EXPECT_TRUE(waitForReports({wifi, cellular, unknown}));
}

TEST_P(PathMonitorNetworkManager, FallsBackToTheInterfacesIfItDoesNotAnswer) {
    network.fallSilent();
    network.start();
    EXPECT_TRUE(eventually(10, [&] { return network.reports().size() == 1; }));
    network.end();
}

TEST_P(PathMonitorNetworkManager, EndsQuicklyWhileItDoesNotAnswer) {
    network.fallSilent();
    network.start();
    const double start = monotonicSeconds();
    network.end();
    EXPECT_LT(monotonicSeconds() - start, 10);
    EXPECT_EQ(network.reports(), std::vector<NetworkPath>{});
}

INSTANTIATE_TEST_SUITE_P(, PathMonitorContract,
                         testing::Values(maker<FakeHarness>("Fake"), maker<InterfacesHarness>("Interfaces"),
                                         maker<NetworkManagerHarness>("NetworkManager")),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(, PathMonitorInterfaces, testing::Values(maker<InterfacesHarness>("Real")), nameOf);
INSTANTIATE_TEST_SUITE_P(, PathMonitorNetworkManager,
                         testing::Values(maker<NetworkManagerHarness>("Scripted")), nameOf);

} // namespace sonvale::tests
