#include "app/CompositionRoot.h"

#include "adapters/ffmpeg/FfmpegAudioFiles.h"
#include "adapters/ffmpeg/SoxrSampleRateConverter.h"
#include "adapters/freedesktop/MprisMediaPlayers.h"
#include "adapters/freedesktop/PortalAppearance.h"
#include "adapters/freedesktop/QtSessionLock.h"
#include "adapters/freedesktop/XdgAutostart.h"
#include "adapters/pocketsphinx/PocketSphinxRecognizer.h"
#include "adapters/posix/LinuxSecureRandom.h"
#include "adapters/pulse/PulseAudioEngine.h"
#include "adapters/pulse/PulseCaptureAuthorization.h"
#include "adapters/qt/QtApplication.h"
#include "adapters/qt/QtCompositor.h"
#include "adapters/qt/QtMainContext.h"
#include "adapters/qt/QtPathMonitor.h"
#include "adapters/qt/QtTrayHost.h"
#include "adapters/qt/network/QtUrlSession.h"
#include "adapters/x11/X11AccessibilityTree.h"
#include "adapters/x11/X11Workspace.h"
#include "adapters/x11/keys/SyntheticKeyLedger.h"
#include "adapters/x11/keys/X11EventTap.h"
#include "adapters/x11/keys/X11NativeKeys.h"
#include "adapters/x11/keys/X11SyntheticInput.h"
#include "adapters/x11/selections/X11Pasteboard.h"

#include "app/FreedMemory.h"
#include "base/Locale.h"
#include "base/Log.h"
#include "core/AppDelegate.h"
#include "persistence/AuditLogger.h"
#include "persistence/Settings.h"
#include "runtime/SystemClock.h"
#include "runtime/TaskPool.h"
#include "services/FeedUpdater.h"
#include "services/ServiceAddresses.h"
#include "ui/common/LoadedViews.h"
#include "ui/dashboard/DashboardWindow.h"
#include "ui/indicator/FloatingPanelController.h"
#include "ui/menu/MenuPopover.h"
#include "ui/menu/TrayIcon.h"
#include "ui/menu/TrayMenu.h"

#include <QCoreApplication>
#include <QFile>
#include <optional>

namespace sonvale::app {

namespace {

/// Tasks are short; with two threads the audit log does not wait for an insertion's clipboard.
constexpr unsigned poolThreads = 2;
constexpr double shutDownSeconds = 5;

/// Returns the path of the information dictionary: beside a program in its build folder, in the shared data
/// of an installed one.
std::filesystem::path infoFile(const platform::Directories& directories) {
    const auto beside = directories.executable / "Info.json";
    std::error_code ignored; // a file that cannot be inspected counts as missing
    return std::filesystem::exists(beside, ignored)
               ? beside
               : directories.executable.parent_path() / "share/sonvale/Info.json";
}

/// Returns the path of a module: beside a program in its build folder, in the library folder of an installed
/// one.
std::filesystem::path moduleFile(const platform::Directories& directories, const std::string& name) {
    const auto beside = directories.executable / name;
    std::error_code ignored; // a file that cannot be inspected counts as missing
    return std::filesystem::exists(beside, ignored)
               ? beside
               : directories.executable.parent_path() / "lib/sonvale" / name;
}

/// Returns an entry that is a text; empty for any other.
std::string textEntry(const services::BundleInfo& bundle, std::string_view name) {
    const auto value = bundle.value(name);
    return value.is_string() ? value.get<std::string>() : std::string();
}

} // namespace

// The members are destroyed from the last to the first.
struct CompositionRoot::Parts {
    explicit Parts(platform::Directories d)
        : directories(std::move(d)) {}

    base::Logger logger{"CompositionRoot"};
    platform::Directories directories;

    runtime::SystemClock clock;
    std::shared_ptr<runtime::TaskRegistry> registry = std::make_shared<runtime::TaskRegistry>();
    runtime::TaskPool pool{poolThreads, registry};
    adapters::qt::QtMainContext mainContext{clock, registry};

    persistence::Settings settings{directories.configuration / "com.sonvale.app" / "defaults.json"};
    persistence::AuditLogger auditLogger{pool.makeSerialActor("com.sonvale.app.auditlogger"), clock,
                                         directories.applicationSupport};

    std::shared_ptr<adapters::x11::SyntheticKeyLedger> keyLedger =
        std::make_shared<adapters::x11::SyntheticKeyLedger>();
    adapters::x11::X11EventTap eventTap{clock, keyLedger};
    adapters::x11::X11Pasteboard pasteboard{clock};
    adapters::x11::X11SyntheticInput syntheticInput{clock, keyLedger, [this] { pasteboard.offerPrimary(); }};
    adapters::x11::X11Workspace workspace{clock};
    adapters::x11::X11AccessibilityTree accessibilityTree{clock};
    adapters::pulse::PulseAudioEngines audioEngines;
    adapters::pulse::PulseCaptureAuthorization captureAuthorization;
    adapters::ffmpeg::FfmpegAudioFiles audioFiles{moduleFile(directories, "sonvale-ffmpeg.so")};
    adapters::pocketsphinx::PocketSphinxRecognizers speechRecognizers{audioFiles};
    adapters::ffmpeg::SoxrSampleRateConverters sampleRateConverters;
    adapters::posix::LinuxSecureRandom secureRandom;
    adapters::qt::QtUrlSessions urlSessions;
    adapters::qt::QtPathMonitor pathMonitor;
    adapters::freedesktop::MprisMediaPlayers mediaPlayers;
    adapters::freedesktop::QtSessionLock sessionLock;
    adapters::qt::QtApplication application;
    adapters::qt::QtCompositor compositor;
    ui::FloatingPanelController floatingPanel{clock, compositor};
    adapters::x11::X11NativeKeys nativeKeys;
    adapters::freedesktop::XdgAutostart loginItem{
        adapters::freedesktop::XdgAutostart::Environment::ofThisProcess(directories.configuration)};

    services::BundleInfo bundle = services::BundleInfo::load(infoFile(directories));
    services::FeedUpdater updater{{.main = mainContext.actor(),
                                   .clock = clock,
                                   .urlSessions = urlSessions,
                                   .workspace = workspace,
                                   .feed = textEntry(bundle, services::BundleInfo::updateFeedURL),
                                   .version = textEntry(bundle, services::BundleInfo::shortVersion)}};

    std::optional<core::Environment> environment;
    std::unique_ptr<core::AppDelegate> delegate;

    adapters::freedesktop::PortalAppearance appearance;
    ui::LoadedViews views{QFile::decodeName(moduleFile(directories, "sonvale-views.so").c_str()), appearance};
    std::unique_ptr<ui::DashboardWindow> dashboard;
    std::unique_ptr<ui::MenuModel> menuModel;
    std::unique_ptr<ui::MenuPopover> menu;
    std::unique_ptr<ui::TrayMenu> trayMenu;
    adapters::qt::QtTrayHost trayHost{mainContext.actor(), clock};
    std::unique_ptr<ui::TrayIcon> trayIcon;
    base::Subscription stateForTray;
    base::Subscription stateForMemory;
};

CompositionRoot::CompositionRoot(platform::Directories directories)
    : parts_(std::make_unique<Parts>(std::move(directories))) {
    auto& p = *parts_;
    p.environment.emplace(core::Environment{
        .main = p.mainContext.actor(),
        .pool = p.pool.actor(),
        .makeSerialActor = [&pool =
                                p.pool](std::string name) { return pool.makeSerialActor(std::move(name)); },
        .clock = p.clock,
        .directories = p.directories,
        .addresses = services::ServiceAddresses::from(p.bundle),
        .version = p.bundle.version(),
        .settings = p.settings,
        .auditLogger = p.auditLogger,
        .eventTap = p.eventTap,
        .syntheticInput = p.syntheticInput,
        .pasteboard = p.pasteboard,
        .workspace = p.workspace,
        .accessibilityTree = p.accessibilityTree,
        .audioEngines = p.audioEngines,
        .audioFiles = p.audioFiles,
        .sampleRateConverters = p.sampleRateConverters,
        .captureAuthorization = p.captureAuthorization,
        .speechRecognizers = p.speechRecognizers,
        .secureRandom = p.secureRandom,
        .urlSessions = p.urlSessions,
        .pathMonitor = p.pathMonitor,
        .mediaPlayers = p.mediaPlayers,
        .sessionLock = p.sessionLock,
        .floatingPanel = p.floatingPanel,
        .application = p.application,
        .nativeKeys = p.nativeKeys,
        .loginItem = p.loginItem,
        .updater = p.updater,
        .currentLocale = base::currentLocaleIdentifier,
        .currentDateLocale = base::currentDateLocaleIdentifier,
        // For Alt+Tab, Alt+F4 and the menus' letters; Super opens the overview of many desktops.
        .areModifiersShared = true,
    });
    p.delegate = std::make_unique<core::AppDelegate>(*p.environment);
}

CompositionRoot::~CompositionRoot() = default;

void CompositionRoot::launch() {
    auto& p = *parts_;
    p.delegate->makeDashboardWindow = [&p] { p.dashboard->open(); };
    p.delegate->applicationDidFinishLaunching();
    const auto& appState = p.delegate->services()->appState();
    p.views.onFailure = [&p](const std::string& reason) {
        p.logger.error("The windows cannot be opened: {}", reason);
        p.delegate->services()->appState()->surfaceError(ui::LoadedViews::unavailable);
    };
    p.dashboard =
        std::make_unique<ui::DashboardWindow>(p.views, ui::DashboardParts::from(*p.environment, appState));
    makeMenu();
    p.stateForTray = appState->recordingState.subscribe(
        [&tray = *p.trayIcon](platform::RecordingState state) { tray.setState(state); });
    p.stateForMemory = appState->recordingState.subscribe(
        [&appState = *appState, pool = p.pool.actor()](platform::RecordingState state) {
            if (state != platform::RecordingState::idle)
                return;
            // A cancelled dictation inserts nothing.
            appState.textInserter->dropPrepared();
            pool.post(returnFreedMemory);
        });
}

void CompositionRoot::reopen() {
    parts_->delegate->openDashboard();
}

void CompositionRoot::makeMenu() {
    auto& p = *parts_;
    const auto openDashboard = [&delegate = *p.delegate] { delegate.openDashboard(); };
    const auto quit = [&application = p.application] { application.terminate(); };
    const auto closeMenu = [&p](std::function<void()> then) { p.menu->closeFirst(std::move(then)); };
    const auto giveKeyboardBack = [&p](std::function<void()> then) { p.menu->closeAndThen(std::move(then)); };
    const auto toggleMenu = [&p](const QRect& icon) {
        p.delegate->openWindow = [&p](const std::string&) { p.dashboard->open(); };
        p.menu->toggle(icon);
    };
    p.menuModel =
        std::make_unique<ui::MenuModel>(p.delegate->services()->appState(), p.settings,
                                        ui::MenuModel::Actions{.openDashboard = openDashboard,
                                                               .quit = quit,
                                                               .closeMenu = closeMenu,
                                                               .giveKeyboardBack = giveKeyboardBack});
    p.menu = std::make_unique<ui::MenuPopover>(p.views, *p.menuModel);
    p.trayMenu = std::make_unique<ui::TrayMenu>(*p.menuModel);
    p.trayIcon = std::make_unique<ui::TrayIcon>(
        p.trayHost, p.trayMenu->menu(),
        ui::TrayIcon::Actions{.toggleMenu = toggleMenu, .noPanel = openDashboard});
}

void CompositionRoot::shutDown() {
    auto& p = *parts_;
    if (const auto& services = p.delegate->services()) {
        const auto& appState = services->appState();
        if (appState->recordingState.get() == core::RecordingState::recording) {
            appState->audioRecorder->stopRecording();
            appState->audioRecorder->cleanupRecording();
        }
    }

    p.stateForTray.reset();
    p.stateForMemory.reset();
    p.trayIcon.reset();
    p.trayMenu.reset();
    p.menu.reset();
    p.menuModel.reset();
    p.dashboard.reset();
    p.floatingPanel.hide();

    p.registry->cancelAll();
    p.mainContext.runUntil([&registry = *p.registry] { return registry.count() == 0; }, shutDownSeconds);
    p.delegate.reset();
    p.pool.join();
}

} // namespace sonvale::app
