"""Lists the signal handlers and functions of the QML documents that no test of the window reaches.

usage: qml_coverage.py BUILD

Runs the tests with the label "ui" of the build folder under the QML profiler, which notes by
document and line what the engine runs, and compares with what the documents hold. Ends with 1 when
a test fails.
"""

import json
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
from pathlib import Path

HANDLER = re.compile(r"^\s*(?:[\w.]+\.)?(on[A-Z]\w*)\s*:|^\s*function\s+(\w+)\s*\(")


def tests(build):
    """Command and environment of each test of the window, as ctest would start it."""
    listing = subprocess.run(
        ["ctest", "--test-dir", build, "--label-regex", "^ui$", "--show-only=json-v1"],
        check=True, capture_output=True, text=True).stdout
    for test in json.loads(listing)["tests"]:
        properties = {entry["name"]: entry["value"] for entry in test["properties"]}
        variables = dict(entry.split("=", 1) for entry in properties["ENVIRONMENT"])
        yield test["command"], variables


def profiler():
    path = subprocess.run(["qmake6", "-query", "QT_HOST_BINS"], check=True, capture_output=True,
                          text=True).stdout.strip()
    return str(Path(path, "qmlprofiler"))


def run(command, variables, trace):
    """Runs one test; what it reached goes to the file `trace`."""
    # Code that was compiled ahead is not seen by the profiler.
    environment = os.environ | variables | {"QML_DISABLE_DISK_CACHE": "1"}
    profiled = [profiler(), "--include", "handlingsignal,javascript", "--output", trace, *command]
    result = subprocess.run(profiled, env=environment, capture_output=True, text=True)
    # The profiler's own exit code tells of the lost connection at the end, not of the test.
    # The profiler passes the test's output on, not always in the stream that it came in.
    output = result.stdout + result.stderr
    if not re.search(r"^Totals: \d+ passed, 0 failed", output, re.M):
        sys.exit(f"{command[0]} failed:\n{output}")


def reached(trace):
    """Document and line of everything that ran."""
    for event in ElementTree.parse(trace).getroot().iterfind("eventData/event"):
        path = event.findtext("filename") or ""
        if "/OstrelEditor/" in path:
            yield Path(path).name, int(event.findtext("line"))


def handlers(document):
    """Line and name of each handler and function in the document."""
    for number, line in enumerate(document.read_text().splitlines(), start=1):
        if match := HANDLER.match(line):
            yield number, match[1] or match[2]


def main():
    found = set()
    for command, variables in tests(sys.argv[1]):
        with tempfile.NamedTemporaryFile(suffix=".qtd") as trace:
            run(command, variables, trace.name)
            found.update(reached(trace.name))
    total = 0
    missed = []
    for document in sorted(Path("qml").glob("*.qml")):
        for number, name in handlers(document):
            total += 1
            if (document.name, number) not in found:
                missed.append(f"  {document}:{number} {name}")
    share = 100 * (total - len(missed)) / total
    print(f"handlers: {share:.1f}% ({total - len(missed)} out of {total})")
    print("\n".join(["not reached:"] + missed))


if __name__ == "__main__":
    main()
