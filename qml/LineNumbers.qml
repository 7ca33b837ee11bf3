import QtQuick
import OstrelEditor

/// Numbers beside the lines of an editor. Only those in view are text, so that a script of many
/// thousand lines costs no more than a short one, and one text, so that they cost as one item.
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
    readonly property int lastRow: Math.min(lineCount, firstRow + rowsInView)

    function numbers(from: int, to: int): string {
        let text = "";
        for (let number = from; number <= to; ++number)
            text += number + ":\n";
        return text;
    }

    function yOf(row: int): real {
        return topPadding + row * rowHeight;
    }

    implicitWidth: 50 * Math.max(1, zoom)
    color: palette.button

    Rectangle {
        y: root.yOf(root.markedLine - 1)
        width: root.width
        height: root.rowHeight
        visible: root.markedLine > 0
        color: Theme.errorColor
    }

    Text {
        objectName: "lineNumbers"
        y: root.yOf(root.firstRow)
        width: root.width - 4
        text: root.numbers(root.firstRow + 1, root.lastRow)
        textFormat: Text.PlainText
        font: root.numberFont
        color: root.palette.windowText
        horizontalAlignment: Text.AlignRight
        lineHeightMode: Text.FixedHeight
        lineHeight: root.rowHeight
    }
}
