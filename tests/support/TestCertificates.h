#pragma once

#include "tests/support/ChildProcess.h"

#include <filesystem>

namespace sonvale::tests {

/// An authority made at run time, and a server's certificate signed by it, in a folder that the destructor
/// removes.
class TestCertificates {
public:
    enum class Kind {
        valid,     ///< for "localhost", 127.0.0.1 and the far machine of a `PrivateNetwork`
        wrongName, ///< for "elsewhere.invalid"
        expired,   ///< yesterday
    };

    /// Throws `std::runtime_error` if the openssl command fails.
    explicit TestCertificates(Kind kind = Kind::valid);

    std::filesystem::path caFile() const { return folder() / "ca.pem"; }
    std::filesystem::path certificateFile() const { return folder() / "server.pem"; }
    std::filesystem::path keyFile() const { return folder() / "server.key"; }

private:
    std::filesystem::path folder() const { return directory_.path(); }

    TemporaryDirectory directory_;
};

} // namespace sonvale::tests
