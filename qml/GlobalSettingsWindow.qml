import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import OstrelEditor

/// Edits the connected box's global settings: name, sysex ID and mode. Covers the main window; what
/// was changed reaches the box with Done only. A box that is gone meanwhile may come back as another
/// one, so what was read is not written then, until it is read anew.
Popup {
    id: root

    required property CppInterface globals
    required property bool deviceConnected
    property bool deviceGone: false ///< since this was opened

    signal globalSettingsUpdated

    function load() {
        if (!globals.readGlobals()) {
            fail(qsTr("Error reading settings from device."));
            return;
        }
        nameInput.text = globals.displayName();
        modeChooser.currentIndex = globals.operatingMode();
        sysexIdBox.value = globals.sysexId();
        nameInput.forceActiveFocus();
        nameInput.selectAll();
    }

    function apply() {
        if (deviceGone)
            return;
        if (!globals.writeGlobals()) {
            fail(qsTr("Error writing settings to device."));
            return;
        }
        globalSettingsUpdated();
        visible = false;
    }

    function fail(message: string) {
        messageDialog.text = message;
        messageDialog.open();
    }

    function loseDevice() {
        const hadFocus = doneButton.activeFocus;
        deviceGone = true;
        if (hadFocus)
            cancelButton.forceActiveFocus(Qt.TabFocusReason);
    }

    objectName: "globalSettingsWindow"
    parent: Overlay.overlay // the header too is covered
    width: parent?.width ?? 0
    height: parent?.height ?? 0
    visible: false
    modal: true
    dim: false
    focus: true
    padding: 0
    background: WindowBackground {}

    onAboutToShow: deviceGone = false
    // Not earlier: a popup that is still opening takes the focus from the message of a failure.
    onOpened: load()
    onDeviceConnectedChanged: {
        // A message that is open says what failed, and ends with the window.
        if (visible && !deviceConnected && !messageDialog.visible)
            loseDevice();
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Accessible.role: Accessible.Dialog
        Accessible.name: qsTr("Global Settings")

        WindowTitleBar {
            Layout.fillWidth: true
            Layout.margins: 2
            title: qsTr("Global Settings")
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            RowLayout {
                id: fields

                anchors.centerIn: parent
                width: Math.min(implicitWidth, parent.width - 40)
                spacing: 5

                Label {
                    text: qsTr("Display Name:")
                    horizontalAlignment: Text.AlignRight
                }

                SettingsNameField {
                    id: nameInput

                    onEdited: root.globals.setDisplayName(text)
                    onAccepted: root.apply()
                }

                Item {
                    Layout.fillWidth: true
                    Layout.preferredWidth: 100
                    Layout.maximumWidth: 100
                    implicitHeight: 25
                }

                Label {
                    text: qsTr("Sysex ID:")
                }

                SpinBox {
                    id: sysexIdBox

                    objectName: "sysexIdBox"
                    from: 0
                    to: 127
                    editable: true
                    inputMethodHints: Qt.ImhFormattedNumbersOnly
                    // An emptied field is no number, and not the box's 0.
                    valueFromText: (text, locale) => text === "" ? value : Number.fromLocaleString(locale, text)

                    Accessible.name: qsTr("Sysex ID")

                    onValueModified: root.globals.setSysexId(value)
                }

                Item {
                    Layout.fillWidth: true
                    Layout.preferredWidth: 100
                    Layout.maximumWidth: 100
                    implicitHeight: 25
                }

                Label {
                    text: qsTr("Mode:")
                }

                ZEVComboBox {
                    id: modeChooser

                    objectName: "modeChooser"
                    implicitWidth: 150
                    textRole: "name"
                    valueRole: "value"
                    // In the order of the box's mode numbers.
                    model: ListModel {
                        ListElement { name: qsTr("Merge/Thru"); value: 0 }
                        ListElement { name: qsTr("USB MIDI"); value: 1 }
                        ListElement { name: qsTr("Python Script"); value: 2 }
                    }

                    Accessible.name: qsTr("Mode")

                    onActivated: root.globals.setOperatingMode(Number(currentValue))
                }
            }

            Label {
                id: goneNote

                objectName: "deviceGoneNote"
                anchors.top: fields.bottom
                anchors.topMargin: 40
                anchors.horizontalCenter: parent.horizontalCenter
                width: Math.min(implicitWidth, parent.width - 40)
                visible: root.deviceGone
                text: qsTr("The device is gone, so nothing can be written. Open this window again once it is back.")
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignHCenter
                color: Theme.warningColor

                Accessible.role: Accessible.AlertMessage
                Accessible.name: text
            }
        }

        Item {
            Layout.fillWidth: true
            implicitHeight: Theme.titleBarHeight

            PlainButton {
                id: cancelButton

                objectName: "settingsCancelButton"
                anchors.right: doneButton.left
                anchors.rightMargin: 10
                anchors.verticalCenter: parent.verticalCenter
                height: Theme.buttonHeight
                text: qsTr("Cancel")

                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()
                onClicked: root.close()
            }

            PlainButton {
                id: doneButton

                objectName: "settingsDoneButton"
                anchors.right: parent.right
                anchors.rightMargin: 20
                anchors.verticalCenter: parent.verticalCenter
                height: Theme.buttonHeight
                text: qsTr("Done")
                enabled: !root.deviceGone

                Accessible.description: enabled ? "" : goneNote.text

                // A click on it takes the focus from the sysex ID, which then takes what was typed.
                focusPolicy: Qt.StrongFocus

                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()
                onClicked: root.apply()
            }
        }
    }

    TextDialog {
        id: messageDialog

        objectName: "settingsMessageDialog"
        standardButtons: Dialog.Ok
        onAccepted: root.close()
    }
}
