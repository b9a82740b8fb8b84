import QtQuick
import SonVale

/// A setting with a switch.
SettingRow {
    id: row

    property string name
    property bool isOn: false

    signal turned(bool isOn)

    width: parent ? parent.width : implicitWidth

    CinematicToggleStyle {
        objectName: row.name
        text: row.title
        Accessible.description: row.explanation
        checked: row.isOn
        onToggled: row.turned(checked)
    }
}
