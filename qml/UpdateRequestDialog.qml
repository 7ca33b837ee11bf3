import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import OstrelEditor

/// Asks whether a box that needs new firmware is to get it now. Closed by its buttons only. Return
/// means yes, unless the image is one that would harm a real box.
Dialog {
    id: root

    property bool carriesTestImage: BuildConfiguration.carriesTestImage

    readonly property string question: qsTr("This device needs a firmware update to work with this version of the editor. Ok to proceed with the update?")
    readonly property string note: carriesTestImage
        ? qsTr("This build carries a test image, for the simulated device only. It would leave a real device without working firmware.")
        : ""

    objectName: "updateRequestDialog"
    parent: Overlay.overlay
    anchors.centerIn: parent
    width: 360
    title: qsTr("Update Needed")
    modal: true
    focus: true
    closePolicy: Popup.NoAutoClose
    standardButtons: Dialog.Ok | Dialog.Cancel
    footer: DialogButtons {
        id: buttons

        spokenName: (root.question + " " + root.note).trim()
    }

    background: Rectangle {
        color: root.palette.dark
        border.color: root.palette.light
        border.width: 2
    }

    contentItem: ColumnLayout {
        spacing: 15

        Label {
            Layout.fillWidth: true
            text: root.question
            wrapMode: Text.Wrap
        }

        Label {
            objectName: "testImageNote"
            Layout.fillWidth: true
            visible: text !== ""
            text: root.note
            wrapMode: Text.Wrap
            color: Theme.warningColor
        }
    }

    onOpened: buttons.focusOn(carriesTestImage ? Dialog.Cancel : Dialog.Ok)
}
