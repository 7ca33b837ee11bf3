import QtQuick
import QtQuick.Controls
import OstrelEditor

/// The title of a window that covers the main one.
Rectangle {
    id: root

    required property string title

    implicitHeight: Theme.titleBarHeight
    color: palette.mid

    Label {
        anchors.centerIn: parent
        text: root.title
        font.pointSize: Theme.titlePointSize
        font.bold: true
    }
}
