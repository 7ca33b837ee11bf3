// What each script does, told as a transcript: [script, settings changed, lines].
//
// A line reads "stimulus -> deeds"; the stimuli are those of ostrel.py, and "start", the loading of
// the script. "=" stands for the bytes that came in. Deeds of a "ticks" line begin with the tick.

const panic = Array.from({ length: 16 }, (_, channel) => ['40', '7B', '79'].map(
    (controller) => [1, 2, 3, 4].map(
        (output) => `OUT_${output} B${channel.toString(16)} ${controller} 00`.toUpperCase())))
    .flat(2).join(', ');

const clocks = (count) => Array(count).fill('IN_1 F8 -> OUT_1 =').join('\n');

export const transcripts = [
    ['expression-x1', {}, `
        start ->
        pedal 40 -> OUT_1 B0 07 00, blink
        pedal 2040 -> OUT_1 B0 07 3F, blink
        pedal 4039 -> OUT_1 B0 07 7E, blink
        pedal 4040 -> OUT_1 B0 07 7F, blink
        pedal 0 -> OUT_1 B0 07 00, blink
        pedal 9999 -> OUT_1 B0 07 7F, blink`],
    ['expression-x1', { MINIMUM: 100, MAXIMUM: 20, CHANNEL: 16, CONTROLLER: 11 }, `
        pedal 40 -> OUT_1 BF 0B 64, blink
        pedal 2040 -> OUT_1 BF 0B 3C, blink
        pedal 4040 -> OUT_1 BF 0B 14, blink`],
    ['expression-x1', { MINIMUM: 127, MAXIMUM: 0 }, `
        pedal 41 -> OUT_1 B0 07 7F, blink
        pedal 4039 -> OUT_1 B0 07 01, blink
        pedal 4040 -> OUT_1 B0 07 00, blink`],
    ['expression-x1', { MINIMUM: -5, MAXIMUM: 300 }, `
        pedal 40 -> OUT_1 B0 07 00, blink
        pedal 4040 -> OUT_1 B0 07 7F, blink`],
    ['flasher', {}, `
        start -> LED red
        ticks 499 ->
        ticks 1 -> @1 LED green
        ticks 1500 -> @500 LED red, @1000 LED green, @1500 LED red`],
    ['merge-and-thru', {}, `
        IN_1 90 3C 40 -> OUT_1 =, OUT_2 =, OUT_3 =, OUT_4 =, blink
        IN_2 F0 7E 01 F7 -> OUT_1 =, OUT_2 =, OUT_3 =, OUT_4 =, blink
        IN_3 F8 -> OUT_5 =, blink`],
    ['thru-x2', {}, `
        IN_1 90 3C 40 -> OUT_1 =, OUT_2 =, blink
        IN_2 C5 07 -> OUT_3 =, OUT_4 =, blink
        IN_3 90 3C 40 ->`],

    ['ab-switch', {}, `
        start -> LED green
        IN_1 90 3C 40 -> OUT_1 =
        IN_1 B0 40 7F -> OUT_1 =
        IN_1 B3 40 40 -> OUT_1 =
        IN_1 B1 40 7F -> OUT_1 =
        IN_1 B1 40 3F -> OUT_1 =
        IN_1 B2 50 40 -> OUT_1 B0 40 00, OUT_1 B3 40 00, LED red
        IN_1 B2 50 3F ->
        IN_1 B2 07 7F -> OUT_2 =
        IN_1 90 40 40 -> OUT_2 =
        IN_1 90 3C 00 -> OUT_1 =
        IN_1 80 40 00 -> OUT_2 =
        IN_1 E0 00 40 -> OUT_2 =
        IN_1 F8 -> OUT_1 =, OUT_2 =
        IN_2 90 3C 40 ->
        IN_1 B0 50 7F -> LED green`],
    ['arpeggiator', {}, `
        IN_1 B0 01 05 -> OUT_1 =
        IN_1 90 40 50 ->
        ticks 1 -> @1 OUT_1 90 40 50, @1 blink
        IN_1 90 3C 50 ->
        ticks 250 -> @62 OUT_1 80 40 40, @125 OUT_1 90 40 50, @125 blink,\
 @187 OUT_1 80 40 40, @250 OUT_1 90 3C 50, @250 blink
        IN_1 80 3C 40 ->
        IN_1 90 40 00 ->
        ticks 500 -> @62 OUT_1 80 3C 40
        IN_1 90 43 30 ->
        ticks 1 -> @1 OUT_1 90 43 30, @1 blink`],
    ['arpeggiator', { GATE_PERCENT: 0 }, `
        IN_1 90 40 50 ->
        ticks 124 -> @1 OUT_1 90 40 50, @1 blink, @2 OUT_1 80 40 40`],
    ['cc-remap', {}, `
        IN_1 B3 01 22 -> OUT_1 B3 0B 22, blink
        IN_1 B3 03 22 -> OUT_1 =, blink
        IN_1 93 01 22 -> OUT_1 =, blink
        IN_2 B3 01 22 ->`],
    ['channel-filter', {}, `
        IN_1 90 3C 40 -> OUT_1 =, blink
        IN_1 E1 00 40 -> OUT_1 =, blink
        IN_1 92 3C 40 ->
        IN_1 F0 7E 01 F7 -> OUT_1 =
        IN_2 90 3C 40 ->`],
    ['clock-divider', { DIVISOR: 3 }, `
        IN_1 F8 -> OUT_1 =
        IN_1 F8 ->
        IN_1 FA -> OUT_1 =
        IN_1 F8 -> OUT_1 =
        IN_1 F8 ->
        IN_1 90 3C 40 -> OUT_1 =
        IN_1 F8 ->
        IN_2 F8 ->
        IN_1 F8 -> OUT_1 =`],
    ['keyboard-split', {}, `
        IN_1 90 3B 40 -> OUT_1 91 2F 40, blink
        IN_1 90 3C 40 -> OUT_2 90 3C 40, blink
        IN_1 80 0B 40 -> blink
        IN_1 80 0C 40 -> OUT_1 81 00 40, blink
        IN_1 B0 40 7F -> OUT_1 B1 40 7F, OUT_2 =
        IN_1 E5 00 40 -> OUT_1 E1 00 40, OUT_2 E0 00 40
        IN_1 F0 7E 01 F7 -> OUT_1 =, OUT_2 =
        IN_2 90 3B 40 ->`],
    ['midi-monitor', {}, `
        IN_1 9F 3C 40 -> print in 1: ch 16 note on 60 64, OUT_1 =, blink
        IN_2 E0 00 40 -> print in 2: ch 1 pitch bend 0 64, blink
        IN_2 F0 7E 0A F7 -> print in 2: sysex F0 7E 0A F7, blink
        IN_3 FA -> print in 3: start FA, blink
        IN_1 F8 -> OUT_1 =`],
    ['note-to-cc', {}, `
        IN_1 99 24 40 -> OUT_1 B9 50 7F, blink
        IN_1 80 24 40 ->
        IN_1 99 25 40 -> OUT_1 B9 51 7F, blink
        IN_1 99 24 00 ->
        IN_1 98 24 40 -> OUT_1 B8 50 7F, blink
        IN_1 99 24 40 -> OUT_1 B9 50 00, blink
        IN_1 99 30 40 -> OUT_1 =
        IN_1 B0 24 40 -> OUT_1 =
        IN_2 99 24 40 ->`],
    ['panic-pedal', {}, `
        IN_1 90 3C 40 -> OUT_1 =, OUT_2 =, OUT_3 =, OUT_4 =
        IN_2 90 3C 40 -> OUT_1 =, OUT_2 =, OUT_3 =, OUT_4 =
        pedal 3839 ->
        pedal 3840 -> LED red, ${panic}
        pedal 3041 ->
        pedal 4040 ->
        pedal 3040 -> LED off
        pedal 4040 -> LED red, ${panic}
        IN_3 90 3C 40 ->`],
    ['pedal-program-change', { PROGRAMS: '[1, 128, 3]' }, `
        pedal 3039 ->
        pedal 3040 -> OUT_1 C0 00, blink
        pedal 2000 ->
        pedal 3040 ->
        pedal 1040 ->
        pedal 4040 -> OUT_1 C0 7F, blink
        pedal 40 ->
        pedal 4040 -> OUT_1 C0 02, blink
        pedal 40 ->
        pedal 4040 -> OUT_1 C0 00, blink
        IN_1 90 3C 40 -> OUT_1 =
        IN_2 90 3C 40 ->`],
    ['sysex-filter', {}, `
        IN_1 F0 7E 01 F7 ->
        IN_2 FE ->
        IN_1 F8 -> OUT_1 =, blink
        IN_2 90 3C 40 -> OUT_2 =, blink
        IN_3 90 3C 40 ->`],
    ['tempo-led', {}, `
        IN_1 F8 -> OUT_1 =, LED red
        ticks 60 -> @50 LED off
        ${clocks(23)}
        IN_1 F8 -> OUT_1 =, LED green
        ${clocks(23)}
        IN_1 F8 -> OUT_1 =, LED green
        ${clocks(23)}
        IN_1 F8 -> OUT_1 =, LED green
        ${clocks(23)}
        IN_1 F8 -> OUT_1 =, LED red
        IN_1 F8 -> OUT_1 =
        IN_1 FA -> OUT_1 =
        IN_1 F8 -> OUT_1 =, LED red
        IN_2 F8 ->`],
    ['transpose', {}, `
        IN_1 90 3C 40 -> OUT_1 90 3A 40, blink
        IN_1 80 3C 40 -> OUT_1 80 3A 40, blink
        IN_1 90 02 40 -> OUT_1 90 00 40, blink
        IN_1 90 01 40 ->
        IN_1 99 24 40 -> OUT_1 =, blink
        IN_1 B0 07 40 -> OUT_1 =, blink
        IN_1 F0 3C 40 F7 -> OUT_1 =, blink
        IN_2 90 3C 40 ->`],
    ['velocity-curve', {}, `
        IN_1 90 3C 01 -> OUT_1 90 3C 0A, blink
        IN_1 90 3C 28 -> OUT_1 90 3C 46, blink
        IN_1 90 3C 41 -> OUT_1 90 3C 5C, blink
        IN_1 90 3C 5A -> OUT_1 90 3C 73, blink
        IN_1 90 3C 7F -> OUT_1 =, blink
        IN_1 90 3C 00 -> OUT_1 =, blink
        IN_1 80 3C 20 -> OUT_1 =, blink
        IN_2 90 3C 40 ->`],
    ['velocity-curve', { POINTS: '[(20, 30), (64, 90), (64, 140), (100, 200)]' }, `
        IN_1 90 3C 01 -> OUT_1 90 3C 1E, blink
        IN_1 90 3C 40 -> OUT_1 90 3C 5A, blink
        IN_1 90 3C 41 -> OUT_1 90 3C 7F, blink
        IN_1 90 3C 7F -> OUT_1 =, blink`],
];
