#pragma once

#include <stdexcept>
#include <string>

namespace sonvale::audio {

/// A capture that cannot begin. `what()` is the description.
class AudioRecorderError : public std::runtime_error {
public:
    enum class Case { noInputAvailable };

    explicit AudioRecorderError(Case which);

    Case which() const { return which_; }

    /// Words for the user.
    std::string errorDescription() const { return what(); }

private:
    Case which_;
};

} // namespace sonvale::audio
