// Runs the built-in scripts and the sample library under MicroPython, against the stand-in of the
// box's module in ostrel.py. By hand, in this folder: npm ci && npm test

import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { test } from 'node:test';
import { Box } from './Box.mjs';
import { transcripts } from './transcripts.mjs';

const maxScriptLength = 6900;
const header = /^#\n# ([^a-z\n]+)\n# by [^\n]+\n#\n(#( [^\n]+)?\n)+#\n\nfrom ostrel import \*\n/;

const root = new URL('../../', import.meta.url);
const library = new URL('library/', root);
const read = (file, base = root) => readFileSync(new URL(file, base), 'utf8');

const scripts = new Map(['src/scripts/default/', 'library/scripts/'].flatMap(
    (folder) => readdirSync(new URL(folder, root))
        .map((file) => [file.replace(/\.py$/, ''), read(folder + file)])));

test('every script has the form that the editor and the box need', () => {
    for (const [name, text] of scripts) {
        assert.match(text, /^[\n\x20-\x7e]+$/, `${name}: printable ASCII without tabs`);
        assert.ok(text.length <= maxScriptLength, `${name}: too long for the box`);
        const title = name.replaceAll('-', ' ').toUpperCase();
        // A tuple that a user shortens to one element is none any more.
        assert.doesNotMatch(text, /^([A-Z_]+ =|    \w+:) \(/m, `${name}: a setting is a tuple`);
        assert.equal(header.exec(text)?.[1], title, `${name}: header`);
    }
});

test('the library document holds the sample scripts as they are', () => {
    const entries = read('contents.txt', library).trimEnd().split('\n')
        .map((line) => line.split('='))
        .map(([name, file]) => ({ name, text: read(file, library) }));
    const document = read('download-content/Ostrel/OSTScripts.json', library);

    assert.equal(entries.length, readdirSync(new URL('scripts/', library)).length);
    assert.equal(document, `${JSON.stringify({ scripts: entries }, null, 4)}\n`);
});

test('no script goes without a transcript', () => {
    const covered = new Set(transcripts.map(([name]) => name));
    assert.deepEqual([...scripts.keys()].filter((name) => !covered.has(name)),
                     ['midi-cable-tester']);
});

for (const [name, settings, text] of transcripts) {
    test(`${name} ${JSON.stringify(settings)}`, async () => {
        const box = await Box.running(scripts.get(name), settings);
        const expected = text.trim().split(/\n\s*/).map((line) => {
            const [stimulus, deeds] = line.split(/ ->\s*/);
            return `${stimulus} -> ${deeds.replaceAll('=', stimulus.replace(/^\w+ /, ''))}`;
        });
        const seen = expected.map((line) => {
            const [stimulus] = line.split(' ->');
            const deeds = stimulus === 'start' ? box.atStart : box.apply(stimulus);
            return `${stimulus} -> ${deeds.join(', ')}`;
        });
        assert.deepEqual(seen, expected);
    });
}

test('midi-cable-tester', async () => {
    const corrupt = (bytes) => bytes.replace(/.$/, (digit) => (digit === '0' ? '1' : '0'));
    const crossed = { IN_1: 'IN_3', IN_3: 'IN_1' };
    // What arrives after a message went out, and the flash on the one path and on the other
    const rows = [
        [(input, bytes) => [`${input} ${bytes}`], 'green', 'orange'],
        [(input, bytes) => [`${crossed[input]} ${bytes}`], 'red', 'red'],
        [(input, bytes) => [`IN_2 ${bytes}`], 'red', 'red'],
        [(input, bytes) => [`${input} ${corrupt(bytes)}`], 'red', 'red'],
        [() => [], null, null],
        [(input, bytes) => [`${crossed[input]} ${bytes}`, `${input} ${bytes}`], 'red', 'red'],
        [(input, bytes) => [`${input} ${bytes}`], 'green', 'orange'],
    ];
    const box = await Box.running(scripts.get('midi-cable-tester'));
    assert.deepEqual(box.atStart, ['LED off']);

    const messages = new Set();
    let deeds = box.apply('ticks 500');
    for (const [answers, ...flashes] of rows) {
        for (const [path, colour] of flashes.entries()) {
            const [output, input] = [['OUT_1', 'IN_1'], ['OUT_5', 'IN_3']][path];
            const [, bytes] = /^@500 OUT_. (B. [0-7]. [0-7].)$/.exec(deeds[0]);
            assert.deepEqual(deeds, [`@500 ${output} ${bytes}`]);
            messages.add(bytes);

            const arriving = answers(input, bytes);
            const lit = arriving.flatMap((stimulus) => box.apply(stimulus));
            assert.deepEqual(lit, arriving.map(() => `LED ${colour}`));
            deeds = box.apply('ticks 500');
            if (colour !== null)
                assert.equal(deeds.shift(), '@100 LED off');
        }
    }
    assert.ok(messages.size > rows.length, 'the messages are random');
});
