pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls
import OstrelEditor

/// The combo box of this application, styled with the window's palette. Entries whose "valid" role
/// is false can be shown as such.
ComboBox {
    id: control

    property bool useValidFlag: false
    property real popupHeight: 100
    property bool opensOnRelease: false

    readonly property int popupDistance: 4
    readonly property real windowHeight: control.Window.height

    function isReturn(event: var): bool {
        return (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) && !event.isAutoRepeat;
    }

    wheelEnabled: Qt.platform.os !== "ios"

    // Its name says what is chosen here.
    Accessible.description: displayText

    // On release, since a list that is open by then takes the release for a choice.
    Keys.onPressed: event => {
        opensOnRelease = isReturn(event) && !popup.visible;
        event.accepted = opensOnRelease;
    }
    Keys.onReleased: event => {
        event.accepted = opensOnRelease && isReturn(event);
        if (event.accepted)
            popup.open();
        opensOnRelease = false;
    }

    background: Rectangle {
        implicitWidth: 140
        implicitHeight: 40
        color: control.down ? control.palette.mid : control.palette.button
        border.color: Theme.focusColor
        border.width: control.visualFocus ? 2 : 0
    }

    // The style's own arrows are too dark for this ground.
    indicator: Column {
        x: control.width - width - 12
        anchors.verticalCenter: parent?.verticalCenter
        spacing: -2

        Repeater {
            model: ["\u25B4", "\u25BE"]

            Text {
                required property string modelData

                text: modelData
                font.pixelSize: 13
                color: control.palette.buttonText
            }
        }
    }

    contentItem: Text {
        leftPadding: 12
        rightPadding: 4
        text: control.displayText
        textFormat: Text.PlainText
        // The end tells boxes of the same name apart.
        elide: Text.ElideMiddle
        verticalAlignment: Text.AlignVCenter
        font: control.font
        color: control.palette.buttonText

        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }

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
        text: model[control.textRole]

        Accessible.role: Accessible.ListItem
        Accessible.name: text
        Accessible.selectable: true
        Accessible.selected: highlighted

        contentItem: Text {
            text: entry.text
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
