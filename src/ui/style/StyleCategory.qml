import QtQuick

/// A kind of applications with a style of its own.
QtObject {
    /// A `StyleModel.Category`.
    required property int category
    required property string name
    required property string label
    /// Names some applications of the category.
    required property string apps
}
