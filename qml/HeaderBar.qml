import QtQuick
import OstrelEditor

/// The bar on top of the window: the device chooser and the program's title.
Rectangle {
    id: root

    required property DeviceSession session

    property alias chooser: connectedDeviceComboBox

    implicitHeight: Theme.headerHeight
    color: palette.mid

    ConnectedDeviceComboBox {
        id: connectedDeviceComboBox

        anchors.left: parent.left
        anchors.leftMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        session: root.session
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
