import QtQuick
import QtQuick.Templates as T

/// Makes a window, or a part of one, when it is first needed, so that the main window's start pays for
/// none of them. The document is named by its address, because a component written in place would be
/// loaded at once, with all that it imports, although nothing is made of it yet.
Loader {
    id: root

    required property url document
    property var properties: ({}) ///< that the document requires
    property bool wanted: false ///< makes it without being asked

    function make(): QtObject {
        if (!active) {
            active = true;
            setSource(document, properties);
        }
        return item;
    }

    function open() {
        (make() as T.Popup).open();
    }

    active: false

    onWantedChanged: {
        // Later, since this may come before the properties while what it stands in is made. The
        // linter of Qt 6.4 does not know callLater() for a function.
        if (wanted)
            Qt.callLater(make); // qmllint disable
    }
}
