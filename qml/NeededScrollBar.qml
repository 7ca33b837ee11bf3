import QtQuick.Controls

/// A scroll bar that is seen whenever there is something to scroll, and takes no clicks otherwise.
ScrollBar {
    policy: size < 1 ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
}
