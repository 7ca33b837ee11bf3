import QtQuick
import ConnectedDevices
import OstrelEditor

/// The device chooser: lists the boxes that the scan found, connects to the one that the user
/// picks, and offers a firmware update first where a box needs one.
ZEVComboBox {
    id: root

    required property FirmwareUpdate firmwareUpdateObj
    required property ConnectedDeviceListModel listModel

    readonly property int noDeviceIndex: -1
    readonly property int noDeviceRef: 0xFFFF
    readonly property int scanEntry: -1
    property bool deviceConnected: false
    property int connectedDeviceIndex: noDeviceIndex
    property bool errorOccurred: false
    property bool updateInProgress: false
    property bool updateDeclined: false
    property int updatingDeviceRef: -1
    property int startupDeviceRef: -1
    property string updateErrorString

    signal deviceIsConnected(int index)
    signal logged(string message)

    /// Whether the window may close. A box that is being written to asks for a second attempt,
    /// which ends the update.
    function endUpdateBeforeClosing(): bool {
        if (!firmwareUpdateObj.transferActive)
            return true;
        const dialog = updateDialog.make() as SimpleUpdateDialog;
        const insists = dialog.closeAttempted;
        if (insists)
            firmwareUpdateObj.cancelUpdate();
        dialog.closeAttempted = true;
        return insists;
    }

    function beginConnect(deviceRef: int) {
        listModel.connectToDevice(deviceRef);
    }

    /// True when the box needs new firmware; the user is then being asked.
    function checkForFirmwareUpdateNeeded(deviceRef: int): bool {
        if (!listModel.connectToDeviceForFirmwareUpdate(deviceRef))
            return false;
        firmwareUpdateObj.setMIDIDevice(listModel.currentDevice());
        errorOccurred = false;
        if (!firmwareUpdateObj.deviceNeedsUpdate())
            return false;
        updateInProgress = true;
        updatingDeviceRef = deviceRef;
        updateRequestDialog.open();
        return true;
    }

    function connectToDevice(deviceIndex: int) {
        deviceIsConnected(deviceIndex);
    }

    function connectOrUpdate(deviceRef: int) {
        if (!checkForFirmwareUpdateNeeded(deviceRef))
            beginConnect(deviceRef);
    }

    function rescanDevices() {
        listModel.scanForDevice();
    }

    function updateComplete() {
        updateEndTimer.restart();
    }

    function updateEndTimerDone() {
        beginConnect(updatingDeviceRef);
    }

    function updateError(errorMsg: string) {
        updateErrorString = errorMsg;
        errorOccurred = true;
    }

    function showConnection(index: int) {
        connectedDeviceIndex = index;
        deviceConnected = index !== noDeviceIndex;
        updateDeclined = false;
        currentIndex = index + 1;
        deviceIsConnected(index);
    }

    function declineUpdate() {
        updateDeclined = true;
        deviceConnected = false;
        currentIndex = 0;
        connectToDevice(noDeviceIndex);
    }

    objectName: "connectedDeviceComboBox"
    implicitWidth: 200
    model: listModel
    textRole: "display"
    valueRole: "value"
    displayText: deviceConnected ? currentText : qsTr("- not connected -")

    Accessible.name: qsTr("Device")

    onActivated: {
        const value = Number(currentValue);
        if (value >= 0)
            connectOrUpdate(value);
        else if (value === scanEntry)
            rescanDevices();
    }

    Component.onCompleted: {
        startupDeviceRef = listModel.getStartupDevice();
        if (startupDeviceRef !== noDeviceRef)
            connectOrUpdate(startupDeviceRef);
    }

    Connections {
        target: root.listModel

        function onDeviceIsConnected(index: int) {
            root.showConnection(index);
        }
    }

    Connections {
        target: root.firmwareUpdateObj

        function onProgressChanged(progress: real) {
            (updateDialog.item as SimpleUpdateDialog)?.setProgress(progress);
        }

        function onStatusChanged(statusMsg: string) {
            (updateDialog.item as SimpleUpdateDialog)?.statusMessage(statusMsg);
        }

        function onUpdateCompleted() {
            root.updateComplete();
        }

        function onUpdateError(errorMsg: string) {
            root.updateError(errorMsg);
        }
    }

    DeviceWatch {
        devices: root.listModel
        // Who declined an update is not to be connected without a word.
        active: !root.firmwareUpdateObj.busy && !root.updateDeclined
        onDeviceLost: name => root.logged(qsTr("%1 disconnected\n").arg(name || qsTr("Device")))
        onDeviceFound: name => root.logged(qsTr("%1 connected\n").arg(name || qsTr("Device")))
    }

    Timer {
        id: updateEndTimer

        interval: 500
        onTriggered: root.updateEndTimerDone()
    }

    OnDemand {
        id: updateRequestDialog

        document: "UpdateRequestDialog.qml"
    }

    Connections {
        target: updateRequestDialog.item

        function onAccepted() {
            updateDialog.open();
        }

        function onRejected() {
            root.declineUpdate();
        }
    }

    OnDemand {
        id: updateDialog

        document: "SimpleUpdateDialog.qml"
        properties: ({ firmwareUpdate: root.firmwareUpdateObj, startOnOpen: true })
    }
}
