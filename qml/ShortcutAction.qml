import QtQuick
import QtQuick.Templates as T

/// An action with its keys. One press is one deed, however long the keys are held: the shortcut of
/// an Action itself would repeat.
T.Action {
    id: root

    property string keys: ""
    property string otherKeys: "" ///< that do the same and are not shown

    readonly property Shortcut grab: Shortcut {
        sequences: root.otherKeys ? [root.keys, root.otherKeys] : [root.keys]
        autoRepeat: false
        enabled: root.enabled
        onActivated: root.trigger()
    }
}
