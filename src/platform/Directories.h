#pragma once

#include <filesystem>

namespace sonvale::platform {

/// The folders of the user's files. They are determined once, at the start. Each of the first three is the
/// system's folder, in which the program makes its own.
struct Directories {
    std::filesystem::path applicationSupport; ///< records and audit log
    std::filesystem::path configuration;      ///< settings
    std::filesystem::path temporary;          ///< recordings; 0700 and owned by the user
    std::filesystem::path executable;         ///< the folder of the running program
};

} // namespace sonvale::platform
