import QtQuick
import QtQuick.Controls

/// The least that a window with Qt Quick Controls can be, as large as the editor's.
ApplicationWindow {
    width: 1024
    height: 768
    visible: true
}
