import QtQuick

/// Text of the program; what comes from outside is shown as it stands, without any markup.
Text {
    color: Theme.text
    font: Theme.body
    lineHeight: lineCount > 1 ? Theme.lineHeight : 1
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
}
