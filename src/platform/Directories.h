#pragma once

#include <filesystem>

namespace sonvale::platform {

/// The places of the user's files. Resolved once at start; each of the first three is the system's folder, in
/// which the program makes its own.
struct Directories {
    std::filesystem::path applicationSupport; ///< records and audit log
    std::filesystem::path configuration;      ///< settings
    std::filesystem::path temporary;          ///< recordings; 0700 and the user's own
    std::filesystem::path executable;         ///< folder of the running program
};

} // namespace sonvale::platform
