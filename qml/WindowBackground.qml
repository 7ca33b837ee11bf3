import QtQuick

/// The background of a window that covers the main one.
Rectangle {
    color: palette.window
    border.color: palette.light
    border.width: 2
}
