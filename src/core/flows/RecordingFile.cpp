#include "core/flows/RecordingFile.h"

#include "persistence/SecureDeletion.h"

#include <exception>
#include <utility>

namespace sonvale::core {

RecordingFile::RecordingFile(std::filesystem::path path, platform::SecureRandom& random)
    : path_(std::move(path))
    , random_(&random) {}

RecordingFile::RecordingFile(RecordingFile&& other) noexcept
    : path_(std::exchange(other.path_, {}))
    , random_(other.random_) {}

RecordingFile& RecordingFile::operator=(RecordingFile&& other) noexcept {
    if (this != &other) {
        deleteFile();
        path_ = std::exchange(other.path_, {});
        random_ = other.random_;
    }
    return *this;
}

RecordingFile::~RecordingFile() {
    deleteFile();
}

void RecordingFile::deleteFile() noexcept {
    if (path_.empty())
        return;
    try {
        persistence::secureDelete(path_, *random_);
    } catch (const std::exception&) {
        // The daily cleaning deletes it.
        return;
    }
}

} // namespace sonvale::core
