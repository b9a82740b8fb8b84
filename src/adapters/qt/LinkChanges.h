#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace sonvale::adapters::qt {

/// The kernel's messages about links that come, go, are switched or lose their carrier, and about addresses
/// that come and go (rtnetlink(7)). On the thread that makes it, whose event loop must run.
class LinkChanges final {
public:
    /// `onChange` is called for every batch of messages. When the kernel cannot be asked, never.
    explicit LinkChanges(std::function<void()> onChange);
    LinkChanges(const LinkChanges&) = delete;
    LinkChanges& operator=(const LinkChanges&) = delete;
    ~LinkChanges();

private:
    void readAll() const;

    const std::function<void()> onChange_;
    int socket_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace sonvale::adapters::qt
