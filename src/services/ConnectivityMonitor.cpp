#include "services/ConnectivityMonitor.h"

namespace sonvale::services {

namespace {

ConnectionType typeOf(const platform::NetworkPath& path) {
    if (path.usesWifi)
        return ConnectionType::wifi;
    if (path.usesCellular)
        return ConnectionType::cellular;
    return path.usesWiredEthernet ? ConnectionType::wired : ConnectionType::unknown;
}

} // namespace

ConnectivityMonitor::ConnectivityMonitor(runtime::Actor main, platform::PathMonitor& monitor)
    : monitor_(monitor) {
    monitor_.start([main, weak = std::weak_ptr<State>(state_)](const platform::NetworkPath& path) {
        main.post([weak, path] {
            if (const auto state = weak.lock()) {
                state->isConnected = path.isSatisfied;
                state->connectionType = typeOf(path);
                const auto former = std::exchange(state->path, path);
                if (former && former != path && state->onPathChange)
                    state->onPathChange();
            }
        });
    });
}

ConnectivityMonitor::~ConnectivityMonitor() {
    monitor_.cancel();
}

} // namespace sonvale::services
