#pragma once

#include "platform/PathMonitor.h"
#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace sonvale::platform {

inline void PrintTo(const NetworkPath& path, std::ostream* out) {
    *out << (path.isSatisfied ? "satisfied" : "unsatisfied") << (path.usesWifi ? " wifi" : "")
         << (path.usesCellular ? " cellular" : "") << (path.usesWiredEthernet ? " wired" : "")
         << " addresses " << path.addresses;
}

} // namespace sonvale::platform

namespace sonvale::tests {

inline constexpr platform::NetworkPath noPath{};
inline constexpr platform::NetworkPath wiredPath{.isSatisfied = true, .usesWiredEthernet = true};

/// A machine with one network cable.
class PathMonitorHarness {
public:
    PathMonitorHarness() = default;
    PathMonitorHarness(const PathMonitorHarness&) = delete;
    PathMonitorHarness& operator=(const PathMonitorHarness&) = delete;
    virtual ~PathMonitorHarness() = default;

    virtual void plugIn() = 0;
    virtual void pullOut() = 0;
    /// Starts the monitor.
    virtual void start() = 0;
    /// Destroys the monitor.
    virtual void end() = 0;
    /// Returns the reports so far.
    virtual std::vector<platform::NetworkPath> reports() = 0;
};

struct PathMonitorMaker {
    std::string name;
    std::function<std::unique_ptr<PathMonitorHarness>()> make;
};

class PathMonitorContract : public testing::TestWithParam<PathMonitorMaker> {
protected:
    /// Waits for this many reports and compares them.
    testing::AssertionResult waitForReports(const std::vector<platform::NetworkPath>& wanted) {
        eventually(10, [&] { return harness->reports().size() >= wanted.size(); });
        const auto reports = harness->reports();
        if (reports == wanted)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "reports: " << testing::PrintToString(reports);
    }

    std::unique_ptr<PathMonitorHarness> harness = GetParam().make();
};

} // namespace sonvale::tests
