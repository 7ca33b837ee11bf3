"""Runs the benchmark programs and prints a table of medians. Called by tools/bench."""

import argparse
import dataclasses
import datetime
import json
import os
import pathlib
import platform
import statistics
import subprocess
import sys
import tempfile
import time

FRAME_BYTES = 8192


@dataclasses.dataclass(frozen=True)
class Target:
    """What a median has to keep; what is not set does not count."""

    ratio: float | None = None  # of measured to floor
    extra: float | None = None  # over the floor
    limit: float | None = None

    def is_met(self, measured, floor):
        return (
            (self.ratio is None or measured <= self.ratio * floor)
            and (self.extra is None or measured <= self.extra + floor)
            and (self.limit is None or measured <= self.limit)
        )

    def text(self, unit):
        parts = []
        if self.ratio is not None:
            parts.append(f"{self.ratio:g} ×")
        if self.extra is not None:
            parts.append(f"floor + {self.extra:g} {unit}")
        if self.limit is not None:
            parts.append(f"{self.limit:g} {unit}")
        return ", ".join(parts)


@dataclasses.dataclass(frozen=True)
class Row:
    name: str
    title: str
    unit: str
    program: str
    target: Target | None = None
    argument: str = ""  # what the program calls it, where several rows come of one measurement
    # Measured in the first round alone: it takes long, or is repeated often within one.
    is_once: bool = False

    def argument_name(self):
        return self.argument or self.name


def process_rows():
    program = "bench_processes"
    return [
        Row("start", "start to first frame, no box", "ms", program, Target(ratio=1.5)),
        # "No later than without a box", which no two measurements ever are to the letter.
        Row("start-with-box", "start to first frame, box connected (floor: no box)", "ms", program,
            Target(ratio=1.05), is_once=True),
        Row("connected", "start to connected (floor: first frame + 200 ms)", "ms", program,
            Target(extra=60), is_once=True),
        Row("memory", "memory 3 s after start, without the next row", "MiB", program,
            Target(ratio=1.6)),
        Row("memory-midi", "share of the MIDI server's buffers", "MiB", program,
            argument="memory"),
        Row("idle", "idle for 60 s, box connected", "% of a core", program, Target(limit=0.5),
            is_once=True),
    ]


def transfer_rows():
    program = "bench_transfers"
    return [
        Row("read", "read a script of 7 KB, click to frame", "ms", program, Target(extra=15),
            is_once=True),
        Row("send", "send a script of 7 KB, click to acknowledgement", "ms", program,
            Target(extra=5), is_once=True),
        Row("update", "update of 256 KiB", "ms", program, Target(ratio=1.25), is_once=True),
    ]


def byte_rows():
    names = {
        "crc": "CRC-32 of a frame",
        "mcoded7-encode": "MCoded7, encode a frame",
        "mcoded7-decode": "MCoded7, decode a frame",
        "block-encode": "firmware blocks, encode",
        "block-decode": "firmware blocks, decode",
    }
    return [Row(name, f"{title} (8 KB)", "µs", "bench_bytes", Target(limit=50))
            for name, title in names.items()]


def typing_rows():
    return [Row("typing", "typing in 6900 characters, key to frame, p99", "ms", "bench_window",
                Target(ratio=1.5, limit=16)),
            Row("typing-find", "the same with 1576 hits of the find bar", "ms", "bench_window",
                Target(limit=16), argument="typing")]


def log_rows():
    rows = []
    for count in (5000, 10000, 20000, 40000):
        is_target = count == 20000
        for suffix, title, unit, target in (
            ("", "until all is shown", "ms", Target(ratio=3)),
            ("-stall", "longest stall of the window", "ms", Target(limit=100)),
            ("-memory", "memory", "MiB", Target(ratio=1.5)),
        ):
            rows.append(Row(f"log-{count}{suffix}", f"log, {count} lines: {title}", unit,
                            "bench_window", target if is_target else None, f"log-{count}"))
    return rows


def library_rows():
    rows = []
    for size in (10, 100, 1000, 10000):
        for suffix, title in (
            ("load", "load"),
            ("save", "save"),
            ("select", "select the next, p99"),
            ("type", "type, p99"),
            ("select-edited", "select the next after typing, p99"),
            ("add", "add"),
            ("sort", "sort"),
        ):
            felt = suffix in ("select", "type", "select-edited") and size == 1000
            rows.append(Row(f"library-{size}-{suffix}", f"library, {size} scripts: {title}", "ms",
                            "bench_window", Target(limit=16) if felt else None,
                            f"library-{size}"))
    return rows


ROWS = [*process_rows(), *transfer_rows(), *byte_rows(), *typing_rows(), *log_rows(),
        *library_rows()]


class Samples:
    """All samples of a run, by row and column."""

    def __init__(self):
        self.values = {}

    def add(self, row, column, value):
        self.values.setdefault((row, column), []).append(value)

    def median(self, row, column):
        values = self.values.get((row, column))
        return statistics.median(values) if values else None


def environment(program, home):
    values = dict(os.environ, HOME=home, XDG_CONFIG_HOME=f"{home}/config",
                  XDG_DATA_HOME=f"{home}/data", LC_ALL="C.UTF-8", QT_QUICK_BACKEND="software")
    # The window is seen from outside only where its start is measured.
    values["QT_QPA_PLATFORM"] = "xcb" if program == "bench_processes" else "offscreen"
    return values


ATTEMPTS = 3  # a busy MIDI service turns some programs away


def run(folder, program, arguments):
    """What the program writes to standard output; the rest is shown only when it fails."""
    for _ in range(ATTEMPTS):
        with tempfile.TemporaryDirectory() as home:
            result = subprocess.run([folder / program, *arguments],
                                    env=environment(program, home), stdin=subprocess.DEVNULL,
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False,
                                    text=True)
        if result.returncode == 0:
            return result.stdout
    sys.exit(f"{result.stderr}Error: {program} {' '.join(arguments)} failed")


class Progress:
    """A line for each measurement, so that one sees what the time goes into."""

    def __init__(self, count):
        self.begin = time.monotonic()
        self.count = count
        self.done = 0

    def say(self, what):
        self.done += 1
        seconds = time.monotonic() - self.begin
        print(f"  {seconds:4.0f} s  {self.done}/{self.count}  {what}", file=sys.stderr, flush=True)


def measure_bytes(folder, samples, rows):
    names = "|".join(["copy", *(row.name for row in rows)])
    output = run(folder, "bench_bytes",
                 ["--benchmark_format=json", f"--benchmark_filter=^({names})$"])
    times = {entry["name"]: entry["cpu_time"] / 1000 for entry in json.loads(output)["benchmarks"]}
    for row in rows:
        samples.add(row.name, "measured", times[row.name])
        samples.add(row.name, "floor", times["copy"])


def measure(folder, samples, program, argument, rows):
    if program == "bench_bytes":
        measure_bytes(folder, samples, rows)
        return
    for line in run(folder, program, [argument]).splitlines():
        name, column, value = line.split()
        samples.add(name, column, float(value))


def measurements(rows, repeat):
    """What is run, in order: program, argument and the rows that come of it."""
    for number in range(repeat):
        groups = {}
        for row in rows:
            if number == 0 or not row.is_once:
                argument = "" if row.program == "bench_bytes" else row.argument_name()
                groups.setdefault((row.program, argument), []).append(row)
        yield from ((program, argument, group) for (program, argument), group in groups.items())


def chosen_rows(names):
    """A name stands for all rows that begin with it."""
    for name in names:
        if not any(row.name.startswith(name) for row in ROWS):
            sys.exit(f"Error: no row '{name}'; there are: {' '.join(row.name for row in ROWS)}")
    return [row for row in ROWS if not names or row.name.startswith(tuple(names))]


def number(value):
    if value is None:
        return ""
    digits = 0 if value >= 100 else 1 if value >= 10 else 2
    return f"{value:.{digits}f}"


def evaluate(row, samples):
    measured = samples.median(row.name, "measured")
    floor = samples.median(row.name, "floor")
    result = {"row": row.name, "title": row.title, "unit": row.unit, "measured": measured,
              "floor": floor, "ratio": measured / floor if floor else None,
              "samples": samples.values[(row.name, "measured")],
              "floor_samples": samples.values.get((row.name, "floor"), [])}
    if row.target:
        result["target"] = row.target.text(row.unit)
        result["met"] = row.target.is_met(measured, floor)
    if row.program == "bench_bytes":
        result["note"] = f"{FRAME_BYTES / measured:.0f} MB/s"
    return result


def machine():
    model = "unknown processor"
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            model = line.split(":", 1)[1].strip()
            break
    system = platform.freedesktop_os_release()["PRETTY_NAME"]
    return f"{os.cpu_count()} × {model}, {system}"


def print_table(results, repeat):
    print(f"\n{datetime.date.today()}, {machine()}; medians; rounds: {repeat}\n")
    head = ("row", "measured", "floor", "unit", "ratio", "target", "")
    cells = [head]
    for result in results:
        verdict = {True: "met", False: "MISSED", None: ""}[result.get("met")]
        cells.append((result["title"], number(result["measured"]), number(result["floor"]),
                      result["unit"], number(result["ratio"]), result.get("target", ""),
                      " ".join(filter(None, (verdict, result.get("note"))))))
    widths = [max(len(row[i]) for row in cells) for i in range(len(head))]
    cells.insert(1, tuple("-" * width for width in widths))
    for row in cells:
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |")


def main():
    parser = argparse.ArgumentParser(prog="tools/bench", description=__doc__)
    parser.add_argument("folder", type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--repeat", type=int, default=3, metavar="N", help="default 3")
    parser.add_argument("--only", nargs="+", default=[], metavar="ROW",
                        help="only the rows whose names begin like this: start, log-20000, library-1000, …")
    parser.add_argument("--json", type=pathlib.Path, metavar="FILE", help="write all samples")
    parser.add_argument("--check", action="store_true", help="exit with 1 when a target is missed")
    options = parser.parse_args()

    rows = chosen_rows(options.only)
    samples = Samples()
    todo = list(measurements(rows, options.repeat))
    progress = Progress(len(todo))
    for program, argument, group in todo:
        progress.say(argument or "encodings")
        measure(options.folder, samples, program, argument, group)
    results = [evaluate(row, samples) for row in rows]
    print_table(results, options.repeat)
    if options.json:
        options.json.write_text(json.dumps(
            {"date": str(datetime.date.today()), "machine": machine(), "repeat": options.repeat,
             "rows": results}, indent=1, ensure_ascii=False) + "\n")
    missed = [result["row"] for result in results if result.get("met") is False]
    if options.check and missed:
        sys.exit(f"Missed: {' '.join(missed)}")


if __name__ == "__main__":
    main()
