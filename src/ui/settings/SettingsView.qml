import QtQuick
import QtQuick.Window
import SonVale

/// The page with all settings.
FocusScope {
    id: view

    required property SettingsModel model
    /// The model of the sheet that changes the shortcuts.
    required property HotkeySheetModel shortcuts
    property bool showHotkeySheet: false
    readonly property bool isWindowActive: Window.active

    function updateText() {
        switch (model.updates.state) {
        case UpdateModel.Checking:
            return Texts.checkingForUpdates;
        case UpdateModel.UpToDate:
            return Texts.upToDate;
        case UpdateModel.Newer:
            return Texts.newerVersion.replace("%1", model.updates.detail);
        case UpdateModel.NewerAt:
            return Texts.newerVersionAt.replace("%1", model.updates.detail);
        case UpdateModel.Failed:
            return model.updates.detail;
        default:
            return "";
        }
    }

    onShowHotkeySheetChanged: if (showHotkeySheet)
        hotkeySheet.open()
    // The menu and the desktop's own tools also change some of the settings.
    onIsWindowActiveChanged: if (isWindowActive)
        model.refresh()
    // A microphone can appear or disappear after the start.
    Component.onCompleted: model.permissions.checkAll()

    TabPage {
        anchors.fill: parent
        title: Texts.settings

        SettingSection {
            title: Texts.general

            SettingToggle {
                name: "launchAtLogin"
                title: Texts.launchAtLogin
                isOn: view.model.launchAtLogin
                onTurned: isOn => view.model.launchAtLogin = isOn
            }
            SettingToggle {
                name: "soundEffects"
                title: Texts.soundEffects
                isOn: view.model.soundEffects
                onTurned: isOn => view.model.soundEffects = isOn
            }
            SettingToggle {
                name: "pauseAudioDuringDictation"
                title: Texts.pauseAudio
                explanation: Texts.pauseAudioExplanation
                isOn: view.model.pauseAudioDuringDictation
                onTurned: isOn => view.model.pauseAudioDuringDictation = isOn
            }
            SettingToggle {
                name: "showInDock"
                title: Texts.showInDock
                explanation: Texts.showInDockExplanation
                isOn: view.model.showInDock
                onTurned: isOn => view.model.showInDock = isOn
            }
            SettingToggle {
                name: "textCleanup"
                title: Texts.textCleanup
                explanation: Texts.textCleanupExplanation
                isOn: view.model.textCleanup
                onTurned: isOn => view.model.textCleanup = isOn
            }
        }

        SettingSection {
            title: Texts.privacyAndData

            SettingToggle {
                name: "privacyMode"
                title: Texts.privacyMode
                explanation: Texts.privacyModeExplanation
                isOn: view.model.privacyMode
                onTurned: isOn => view.model.privacyMode = isOn
            }
            SettingToggle {
                name: "localOnlyMode"
                title: Texts.localOnlyMode
                explanation: Texts.localOnlyModeExplanation
                isOn: view.model.localOnlyMode
                onTurned: isOn => view.model.localOnlyMode = isOn
            }
        }

        SettingSection {
            title: Texts.hotkey

            SettingRow {
                width: parent.width
                title: Texts.keyboardShortcuts
                explanation: Texts.keyboardShortcutsExplanation

                PlainButton {
                    objectName: "changeHotkeys"
                    text: Texts.changeHotkeys
                    onClicked: view.showHotkeySheet = true
                }
            }
            SettingToggle {
                name: "guardModifierHotkeys"
                title: Texts.guardModifierHotkeys
                explanation: Texts.guardModifierHotkeysExplanation
                isOn: view.model.guardModifierHotkeys
                onTurned: isOn => view.model.guardModifierHotkeys = isOn
            }
        }

        SettingSection {
            title: Texts.transcription

            Column {
                width: parent.width
                spacing: Theme.inControl

                EngineOptionCard {
                    objectName: "engine.streaming"
                    width: parent.width
                    icon_: "waveform.circle.fill"
                    title: Texts.streaming
                    description: Texts.streamingExplanation
                    isSelected: view.model.transcription.engine === TranscriptionSettingsModel.Streaming
                    // In local-only mode no data may leave the machine.
                    enabled: !view.model.localOnlyMode
                    onClicked: view.model.transcription.selectEngine(TranscriptionSettingsModel.Streaming)
                }
                EngineOptionCard {
                    objectName: "engine.hybrid"
                    width: parent.width
                    icon_: "arrow.triangle.branch"
                    title: Texts.hybrid
                    badge: Texts.hybridBadge
                    description: Texts.hybridExplanation
                    isSelected: view.model.transcription.engine === TranscriptionSettingsModel.Hybrid
                    enabled: !view.model.localOnlyMode
                    onClicked: view.model.transcription.selectEngine(TranscriptionSettingsModel.Hybrid)
                }
                EngineOptionCard {
                    objectName: "engine.local"
                    width: parent.width
                    icon_: "desktopcomputer"
                    title: Texts.local
                    badge: Texts.localBadge
                    description: Texts.localExplanation
                    isSelected: view.model.transcription.engine === TranscriptionSettingsModel.Local
                    onClicked: view.model.transcription.selectEngine(TranscriptionSettingsModel.Local)
                }
            }
            SettingRow {
                width: parent.width
                title: Texts.language
                explanation: Texts.languageExplanation

                SVPicker {
                    objectName: "languagePicker"
                    label: Texts.language
                    model: view.model.transcription.languages
                    currentIndex: view.model.transcription.languageIndex
                    onActivated: index => view.model.transcription.selectLanguage(index)
                }
            }
        }

        SettingSection {
            title: Texts.permissions

            Repeater {
                model: view.model.permissions

                Item {
                    id: permissionRow

                    required property int permission
                    required property string name
                    required property string label
                    required property bool isGranted

                    objectName: "permission." + name
                    width: parent ? parent.width : 0
                    height: 40
                    Accessible.role: Accessible.ListItem
                    Accessible.name: label
                    Accessible.description: isGranted ? Texts.granted : Texts.notGranted

                    Symbol {
                        id: sign

                        objectName: "permissionSign." + permissionRow.name
                        anchors.left: parent.left
                        anchors.verticalCenter: parent.verticalCenter
                        name: permissionRow.isGranted ? "checkmark.circle.fill" : "xmark.circle.fill"
                        color: permissionRow.isGranted ? Theme.good : Theme.danger
                    }
                    SVText {
                        anchors.left: sign.right
                        anchors.leftMargin: Theme.inControl
                        anchors.verticalCenter: parent.verticalCenter
                        text: permissionRow.label
                        font: Theme.rowTitle
                    }
                    PlainButton {
                        objectName: "permissionButton." + permissionRow.name
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        visible: !permissionRow.isGranted
                        text: Texts.allow
                        Accessible.description: permissionRow.label
                        onClicked: view.model.permissions.request(permissionRow.permission)
                    }
                }
            }
            SVText {
                objectName: "speechNeeded"
                isParagraph: true
                width: parent.width
                visible: !view.model.permissions.isSpeechRecognitionGranted
                text: Texts.speechNeeded
                font: Theme.caption
                color: Theme.caution
            }
            PlainButton {
                objectName: "recheckPermissions"
                text: Texts.recheckPermissions
                onClicked: view.model.recheckPermissions()
            }
        }

        SettingSection {
            title: Texts.about

            Row {
                width: parent.width
                spacing: Theme.inCard

                Symbol {
                    id: logo

                    name: "Logo"
                    size: 40
                    color: Theme.accent
                }
                Column {
                    width: parent.width - logo.width - parent.spacing
                    spacing: 2

                    SVText {
                        width: parent.width
                        text: Texts.applicationName
                        font: Theme.rowTitle
                    }
                    SVText {
                        width: parent.width
                        text: Texts.aboutLine
                        color: Theme.secondaryText
                    }
                    SVText {
                        objectName: "version"
                        width: parent.width
                        text: view.model.updates.version
                        font: Theme.caption
                        color: Theme.secondaryText
                    }
                }
            }
            Row {
                width: parent.width
                spacing: Theme.betweenRows

                PlainButton {
                    id: checking

                    objectName: "checkForUpdates"
                    text: Texts.checkForUpdates
                    enabled: view.model.updates.state !== UpdateModel.Checking
                    onClicked: view.model.updates.check()
                }
                SVText {
                    objectName: "updateState"
                    width: parent.width - checking.width - parent.spacing
                    height: checking.height
                    verticalAlignment: Text.AlignVCenter
                    text: view.updateText()
                    color: view.model.updates.state === UpdateModel.Failed ? Theme.danger : Theme.secondaryText
                    font: Theme.caption
                    Accessible.role: Accessible.StatusBar
                    Accessible.name: text
                }
            }
        }
    }

    HotkeySettingsSheet {
        id: hotkeySheet

        model: view.shortcuts
        onClosed: view.showHotkeySheet = false
    }
}
