#pragma once

#include "platform/SampleRateConverter.h"
#include "platform/UrlSession.h"
#include "runtime/Actor.h"
#include "runtime/Clock.h"
#include "services/ServiceAddresses.h"
#include "services/TokenProvider.h"

#include <functional>
#include <optional>
#include <string>

namespace sonvale::transcription {

/// The objects that the realtime engine uses. All of them outlive it.
struct RealtimeParts {
    runtime::Actor pool;
    runtime::Actor sending; ///< serial: audio leaves in the order in which it was captured
    runtime::Clock& clock;
    platform::UrlSessions& urlSessions;
    platform::SampleRateConverters& converters;
    services::ServiceAddresses addresses;
    services::TokenProvider tokenProvider;
    std::function<std::optional<std::string>()> language; ///< the user's present choice; any thread
};

} // namespace sonvale::transcription
