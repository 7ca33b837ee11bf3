import QtQuick
import QtQuick.Controls

/// The least that a window with a text can be: a text area that scrolls, as the toolkit shows it.
ApplicationWindow {
    readonly property alias area: area

    visible: true

    Flickable {
        anchors.fill: parent

        TextArea.flickable: TextArea {
            id: area

            textFormat: TextEdit.PlainText
        }
    }
}
