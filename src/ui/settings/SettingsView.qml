import QtQuick
import QtQuick.Window
import SonVale

/// Every setting, on one page.
FocusScope {
    id: view

    required property SettingsModel model
    /// Of the sheet that changes the shortcuts.
    required property HotkeySheetModel shortcuts
    property bool showHotkeySheet: false
    readonly property bool isWindowActive: Window.active

    onShowHotkeySheetChanged: if (showHotkeySheet)
        hotkeySheet.open()
    // The menu, and the desktop's own tools, change some of them too.
    onIsWindowActiveChanged: if (isWindowActive)
        model.refresh()
    // A microphone can have come or gone since the start.
    Component.onCompleted: model.checkPermissions()

    TabPage {
        anchors.fill: parent
        title: Texts.tabs.settings

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

                Repeater {
                    model: Texts.engines

                    EngineOptionCard {
                        required property var modelData

                        objectName: "engine." + modelData.value
                        width: parent.width
                        icon_: modelData.icon
                        title: modelData.title
                        description: modelData.description
                        badge: modelData.badge
                        isSelected: view.model.transcriptionEngine === modelData.value
                        // Nothing may leave the machine then.
                        enabled: !view.model.localOnlyMode || modelData.value === "local"
                        onClicked: view.model.selectEngine(modelData.value)
                    }
                }
            }
            SettingRow {
                width: parent.width
                title: Texts.language
                explanation: Texts.languageExplanation

                SVPicker {
                    objectName: "languagePicker"
                    label: Texts.language
                    model: view.model.languages
                    currentIndex: view.model.languageIndex
                    onActivated: index => view.model.selectLanguage(index)
                }
            }
        }

        SettingSection {
            title: Texts.permissions

            Repeater {
                model: [{
                        "name": "Microphone",
                        "text": Texts.microphone,
                        "isGranted": view.model.microphoneGranted
                    }, {
                        "name": "Accessibility",
                        "text": Texts.accessibility,
                        "isGranted": view.model.accessibilityGranted
                    }, {
                        "name": "InputMonitoring",
                        "text": Texts.inputMonitoring,
                        "isGranted": view.model.inputMonitoringGranted
                    }, {
                        "name": "SpeechRecognition",
                        "text": Texts.speechRecognition,
                        "isGranted": view.model.speechRecognitionGranted
                    }]

                Item {
                    id: grant

                    required property var modelData

                    objectName: "grant." + modelData.name
                    width: parent ? parent.width : 0
                    height: 40
                    Accessible.role: Accessible.ListItem
                    Accessible.name: modelData.text
                    Accessible.description: modelData.isGranted ? Texts.granted : Texts.notGranted

                    Symbol {
                        id: sign

                        objectName: "grantSign." + grant.modelData.name
                        anchors.left: parent.left
                        anchors.verticalCenter: parent.verticalCenter
                        name: grant.modelData.isGranted ? "checkmark.circle.fill" : "xmark.circle.fill"
                        color: grant.modelData.isGranted ? Theme.good : Theme.danger
                    }
                    SVText {
                        anchors.left: sign.right
                        anchors.leftMargin: Theme.inControl
                        anchors.verticalCenter: parent.verticalCenter
                        text: grant.modelData.text
                        font: Theme.rowTitle
                    }
                    PlainButton {
                        objectName: "grantButton." + grant.modelData.name
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        visible: !grant.modelData.isGranted
                        text: Texts.grant
                        Accessible.description: grant.modelData.text
                        onClicked: view.model["grant" + grant.modelData.name]()
                    }
                }
            }
            SVText {
                objectName: "speechNeeded"
                isParagraph: true
                width: parent.width
                visible: !view.model.speechRecognitionGranted
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
                        text: view.model.version
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
                    enabled: view.model.updateState !== "checking"
                    onClicked: view.model.checkForUpdates()
                }
                SVText {
                    objectName: "updateState"
                    width: parent.width - checking.width - parent.spacing
                    height: checking.height
                    verticalAlignment: Text.AlignVCenter
                    text: view.model.updateState === "" ? "" : Texts.updateStates[view.model.updateState].replace("%1", view.model.updateDetail)
                    color: view.model.updateState === "failed" ? Theme.danger : Theme.secondaryText
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
