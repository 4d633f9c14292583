"""Drives one vk-sony process against the simulated camera, as a parent would.

Shared by the protocol model test and the guide's session replay. Standard
library only; no sleeps for synchronisation: every wait is on a condition
with a deadline.
"""

import errno
import os
import subprocess
import tempfile
import threading
import time


class BridgeError(AssertionError):
    pass


class Bridge:
    """One vk-sony run: pipes on stdin/stdout/stderr, a scenario, a trace file
    and a control FIFO in a private temporary directory."""

    def __init__(self, binary, scenario, camera_id, extra_env=None):
        self.dir = tempfile.TemporaryDirectory(prefix="vk-sony-model-")
        self.scenario_path = os.path.join(self.dir.name, "camera.scenario")
        self.trace_path = os.path.join(self.dir.name, "trace")
        self.control_path = os.path.join(self.dir.name, "control")
        with open(self.scenario_path, "w") as f:
            f.write(scenario)
        env = {k: v for k, v in os.environ.items() if not k.startswith("VK_SONY_")}
        env.update({
            "VK_SONY_SIM_SCENARIO": self.scenario_path,
            "VK_SONY_SIM_TRACE": self.trace_path,
            "VK_SONY_SIM_CONTROL": self.control_path,
        })
        env.update(extra_env or {})
        self.sent = []
        self._cond = threading.Condition()
        self._lines = []        # whole stdout lines, without "\n"
        self._partial = b""     # bytes after the last "\n"
        self._stdout_closed = False
        self._stderr = []
        self._stdin_closed = False
        self.closed_at = None
        self.proc = subprocess.Popen([binary, camera_id], stdin=subprocess.PIPE,
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=env)
        self._readers = [threading.Thread(target=self._read_stdout, daemon=True),
                         threading.Thread(target=self._read_stderr, daemon=True)]
        for t in self._readers:
            t.start()

    # ---- output ----------------------------------------------------------
    def _read_stdout(self):
        fd = self.proc.stdout.fileno()
        while True:
            chunk = os.read(fd, 65536)
            with self._cond:
                if not chunk:
                    self._stdout_closed = True
                    self._cond.notify_all()
                    return
                data = self._partial + chunk
                *whole, self._partial = data.split(b"\n")
                self._lines.extend(w.decode("utf-8", "surrogateescape") for w in whole)
                self._cond.notify_all()

    def _read_stderr(self):
        for raw in self.proc.stderr:
            with self._cond:
                self._stderr.append(raw.decode("utf-8", "surrogateescape").rstrip("\n"))

    def lines(self):
        with self._cond:
            return list(self._lines)

    def partial(self):
        with self._cond:
            return self._partial.decode("utf-8", "surrogateescape")

    def stderr(self):
        with self._cond:
            return list(self._stderr)

    def wait_for(self, predicate, timeout):
        """Waits until predicate(lines) is true; returns the result or None."""
        deadline = time.monotonic() + timeout
        with self._cond:
            while True:
                result = predicate(self._lines)
                if result or self._stdout_closed:
                    return result
                left = deadline - time.monotonic()
                if left <= 0:
                    return result
                self._cond.wait(left)

    def wait_line(self, text, timeout):
        return self.wait_for(lambda lines: text in lines, timeout)

    def wait_count(self, count, timeout, start=0):
        """Waits for `count` lines from index `start` on."""
        return self.wait_for(lambda lines: len(lines) - start >= count, timeout)

    # ---- input -----------------------------------------------------------
    def send(self, line):
        self.sent.append(line)
        if self._stdin_closed:
            return
        try:
            self.proc.stdin.write(line.encode("utf-8", "surrogateescape") + b"\n")
            self.proc.stdin.flush()
        except (BrokenPipeError, ValueError):
            self._stdin_closed = True

    def close_stdin(self):
        if not self._stdin_closed:
            self._stdin_closed = True
            try:
                self.proc.stdin.close()
            except BrokenPipeError:
                pass
        if self.closed_at is None:
            self.closed_at = time.monotonic()

    def control(self, line, timeout=5.0):
        """Writes one control line to the simulator's FIFO, waiting (with a
        deadline) until the simulator has it open for reading."""
        deadline = time.monotonic() + timeout
        while True:
            try:
                fd = os.open(self.control_path, os.O_WRONLY | os.O_NONBLOCK)
            except OSError as e:
                if e.errno not in (errno.ENXIO, errno.ENOENT) or time.monotonic() > deadline:
                    return False
                if self.proc.poll() is not None:
                    return False
                with self._cond:  # the simulator opens it once connected
                    self._cond.wait(0.005)
                continue
            try:
                os.write(fd, (line + "\n").encode())
                return True
            except OSError:
                return False
            finally:
                os.close(fd)

    # ---- end ---------------------------------------------------------------
    def wait_exit(self, timeout):
        """Exit status, or None if the process is still running after timeout."""
        try:
            rc = self.proc.wait(timeout)
        except subprocess.TimeoutExpired:
            return None
        for t in self._readers:
            t.join(5)
        return rc

    def kill(self):
        if self.proc.poll() is None:
            self.proc.kill()
            self.proc.wait()
        for t in self._readers:
            t.join(5)

    def trace(self):
        try:
            with open(self.trace_path) as f:
                return [line.rstrip("\n") for line in f]
        except FileNotFoundError:
            return []

    def cleanup(self):
        self.kill()
        for stream in (self.proc.stdin, self.proc.stdout, self.proc.stderr):
            try:
                stream.close()
            except (BrokenPipeError, OSError):
                pass
        self.dir.cleanup()


def trace_calls(trace_lines, name):
    """The key=value dicts of the trace lines of one SDK call, in order."""
    calls = []
    for line in trace_lines:
        parts = line.split(" ")
        if len(parts) >= 2 and parts[1] == name:
            calls.append(dict(p.split("=", 1) for p in parts[2:] if "=" in p))
    return calls
