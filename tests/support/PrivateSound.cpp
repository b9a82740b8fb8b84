#include "tests/support/PrivateSound.h"

#include <filesystem>
#include <stdexcept>

namespace sonvale::tests {

PrivateSound::PrivateSound(Microphone microphone, int rate, int channels) {
    ChildProcess::Options server;
    server.arguments = {"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
                        "--realtime=no", "--high-priority=no", "-L",
                        "module-native-protocol-unix socket=" + directory_.path() +
                            "/native auth-anonymous=1",
                        // Without norewinds an idle output runs in blocks of 2 s.
                        "-L",
                        "module-null-sink sink_name=vmic norewinds=1 rate=" + std::to_string(rate) +
                            " channels=" + std::to_string(channels)};
    server.environment = {{"HOME", directory_.path()},
                          {"XDG_RUNTIME_DIR", directory_.path()},
                          {"XDG_CONFIG_HOME", directory_.path()},
                          {"PULSE_RUNTIME_PATH", directory_.path()},
                          {"PULSE_STATE_PATH", directory_.path()}};
    server.withoutEnvironment = {"DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "PULSE_SERVER"};
    server.outputFile = directory_.path() + "/pulseaudio.log";
    server_ = std::make_unique<ChildProcess>(std::move(server));

    const auto isUp = [this] { return run({"pactl", "info"}, {{"PULSE_SERVER", serverAddress()}}) == 0; };
    if (!eventually(20, [this] { return std::filesystem::exists(directory_.path() + "/native"); }) ||
        !eventually(20, isUp))
        throw std::runtime_error("the sound server did not start");
    if (microphone == Microphone::present)
        addMicrophone();
}

ChildProcess PrivateSound::play(const std::string& wavPath, int latencyMilliseconds) const {
    ChildProcess::Options player;
    player.arguments = {"paplay", "--device=vmic", "--latency-msec=" + std::to_string(latencyMilliseconds),
                        wavPath};
    player.environment = {{"PULSE_SERVER", serverAddress()}, {"HOME", directory_.path()}};
    return ChildProcess(std::move(player));
}

void PrivateSound::addMicrophone() {
    control({"load-module", "module-remap-source", "master=vmic.monitor", "source_name=mic"});
    control({"set-default-source", "mic"});
}

void PrivateSound::removeMicrophone() {
    control({"unload-module", "module-remap-source"});
}

void PrivateSound::control(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command{"pactl"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    if (run(command, {{"PULSE_SERVER", serverAddress()}, {"HOME", directory_.path()}}) != 0)
        throw std::runtime_error("pactl " + arguments.front() + " failed");
}

} // namespace sonvale::tests
