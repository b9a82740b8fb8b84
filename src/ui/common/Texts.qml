pragma Singleton
import QtQuick
import SonVale

/// Every text of the views that is not told by a model, for translation.
QtObject {
    readonly property string applicationName: qsTr("Son Vale")
    readonly property string copy: qsTr("Copy")

    // The menu.
    readonly property string startHint: qsTr("Hold ⌥D to start dictating")
    readonly property string dashboard: qsTr("Dashboard")
    readonly property string copyLast: qsTr("Copy Last Transcript")
    readonly property string pasteLast: qsTr("Paste Last Transcript")
    readonly property string pasteLastShortcut: "⌘⌥V"
    readonly property string shortcuts: qsTr("Shortcuts")
    readonly property string language: qsTr("Language")
    readonly property string quit: qsTr("Quit Son Vale")

    // The dashboard's tabs.
    readonly property var tabs: ({
            "home": qsTr("Home"),
            "snippets": qsTr("Snippets"),
            "style": qsTr("Style"),
            "scratchpad": qsTr("Scratchpad"),
            "settings": qsTr("Settings"),
            "help": qsTr("Help")
        })
    readonly property string close: qsTr("Close")

    // Home.
    readonly property string welcomeBack: qsTr("Welcome back, %1")
    readonly property string somebody: qsTr("there")
    readonly property string days: qsTr("days")
    readonly property string words: qsTr("words")
    readonly property string wordsPerMinute: qsTr("WPM")
    readonly property string promotionHeading: qsTr("Make Son Vale sound like %1")
    readonly property string promotionYou: qsTr("you")
    readonly property string promotionBody: qsTr("Son Vale adapts to how you write in different apps. Personalize your style for messages, work chats, emails, and more.")
    readonly property string startNow: qsTr("Start now")
    readonly property string noTranscriptions: qsTr("No transcriptions yet")
    readonly property string pressToStart: qsTr("Press Option + D to start dictating")
    readonly property string history: qsTr("History")
    readonly property string copied: qsTr("Copied")
    readonly property string showAll: qsTr("Show all")
    readonly property string showLess: qsTr("Show less")

    // The settings.
    readonly property string general: qsTr("General")
    readonly property string launchAtLogin: qsTr("Launch at login")
    readonly property string soundEffects: qsTr("Sound effects")
    readonly property string pauseAudio: qsTr("Pause audio during dictation")
    readonly property string pauseAudioExplanation: qsTr("Pauses Spotify and Apple Music while recording.")
    readonly property string showInDock: qsTr("Show in Dock")
    readonly property string showInDockExplanation: qsTr("Hide the Dock icon to keep Son Vale as a menu bar-only app.")
    readonly property string textCleanup: qsTr("Text cleanup")
    readonly property string textCleanupExplanation: qsTr("Automatically clean up grammar, punctuation, and apply your style preferences after dictation.")
    readonly property string privacyAndData: qsTr("Privacy & Data")
    readonly property string privacyMode: qsTr("Privacy mode")
    readonly property string privacyModeExplanation: qsTr("Transcription still uses cloud services, but nothing is saved to your history.")
    readonly property string localOnlyMode: qsTr("Local-only mode")
    readonly property string localOnlyModeExplanation: qsTr("All processing happens on-device. No audio or text leaves your Mac.")
    readonly property string hotkey: qsTr("Hotkey")
    readonly property string keyboardShortcuts: qsTr("Keyboard Shortcuts")
    readonly property string keyboardShortcutsExplanation: qsTr("Customize hotkeys for dictation, commands, and more")
    readonly property string changeHotkeys: qsTr("Change Hotkeys")
    readonly property string guardModifierHotkeys: qsTr("Ignore short presses and other shortcuts")
    readonly property string guardModifierHotkeysExplanation: qsTr("A shortcut that is a modifier alone records only when it is held by itself, not when you tap it or use it for another shortcut.")
    readonly property string transcription: qsTr("Transcription")
    readonly property var engines: [{
            "value": "streaming",
            "icon": "waveform.circle.fill",
            "title": qsTr("Streaming"),
            "badge": "",
            "description": qsTr("Fastest. Audio is transcribed in real-time as you speak.")
        }, {
            "value": "hybrid",
            "icon": "arrow.triangle.branch",
            "title": qsTr("Hybrid"),
            "badge": qsTr("Recommended"),
            "description": qsTr("Best of both. Streams when online, falls back to local when offline.")
        }, {
            "value": "local",
            "icon": "desktopcomputer",
            "title": qsTr("Local"),
            "badge": qsTr("Free"),
            "description": qsTr("Free. No API key needed — uses your Mac's built-in speech recognition.")
        }]
    readonly property string languageExplanation: qsTr("Select the language you'll be speaking. Choose Auto-detect if you switch languages frequently.")
    readonly property string permissions: qsTr("Permissions")
    readonly property string grant: qsTr("Grant")
    readonly property string speechNeeded: qsTr("Speech Recognition is needed for Local and Hybrid modes.")
    readonly property string recheckPermissions: qsTr("Re-check Permissions")
    readonly property string about: qsTr("About")
    readonly property string aboutLine: qsTr("Voice-to-text that adapts to how you write.")
    readonly property string checkForUpdates: qsTr("Check for Updates")
    /// By the states of a check; what is told with it stands for %1.
    readonly property var updateStates: ({
            "checking": qsTr("Checking…"),
            "upToDate": qsTr("Son Vale is up to date."),
            "newer": qsTr("Version %1 is available. Its page has been opened."),
            "newerAt": qsTr("A newer version is available: %1"),
            "failed": "%1"
        })
    readonly property string signOut: qsTr("Sign Out")

    // The sheet of the shortcuts.
    readonly property string changeHotkeysSubtitle: qsTr("Customize keyboard shortcuts for each action")
    readonly property string pressShortcut: qsTr("Press shortcut… (Esc to cancel)")
    readonly property string reRecord: qsTr("Re-record")
    readonly property string removeShortcut: qsTr("Remove")
    readonly property string addShortcut: qsTr("Add another shortcut")
    readonly property string editShortcut: qsTr("Edit the shortcut of %1")
    readonly property string resetToDefault: qsTr("Reset to Default")
    readonly property string cancel: qsTr("Cancel")
    readonly property string save: qsTr("Save")

    // Snippets.
    readonly property string remove: qsTr("Remove")
    readonly property string snippetsLine: qsTr("Say a trigger phrase and Son Vale will insert the full snippet text.")
    readonly property string addNew: qsTr("Add new")
    readonly property string searchSnippets: qsTr("Search snippets")
    readonly property string noSnippets: qsTr("No snippets yet")
    readonly property string noSnippetsBody: qsTr("Create voice shortcuts for frequently used text.\nSay the trigger phrase and the full text will be inserted.")
    readonly property string createFirstSnippet: qsTr("Create your first snippet")
    readonly property string edit: qsTr("Edit")
    readonly property string notUsedYet: qsTr("Not used yet")
    readonly property string usedOnce: qsTr("Used once")
    readonly property string usedTimes: qsTr("Used %1 times")
    readonly property string addSnippet: qsTr("Add Snippet")
    readonly property string editSnippet: qsTr("Edit Snippet")
    readonly property string triggerPhrase: qsTr("Trigger phrase")
    readonly property string triggerPlaceholder: qsTr("e.g., my address")
    readonly property string triggerNote: qsTr("Say this phrase to insert the snippet")
    readonly property string content: qsTr("Content")
    readonly property string categoryOptional: qsTr("Category (optional)")
    readonly property string categoryPlaceholder: qsTr("e.g., Work, Personal")
    readonly property string done: qsTr("Done")

    // Style.
    readonly property string styleLine: qsTr("Son Vale detects which app you're using and applies your style preferences automatically. Customize the formality and tone for each type of app below.")
    readonly property string formality: qsTr("Formality")
    readonly property string veryCasual: qsTr("Very Casual")
    readonly property string formal: qsTr("Formal")
    readonly property string customInstructions: qsTr("Custom Instructions")
    readonly property string customInstructionsLine: qsTr("Tell Son Vale how you want to sound in %1")
    readonly property string whichApps: qsTr("Which apps use each style")
    readonly property string styleInfo: qsTr("Style settings only apply when text cleanup is enabled in Settings.")
    /// By the words under which their styles are stored.
    readonly property var styleCategories: ({
            "personalMessaging": {
                "label": qsTr("Personal messages"),
                "apps": qsTr("iMessage, WhatsApp, Telegram, Signal, Messenger")
            },
            "workMessaging": {
                "label": qsTr("Work messages"),
                "apps": qsTr("Slack, Microsoft Teams, Discord, Linear")
            },
            "email": {
                "label": qsTr("Email"),
                "apps": qsTr("Mail, Outlook, Gmail, Spark, Superhuman")
            },
            "other": {
                "label": qsTr("Other"),
                "apps": qsTr("All other apps — browsers, notes, code editors, and more")
            }
        })

    // Scratchpad.
    readonly property string scratchpadWords: qsTr("%1 words")
    readonly property string clear: qsTr("Clear")

    // The support chat.
    readonly property string support: qsTr("Son Vale Support")
    readonly property string supportSubtitle: qsTr("Troubleshooting and account help")
    readonly property string signInForSupport: qsTr("You must be signed in to use support chat.")
    readonly property string clearConversation: qsTr("Clear")
    readonly property string describeIssue: qsTr("Describe your issue...")
    readonly property string send: qsTr("Send")
    readonly property string conversation: qsTr("Conversation")
    readonly property string yourMessage: qsTr("You")
    readonly property string supportMessage: qsTr("Support")
    readonly property string waitingForAnswer: qsTr("Waiting for an answer")

    // The way in.
    readonly property string signIn: qsTr("Sign In")
    readonly property string signInSubtitle: qsTr("Sign in to your Son Vale account.")
    readonly property string createAccount: qsTr("Create Account")
    readonly property string createAccountSubtitle: qsTr("Create an account to start using Son Vale.")
    readonly property string emailAddress: qsTr("Email address")
    readonly property string password: qsTr("Password")
    readonly property string confirmPassword: qsTr("Confirm password")
    readonly property string noAccount: qsTr("Don't have an account? <b>Sign up</b>")
    readonly property string haveAccount: qsTr("Already have an account? <b>Sign in</b>")
    readonly property string withoutAccount: qsTr("Continue without an account")
    readonly property string showPassword: qsTr("Show password")
    readonly property string hidePassword: qsTr("Hide password")

    // The steps for a new user.
    readonly property string back: qsTr("Back")
    readonly property string skip: qsTr("Skip")
    readonly property string continueOn: qsTr("Continue")
    readonly property string getStarted: qsTr("Get Started")
    readonly property string checkAgain: qsTr("Check Again")
    readonly property string granted: qsTr("Granted")
    readonly property string notGranted: qsTr("Not granted")
    readonly property string skipForNow: qsTr("Skip for Now")
    readonly property string listening: qsTr("Listening...")
    readonly property string polishing: qsTr("Polishing")
    readonly property string inputMonitoringHint: qsTr("Don't see Son Vale in the list? Click the \"+\" button and select Son Vale from your Applications folder.")
    readonly property string privacyLine: qsTr("Privacy Mode in Settings")
    readonly property string microphone: qsTr("Microphone")
    readonly property string accessibility: qsTr("Accessibility")
    readonly property string inputMonitoring: qsTr("Input Monitoring")
    readonly property string speechRecognition: qsTr("Speech Recognition")

    /// By the steps' names: title, body, and the words of the button that asks for the grant.
    readonly property var steps: ({
            "welcome": {
                "title": qsTr("Welcome to Son Vale"),
                "body": qsTr("Voice-to-text that adapts to how you write.\nLet's set up a few things first.")
            },
            "microphone": {
                "title": qsTr("Microphone Access"),
                "body": qsTr("Son Vale needs access to your microphone to transcribe your speech."),
                "ask": qsTr("Grant Microphone Access")
            },
            "speechRecognition": {
                "title": qsTr("Offline Speech Recognition"),
                "body": qsTr("Enable on-device speech recognition for private,\noffline transcription — no data leaves your Mac."),
                "ask": qsTr("Enable Speech Recognition")
            },
            "accessibility": {
                "title": qsTr("Accessibility Access"),
                "body": qsTr("Required to paste transcribed text into other apps.\nYou'll need to enable this in System Settings."),
                "ask": qsTr("Open Accessibility Settings")
            },
            "inputMonitoring": {
                "title": qsTr("Input Monitoring"),
                "body": qsTr("Required for the global hotkey to work.\nEnable Input Monitoring in System Settings."),
                "ask": qsTr("Open Input Monitoring Settings")
            },
            "ready": {
                "title": qsTr("You're All Set!"),
                "body": qsTr("Press %1 to start dictating.\nYour text will appear wherever your cursor is.")
            },
            "howToUse": {
                "title": qsTr("Here's How to Use Son Vale"),
                "body": qsTr("A quick look at the basics.")
            },
            "pushToTalk": {
                "title": qsTr("Hold to Dictate"),
                "body": qsTr("Hold your hotkey, speak, release.")
            },
            "handsFree": {
                "title": qsTr("Hands-Free"),
                "body": qsTr("Tap once to start. Tap again to stop.")
            },
            "processingExplainer": {
                "title": qsTr("What the Colors Mean"),
                "body": qsTr("Green means we're cleaning up your text.")
            },
            "privacyTip": {
                "title": qsTr("Chat History"),
                "body": qsTr("History stays on your Mac. Or turn it off entirely.")
            },
            "accessingApp": {
                "title": qsTr("You're Ready"),
                "body": qsTr("Find Son Vale in your menu bar, always.")
            }
        })
}
