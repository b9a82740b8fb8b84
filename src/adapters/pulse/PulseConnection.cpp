#include "adapters/pulse/PulseConnection.h"

#include <utility>
#include <vector>

namespace sonvale::adapters::pulse {

namespace {

struct Source {
    std::string name;
    pa_sample_spec sampleSpec{};
    pa_channel_map channelMap{};
};

/// Two questions that are sent together, so that both answers need one round trip.
struct InputQuery {
    PulseConnection* connection = nullptr;
    std::string defaultSource;
    std::vector<Source> realSources;
    int answers = 0;
};

void takeServer(pa_context*, const pa_server_info* info, void* data) {
    auto& query = *static_cast<InputQuery*>(data);
    if (info && info->default_source_name)
        query.defaultSource = info->default_source_name;
    ++query.answers;
    query.connection->signal();
}

void takeSource(pa_context*, const pa_source_info* info, int end, void* data) {
    auto& query = *static_cast<InputQuery*>(data);
    if (end == 0) {
        if (info->monitor_of_sink == PA_INVALID_INDEX)
            query.realSources.push_back({info->name, info->sample_spec, info->channel_map});
        return;
    }
    ++query.answers;
    query.connection->signal();
}

} // namespace

PulseConnection::Lock::Lock(PulseConnection& connection)
    : loop_(connection.loop_) {
    pa_threaded_mainloop_lock(loop_);
}

PulseConnection::Lock::~Lock() {
    pa_threaded_mainloop_unlock(loop_);
}

PulseConnection::TimeLimit::TimeLimit(PulseConnection& connection, double seconds)
    : connection_(connection) {
    const auto end = pa_rtclock_now() + static_cast<pa_usec_t>(seconds * PA_USEC_PER_SEC);
    const auto isDue = [](pa_mainloop_api*, pa_time_event*, const timeval*, void* data) {
        auto& limit = *static_cast<TimeLimit*>(data);
        limit.isOver_ = true;
        limit.connection_.signal();
    };
    event_ = pa_context_rttime_new(connection.context_, end, isDue, this);
    // Without a timer, no wait at all is better than one without an end.
    isOver_ = event_ == nullptr;
}

PulseConnection::TimeLimit::~TimeLimit() {
    if (event_)
        pa_threaded_mainloop_get_api(connection_.loop_)->time_free(event_);
}

PulseConnection::PulseConnection(std::string server)
    : server_(std::move(server)) {
    loop_ = pa_threaded_mainloop_new();
    if (!loop_)
        return;
    pa_threaded_mainloop_set_name(loop_, "audio capture");
    context_ = pa_context_new(pa_threaded_mainloop_get_api(loop_), "Son Vale");
}

PulseConnection::~PulseConnection() {
    if (!loop_)
        return;
    if (context_) {
        const Lock lock(*this);
        pa_context_set_state_callback(context_, nullptr, nullptr);
        pa_context_disconnect(context_);
        pa_context_unref(context_);
    }
    if (isLoopRunning_)
        pa_threaded_mainloop_stop(loop_);
    pa_threaded_mainloop_free(loop_);
}

PulseConnection::Outcome PulseConnection::connect(double seconds) {
    if (!context_ || pa_threaded_mainloop_start(loop_) < 0)
        return Outcome::unreachable;
    isLoopRunning_ = true;

    const Lock lock(*this);
    const TimeLimit limit(*this, seconds);
    pa_context_set_state_callback(
        context_, [](pa_context*, void* data) { static_cast<PulseConnection*>(data)->signal(); }, this);
    const bool isBegun = pa_context_connect(context_, server_.empty() ? nullptr : server_.c_str(),
                                            PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0;
    if (isBegun)
        waitUntil(limit, [this] { return pa_context_get_state(context_) == PA_CONTEXT_READY || !isAlive(); });
    if (pa_context_get_state(context_) == PA_CONTEXT_READY)
        return Outcome::connected;
    const int error = pa_context_errno(context_);
    return error == PA_ERR_ACCESS || error == PA_ERR_AUTHKEY ? Outcome::refused : Outcome::unreachable;
}

std::optional<PulseInput> PulseConnection::findInput(double seconds) {
    const Lock lock(*this);
    const TimeLimit limit(*this, seconds);
    InputQuery query;
    query.connection = this;
    const PulseOperation server(pa_context_get_server_info(context_, takeServer, &query));
    const PulseOperation sources(pa_context_get_source_info_list(context_, takeSource, &query));
    if (!server || !sources)
        return std::nullopt;
    waitUntil(limit, [&] { return query.answers == 2 || !isAlive(); });
    if (query.answers < 2 || query.realSources.empty())
        return std::nullopt;

    for (const auto& source : query.realSources) {
        // Unnamed, so that the capture follows if the user chooses another microphone meanwhile.
        if (source.name == query.defaultSource)
            return PulseInput{"", source.sampleSpec, source.channelMap};
    }
    // The monitor of an output is the default source; it would record what the speakers play.
    const auto& first = query.realSources.front();
    return PulseInput{first.name, first.sampleSpec, first.channelMap};
}

bool PulseConnection::isAlive() const {
    return PA_CONTEXT_IS_GOOD(pa_context_get_state(context_));
}

std::string PulseConnection::lastError() const {
    return pa_strerror(pa_context_errno(context_));
}

} // namespace sonvale::adapters::pulse
