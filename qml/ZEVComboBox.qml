pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls

/// The combo box of this application, styled with the window's palette. Entries whose "valid" role
/// is false can be shown as such.
ComboBox {
    id: control

    property bool useValidFlag: false
    property real popupHeight: 100

    readonly property int popupDistance: 4
    readonly property real windowHeight: control.Window.height

    wheelEnabled: Qt.platform.os !== "ios"
    Keys.onReturnPressed: popup.open()
    Keys.onEnterPressed: popup.open()

    delegate: ItemDelegate {
        id: entry

        required property int index
        required property var model
        readonly property bool valid: !control.useValidFlag || model.valid !== false

        width: ListView.view.width
        padding: 0
        leftPadding: 10
        rightPadding: 10
        highlighted: control.highlightedIndex === index

        contentItem: Text {
            text: entry.model[control.textRole]
            textFormat: Text.PlainText
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
            font.pointSize: control.font.pointSize
            font.italic: !entry.valid
            color: {
                if (!entry.valid)
                    return control.palette.placeholderText;
                return entry.highlighted ? control.palette.highlightedText
                                         : control.palette.windowText;
            }
        }

        background: Rectangle {
            implicitWidth: 200
            implicitHeight: 40
            color: entry.highlighted ? control.palette.highlight : control.palette.mid
        }
    }

    popup: Popup {
        y: control.height + control.popupDistance
        z: 50
        width: control.width
        height: Math.min(contentItem.implicitHeight + 4, control.windowHeight - 50)
        padding: 1

        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            model: control.popup.visible ? control.delegateModel : null
            currentIndex: control.highlightedIndex

            ScrollIndicator.vertical: ZEVComboBoxScrollIndicator {
                comboBox: control
            }
        }

        background: Rectangle {
            color: control.palette.mid
            border.color: control.palette.light
        }
    }
}
