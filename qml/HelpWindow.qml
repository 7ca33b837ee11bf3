import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

/// Shows a rich text of our own over the whole window. Links open in the system's browser.
Popup {
    id: root

    property string helpText: ""

    readonly property int edgeMargin: 20

    parent: Overlay.overlay // the header too is covered
    width: parent?.width ?? 0
    height: parent?.height ?? 0
    visible: false
    modal: true // or Tab would lead out of it, to what it covers
    dim: false
    focus: true
    padding: 0

    onAboutToShow: textArea.forceActiveFocus()

    background: Rectangle {
        color: root.palette.window
        border.color: root.palette.light
        border.width: 2
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: root.edgeMargin

        Accessible.role: Accessible.Dialog
        Accessible.name: qsTr("Guide")

        Keys.onReturnPressed: root.close()
        Keys.onEnterPressed: root.close()

        ScrollView {
            id: scrollView

            readonly property Flickable view: contentItem as Flickable

            /// Moves the text by `distance` px, as far as its ends allow.
            function scrollBy(distance: real) {
                const lowest = Math.max(0, view.contentHeight - view.height);
                view.contentY = Math.min(lowest, Math.max(0, view.contentY + distance));
            }

            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: root.edgeMargin
            Layout.bottomMargin: 0
            focus: true
            contentWidth: availableWidth
            ScrollBar.horizontal.policy: ScrollBar.AlwaysOff

            TextArea {
                id: textArea

                readonly property real lineStep: 3 * font.pixelSize

                objectName: "helpTextArea"
                text: root.helpText
                textFormat: TextEdit.RichText
                wrapMode: TextEdit.WordWrap
                readOnly: true
                selectByMouse: true
                focus: true
                color: palette.windowText
                padding: root.edgeMargin

                background: Rectangle {
                    color: textArea.palette.dark
                    border.color: "transparent"
                }

                Accessible.name: qsTr("Guide")

                onLinkActivated: link => {
                    if (link.startsWith("https:"))
                        Qt.openUrlExternally(link);
                }

                // With Shift the same keys select text.
                Keys.onPressed: event => {
                    const page = scrollView.height - textArea.lineStep;
                    const distances = {
                        [Qt.Key_Up]: -textArea.lineStep,
                        [Qt.Key_Down]: textArea.lineStep,
                        [Qt.Key_PageUp]: -page,
                        [Qt.Key_PageDown]: page,
                        [Qt.Key_Space]: page,
                        [Qt.Key_Home]: -textArea.contentHeight,
                        [Qt.Key_End]: textArea.contentHeight
                    };
                    const selecting = event.modifiers & Qt.ShiftModifier;
                    event.accepted = !selecting && event.key in distances;
                    if (event.accepted)
                        scrollView.scrollBy(distances[event.key]);
                }

                HoverHandler {
                    cursorShape: textArea.hoveredLink ? Qt.PointingHandCursor : Qt.IBeamCursor
                }
            }
        }

        PlainButton {
            objectName: "helpOkButton"
            text: qsTr("Ok")
            padding: 0

            Layout.alignment: Qt.AlignRight
            Layout.preferredWidth: 50
            Layout.preferredHeight: 20
            Layout.rightMargin: root.edgeMargin
            Layout.bottomMargin: root.edgeMargin

            onClicked: root.close()
        }
    }
}
