pragma Singleton
import QtQuick
import SonVale

/// The colors (from `Palette.h`), fonts, spaces and durations of all views.
QtObject {
    readonly property bool isDark: Appearance.isDark

    readonly property color window: Appearance.palette.window
    readonly property color surface: Appearance.palette.surface
    readonly property color raised: Appearance.palette.raised
    readonly property color hairline: Appearance.palette.hairline
    readonly property color fieldLine: Appearance.palette.fieldLine
    readonly property color text: Appearance.palette.text
    readonly property color secondaryText: Appearance.palette.secondaryText
    readonly property color accent: Appearance.palette.accent
    readonly property color textOnAccent: Appearance.palette.textOnAccent
    readonly property color good: Appearance.palette.good
    readonly property color caution: Appearance.palette.caution
    /// For a symbol next to its words; too light for text.
    readonly property color yellow: Appearance.palette.yellow
    readonly property color danger: Appearance.palette.danger
    /// Covers the page under a sheet.
    readonly property color veil: Appearance.palette.veil
    /// The ring has a dark ground of its own in both themes.
    readonly property color ringGround: Appearance.palette.ringGround
    readonly property color ringRest: Appearance.palette.ringRest

    readonly property string family: "Inter"
    readonly property font pageTitle: Qt.font({
            "family": family,
            "pixelSize": 26,
            "weight": 650
        })
    readonly property font section: Qt.font({
            "family": family,
            "pixelSize": 17,
            "weight": 600
        })
    readonly property font body: Qt.font({
            "family": family,
            "pixelSize": 14,
            "weight": 400
        })
    readonly property font rowTitle: Qt.font({
            "family": family,
            "pixelSize": 14,
            "weight": 550
        })
    readonly property font caption: Qt.font({
            "family": family,
            "pixelSize": 12,
            "weight": 400
        })
    readonly property real lineHeight: 1.4

    readonly property int inControl: 8
    readonly property int betweenRows: 12
    readonly property int inCard: 16
    readonly property int betweenCards: 24
    readonly property int pageEdge: 32
    readonly property int cardRadius: 12
    readonly property int controlRadius: 8
    readonly property int hitHeight: 32

    readonly property int motion: Appearance.isMotionReduced ? 0 : 150

    /// Returns `color` with `strength` as its opacity.
    function tint(color, strength) {
        return Qt.rgba(color.r, color.g, color.b, strength);
    }
}
