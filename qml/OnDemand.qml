import QtQuick
import QtQuick.Templates as T

/// Makes a window or dialog of another document when it is first needed, so that the main window's
/// start pays for none of them. The document is named by its address: a component written in place
/// would have it loaded, with all that it imports, although nothing is made of it yet.
Loader {
    id: root

    required property url document
    property var properties: ({}) ///< that the document requires

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
}
