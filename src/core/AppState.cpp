#include "core/AppState.h"

#include "base/Log.h"

namespace sonvale::core {

using hotkeys::HotkeyAction;
using hotkeys::HotkeyEventType;

namespace {

/// Ends a dictation as the user would, so that its speech is transcribed and kept.
runtime::Task<> endForLock(std::shared_ptr<AppState> state) {
    co_await (state->isHandsFreeMode.get() ? state->stopHandsFreeMode() : state->stopDictation());
}

} // namespace

std::shared_ptr<AppState> AppState::make(const Environment& environment) {
    const std::shared_ptr<AppState> state(new AppState(environment));
    state->connect();
    return state;
}

AppState::AppState(const Environment& environment)
    : DictationState(environment.settings)
    , Services(environment)
    , environment_(environment)
    , context_(environment_, *this, *this)
    , endings_(context_)
    , commandMode_(context_)
    , finalisation_(context_, commandMode_, endings_)
    , longForm_(context_, finalisation_, endings_)
    , dictation_(context_, commandMode_, finalisation_, longForm_, endings_)
    , handsFree_(context_, dictation_, finalisation_, endings_)
    , startup_(context_) {}

AppState::~AppState() {
    context_.captures.discard(*context_.captures.newest());
    context_.media.end();
}

void AppState::connect() {
    const auto weak = weak_from_this();
    context_.tasks.setOwner(weak);
    hotkeyManager->setOnAction([weak](HotkeyAction action, HotkeyEventType event) {
        if (const auto self = weak.lock())
            self->context_.tasks.call(*self, &AppState::handleHotkey, action, event);
    });
    environment_.eventTap.setOnTaken([weak, main = environment_.main](platform::KeyCombination combination) {
        main.post([weak, combination] {
            using hotkeys::HotkeyConfiguration;
            if (const auto self = weak.lock())
                self->surfaceError(
                    HotkeyConfiguration::formatDisplayName(combination.keyCode, combination.modifiers) +
                    " is used by another program.");
        });
    });
    connectivityMonitor->setOnPathChange([weak] {
        const auto self = weak.lock();
        // A session in use detects the loss itself.
        if (self && self->recordingState.get() == RecordingState::idle &&
            !self->audioRecorder->isRecording.get())
            self->transcriptionManager->closeReadyStream();
    });
    permissionsManager->onPermissionGranted = [weak] {
        if (const auto self = weak.lock())
            self->startHotkeysIfReady();
    };
    environment_.sessionLock.setOnLockChange([weak](bool isLocked) {
        if (const auto self = weak.lock())
            self->setScreenLocked(isLocked);
    });
    observeState();
}

/// The subscriptions are members, and end with the object.
void AppState::observeState() {
    preferenceChange_ = transcriptionManager->preferredEngine.subscribe([this](const auto&) {
        if (!context_.stream.isPreferred())
            context_.stream.stop();
    });
    const auto reportDictating = [this] {
        hotkeyManager->setDictating(isHandsFreeMode.get() ||
                                    recordingState.get() == RecordingState::recording);
    };
    stateForListener_ = recordingState.subscribe([reportDictating](auto) { reportDictating(); });
    modeForListener_ = isHandsFreeMode.subscribe([reportDictating](auto) { reportDictating(); });
}

runtime::Task<> AppState::handleHotkey(HotkeyAction action, HotkeyEventType event) {
    const bool isDown = event == HotkeyEventType::down;
    // The listener hears keys on the lock screen too.
    if (isDown && context_.typing.isScreenLocked)
        co_return;
    if (event == HotkeyEventType::discarded) {
        co_await discardPress();
        co_return;
    }
    if (isDown)
        isRecordingOfPress_ = recordingState.get() == RecordingState::idle;
    switch (action) {
    case HotkeyAction::pushToTalk:
        if (isDown)
            co_await (isHandsFreeMode.get() ? stopHandsFreeMode() : startDictation());
        else if (!isHandsFreeMode.get())
            co_await stopDictation();
        break;
    case HotkeyAction::commandMode:
        if (isDown) {
            forceCommandMode = true;
            co_await startDictation();
        } else if (!isHandsFreeMode.get()) {
            co_await stopDictation();
        }
        break;
    case HotkeyAction::pasteLastTranscript:
        if (isDown)
            pasteLastTranscript();
        break;
    case HotkeyAction::cancel:
        if (isDown)
            co_await cancelDictation();
        break;
    case HotkeyAction::handsFree:
        if (isDown)
            co_await (isHandsFreeMode.get() ? stopHandsFreeMode() : startHandsFreeMode());
        break;
    }
}

/// Discards the recording of a press that belongs to another program's shortcut or was too short. A recording
/// that an earlier press began continues.
runtime::Task<> AppState::discardPress() {
    dictation_.giveUpStart();
    if (isRecordingOfPress_ && recordingState.get() == RecordingState::recording && !isHandsFreeMode.get())
        co_await cancelDictation();
}

runtime::Task<> AppState::stopDictation() {
    if (!handsFree_.isLeaving())
        co_await dictation_.stop();
}

runtime::Task<> AppState::cancelDictation() {
    environment_.main.assertCurrent();
    const bool wasHandsFree = isHandsFreeMode.get();
    if (wasHandsFree)
        co_await handsFree_.cancel();
    else if (recordingState.get() == RecordingState::recording)
        co_await dictation_.cancel();
    else if (recordingState.get() == RecordingState::processing)
        dictation_.cancelStalledEnd();
    endings_.end(wasHandsFree ? Ending::handsFreeCancelled : Ending::cancelled, *context_.captures.newest());
}

runtime::Task<> AppState::startHandsFreeMode() {
    longForm_.drop();
    co_await handsFree_.start();
}

void AppState::setScreenLocked(bool isLocked) {
    context_.typing.isScreenLocked = isLocked;
    // If the desktop's report is wrong, the log is where the user finds why the hotkeys do nothing.
    base::systemLog(isLocked ? "[AppState] the screen is locked, hotkeys are ignored"
                             : "[AppState] the screen is unlocked");
    if (isLocked)
        runtime::spawn(environment_.main, endForLock(shared_from_this()));
}

} // namespace sonvale::core
