pragma Singleton

import QtQuick

/// Measures and opacities that several documents share. Colours come from the window's palette.
QtObject {
    readonly property real pressedIconOpacity: 1.0
    readonly property real hoveredIconOpacity: 0.8
    readonly property real normalIconOpacity: 0.6
    readonly property real disabledIconOpacity: 0.2

    // Beside the palette: what is marked, and what has the keyboard, at 3:1 on every ground.
    readonly property color focusColor: "#FFFFFF"
    readonly property color hitColor: "#66FFA500"
    readonly property color warningColor: "#FFFF80"
    readonly property color errorColor: "#B3261E"

    readonly property int nearlyFull: 6500 ///< characters of a script

    readonly property int headerHeight: 60
    readonly property int titleBarHeight: 50
    readonly property int paneBarHeight: 40
    readonly property int rowHeight: 25
    readonly property int tabStop: 20
    readonly property int buttonHeight: 30
    readonly property int barControlHeight: 26
    readonly property int toolTipDelay: 600 ///< ms

    readonly property int labelPointSize: 16
    readonly property int titlePointSize: 18

    /// Leading part of the window against the rest of it, where both may grow.
    readonly property int listShare: 2
    readonly property int editorShare: 7
    readonly property int listWidth: 250
}
