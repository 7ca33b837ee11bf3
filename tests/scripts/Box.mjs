// A box that runs one script under the real MicroPython, its hardware played by ostrel.py.

import { readFileSync } from 'node:fs';

const { loadMicroPython } = await import('@micropython/micropython-webassembly-pyscript')
    .catch((cause) => {
        throw new Error('MicroPython is missing: run "npm ci --prefix tests/scripts" first',
                        { cause });
    });

const standIn = readFileSync(new URL('ostrel.py', import.meta.url));

/** `source` with its settings, lines such as "CHANNEL = 1", replaced by the given values. */
function withSettings(source, settings) {
    return Object.entries(settings).reduce((text, [name, value]) => {
        const changed = text.replace(new RegExp(`^${name} = .*$`, 'm'), `${name} = ${value}`);
        if (changed === text)
            throw new Error(`the script has no other setting ${name}`);
        return changed;
    }, source);
}

export class Box {
    #hardware;
    #printed = [];

    /** What the script did while it was loaded, see `apply`. */
    atStart;

    static async running(source, settings = {}) {
        const box = new Box();
        const python = await loadMicroPython({
            stdout: (line) => box.#printed.push(`print ${line}`),
        });
        python.FS.writeFile('ostrel.py', standIn);
        box.#hardware = python.pyimport('ostrel');
        python.runPython(withSettings(source, settings));
        box.atStart = box.#take(box.#hardware._take_events());
        return box;
    }

    /** Lets `stimulus` (see `_apply` in ostrel.py) happen; the script's deeds, in order. */
    apply(stimulus) {
        return this.#take(this.#hardware._apply(stimulus));
    }

    #take(events) {
        return [...this.#printed.splice(0), ...events.split('\n').filter(Boolean)];
    }
}
