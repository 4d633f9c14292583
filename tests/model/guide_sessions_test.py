#!/usr/bin/python3
"""Replays the example sessions of docs/protocol.md against the simulator.

A fenced block marked `scenario` is the simulated camera of the sessions
that follow it; a block marked `session` is one run:

    $ [NAME=VALUE ...] vk-sony ARGS   start (first line)
    > LINE                            the parent writes LINE
    < LINE                            the bridge writes LINE on stdout
    ! LINE                            the bridge writes LINE on stderr
    ~ EVENT                           the camera does EVENT (a control line)
    -- closes standard input          the parent closes the bridge's stdin
    -- exit status N                  the process ends with status N
    # ...                             a comment

Text after two or more blanks and "(" at the end of a `<` or `>` line is a
comment. Before each action the stdout lines above it must have arrived; at
the end stdout and stderr must be exactly the lines given, except that
`END - elixir_handler_stdin` and `CLOSED` may come in either order.

    tests/model/guide_sessions_test.py --bridge build/dev/vk-sony [docs/protocol.md]
"""

import argparse
import os
import re
import shlex
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from bridge_driver import Bridge  # noqa: E402

WAIT_S = 10.0
COMMENT = re.compile(r"\s{2,}\(.*\)$")


def sessions(markdown):
    """(line number, scenario text, session lines) for every session block."""
    found, scenario, block, kind, start = [], "", None, None, 0
    for number, line in enumerate(markdown.splitlines(), 1):
        if block is None:
            m = re.fullmatch(r"```(scenario|session)\s*", line)
            if m:
                block, kind, start = [], m.group(1), number
        elif line.startswith("```"):
            if kind == "scenario":
                scenario = "\n".join(block) + "\n"
            else:
                found.append((start, scenario, block))
            block = None
        else:
            block.append(line)
    return found


def replay(binary, scenario, lines):
    """Runs one session; returns a list of differences (empty when it holds)."""
    start = shlex.split(lines[0][2:])
    env = {}
    while start and re.fullmatch(r"[A-Z_]+=.*", start[0]):
        name, value = start.pop(0).split("=", 1)
        env[name] = value
    if not lines[0].startswith("$ ") or not start or start[0] != "vk-sony":
        return ["first line must be '$ [NAME=VALUE ...] vk-sony ARGS'"]
    bridge = Bridge(binary, scenario, start[1] if len(start) > 1 else "*", env)
    if len(start) > 2:
        bridge.cleanup()
        return ["only one argument is supported"]
    stdout, stderr, problems = [], [], []
    try:
        for line in lines[1:]:
            tag, text = line[:2], COMMENT.sub("", line[2:])
            if tag == "< ":
                stdout.append(text)
                continue
            if tag == "! ":
                stderr.append(line[2:])
                continue
            if line.startswith("#") or not line.strip():
                continue
            # An action: the lines above it come first.
            if not bridge.wait_for(lambda got: len(got) >= len(stdout), WAIT_S):
                problems.append("before %r: stdout %r, expected %r" % (line, bridge.lines(), stdout))
                return problems
            if tag == "> ":
                bridge.send(text)
            elif tag == "~ ":
                if not bridge.control(text):
                    problems.append("control line %r not taken" % text)
            elif line == "-- closes standard input":
                bridge.close_stdin()
            elif line.startswith("-- exit status "):
                rc = bridge.wait_exit(WAIT_S)
                if rc != int(line.split()[-1]):
                    problems.append("exit status %r, expected %s" % (rc, line.split()[-1]))
            else:
                problems.append("unknown session line %r" % line)
        bridge.close_stdin()
        if bridge.wait_exit(WAIT_S) is None:
            problems.append("the process did not end")
            bridge.kill()
        if tail_in_either_order(bridge.lines()) != tail_in_either_order(stdout):
            problems.append("stdout differs:\n" + "\n".join(
                "  got %-50r expected %r" % pair for pair in zip_longest(bridge.lines(), stdout)))
        if bridge.stderr() != stderr:
            problems.append("stderr %r, expected %r" % (bridge.stderr(), stderr))
        return problems
    finally:
        bridge.cleanup()


def tail_in_either_order(lines):
    """END and CLOSED come in either order (as the guide says); lines after
    them are compared as they are."""
    ends = [i for i, line in enumerate(lines) if line in ("END - elixir_handler_stdin", "CLOSED")]
    if len(ends) != 2:
        return lines
    lines = list(lines)
    first, second = ends
    if lines[first] == "CLOSED":
        lines[first], lines[second] = lines[second], lines[first]
    return lines


def zip_longest(a, b):
    n = max(len(a), len(b))
    return [(a[i] if i < len(a) else None, b[i] if i < len(b) else None) for i in range(n)]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--bridge", required=True)
    parser.add_argument("guide", nargs="?", default=os.path.join(
        os.path.dirname(os.path.abspath(__file__)), "..", "..", "docs", "protocol.md"))
    args = parser.parse_args()
    with open(args.guide) as f:
        found = sessions(f.read())
    failed = 0
    for number, scenario, lines in found:
        problems = replay(os.path.abspath(args.bridge), scenario, lines)
        print("%s session at line %d" % ("FAIL" if problems else "ok  ", number))
        for problem in problems:
            print("  " + problem)
        failed += bool(problems)
    print("%d passed, %d failed" % (len(found) - failed, failed))
    return 1 if failed or not found else 0


if __name__ == "__main__":
    sys.exit(main())
