import QtQuick
import QtQuick.Controls

/// A line of text at the right edge, which says the same in fewer words where it is too narrow.
Label {
    id: root

    required property string full
    required property string brief

    horizontalAlignment: Text.AlignRight
    elide: Text.ElideRight
    textFormat: Text.PlainText
    text: metrics.advanceWidth <= width ? full : brief

    TextMetrics {
        id: metrics

        font: root.font
        text: root.full
    }
}
