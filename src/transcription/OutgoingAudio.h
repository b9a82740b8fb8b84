#pragma once

#include "base/WipingAllocator.h"
#include "platform/WebSocketTask.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>

namespace sonvale::transcription {

/// The converted audio that has not been sent: the chunks that are about to be sent, and the rest, which is
/// in no chunk yet. Overwrites the rest when it drops it. Has no lock; the owner's lock guards it.
class OutgoingAudio {
public:
    static constexpr std::size_t targetChunkBytes = 4800; ///< 100 ms of 16-bit mono audio at 24,000 Hz

    using Socket = std::shared_ptr<platform::WebSocketTask>;

    /// Audio that is about to be sent, with the socket to send it to.
    struct Chunk {
        base::WipedBytes pcm;
        Socket socket;
    };

    OutgoingAudio() = default;
    OutgoingAudio(const OutgoingAudio&) = delete;
    OutgoingAudio& operator=(const OutgoingAudio&) = delete;
    ~OutgoingAudio();

    /// Appends to the rest. Wipes `pcm`.
    void append(base::WipedBytes& pcm);

    /// Makes the whole rest one chunk if it has at least `targetChunkBytes`. Returns whether it did.
    bool cutRest(const Socket& socket);

    /// Makes chunks of exactly `targetChunkBytes` and keeps what is left. Returns the number of chunks.
    std::size_t cutWholeChunks(const Socket& socket);

    /// Removes and returns the oldest chunk. Returns nullopt if there is none.
    std::optional<Chunk> takeChunk();

    /// Removes and returns the rest.
    base::WipedBytes takeRest();

    void wipeRest();

private:
    base::WipedBytes accumulatedPCM_; ///< the rest
    std::deque<Chunk> outgoing_;      ///< in the order of the capture
};

} // namespace sonvale::transcription
