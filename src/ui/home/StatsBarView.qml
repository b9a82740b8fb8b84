import QtQuick
import SonVale

/// The three counters over the history.
Row {
    id: bar

    required property HistoryModel model

    spacing: Theme.betweenRows

    StatsPill {
        name: "days"
        icon: "bolt.fill"
        iconColor: Theme.yellow
        value: bar.model.days
        label: Texts.days
    }
    StatsPill {
        name: "words"
        icon: "checkmark"
        iconColor: Theme.good
        value: bar.model.words
        label: Texts.words
    }
    StatsPill {
        name: "wordsPerMinute"
        icon: "speedometer"
        iconColor: Theme.accent
        value: bar.model.wordsPerMinute
        label: Texts.wordsPerMinute
    }
}
