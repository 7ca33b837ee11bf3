import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import OstrelEditor

/// What the list of the download window says while it has no scripts: that they are on their way,
/// why they are not, or that there are none.
ColumnLayout {
    id: root

    property bool loading: false
    property string failure: "" ///< why the library could not be reached; empty if it could

    signal againRequested

    spacing: 10

    BusyIndicator {
        objectName: "downloadBusySign"
        Layout.alignment: Qt.AlignHCenter
        visible: root.loading
        running: visible
        palette.dark: root.palette.windowText
    }

    Label {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        text: {
            if (root.loading)
                return qsTr("Downloading the scripts on offer...");
            return root.failure ? qsTr("The library could not be reached.") : qsTr("There are no scripts on offer.");
        }
    }

    Label {
        objectName: "downloadFailure"
        Layout.fillWidth: true
        visible: root.failure !== ""
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        color: palette.midlight
        text: root.failure
    }

    PlainButton {
        objectName: "downloadAgainButton"
        Layout.alignment: Qt.AlignHCenter
        visible: root.failure !== ""
        text: qsTr("Try again")
        Keys.onReturnPressed: clicked()
        Keys.onEnterPressed: clicked()
        onClicked: root.againRequested()
    }
}
