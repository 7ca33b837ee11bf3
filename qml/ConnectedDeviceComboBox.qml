import QtQuick
import ConnectedDevices
import OstrelEditor

/// The device chooser: shows the session's box, and the boxes that the user may choose instead.
ZEVComboBox {
    id: root

    required property DeviceSession session

    readonly property FirmwareUpdate firmwareUpdateObj: session.updater
    readonly property ConnectedDeviceListModel listModel: session.devices
    readonly property int connectedDeviceIndex: session.connectedIndex
    readonly property bool deviceConnected: session.state === DeviceSession.Connected
    readonly property string noDeviceText: session.state === DeviceSession.Looking ? qsTr("- scanning -")
                                                                                   : qsTr("- not connected -")
    readonly property int scanEntry: -1

    signal deviceIsConnected(int index)

    function beginConnect(deviceRef: int) {
        session.connectTo(deviceRef);
    }

    /// True when the box needs new firmware; the user is then being asked.
    function checkForFirmwareUpdateNeeded(deviceRef: int): bool {
        return session.askForUpdate(deviceRef);
    }

    function connectToDevice(deviceIndex: int) {
        deviceIsConnected(deviceIndex);
    }

    function rescanDevices() {
        session.scan();
    }

    function updateComplete() {
        session.beginSettling();
    }

    function updateEndTimerDone() {
        session.check();
    }

    function updateError(errorMsg: string) {
        session.failUpdate();
    }

    objectName: "connectedDeviceComboBox"
    implicitWidth: 200
    model: listModel
    textRole: "display"
    valueRole: "value"
    displayText: deviceConnected ? currentText : noDeviceText

    Accessible.name: qsTr("Device")

    onActivated: {
        const value = Number(currentValue);
        if (value === scanEntry)
            rescanDevices();
        else if (!checkForFirmwareUpdateNeeded(value))
            beginConnect(value);
    }

    Connections {
        target: root.session

        function onConnectedIndexChanged() {
            root.currentIndex = root.connectedDeviceIndex + 1;
        }

        function onConnectionChanged(index: int) {
            root.connectToDevice(index);
        }
    }
}
