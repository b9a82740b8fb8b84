import QtQuick
import SonVale

/// Text of the program; what comes from outside is shown as it stands, without any markup.
Text {
    /// Text of some lines, which wants air between them.
    property bool isParagraph: false

    color: Theme.text
    font: Theme.body
    lineHeight: isParagraph ? Theme.lineHeight : 1
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
}
