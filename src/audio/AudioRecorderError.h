#pragma once

#include "base/TypedError.h"

namespace sonvale::audio {

enum class AudioRecorderErrorCase { noInputAvailable };

/// An error of starting a recording.
class AudioRecorderError : public base::TypedError<AudioRecorderErrorCase> {
public:
    explicit AudioRecorderError(Case errorCase);
};

} // namespace sonvale::audio
