pragma Singleton
import QtQuick
import SonVale

/// The colors, fonts, spaces and durations of all views.
QtObject {
    readonly property bool isDark: Appearance.isDark

    readonly property color window: isDark ? "#111318" : "#F6F7F9"
    readonly property color surface: isDark ? "#1A1D24" : "#FFFFFF"
    readonly property color raised: isDark ? "#222630" : "#F0F2F5"
    readonly property color hairline: isDark ? "#2D323D" : "#E3E6EB"
    readonly property color fieldLine: isDark ? "#6B7484" : "#828B9A"
    readonly property color text: isDark ? "#F2F4F8" : "#14171C"
    readonly property color secondaryText: isDark ? "#A3ACBA" : Appearance.restingColor
    readonly property color accent: isDark ? "#6E9BFF" : Appearance.listeningColor
    readonly property color textOnAccent: isDark ? "#0B1220" : "#FFFFFF"
    readonly property color good: isDark ? "#59D08E" : Appearance.workingColor
    readonly property color caution: isDark ? "#F0B35A" : "#9A5B00"
    /// For a symbol next to its words; too light for text.
    readonly property color yellow: isDark ? "#FACC15" : "#EAB308"
    readonly property color danger: isDark ? "#FF7B72" : "#C0352B"
    /// Covers the page under a sheet.
    readonly property color veil: isDark ? "#99000000" : "#5914171C"
    /// The ring has a dark ground of its own in both themes.
    readonly property color ringGround: "#111318"
    readonly property color ringRest: "#A3ACBA"

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
