#include "adapters/qt/QtApplication.h"
#include "adapters/qt/QtCompositor.h"
#include "adapters/qt/QtTrayHost.h"

#include "runtime/ManualClock.h"
#include "tests/contract/ApplicationContract.h"
#include "tests/contract/CompositorContract.h"
#include "tests/contract/FloatingPanelContract.h"
#include "tests/contract/TrayHostContract.h"
#include "tests/fakes/FakeCompositor.h"
#include "tests/support/TestRuntime.h"
#include "tests/ui/common/CompositorProgram.h"
#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/menu/StatusNotifierPanel.h"
#include "ui/indicator/FloatingPanelController.h"

#include <QCoreApplication>
#include <QTimer>
#include <QUuid>
#include <QWidget>
#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace sonvale::tests {

namespace {

struct RingSubject {
    struct Shown {
        platform::RecordingState state;
        float level;
        WId panel;
    };

    platform::FloatingPanel& panel() { return controller; }
    std::optional<Shown> shown() const {
        const auto* panel = controller.panel();
        if (!panel || !panel->isVisible())
            return std::nullopt;
        return Shown{panel->state(), panel->level(), panel->internalWinId()};
    }

    runtime::ManualClock clock;
    FakeCompositor compositor;
    ui::FloatingPanelController controller{clock, compositor};
};

struct QtSubject {
    platform::Application& application() { return *adapter; }

    DesktopProbe::WindowId openWindow() {
        windows.push_back(std::make_unique<QWidget>());
        windows.back()->resize(200, 100);
        windows.back()->show();
        const auto id = static_cast<DesktopProbe::WindowId>(windows.back()->winId());
        EXPECT_TRUE(eventuallyInQt(10, [&] { return probe.isMapped(id); }));
        return id;
    }

    bool becomesListed(DesktopProbe::WindowId window, bool isListed) {
        const auto hasPlace = [&] {
            const auto states = probe.atoms(window, "_NET_WM_STATE");
            const auto has = [&](const char* name) {
                return std::ranges::find(states, name) != states.end();
            };
            const bool skipsTaskbar = has("_NET_WM_STATE_SKIP_TASKBAR");
            return skipsTaskbar == has("_NET_WM_STATE_SKIP_PAGER") && skipsTaskbar != isListed;
        };
        if (!eventuallyInQt(10, hasPlace))
            return false;
        runQtFor(0.05);
        return hasPlace();
    }

    bool ends() {
        QTimer tooLate;
        QObject::connect(&tooLate, &QTimer::timeout, [] { QCoreApplication::exit(1); });
        tooLate.start(10000);
        return QCoreApplication::exec() == 0;
    }

    DesktopProbe probe;
    std::unique_ptr<adapters::qt::QtApplication> adapter = std::make_unique<adapters::qt::QtApplication>();
    std::vector<std::unique_ptr<QWidget>> windows;
};

struct QtCompositorSubject {
    platform::Compositor& compositor() { return adapter; }
    void start() { program.emplace(probe); }
    void stop() { program.reset(); }

    DesktopProbe probe;
    adapters::qt::QtCompositor adapter;
    std::optional<CompositorProgram> program;
};

/// A tray host on a session bus of the test's own. `TrayIcon` tests the X11 tray.
class StatusNotifierSubject {
public:
    StatusNotifierSubject() = default;
    ~StatusNotifierSubject() {
        host_.reset();
        QDBusConnection::disconnectFromBus(name_);
    }
    StatusNotifierSubject(const StatusNotifierSubject&) = delete;
    StatusNotifierSubject& operator=(const StatusNotifierSubject&) = delete;

    platform::TrayHost& host() { return *host_; }
    void showPanel() { panel_.emplace(bus_); }
    void endGrace() { runtime_.clock().advance(adapters::qt::QtTrayHost::grace); }
    bool becomes(const std::function<bool()>& condition) {
        return eventuallyInQt(10, [&] {
            runtime_.runUntilIdle();
            return condition();
        });
    }
    void settle() {
        runQtFor(0.05);
        runtime_.runUntilIdle();
    }

private:
    const QString name_ = QUuid::createUuid().toString();
    PrivateBus bus_{{}};
    TestRuntime runtime_;
    std::optional<StatusNotifierPanel> panel_;
    std::unique_ptr<adapters::qt::QtTrayHost> host_ = std::make_unique<adapters::qt::QtTrayHost>(
        runtime_.main(), runtime_.clock(),
        QDBusConnection::connectToBus(QString::fromStdString(bus_.address()), name_));
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Ring, FloatingPanelContract, RingSubject);
INSTANTIATE_TYPED_TEST_SUITE_P(Qt, ApplicationContract, QtSubject);
INSTANTIATE_TYPED_TEST_SUITE_P(Qt, CompositorContract, QtCompositorSubject);
INSTANTIATE_TYPED_TEST_SUITE_P(StatusNotifier, TrayHostContract, StatusNotifierSubject);

TEST(QtApplication, KeepsAWindowsPlaceWhenItIsHiddenAndShownAgain) {
    QtSubject subject;
    subject.application().setActivationPolicy(platform::ActivationPolicy::accessory);
    const auto window = subject.openWindow();
    subject.windows.back()->hide();
    ASSERT_TRUE(eventuallyInQt(10, [&] { return !subject.probe.isMapped(window); }));
    subject.windows.back()->show();
    ASSERT_TRUE(eventuallyInQt(10, [&] { return subject.probe.isMapped(window); }));
    EXPECT_TRUE(subject.becomesListed(window, false));
}

TEST(QtApplication, ContinuesWhenItsLastWindowIsClosed) {
    QtSubject subject;
    subject.openWindow();
    bool hasGoneOn = false;
    QTimer::singleShot(0, [&] { subject.windows.back()->close(); });
    QTimer::singleShot(100, [&] {
        hasGoneOn = true;
        subject.application().terminate();
    });
    EXPECT_TRUE(subject.ends());
    EXPECT_TRUE(hasGoneOn);
}

} // namespace sonvale::tests
