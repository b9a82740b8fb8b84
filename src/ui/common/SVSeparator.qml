import QtQuick

Rectangle {
    implicitHeight: 1
    implicitWidth: 40
    color: Theme.hairline
}
