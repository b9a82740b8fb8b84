#include "tests/support/TestCertificates.h"

#include "tests/support/Files.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace sonvale::tests {

namespace {

void openssl(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "openssl");
    if (run(arguments) != 0)
        throw std::runtime_error("the openssl command failed: openssl " + arguments[1]);
}

/// Returns a private configuration: the machine's may add its own extensions.
std::string configuration(TestCertificates::Kind kind, const std::filesystem::path& folder) {
    const std::string names = kind == TestCertificates::Kind::wrongName
                                  ? "DNS:elsewhere.invalid"
                                  : "DNS:localhost, IP:127.0.0.1, IP:10.77.0.1";
    return "[req]\n"
           "distinguished_name = name\n"
           "[name]\n"
           "[authority]\n"
           "basicConstraints = critical, CA:TRUE\n"
           "keyUsage = critical, keyCertSign, cRLSign\n"
           "subjectKeyIdentifier = hash\n"
           "[server]\n"
           "basicConstraints = critical, CA:FALSE\n"
           "keyUsage = critical, digitalSignature\n"
           "extendedKeyUsage = serverAuth\n"
           "subjectKeyIdentifier = hash\n"
           "authorityKeyIdentifier = keyid\n"
           "subjectAltName = " +
           names +
           "\n"
           "[ca]\n"
           "default_ca = us\n"
           "[us]\n"
           "database = " +
           (folder / "index").string() +
           "\n"
           "new_certs_dir = " +
           folder.string() +
           "\n"
           "rand_serial = yes\n"
           "default_md = sha256\n"
           "policy = any\n"
           "x509_extensions = server\n"
           "[any]\n"
           "commonName = supplied\n";
}

} // namespace

TestCertificates::TestCertificates(Kind kind) {
    const auto file = [&](const char* name) { return (folder() / name).string(); };
    const std::vector<std::string> newKey{"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes"};
    const auto request = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "req");
        arguments.insert(arguments.end(), newKey.begin(), newKey.end());
        openssl(std::move(arguments));
    };

    writeFile(file("openssl.cnf"), configuration(kind, folder()));
    writeFile(file("index"), "");

    request({"-config", file("openssl.cnf"), "-x509", "-extensions", "authority", "-days", "30", "-subj",
             "/CN=Test authority", "-keyout", file("ca.key"), "-out", file("ca.pem")});
    request({"-config", file("openssl.cnf"), "-subj", "/CN=Test server", "-keyout", file("server.key"),
             "-out", file("server.csr")});
    // Only this subcommand can date a certificate back.
    openssl({"ca", "-config", file("openssl.cnf"), "-batch", "-notext", "-cert", file("ca.pem"), "-keyfile",
             file("ca.key"), "-in", file("server.csr"), "-out", file("server.pem"), "-startdate",
             "20200101000000Z", "-enddate", kind == Kind::expired ? "20210101000000Z" : "20491231235959Z"});
}

} // namespace sonvale::tests
