#pragma once

#include "core/Environment.h"
#include "core/Services.h"
#include "core/flows/Captures.h"
#include "core/flows/DictationState.h"
#include "core/flows/LostSpeech.h"
#include "core/flows/MediaPause.h"
#include "core/flows/SpeechStream.h"
#include "core/flows/Transcripts.h"
#include "core/flows/Typing.h"
#include "runtime/OwnedTasks.h"

namespace sonvale::core {

/// The objects that the flows of dictation share. Main actor.
struct DictationContext {
    /// The referenced objects must outlive it.
    DictationContext(const Environment& environment, DictationState& state, Services& services);

    /// Returns whether no data may leave this machine now.
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
