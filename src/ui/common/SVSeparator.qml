import QtQuick
import SonVale

Rectangle {
    implicitHeight: 1
    implicitWidth: 40
    color: Theme.hairline
}
