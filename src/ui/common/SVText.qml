import QtQuick
import SonVale

/// A text, shown without interpretation of markup.
Text {
    /// Whether the text has several lines, which need more space between them.
    property bool isParagraph: false

    color: Theme.text
    font: Theme.body
    lineHeight: isParagraph ? Theme.lineHeight : 1
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
}
