#include "tests/support/MpvPlayer.h"

#include "tests/support/Files.h"

#include <dbus/dbus.h>

#include <stdexcept>
#include <string_view>

namespace sonvale::tests {

namespace {

constexpr const char* service = "org.mpris.MediaPlayer2.mpv";
constexpr const char* path = "/org/mpris/MediaPlayer2";
constexpr const char* playerInterface = "org.mpris.MediaPlayer2.Player";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr const char* playbackStatus = "PlaybackStatus";

struct UnrefMessage {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, UnrefMessage>;

ChildProcess::Options mpv(const std::string& busAddress, const std::string& home, bool isPlaying) {
    ChildProcess::Options options;
    options.arguments = {"mpv",
                         "--no-config",
                         "--load-scripts=no",
                         "--script=/usr/lib/mpv-mpris/mpris.so",
                         "--really-quiet",
                         "--vo=null",
                         "--ao=null",
                         isPlaying ? "--pause=no" : "--pause=yes",
                         "av://lavfi:sine"};
    options.environment = {{"DBUS_SESSION_BUS_ADDRESS", busAddress}, {"HOME", home}};
    options.outputFile = home + "/mpv.log";
    return options;
}

/// Returns the text at `place`: a string, or a variant with a string in it.
std::string stringAt(DBusMessageIter place) {
    if (dbus_message_iter_get_arg_type(&place) == DBUS_TYPE_VARIANT) {
        DBusMessageIter inner;
        dbus_message_iter_recurse(&place, &inner);
        place = inner;
    }
    const char* text = nullptr;
    if (dbus_message_iter_get_arg_type(&place) == DBUS_TYPE_STRING)
        dbus_message_iter_get_basic(&place, &text);
    return text ? text : "";
}

/// Returns the status in a report of changes; empty if it contains none.
std::string statusIn(DBusMessage* report) {
    DBusMessageIter place;
    if (!dbus_message_is_signal(report, propertiesInterface, "PropertiesChanged") ||
        !dbus_message_has_signature(report, "sa{sv}as") || !dbus_message_iter_init(report, &place))
        return {};
    dbus_message_iter_next(&place);
    DBusMessageIter entry;
    for (dbus_message_iter_recurse(&place, &entry);
         dbus_message_iter_get_arg_type(&entry) == DBUS_TYPE_DICT_ENTRY; dbus_message_iter_next(&entry)) {
        DBusMessageIter pair;
        dbus_message_iter_recurse(&entry, &pair);
        if (stringAt(pair) != playbackStatus)
            continue;
        dbus_message_iter_next(&pair);
        return stringAt(pair);
    }
    return {};
}

} // namespace

class MpvPlayer::Bus {
public:
    explicit Bus(const std::string& address)
        : connection_(dbus_connection_open_private(address.c_str(), nullptr)) {
        if (!connection_ || !dbus_bus_register(connection_, nullptr))
            throw std::runtime_error("no D-Bus session at " + address);
        dbus_connection_set_exit_on_disconnect(connection_, FALSE);
        const auto rule = std::string("type='signal',path='") + path + "',interface='" + propertiesInterface +
                          "',member='PropertiesChanged'";
        dbus_bus_add_match(connection_, rule.c_str(), nullptr);
    }
    ~Bus() {
        dbus_connection_close(connection_);
        dbus_connection_unref(connection_);
    }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    /// Calls a method of the player with up to two words. Returns its answer, or null.
    Message call(const char* interface, const char* method, const char* first = nullptr,
                 const char* second = nullptr) const {
        const Message question(dbus_message_new_method_call(service, path, interface, method));
        dbus_message_set_auto_start(question.get(), FALSE);
        for (const char* word : {first, second}) {
            if (word)
                dbus_message_append_args(question.get(), DBUS_TYPE_STRING, &word, DBUS_TYPE_INVALID);
        }
        constexpr int timeoutMilliseconds = 1000;
        return Message(dbus_connection_send_with_reply_and_block(connection_, question.get(),
                                                                 timeoutMilliseconds, nullptr));
    }

    std::string reportedStatus() {
        dbus_connection_read_write(connection_, 0);
        while (const Message message{dbus_connection_pop_message(connection_)}) {
            if (auto status = statusIn(message.get()); !status.empty())
                reported_ = std::move(status);
        }
        return reported_;
    }

private:
    DBusConnection* connection_;
    std::string reported_;
};

MpvPlayer::MpvPlayer(const std::string& busAddress, bool isPlaying)
    : bus_(std::make_unique<Bus>(busAddress))
    , process_(mpv(busAddress, directory_.path(), isPlaying)) {
    const std::string wanted = isPlaying ? "Playing" : "Paused";
    const auto isReady = [&] { return status() == wanted; };
    // On a busy machine its MPRIS script sometimes does not start at all.
    for (int attempts = 3; !eventually(8, isReady); --attempts) {
        if (attempts == 1)
            throw std::runtime_error("mpv did not start: it is \"" + status() + "\"\n" +
                                     contentOf(directory_.path() + "/mpv.log"));
        process_.end();
        process_ = ChildProcess(mpv(busAddress, directory_.path(), isPlaying));
    }
}

MpvPlayer::~MpvPlayer() = default;

void MpvPlayer::setPlaying(bool isPlaying) {
    bus_->call(playerInterface, isPlaying ? "Play" : "Pause");
}

std::string MpvPlayer::status() const {
    const auto answer = bus_->call(propertiesInterface, "Get", playerInterface, playbackStatus);
    DBusMessageIter place;
    return answer && dbus_message_iter_init(answer.get(), &place) ? stringAt(place) : std::string();
}

std::string MpvPlayer::reportedStatus() {
    return bus_->reportedStatus();
}

} // namespace sonvale::tests
