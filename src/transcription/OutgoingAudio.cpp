#include "transcription/OutgoingAudio.h"

#include "base/Wipe.h"

#include <utility>

namespace sonvale::transcription {

OutgoingAudio::~OutgoingAudio() {
    wipeRest();
}

void OutgoingAudio::append(base::WipedBytes& pcm) {
    accumulatedPCM_ += pcm;
    base::wipe(pcm);
}

bool OutgoingAudio::cutRest(const Socket& socket) {
    if (accumulatedPCM_.size() < targetChunkBytes)
        return false;
    outgoing_.push_back({takeRest(), socket});
    return true;
}

std::size_t OutgoingAudio::cutWholeChunks(const Socket& socket) {
    const auto chunks = accumulatedPCM_.size() / targetChunkBytes;
    if (chunks == 0)
        return 0;
    for (std::size_t i = 0; i < chunks; ++i)
        outgoing_.push_back({accumulatedPCM_.substr(i * targetChunkBytes, targetChunkBytes), socket});
    auto tail = accumulatedPCM_.substr(chunks * targetChunkBytes);
    base::wipe(accumulatedPCM_);
    accumulatedPCM_ = std::move(tail);
    return chunks;
}

std::optional<OutgoingAudio::Chunk> OutgoingAudio::takeChunk() {
    if (outgoing_.empty())
        return std::nullopt;
    auto chunk = std::move(outgoing_.front());
    outgoing_.pop_front();
    return chunk;
}

base::WipedBytes OutgoingAudio::takeRest() {
    return std::exchange(accumulatedPCM_, {});
}

void OutgoingAudio::wipeRest() {
    base::wipe(accumulatedPCM_);
}

} // namespace sonvale::transcription
