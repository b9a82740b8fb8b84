#include "tests/support/PrivateNetwork.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace sonvale::tests {

namespace {

constexpr const char* farAddress = "10.77.0.1";
constexpr const char* nearAddress = "10.77.0.2";
constexpr const char* otherNearAddress = "10.77.0.3";
constexpr int port = 8080;
constexpr double timeoutSeconds = 20;

/// Ready when its loopback is up.
constexpr const char* machine = "ip link set lo up && exec sleep 600";

std::vector<std::string> enter(const ChildProcess& of) {
    return {"nsenter", "--target=" + std::to_string(of.pid()), "--user", "--preserve-credentials", "--net"};
}

std::string networkOf(const ChildProcess& process) {
    std::error_code failure;
    return std::filesystem::read_symlink("/proc/" + std::to_string(process.pid()) + "/ns/net", failure)
        .string();
}

/// Runs a command in a network. Throws if it fails.
void runIn(std::vector<std::string> launcher, const std::vector<std::string>& command) {
    launcher.insert(launcher.end(), command.begin(), command.end());
    if (run(launcher) != 0)
        throw std::runtime_error("a private network does not do: " + command.at(1) + " " + command.at(2));
}

ChildProcess start(std::vector<std::string> command) {
    ChildProcess::Options options;
    options.arguments = std::move(command);
    return ChildProcess(std::move(options));
}

/// Starts a machine and waits until its namespace exists, which is not the namespace of `before`.
ChildProcess startMachine(std::vector<std::string> launcher, const std::string& before) {
    launcher.insert(launcher.end(), {"sh", "-c", machine});
    auto process = start(std::move(launcher));
    const bool isThere = eventually(timeoutSeconds, [&] {
        const auto network = networkOf(process);
        auto look = enter(process);
        look.insert(look.end(), {"sh", "-c", "ip link show up dev lo | grep -q UP"});
        return !network.empty() && network != before && run(look) == 0;
    });
    if (!isThere)
        throw std::runtime_error("no network of the test's own");
    return process;
}

std::vector<std::string> inside(std::vector<std::string> launcher, const std::vector<std::string>& command) {
    launcher.insert(launcher.end(), command.begin(), command.end());
    return launcher;
}

/// Runs in a process of its own, which may enter namespaces: listens and passes the socket on. Uses only
/// calls that are allowed in a forked child of a program with threads.
int listenThere(int userNamespace, int networkNamespace, int channel) {
    if (setns(userNamespace, CLONE_NEWUSER) != 0 || setns(networkNamespace, CLONE_NEWNET) != 0)
        return 1;
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = inet_addr(farAddress);
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener, SOMAXCONN) != 0)
        return 2;
    char byte = 0;
    iovec data{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof listener)] = {};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    auto* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof listener);
    std::memcpy(CMSG_DATA(header), &listener, sizeof listener);
    return sendmsg(channel, &message, 0) == 1 ? 0 : 3;
}

int receiveDescriptor(int channel) {
    int descriptor = -1;
    char byte = 0;
    iovec data{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)] = {};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (recvmsg(channel, &message, MSG_CMSG_CLOEXEC) != 1)
        return -1;
    if (const auto* header = CMSG_FIRSTHDR(&message))
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
    return descriptor;
}

} // namespace

PrivateNetwork::PrivateNetwork()
    : near_(startMachine({"unshare", "--map-root-user", "--net"},
                         std::filesystem::read_symlink("/proc/self/ns/net").string()))
    , far_(startMachine(inside(enter(near_), {"unshare", "--net"}), networkOf(near_))) {
    onNear({"ip", "link", "add", "cable", "type", "veth", "peer", "name", "end", "netns",
            std::to_string(far_.pid())});
    onFar({"ip", "address", "add", std::string(farAddress) + "/24", "dev", "end"});
    onFar({"ip", "link", "set", "end", "up"});
    onNear({"ip", "address", "add", std::string(nearAddress) + "/24", "dev", "cable"});
    onNear({"ip", "link", "set", "cable", "up"});
}

std::vector<std::string> PrivateNetwork::launcher() const {
    return enter(near_);
}

int PrivateNetwork::listen() const {
    const auto open = [](const ChildProcess& process, const char* kind) {
        const auto path = "/proc/" + std::to_string(process.pid()) + "/ns/" + kind;
        return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    };
    const int user = open(near_, "user");
    const int network = open(far_, "net");
    int channel[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, channel) != 0)
        throw std::runtime_error("no channel to the far machine");
    const pid_t child = fork();
    if (child == 0)
        _exit(listenThere(user, network, channel[1]));
    int status = -1;
    waitpid(child, &status, 0);
    const int listener = status == 0 ? receiveDescriptor(channel[0]) : -1;
    for (const int descriptor : {user, network, channel[0], channel[1]})
        close(descriptor);
    if (listener < 0)
        throw std::runtime_error("no process can listen on the far machine");
    return listener;
}

std::string PrivateNetwork::serverUrl(const std::string& scheme, const std::string& path) {
    return scheme + "://" + farAddress + ":" + std::to_string(port) + path;
}

void PrivateNetwork::fallSilent() {
    onFar({"ip", "address", "delete", std::string(farAddress) + "/24", "dev", "end"});
}

void PrivateNetwork::move() {
    onNear({"ip", "address", "delete", std::string(nearAddress) + "/24", "dev", "cable"});
    onNear({"ip", "address", "add", std::string(otherNearAddress) + "/24", "dev", "cable"});
}

void PrivateNetwork::onNear(const std::vector<std::string>& command) const {
    runIn(enter(near_), command);
}

void PrivateNetwork::onFar(const std::vector<std::string>& command) const {
    runIn(enter(far_), command);
}

} // namespace sonvale::tests
