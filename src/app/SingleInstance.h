#pragma once

#include <filesystem>
#include <string>

namespace sonvale::app {

/// Two listeners on the same keys would insert every text twice, so one user runs one program in one session.
class SingleInstance {
public:
    /// Tries to become the one instance. The lock lives in `directory` and goes with the process, however it
    /// ends.
    SingleInstance(const std::filesystem::path& directory, const std::string& session);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// False when another instance runs. True as well when no lock can be made: that must not keep the user
    /// from working.
    bool isFirst() const { return isFirst_; }

private:
    int descriptor_ = -1;
    bool isFirst_ = true;
};

} // namespace sonvale::app
