#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace sonvale::adapters::qt {

/// Receives the kernel's messages about links that appear, disappear, are switched or lose their carrier, and
/// about addresses that appear and disappear (rtnetlink(7)). Belongs to the thread that makes it, whose event
/// loop must run.
class LinkChanges final {
public:
    /// `onChange` is called for every batch of messages, and never if the kernel cannot be asked.
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
