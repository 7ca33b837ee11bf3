pragma ComponentBehavior: Bound

import QtQuick
import OstrelEditor

/// Numbers beside the lines of an editor. Only the rows in view have an item, so that a script of
/// many thousand lines costs no more than a short one.
Rectangle {
    id: root

    required property int lineCount
    required property real textHeight ///< of all lines together, in px
    required property real topPadding
    required property real viewTop
    required property real viewHeight
    required property font numberFont
    required property real zoom
    required property int markedLine ///< counted from 1; 0 for none

    readonly property real rowHeight: lineCount > 0 ? textHeight / lineCount : 0
    readonly property int firstRow: rowHeight > 0 ? Math.max(0, Math.floor(viewTop / rowHeight)) : 0
    readonly property int rowsInView: rowHeight > 0 ? Math.ceil(viewHeight / rowHeight) + 1 : 0

    implicitWidth: 50 * Math.max(1, zoom)
    color: palette.button

    Repeater {
        model: Math.max(0, Math.min(root.rowsInView, root.lineCount - root.firstRow))

        Text {
            required property int index
            readonly property int row: root.firstRow + index

            y: root.topPadding + row * root.rowHeight
            width: root.width - 4
            height: root.rowHeight
            text: (row + 1) + ":"
            font: root.numberFont
            color: root.palette.windowText
            horizontalAlignment: Text.AlignRight
            verticalAlignment: Text.AlignVCenter

            Rectangle {
                z: -1
                anchors.fill: parent
                anchors.rightMargin: -4
                visible: parent.row + 1 === root.markedLine
                color: Theme.errorColor
            }
        }
    }
}
