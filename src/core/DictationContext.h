#pragma once

#include "core/Captures.h"
#include "core/DictationState.h"
#include "core/Environment.h"
#include "core/LostSpeech.h"
#include "core/MediaPause.h"
#include "core/Services.h"
#include "core/SpeechStream.h"
#include "core/Transcripts.h"
#include "core/Typing.h"
#include "runtime/OwnedTasks.h"

namespace sonvale::core {

/// What the flows of dictation share. Main actor.
struct DictationContext {
    /// What is referred to must outlive it.
    DictationContext(const Environment& environment, DictationState& state, Services& services);

    /// Whether nothing may leave this machine now.
    bool isLocalOnly() const;

    const Environment& environment;
    DictationState& state;
    Services& services;

    runtime::OwnedTasks tasks;
    MediaPause media;
    Captures captures;
    SpeechStream stream;
    Transcripts transcripts;
    Typing typing;
    LostSpeech lostSpeech;
};

} // namespace sonvale::core
