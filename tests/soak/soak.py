#!/usr/bin/python3
"""The soak: many mixed commands through one bridge while the camera reports
changes of its own.

Starts vk-sony (normally the AddressSanitizer build) against a simulated
camera, sends N seeded-random commands pipelined on standard input, and at the
same time has the camera report its own changes through the control FIFO.
Checks that:

- every command that is answered gets exactly its own answer, in command
  order (the expected ACK/NACK sequence is known for the commands used);
- every line is whole (one of the protocol's line shapes);
- resident memory, open descriptors and threads stay flat after the warm-up
  (the first 30 % of the answers, in which AddressSanitizer's quarantine
  fills): RSS within 4 MiB, no descriptor and at most one thread more;
- the run ends with status 1 once standard input closes, with no sanitizer
  report on standard error.

Prints its figures; exits non-zero on any failure.

    /usr/bin/python3 tests/soak/soak.py --bridge build/asan/vk-sony [--commands 100000]
"""
import argparse
import os
import random
import re
import subprocess
import sys
import tempfile
import threading
import time

SCENARIO = """camera USB ILME-FX6 D10042
property 0x104 UInt32 800 rw 100 200 400 800 1600 3200
property 0x115 UInt16 5600 rw 2500 9900 100
property 0x100 UInt16 280 rw 280 400 560
property 0x765 STR "FE 24-70mm F2.8 GM II" ro
property 0x751 STR "1.02" ro 1 2 3 str-length=9
confirm 0
menu-result success
"""

ISO = [100, 200, 400, 800, 1600, 3200]

LINE_SHAPES = re.compile(
    r"^(ACK|NACK|READY|CONNECTED|status [A-Z0-9_]+ .*(RW|RO)|status TC .*)$")


def command_mix(count, seed):
    """(command line, expected answer or None) pairs."""
    rng = random.Random(seed)
    out = []
    for i in range(count):
        kind = rng.randrange(100)
        if kind < 35:
            out.append((f"set ISO {rng.choice(ISO)}", "ACK"))
        elif kind < 45:
            out.append(("get ISO", None))  # its status line is the answer
        elif kind < 55:
            out.append((f"set UNKNOWN_NAME_{i} 1", "NACK"))  # a new unknown name each time
        elif kind < 62:
            out.append(("get FOO", "NACK"))
        elif kind < 70:
            out.append(("RESET", "ACK"))
        elif kind < 76:
            out.append((rng.choice(["set FSTOP abc", "set ISO NOPE", "set ISO", "set ISO 99999999999"]), "NACK"))
        elif kind < 81:
            out.append(("set LENS_MODEL x", "NACK"))  # a text property
        elif kind < 86:
            out.append(("get MENU", "ACK"))
        elif kind < 91:
            out.append((rng.choice(["", "hello", "action BUTTON NOPE", "action WHAT"]), "NACK"))
        else:
            out.append((f"set FSTOP {rng.choice(['2.8', '4', '5.6'])}", "ACK"))
    return out


def sample(pid):
    """(RSS KiB, descriptors, threads) of a running process, or None."""
    try:
        with open(f"/proc/{pid}/status") as status:
            fields = dict(line.split(":", 1) for line in status if ":" in line)
        if "VmRSS" not in fields:
            return None  # ended, not yet reaped
        rss_kib = int(fields["VmRSS"].split()[0])
        threads = int(fields["Threads"])
        fds = len(os.listdir(f"/proc/{pid}/fd"))
    except OSError:
        return None
    return rss_kib, fds, threads


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--bridge", required=True)
    parser.add_argument("--commands", type=int, default=100000)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--timeout", type=float, default=900, help="seconds for the whole run")
    parser.add_argument("--rss-slack-mib", type=float, default=4)
    args = parser.parse_args()

    tmp = tempfile.TemporaryDirectory()
    scenario = os.path.join(tmp.name, "soak.scenario")
    with open(scenario, "w") as f:
        f.write(SCENARIO)
    fifo = os.path.join(tmp.name, "control")
    os.mkfifo(fifo)
    env = dict(os.environ)
    for name in ("VK_SONY_LOG", "VK_SONY_SIM_TRACE"):
        env.pop(name, None)
    env["VK_SONY_SIM_SCENARIO"] = scenario
    env["VK_SONY_SIM_CONTROL"] = fifo
    # A small quarantine, so that AddressSanitizer's own memory settles early.
    env["ASAN_OPTIONS"] = "halt_on_error=1:detect_leaks=1:quarantine_size_mb=8"
    env["UBSAN_OPTIONS"] = "halt_on_error=1:print_stacktrace=1"

    commands = command_mix(args.commands, args.seed)
    expected = [answer for _, answer in commands if answer is not None]
    proc = subprocess.Popen([args.bridge, "USB|ILME-FX6|D10042"], stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=env)
    failures = []
    answers = []
    bad_lines = []
    ready = threading.Event()
    done = threading.Event()
    stderr_chunks = []

    def read_stdout():
        for raw in proc.stdout:
            line = raw.decode("utf-8", "replace").rstrip("\n")
            if line == "READY":
                ready.set()
            if line in ("ACK", "NACK"):
                answers.append(line)
                if len(answers) >= len(expected):
                    done.set()
            elif not LINE_SHAPES.match(line) and line not in ("CLOSED", "END - elixir_handler_stdin"):
                bad_lines.append(line)
        done.set()

    def read_stderr():
        stderr_chunks.append(proc.stderr.read().decode("utf-8", "replace"))

    threading.Thread(target=read_stdout, daemon=True).start()
    threading.Thread(target=read_stderr, daemon=True).start()
    if not ready.wait(30):
        proc.kill()
        sys.exit("soak: no READY within 30 s")

    stop_changes = threading.Event()
    changes = [0]

    def camera_changes():
        # Opening for writing waits until the simulator reads the FIFO.
        with open(fifo, "w") as control:
            rng = random.Random(args.seed + 1)
            while not stop_changes.is_set():
                code, value = rng.choice([(0x104, rng.choice(ISO)), (0x115, rng.randrange(25, 99) * 100)])
                control.write(f"change {code:#x} {value}\n")
                control.flush()
                changes[0] += 1
                time.sleep(0.002)  # a camera reporting about 500 changes a second

    def send_commands():
        try:
            for line, _ in commands:
                proc.stdin.write((line + "\n").encode())
            proc.stdin.flush()
        except BrokenPipeError:
            failures.append("the bridge stopped reading its input")

    changer = threading.Thread(target=camera_changes, daemon=True)
    changer.start()
    sender = threading.Thread(target=send_commands, daemon=True)
    start = time.monotonic()
    sender.start()

    samples = []  # (answers so far, rss KiB, fds, threads)
    deadline = start + args.timeout
    while not done.is_set() and time.monotonic() < deadline:
        now = sample(proc.pid)
        if now is None:
            break
        samples.append((len(answers),) + now)
        done.wait(0.1)
    elapsed = time.monotonic() - start
    now = sample(proc.pid)
    if now is not None:
        samples.append((len(answers),) + now)
    stop_changes.set()
    changer.join(5)

    if len(answers) < len(expected):
        failures.append(f"{len(answers)} answers of {len(expected)} expected within the time")
    # Answers of the later commands must not have doubled: wait a little for
    # strays before the end of input.
    time.sleep(0.5)
    proc.stdin.close()
    try:
        status = proc.wait(30)
    except subprocess.TimeoutExpired:
        proc.kill()
        status = None
        failures.append("the bridge did not end within 30 s of the end of its input")
    time.sleep(0.1)
    if status != 1:
        failures.append(f"exit status {status}, expected 1")
    if len(answers) != len(expected):
        failures.append(f"{len(answers)} answers for {len(expected)} answered commands")
    for i, (got, want) in enumerate(zip(answers, expected)):
        if got != want:
            failures.append(f"answer {i} is {got}, expected {want} (and maybe more after it)")
            break
    if bad_lines:
        failures.append(f"{len(bad_lines)} lines of no known shape, first: {bad_lines[0]!r}")
    err = "".join(stderr_chunks)
    if "Sanitizer" in err or "runtime error" in err:
        failures.append("sanitizer report on stderr:\n" + err[:4000])
    elif status != 1 and err:
        failures.append("stderr:\n" + err[-2000:])

    warm = [s for s in samples if s[0] >= len(expected) * 3 // 10]
    if len(warm) >= 2:
        base_rss, base_fds, base_threads = warm[0][1:]
        top_rss = max(s[1] for s in warm)
        top_fds = max(s[2] for s in warm)
        top_threads = max(s[3] for s in warm)
        print(f"soak: after warm-up RSS {base_rss // 1024} -> max {top_rss // 1024} MiB, "
              f"descriptors {base_fds} -> max {top_fds}, threads {base_threads} -> max {top_threads}")
        if top_rss - base_rss > args.rss_slack_mib * 1024:
            failures.append(f"RSS grew by {(top_rss - base_rss) // 1024} MiB after the warm-up")
        if top_fds > base_fds:
            failures.append(f"descriptors grew from {base_fds} to {top_fds}")
        if top_threads > base_threads + 1:
            failures.append(f"threads grew from {base_threads} to {top_threads}")
    else:
        failures.append("too few samples after the warm-up to judge memory, descriptors and threads")

    print(f"soak: {len(commands)} commands ({len(expected)} answered), {len(answers)} answers, "
          f"{changes[0]} camera changes, {elapsed:.1f} s, exit status {status}")
    if failures:
        for failure in failures:
            print("soak: FAIL: " + failure)
        sys.exit(1)
    print("soak: passed")


if __name__ == "__main__":
    main()
