import QtQuick

/// A tab of the dashboard.
QtObject {
    required property string name
    required property string icon
    required property string label
    required property Component page
}
