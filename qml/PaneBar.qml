import QtQuick
import QtQuick.Controls
import OstrelEditor

/// The bar on top of a pane: a label on the left, whatever the pane puts in on the right.
Rectangle {
    id: root

    required property string title
    property int titleMargin: 10
    property int iconsWidth: 0 ///< what the icons on the right take, which the label leaves free

    /// With less, the label is elided.
    readonly property real neededWidth: titleMargin + Math.ceil(label.implicitWidth) + iconsWidth

    implicitHeight: Theme.paneBarHeight
    color: palette.dark

    Label {
        id: label

        anchors.left: parent.left
        anchors.leftMargin: root.titleMargin
        anchors.right: parent.right
        anchors.rightMargin: root.iconsWidth
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        verticalAlignment: Text.AlignVCenter
        text: root.title
        textFormat: Text.PlainText
        elide: Text.ElideRight
        font.pointSize: Theme.labelPointSize
    }
}
