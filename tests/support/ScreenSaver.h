#pragma once

#include <memory>
#include <string>

namespace sonvale::tests {

/// The screen saver of a desktop, on its session bus. It covers nothing and only reports.
class ScreenSaver {
public:
    /// Throws if there is no such bus.
    explicit ScreenSaver(const std::string& busAddress);
    ~ScreenSaver();
    ScreenSaver(const ScreenSaver&) = delete;
    ScreenSaver& operator=(const ScreenSaver&) = delete;

    /// Reports that it locks the screen, or unlocks it. The report is sent when this returns.
    void setActive(bool isActive);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::tests
