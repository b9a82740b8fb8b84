#include "adapters/qt/network/SessionHandle.h"

namespace sonvale::adapters::qt {

SessionHandle::SessionHandle(std::shared_ptr<NetworkThread> thread)
    : thread_(std::move(thread))
    , id_(thread_->makeId()) {
    thread_->post([id = id_](Network& network) { network.addSession(id); });
}

SessionHandle::~SessionHandle() {
    invalidate();
}

void SessionHandle::invalidate() {
    // If the thread has ended, its sessions have too.
    thread_->post([id = id_](Network& network) { network.endSession(id); });
}

} // namespace sonvale::adapters::qt
