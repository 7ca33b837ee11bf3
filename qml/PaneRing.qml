import QtQuick

/// The parts of the window that the keyboard goes round, past all that lies between them.
QtObject {
    id: root

    required property list<Item> stops

    function step(direction: int) {
        const count = stops.length;
        let current = direction > 0 ? -1 : count;
        for (let i = 0; i < count; ++i) {
            if (holdsFocus(stops[i]))
                current = i;
        }
        stops[(current + direction + count) % count].forceActiveFocus(Qt.TabFocusReason);
    }

    function holdsFocus(stop: Item): bool {
        let item = stop.Window.activeFocusItem;
        while (item && item !== stop)
            item = item.parent;
        return item === stop;
    }
}
