pragma ComponentBehavior: Bound

import QtQuick

/// The icons below the list of scripts that open the other windows.
Rectangle {
    id: root

    required property WindowActions actions
    required property string deviceNeededText

    implicitHeight: 60
    color: palette.base

    Row {
        id: row

        anchors.fill: parent
        anchors.leftMargin: 20
        anchors.rightMargin: 20
        spacing: 20

        Repeater {
            id: cells

            model: [
                { action: root.actions.settings, icon: "/assets/Settings.svg", bottom: 10, name: "settingsIcon" },
                { action: root.actions.downloadScripts, icon: "/assets/DownloadScript.svg", bottom: 10, name: "downloadIcon" },
                { action: root.actions.readGuide, icon: "/assets/ReadGuide.svg", bottom: 8, name: "guideIcon" }
            ]

            Item {
                id: cell

                required property var modelData

                width: Math.round((row.width - (cells.count - 1) * row.spacing) / cells.count)
                height: row.height

                IconButton {
                    anchors.horizontalCenter: parent.horizontalCenter
                    anchors.bottom: parent.bottom
                    anchors.bottomMargin: cell.modelData.bottom
                    action: cell.modelData.action
                    icon: cell.modelData.icon
                    objectName: cell.modelData.name
                    disabledReason: root.deviceNeededText
                }
            }
        }
    }
}
