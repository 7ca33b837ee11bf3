import QtQuick
import ConnectedDevices
import OstrelEditor

/// The bar on top of the window: the device chooser and the program's title.
Rectangle {
    id: root

    required property FirmwareUpdate firmwareUpdateObj
    required property ConnectedDeviceListModel listModel

    property alias chooser: connectedDeviceComboBox

    implicitHeight: Theme.headerHeight
    color: palette.mid

    ConnectedDeviceComboBox {
        id: connectedDeviceComboBox

        anchors.left: parent.left
        anchors.leftMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        firmwareUpdateObj: root.firmwareUpdateObj
        listModel: root.listModel
    }

    Image {
        anchors.right: parent.right
        anchors.rightMargin: 15
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 8
        source: "/assets/AppTitle.svg"

        Accessible.role: Accessible.Graphic
        Accessible.name: qsTr("Ostrel Script Editor")
    }
}
