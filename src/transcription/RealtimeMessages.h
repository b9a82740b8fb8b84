#pragma once

#include "base/Json.h"
#include "platform/UrlSession.h"
#include "platform/WebSocketTask.h"

#include <optional>
#include <string>
#include <string_view>

// What the realtime service is told, and the token in the backend's answer. Pure; any thread.

namespace sonvale::transcription {

/// The event that sets a session up for dictation in that language; absent and "auto" leave the language to
/// the service.
base::Json sessionUpdate(const std::optional<std::string>& language);
platform::WebSocketMessage sessionUpdateFrame(const std::optional<std::string>& language);

/// 16-bit mono audio at 24,000 Hz, for the service's input buffer.
platform::WebSocketMessage audioFrame(std::string_view pcm);

/// Asks for the text of the audio that was sent since the last one.
platform::WebSocketMessage commitFrame();

/// The short-lived token of a session. Throws `TranscriptionError`.
std::string ephemeralTokenFrom(const platform::UrlResponse& response);

} // namespace sonvale::transcription
