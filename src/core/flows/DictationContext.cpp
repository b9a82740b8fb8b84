#include "core/flows/DictationContext.h"

#include "persistence/SettingsKeys.h"

namespace sonvale::core {

DictationContext::DictationContext(const Environment& e, DictationState& s, Services& all)
    : environment(e)
    , state(s)
    , services(all)
    , tasks(e.main, e.clock)
    , media(*all.systemAudioController, e.settings)
    , captures(all.audioRecorder, e.secureRandom)
    , stream(e, all.audioRecorder, all.transcriptionManager, captures, tasks)
    , transcripts(s, e.settings, e.clock)
    , typing(s, all.textInserter, tasks)
    , lostSpeech(captures, transcripts, all.transcriptionManager, tasks) {}

bool DictationContext::isLocalOnly() const {
    return environment.settings.read(persistence::keys::localOnlyMode);
}

} // namespace sonvale::core
