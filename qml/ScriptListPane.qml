pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls
import OstrelEditor
import Scripts

/// The column with the user's scripts: what can be done with the list, the list, and the icons for
/// the other windows below it. Files dropped on the list are handed on.
Item {
    id: root

    required property ScriptListModel model
    required property WindowActions actions
    required property int namePointSize
    required property int heldScriptId ///< which the device runs; 0 if that is not known
    required property string deviceNeededText
    property bool takesDrops: true

    /// With less, the title does not stand in full beside the icons.
    readonly property real neededWidth: bar.neededWidth

    property alias currentIndex: scriptListView.currentIndex
    property alias count: scriptListView.count
    readonly property alias list: scriptListView

    signal selectionChanged
    signal newScriptNamed
    signal filesDropped(var urls)

    function select(row: int) {
        // Or what the model did meanwhile would be applied to the new index as well.
        scriptListView.forceLayout();
        scriptListView.currentIndex = row < scriptListView.count ? row : -1;
        scriptListView.positionViewAtIndex(row, ListView.Contain);
    }

    function startFiltering() {
        const field = filter.make() as BarField;
        filter.visible = true;
        field.forceActiveFocus();
        field.selectAll();
    }

    function endFiltering() {
        (filter.item as BarField).clear();
        filter.visible = false;
        scriptListView.forceActiveFocus();
    }

    function isWanted(name: string, text: string): bool {
        const wanted = (filter.item as BarField)?.text.toLowerCase() ?? "";
        return wanted === "" || (name + "\n" + text).toLowerCase().includes(wanted);
    }

    /// The nearest row in that direction that the filter leaves, from `row` on; -1 for none.
    function wantedRow(row: int, direction: int): int {
        while (row >= 0 && row < count && !isWanted(model.scriptNameAt(row), model.scriptTextAt(row)))
            row += direction;
        return row < count ? row : -1;
    }

    function selectLast() {
        select(scriptListView.count - 1);
    }

    /// Lets the user name the selected script, which is new.
    function editFirstName() {
        scriptListView.positionViewAtIndex(currentIndex, ListView.Contain);
        (scriptListView.currentItem as ScriptListDelegate)?.editFirstName();
    }

    PaneBar {
        id: bar

        readonly property int edgeDistance: 25
        readonly property int iconStep: 25
        readonly property int iconWidth: 20

        width: parent.width
        title: qsTr("Available Scripts")
        titleMargin: scriptIcon.x + scriptIcon.width + 5
        iconsWidth: edgeDistance + 2 * iconStep + iconWidth + 10

        Image {
            id: scriptIcon

            x: 5
            anchors.verticalCenter: parent.verticalCenter
            source: "/assets/ScriptIcon.svg"
        }

        Repeater {
            model: [
                { action: root.actions.sortScripts, icon: "/assets/Sort.svg", name: "sortIcon" },
                { action: root.actions.deleteScript, icon: "/assets/Minus.svg", name: "minusIcon" },
                { action: root.actions.addScript, icon: "/assets/Plus.svg", name: "plusIcon" }
            ]

            IconButton {
                required property int index
                required property var modelData

                action: modelData.action
                icon: modelData.icon
                objectName: modelData.name
                hitMargin: 2
                anchors.right: bar.right
                anchors.rightMargin: bar.edgeDistance + bar.iconStep * (2 - index)
                anchors.verticalCenter: bar.verticalCenter
            }
        }
    }

    OnDemand {
        id: filter

        anchors.top: bar.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: 5
        visible: false
        document: "BarField.qml"
        properties: ({ objectName: "filterField", hint: qsTr("Find scripts by name or text") })
        Keys.onEscapePressed: root.endFiltering()
        Keys.onReturnPressed: scriptListView.stepBy(0)
        Keys.onEnterPressed: scriptListView.stepBy(0)
        Keys.onDownPressed: scriptListView.stepBy(0)
    }

    ListView {
        id: scriptListView

        function stepBy(rows: int) {
            const direction = rows < 0 ? -1 : 1;
            const target = Math.max(0, Math.min(count - 1, currentIndex + rows));
            const onwards = root.wantedRow(target, direction);
            const row = onwards >= 0 ? onwards : root.wantedRow(target, -direction);
            if (row >= 0)
                root.select(row);
            forceActiveFocus();
        }

        /// Selects the next script whose name begins with what was typed of late.
        function jumpBy(letter: string) {
            const isFirst = typed.letters === "";
            typed.letters += letter.toLowerCase();
            typed.restart();
            for (let i = isFirst ? 1 : 0; i <= count; ++i) {
                const row = (currentIndex + i) % count;
                if (root.model.scriptNameAt(row).toLowerCase().startsWith(typed.letters)) {
                    root.select(row);
                    return;
                }
            }
        }

        /// On Return, which means something else with Ctrl, even where that cannot be done.
        function editName(event: var) {
            event.accepted = !(event.modifiers & Qt.ControlModifier);
            if (event.accepted)
                (currentItem as ScriptListDelegate)?.editName();
        }

        objectName: "scriptListView"
        anchors.top: filter.visible ? filter.bottom : bar.bottom
        anchors.topMargin: filter.visible ? 5 : 0
        anchors.bottom: options.top
        width: parent.width
        model: root.model
        clip: true
        focus: true
        activeFocusOnTab: true
        boundsBehavior: Flickable.StopAtBounds
        // Or the window would be drawn for most of a second after each start and selection.
        highlightMoveDuration: 0
        highlightResizeDuration: 0

        Accessible.role: Accessible.List
        Accessible.name: qsTr("Available Scripts")

        ScrollBar.vertical: NeededScrollBar {
            id: listBar
        }

        onCurrentIndexChanged: root.selectionChanged()
        Keys.onUpPressed: stepBy(-1)
        Keys.onDownPressed: stepBy(1)
        Keys.onEscapePressed: event => {
            event.accepted = filter.visible;
            if (event.accepted)
                root.endFiltering();
        }
        Keys.onReturnPressed: event => editName(event)
        Keys.onEnterPressed: event => editName(event)
        Keys.onPressed: event => {
            const page = Math.floor(height / Theme.rowHeight);
            const steps = {
                [Qt.Key_PageUp]: -page,
                [Qt.Key_PageDown]: page,
                [Qt.Key_Home]: -count,
                [Qt.Key_End]: count
            };
            event.accepted = event.key in steps;
            if (event.accepted)
                stepBy(steps[event.key]);
            else if (event.key === Qt.Key_F2)
                (currentItem as ScriptListDelegate)?.editName();
            else if (count > 0 && /^[^\s\x00-\x1F\x7F]$/.test(event.text) && !(event.modifiers & commandKeys))
                jumpBy(event.text);
        }

        readonly property int commandKeys: Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier

        Timer {
            id: typed

            property string letters: ""

            interval: 1000
            onTriggered: letters = ""
        }

        delegate: ScriptListDelegate {
            width: ListView.view.width - (listBar.size < 1 ? listBar.width : 0)
            pointSize: root.namePointSize
            isHeld: root.heldScriptId !== 0 && root.model.scriptIdAt(index) === root.heldScriptId
            isWanted: root.isWanted(scriptName, scriptText)

            onSelected: {
                // A row that was deleted may get the focus before it goes.
                if (index >= 0)
                    scriptListView.currentIndex = index;
            }
            onNamed: root.newScriptNamed()
            onRenamed: name => root.model.modifyScriptName(index, name)
            onStepped: rows => scriptListView.stepBy(rows)
        }

        FocusRing {
            objectName: "listFocusRing"
        }

        DropArea {
            anchors.fill: parent
            enabled: root.takesDrops
            keys: ["text/uri-list"]

            onDropped: drop => {
                root.filesDropped(drop.urls);
                // Not the action that is proposed: that may be to move the file.
                drop.accept(Qt.CopyAction);
            }

            Rectangle {
                anchors.fill: parent
                visible: (parent as DropArea).containsDrag
                color: "transparent"
                border.width: 2
                border.color: palette.highlight
            }
        }

        Label {
            anchors.centerIn: parent
            width: parent.width - 40
            visible: scriptListView.count === 0
            text: qsTr("No scripts yet.\nAdd one with the plus sign, or download some.")
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            color: palette.midlight
        }
    }

    OptionsBar {
        id: options

        anchors.bottom: parent.bottom
        width: parent.width
        actions: root.actions
        deviceNeededText: root.deviceNeededText
    }
}
