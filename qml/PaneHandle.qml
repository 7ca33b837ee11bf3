import QtQuick
import QtQuick.Controls

/// The handle between two panes that stand above each other.
Rectangle {
    id: root

    implicitWidth: 4
    implicitHeight: 14
    color: {
        if (SplitHandle.pressed)
            return Qt.lighter(palette.button, 1.2);
        return SplitHandle.hovered ? Qt.lighter(palette.button, 1.1) : palette.button;
    }

    Image {
        anchors.centerIn: parent
        source: "/assets/DragHandle.svg"
    }
}
