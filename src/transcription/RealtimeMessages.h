#pragma once

#include "base/Json.h"
#include "platform/UrlSession.h"
#include "platform/WebSocketTask.h"

#include <optional>
#include <string>
#include <string_view>

// The messages to the realtime service, and the token in the backend's answer. Pure functions; any thread.

namespace sonvale::transcription {

/// Returns the event that sets up a session for dictation in `language`. If it is absent or "auto", the
/// service detects the language.
base::Json sessionUpdate(const std::optional<std::string>& language);
platform::WebSocketMessage sessionUpdateFrame(const std::optional<std::string>& language);

/// Returns the message that appends 16-bit mono audio at 24,000 Hz to the service's input buffer.
platform::WebSocketMessage audioFrame(std::string_view pcm);

/// Returns the message that asks for the text of the audio sent since the last commit.
platform::WebSocketMessage commitFrame();

/// Returns the short-lived token of a session. Throws `TranscriptionError`.
std::string ephemeralTokenFrom(const platform::UrlResponse& response);

} // namespace sonvale::transcription
