import QtQuick

/// The colours that all controls of the window inherit.
Palette {
    window: "#000000"
    windowText: "#FFFFFF"
    base: "#222222"
    text: "#FFFFFF"
    dark: "#303030"
    light: "#555555"
    mid: "#888888"
    midlight: "#999999"
    button: "#666666"
    buttonText: "#FFFFFF"
    highlight: "royalblue"
    highlightedText: "#FFFFFF"
    placeholderText: "#666666"
    toolTipBase: "#303030"
    toolTipText: "#FFFFFF"

    disabled {
        button: "#333333"
        buttonText: "#666666"
    }
}
