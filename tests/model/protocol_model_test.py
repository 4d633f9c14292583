#!/usr/bin/python3
"""Randomized model-based test of the line protocol.

Hypothesis generates a camera (USB, or the quick-acknowledge IP model that
steps colour temperature and toggles recording; a confirmation delay of
0-300 ms or none at all; refused writes; a menu that succeeds or fails) and a
sequence of steps: commands of every kind, good and malformed, written to
the bridge without waiting for answers; events of the camera's own through
the simulator's control FIFO (changes, reports, warnings, downloads,
disconnection); pauses; and hang-ups at any moment. After every sequence it
checks:

  * every command that is answered gets exactly one ACK or NACK, in command
    order, and each is the one the model predicts;
  * after the last answer, the camera's value of every property written
    (replayed from the simulator's trace of accepted SetDeviceProperty and
    SendCommand calls) is the last acknowledged write;
  * every stdout line is whole: one of the documented line shapes;
  * closing standard input ends the process within 1.5 s with status 1.

A failing sequence is shrunk by Hypothesis; the minimal one is printed as
the steps it took and as the session (scenario, lines written, lines read).

    tests/model/protocol_model_test.py --bridge build/dev/vk-sony
    VK_SONY_MODEL_EXAMPLES=2000 tests/model/protocol_model_test.py --bridge ...

VK_SONY_MODEL_EXAMPLES sets the number of sequences (default 30; CTest runs
60). They are the same sequences every run unless
VK_SONY_MODEL_SEED=random. VK_SONY_MODEL_BEFORE_READY=0 waits for READY
before the first command of every sequence (by default half of them begin
at once).
"""

import argparse
import os
import re
import struct
import sys
import time
import unittest

from hypothesis import HealthCheck, settings, strategies as st
from hypothesis.stateful import (RuleBasedStateMachine, initialize, precondition,
                                 rule)

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from bridge_driver import Bridge, trace_calls  # noqa: E402

BRIDGE = None  # path of vk-sony, from the command line
CONFIRM_TIMEOUT_MS = 1000  # the bridge's confirmation deadline in these runs
EXIT_BOUND_S = 1.5  # closing stdin ends the process within this
QUIET_S = 3.0  # no answer for this long: the missing ones are not coming

# The camera: code, SDK type, value, writable, candidates (scenario syntax).
PROPERTIES = [
    (0x105, "UInt32", 1, True, [1, 2, 3, 4]),
    (0x108, "UInt16", 0, True, [0, 17, 18, 19, 20, 32, 256]),
    (0x109, "UInt16", 2, True, [2, 3, 4, 5, 1]),
    (0x103, "UInt32", 0x10032, True, [0x10019, 0x1001E, 0x10032, 0x1003C, 0x10064, 0x100FA]),
    (0x100, "UInt16", 280, True, [180, 200, 280, 400, 560, 800, 1100]),
    (0x101, "Int16", 0, True, [-3000, -1000, -300, 0, 300, 1000, 3000]),
    (0x104, "UInt32", 800, True, [0xFFFFFF, 100, 400, 800, 1600, 6400]),
    (0x17A, "UInt32", 180000, True, [45000, 172800, 180000, 360000]),
    (0x180, "UInt64", 0x100000004, True, [0x100000004, 0x100000008, 0x100000080]),
    (0x751, "STR", '"1.02"', False, []),
    (0x765, "STR", '"FE 24-70mm F2.8 GM II"', False, []),
    (0x16F, "UInt16", 1, True, [1, 2]),
    (0x115, "UInt16Range", 5600, True, [2500, 9900, 100]),
    (0x15D, "Int8Range", 0, True, [-99, 99, 1]),
    (0x161, "UInt16Range", 100, True, [1, 500, 1]),
    (0x15B, "Int16", 0, True, []),
    (0x15E, "Int16", 0, True, []),
    (0x162, "Int16", 0, True, []),
    (0x126, "Int8", 0, True, [-8, -1, 0, 1, 8]),
    (0x15F, "Int8", 0, True, [-7, -1, 0, 1, 7]),
    (0x703, "UInt16", 4, False, []),
    (0x705, "UInt8", 0, False, [0, 1]),
]
AWB_PROPERTY = (0x183, "UInt16", 1, True, [1, 2])
WIDTH = {"UInt8": 1, "Int8": 1, "Int8Range": 1, "UInt16": 2, "Int16": 2, "UInt16Range": 2,
         "UInt32": 4, "UInt64": 8, "STR": 8}
INITIAL = {p[0]: p[2] for p in PROPERTIES + [AWB_PROPERTY]}
TYPES = {p[0]: p[1] for p in PROPERTIES + [AWB_PROPERTY]}
RANGES = {0x115: (2500, 9900), 0x15D: (-99, 99), 0x161: (1, 500)}
# step code -> (base code, units per step)
STEPS = {0x15B: (0x115, 100), 0x15E: (0x15D, 1), 0x162: (0x161, 1)}
REC_CODE = 0x705
CAMERAS = {
    "usb": ("camera USB ILME-FX6 D10042", "USB|ILME-FX6|D10042"),
    # model 10 over IP: quick acknowledgement, colour temperature in steps,
    # recording as a toggle.
    "ip": ("camera IP ILME-FX6 192.168.1.10 00:1a:2b:3c:4d:5e no-ssh", "IP|ILME-FX6|192.168.1.10"),
}
FIXED_LINES = {"CONNECTED", "READY", "ACK", "NACK", "DISCONNECTED", "CLOSED",
               "END - elixir_handler_stdin", "status DOWNLOAD done", "\t\tsetProperty failed storage",
               "get prop failed", "release prop failed", "get LV prop failed",
               "release LV prop failed", "unhandled unit", "UNUSED", "ABSTRACT"}
TC_LINE = re.compile(r"status TC (-?\d+) \[(-?\d+)\] RO")
MENU_LINE = re.compile(r"type=\S+ - value=\d+ - display=.*")
PROPERTY_LINE = re.compile(r"status ([A-Z0-9_]+) ([^\[\]{}]*) ([\[{][^\[\]{}]*[\]}] R[WO])")


def scenario_text(camera, confirm, menu_ok, failures, awb):
    lines = [CAMERAS[camera][0], "confirm " + confirm,
             "menu-result " + ("success" if menu_ok else "error")]
    for code, kind, value, rw, cands in PROPERTIES + ([AWB_PROPERTY] if awb else []):
        lines.append("property 0x%x %s %s %s %s" % (code, kind, value, "rw" if rw else "ro",
                                                   " ".join(str(c) for c in cands)))
    lines += ["lv-property 0x121 0x01020304", "lv-property 0x122"]
    lines += ["fail set 0x%x 0x%x" % (code, result) for code, result in sorted(failures.items())]
    return "\n".join(lines) + "\n"


class Calibration:
    """What the bridge reports for the camera: status key, candidate texts and
    line suffix of each property, from one run per camera kind."""

    def __init__(self, camera):
        bridge = Bridge(BRIDGE, scenario_text(camera, "5", True, {}, True), CAMERAS[camera][1])
        try:
            if not bridge.wait_line("READY", 10):
                raise AssertionError("calibration run: no READY\n" + "\n".join(bridge.lines()))
            status = [l for l in bridge.lines()[: bridge.lines().index("READY")]
                      if l.startswith("status ")]
            self.initial = set(status)  # the first report's lines
        finally:
            bridge.close_stdin()
            bridge.wait_exit(5)
            bridge.cleanup()
        self.key = {}       # code -> status key
        self.code = {}      # status key -> code
        self.suffix = {}    # status key -> "[...] RW"
        self.texts = {}     # code -> [(text, raw)] for list properties
        self.bare = set()   # keys without candidates
        for (code, kind, _, _, cands), line in zip(PROPERTIES + [AWB_PROPERTY], status):
            m = PROPERTY_LINE.fullmatch(line)
            assert m, "calibration line: %r" % line
            key = m.group(1)
            self.key[code], self.code[key], self.suffix[key] = key, code, m.group(3)
            inner = m.group(3)[1:-4]
            if not cands and kind != "STR":
                self.bare.add(key)
            if m.group(3)[0] == "[" and cands:
                self.texts[code] = list(zip(inner.split(" "), cands))


CALIBRATION = {}


def float32(x):
    return struct.unpack("f", struct.pack("f", x))[0]


def written_form(code, text, raw):
    """The word a parent writes for a value shown as `text`, and the value
    the bridge then sends. EXPOSURE_BIAS is written as its raw 16-bit code;
    FSTOP and SHUTTER_ANGLE are scaled in single precision and truncated."""
    if code == 0x101:
        return str(raw & 0xFFFF), raw & 0xFFFF
    if code in (0x100, 0x17A):
        scale = 100 if code == 0x100 else 1000
        sent = int(float32(float32(float(text)) * scale))
        return text, sent & 0xFFFF if code == 0x100 else sent
    return text, raw


def mask(code, value):
    return value & ((1 << (8 * WIDTH[TYPES[code]])) - 1)


def clamp(code, value):
    low, high = RANGES[code]
    return max(low, min(high, value))


class ProtocolViolation(AssertionError):
    """Base of the failures; one subclass per invariant, so that Hypothesis
    keeps and shrinks distinct failures apart."""


class WrongAnswerCount(ProtocolViolation):
    pass


class WrongAnswer(ProtocolViolation):
    pass


class WriteNotMade(ProtocolViolation):
    pass


class BrokenLine(ProtocolViolation):
    pass


class ReportBeforeAck(ProtocolViolation):
    pass


class SlowOrBadExit(ProtocolViolation):
    pass


ANY = "any"  # a camera value the model cannot know


class Command:
    """One line sent, and what the model needs to judge its answer.

    kind: 'none' (not answered), 'fixed' (allowed answers given), 'write'
    (a property write: code, new-value function, sends predicate)."""

    def __init__(self, line, kind, allowed=None, code=None, effect=None, sends=None,
                 fail_code=None, always_ack=False, shows=None, absolute=False):
        self.line, self.kind, self.allowed = line, kind, allowed
        self.code, self.effect, self.sends, self.fail_code = code, effect, sends, fail_code
        # shows: (raw, text) of the value the write's status line shows
        self.always_ack, self.shows = always_ack, shows
        self.absolute = absolute  # an absolute target reached by relative steps


class ProtocolModel(RuleBasedStateMachine):
    def __init__(self):
        super().__init__()
        self.bridge = None
        self.ended = None
        self.commands = []
        self.touched = set()      # codes the camera changed by itself
        self.stray_display = False
        self.faults = []

    # ---- the camera and the start ------------------------------------------
    @initialize(camera=st.sampled_from(["usb", "usb", "ip"]),
                confirm=st.one_of(st.sampled_from(["0", "1", "5", "20"]),
                                  st.integers(0, 300).map(str), st.just("never")),
                menu_ok=st.booleans(),
                failures=st.dictionaries(st.sampled_from([0x104, 0x109, 0x100, 0x115, 0x15E, 0x15B,
                                                          0x126, 0x183]),
                                         st.sampled_from([0x8402, 0x8000]), max_size=2),
                awb=st.booleans(),
                wait_ready=st.booleans() if os.environ.get("VK_SONY_MODEL_BEFORE_READY", "1") != "0"
                else st.just(True),
                tint_abs=st.booleans(), ecs_abs=st.booleans(), colortemp_abs=st.booleans())
    def start(self, camera, confirm, menu_ok, failures, awb, wait_ready, tint_abs, ecs_abs,
              colortemp_abs):
        if camera not in CALIBRATION:
            CALIBRATION[camera] = Calibration(camera)
        self.cal = CALIBRATION[camera]
        self.camera, self.quick = camera, camera == "ip"
        self.never = confirm == "never"
        self.menu_ok, self.failures, self.awb = menu_ok, failures, awb
        # The 2 s memory of absolute targets steps from the last target: a
        # run uses a base either through absolute targets or through steps.
        self.abs_mode = {0x15D: tint_abs, 0x161: ecs_abs, 0x115: colortemp_abs or camera == "usb"}
        self.scenario = scenario_text(camera, confirm, menu_ok, failures, awb)
        self.bridge = Bridge(BRIDGE, self.scenario, CAMERAS[camera][1],
                             {"VK_SONY_CONFIRM_TIMEOUT_MS": str(CONFIRM_TIMEOUT_MS)})
        if wait_ready and not self.bridge.wait_line("READY", 10):
            self.fail("no READY")

    def running(self):
        return self.bridge is not None and self.ended is None

    def add(self, command):
        self.commands.append(command)
        self.bridge.send(command.line)

    # ---- commands ----------------------------------------------------------
    GENERIC = [0x105, 0x108, 0x109, 0x103, 0x100, 0x101, 0x104, 0x17A, 0x180, 0x16F]

    @precondition(running)
    @rule(code=st.sampled_from(GENERIC), index=st.integers(0, 10))
    def set_property(self, code, index):
        text, raw = self.cal.texts[code][index % len(self.cal.texts[code])]
        word, raw = written_form(code, text, raw)
        self.add(Command("set %s %s" % (self.cal.key[code], word), "write", code=code,
                         effect=lambda v, raw=raw: raw, sends=lambda v, raw=raw: v != raw,
                         shows=(raw, text)))

    # Property writes are what the model checks most: two more rules for them,
    # so that they are drawn more often than the other commands.
    @precondition(running)
    @rule(code=st.sampled_from(GENERIC), index=st.integers(0, 10))
    def set_another_property(self, code, index):
        self.set_property(code, index)

    @precondition(running)
    @rule(code=st.sampled_from(GENERIC), index=st.integers(0, 10))
    def set_a_third_property(self, code, index):
        self.set_property(code, index)

    @precondition(running)
    @rule(code=st.sampled_from(GENERIC + [0x15E, 0x162]),
          bad=st.sampled_from(["", "NOPE", "x1", "-", "AF_C\r", "99999999999999999999"]))
    def set_malformed(self, code, bad):
        if bad.isdigit() and code in (0x100, 0x101, 0x17A):
            bad = "NOPE"  # read as a float, which saturates: in range by design
        self.add(Command(("set %s %s" % (self.cal.key[code], bad)).rstrip(" "), "fixed",
                         allowed={"NACK"}))

    @precondition(running)
    @rule(key=st.sampled_from(["SOFTWARE", "LENS_MODEL", "BAT_LEVEL"]), value=st.sampled_from(["1", "x"]))
    def set_read_only(self, key, value):
        self.add(Command("set %s %s" % (key, value), "fixed", allowed={"NACK"}))

    @precondition(running)
    @rule(name=st.sampled_from(["FOO", "MENU", "TC", "iso", "RESET", ""]))
    def set_unknown(self, name):
        self.add(Command("set %s 1" % name if name else "set", "fixed", allowed={"NACK"}))

    @precondition(running)
    @rule(verb=st.sampled_from(["WB", "COLORTEMP"]), kelvin=st.integers(25, 99))
    def set_colour_temperature(self, verb, kelvin):
        kelvin *= 100
        if not self.abs_mode[0x115]:
            verb = "COLORTEMP_STEP"
            self.step(verb, 0x15B, (kelvin - 5600) // 1000)
            return
        if self.quick:  # stepped through COLORTEMP_STEP
            self.add(Command("set %s %d" % (verb, kelvin), "write", code=0x115, fail_code=0x15B,
                             absolute=True,
                             effect=lambda v, k=kelvin: k, sends=lambda v, k=kelvin: v != k))
        else:
            self.add(Command("set %s %d" % (verb, kelvin), "write", code=0x115,
                             effect=lambda v, k=kelvin: k, sends=lambda v, k=kelvin: v != k))

    @precondition(running)
    @rule(base=st.sampled_from([0x15D, 0x161]), goal=st.integers(-99, 500))
    def set_absolute(self, base, goal):
        step_code = {0x15D: 0x15E, 0x161: 0x162}[base]
        if not self.abs_mode[base]:
            self.step(self.cal.key[step_code], step_code, goal % 11 - 5)
            return
        goal = clamp(base, goal)
        self.add(Command("set %s %d" % (self.cal.key[base], goal), "write", code=base,
                         fail_code=step_code, absolute=True, effect=lambda v, t=goal: t,
                         sends=lambda v, t=goal: v != t, shows=(goal, str(goal))))

    @precondition(running)
    @rule(code=st.sampled_from([0x15E, 0x162]),
          step=st.one_of(st.integers(-5, 5), st.sampled_from([40000, -40000, -2147483648])))
    def set_step(self, code, step):
        base = STEPS[code][0]
        if self.abs_mode[base]:
            step = 0  # a step of 0 sends nothing, so the target memory holds
        self.step(self.cal.key[code], code, step)

    def step(self, name, code, step):
        line = "set %s %d" % (name, step)
        if not -32768 <= step <= 32767:
            self.add(Command(line, "fixed", allowed={"NACK"}))
            return
        base, unit = STEPS[code]
        self.add(Command(line, "write", code=base, fail_code=code,
                         effect=lambda v: clamp(base, v + step * unit), sends=lambda v: step != 0))

    @precondition(running)
    @rule(code=st.sampled_from([0x126, 0x15F]), amount=st.one_of(st.integers(-8, 8), st.just("fast")))
    def set_drive(self, code, amount):
        line = "set %s %s" % (self.cal.key[code], amount)
        if amount == "fast":
            self.add(Command(line, "fixed", allowed={"NACK"}))
        else:
            self.add(Command(line, "fixed", allowed={"NACK" if code in self.failures else "ACK"}))

    @precondition(running)
    @rule(value=st.sampled_from(["ON", "OFF", "ON", "OFF", "on", "1"]))
    def set_rec(self, value):
        line = "set REC " + value
        if value not in ("ON", "OFF"):
            self.add(Command(line, "fixed", allowed={"NACK"}))
        elif self.quick:  # a toggle, whatever the value
            self.add(Command(line, "write", code=REC_CODE, effect=lambda v: 1 - v,
                             sends=lambda v: True, always_ack=True))
        else:
            self.add(Command(line, "write", code=REC_CODE, effect=lambda v, on=value == "ON": int(on),
                             sends=lambda v: True, always_ack=True))

    @precondition(running)
    @rule(value=st.sampled_from(["AWB", "AWB", "ISO", "FOO"]))
    def set_property_button(self, value):
        ok = value == "AWB" and self.awb and 0x183 not in self.failures
        self.add(Command("set PROPERTY_BUTTON " + value, "fixed", allowed={"ACK" if ok else "NACK"}))

    @precondition(running)
    @rule(slot=st.sampled_from(["1", "16", "17", ""]))
    def set_lut(self, slot):
        self.add(Command(("set LUT_FILE /tmp/look.cube " + slot).rstrip(), "fixed", allowed={"ACK"}))

    @precondition(running)
    @rule(code=st.sampled_from(GENERIC + [0x115, 0x703, 0x765]))
    def get_property(self, code):
        self.add(Command("get " + self.cal.key[code], "none"))

    @precondition(running)
    @rule()
    def get_menu(self):
        self.add(Command("get MENU", "menu"))

    @precondition(running)
    @rule()
    def get_tc(self):
        self.add(Command("get TC", "none"))

    @precondition(running)
    @rule(name=st.sampled_from(["FOO", "menu", ""]))
    def get_unknown(self, name):
        self.add(Command(("get " + name).rstrip(), "fixed", allowed={"NACK"}))

    @precondition(running)
    @rule(hold=st.one_of(st.integers(0, 30).map(str), st.sampled_from(["", "soon"])))
    def shutter_press(self, hold):
        line = ("action SHUTTER_PRESS " + hold).rstrip()
        self.add(Command(line, "fixed", allowed={"ACK" if hold.isdigit() else "NACK"}))

    @precondition(running)
    @rule(hold=st.one_of(st.integers(0, 30).map(str), st.sampled_from(["", "x"])),
          value=st.sampled_from(["APS_C", "APS_C", "FULL"]))
    def button(self, hold, value):
        line = ("action BUTTON %s %s" % (value, hold)).rstrip()
        ok = value == "APS_C" and (hold == "" or hold.isdigit())
        self.add(Command(line, "fixed", allowed={"ACK" if ok else "NACK"}))

    @precondition(running)
    @rule(line=st.sampled_from(["action ZOOM 1", "RESET", "RESET now", "", "   ", "HELLO",
                                "reset", "set"]))
    def other(self, line):
        ok = line.startswith("RESET")
        self.add(Command(line, "fixed", allowed={"ACK" if ok else "NACK"}))

    # ---- the camera's own events -------------------------------------------
    @precondition(running)
    @rule(code=st.sampled_from([0x104, 0x109, 0x101, 0x703, 0x15D, 0x115, 0x705]),
          index=st.integers(0, 6))
    def camera_change(self, code, index):
        values = {0x703: [1, 2, 3, 4], 0x15D: [-20, 0, 20], 0x115: [3200, 5600], 0x705: [0, 1]}
        values = values.get(code) or [raw for _, raw in self.cal.texts[code]]
        value = values[index % len(values)]
        self.touched.add(code)
        self.fault("change 0x%x %d" % (code, mask(code, value)))

    @precondition(running)
    @rule(event=st.sampled_from(["notify 0x104", "notify 0x104 0x15d 0x705", "lv-notify 0x121",
                                 "warning 0x20028", "warning 0x20010", "warning-ext 0x20010 1 2 3",
                                 "error 0", "download clip.mxf", "contents-transfer",
                                 "warning 0x2002b", "warning 0x2002c"]))
    def camera_event(self, event):
        if event in ("warning 0x2002b", "warning 0x2002c"):
            self.stray_display = True
        if event.startswith("notify "):
            # The camera reports these codes unasked. Its report may reach the
            # bridge after a write to one of them that the parent sent later,
            # and then confirms it, as a real camera's report would.
            self.touched.update(int(code, 16) for code in event.split()[1:])
        self.fault(event)

    def fault(self, line):
        self.faults.append((len(self.commands), line))
        self.bridge.sent.append("# camera: " + line)
        if not self.bridge.control(line) and self.bridge.proc.poll() is None:
            self.fail("control FIFO not opened")  # an early exit is judged at the end

    @precondition(running)
    @rule(ms=st.integers(0, 300))
    def pause(self, ms):
        # A stimulus, not a synchronisation: it lets the camera's
        # confirmations overtake the commands or not.
        self.bridge.sent.append("# pause %d ms" % ms)
        time.sleep(ms / 1000)

    @precondition(running)
    @rule()
    def hang_up(self):
        self.bridge.sent.append("# stdin closed")
        self.bridge.close_stdin()
        self.ended = "hangup"

    @precondition(running)
    @rule(event=st.sampled_from(["disconnect 0x8207", "warning 0x20002", "error 0x8202"]))
    def disconnect(self, event):
        self.fault(event)
        self.ended = "disconnect"

    @precondition(lambda self: self.ended is not None)
    @rule()
    def after_the_end(self):
        """Nothing: the run has ended (Hypothesis needs a rule it can draw)."""

    # ---- checks ------------------------------------------------------------
    def fail(self, what, kind=ProtocolViolation):
        raise kind(what + "\n" + self.session())

    def session(self):
        b = self.bridge
        lines = b.lines()
        ready = lines.index("READY") if "READY" in lines else 0
        first = [l for l in lines[:ready] if l not in self.cal.initial]
        lines = first + lines[ready:]
        out = ["---- scenario (the model's properties left out)"]
        out += [l for l in self.scenario.splitlines() if not l.startswith(("property", "lv-"))]
        out += ["---- written (> stdin, # other)"]
        out += [l if l.startswith("# ") else "> " + repr(l)[1:-1] for l in b.sent]
        out += ["---- stdout (the camera's first report left out)"]
        out += ["< " + repr(l)[1:-1] for l in lines]
        if b.partial():
            out.append("< (partial) " + repr(b.partial()))
        out += ["---- stderr"] + b.stderr()[-10:]
        trace = [l for l in b.trace() if " Get" not in l and " Release" not in l]
        out += ["---- trace (last 25, Get*/Release* left out)"] + trace[-25:]
        return "\n".join(out)

    def answered(self):
        return [c for c in self.commands if c.kind != "none"]

    def teardown(self):
        if self.bridge is None:
            return
        try:
            self.finish()
        finally:
            self.bridge.cleanup()

    def finish(self):
        b = self.bridge
        expected = len(self.answered())
        if self.ended is None:
            # Wait for every answer; give up after QUIET_S without progress.
            def answers(lines):
                return sum(line in ("ACK", "NACK") for line in lines)

            seen = -1
            while seen < expected:
                b.wait_for(lambda lines: answers(lines) >= expected, QUIET_S)
                now = answers(b.lines())
                if now == seen or b.proc.poll() is not None:
                    break
                seen = now
        elif self.ended == "disconnect":
            b.wait_line("DISCONNECTED", 5)
        b.close_stdin()
        rc = b.wait_exit(max(0.0, b.closed_at + EXIT_BOUND_S - time.monotonic()))
        if rc is None:
            elapsed = time.monotonic() - b.closed_at
            b.kill()
            self.fail("still running %.2f s after stdin was closed" % elapsed, SlowOrBadExit)
        if rc != 1:
            self.fail("exit status %d, expected 1" % rc, SlowOrBadExit)
        self.check_lines()
        answers = self.check_answers(complete=self.ended is None)
        self.check_values(answers)
        if os.environ.get("VK_SONY_MODEL_VERBOSE"):
            print("\n==== sequence\n" + self.session(), file=sys.stderr)

    def check_lines(self):
        lines = self.bridge.lines()
        for line in lines:
            if line in FIXED_LINES or MENU_LINE.fullmatch(line):
                continue
            tc = TC_LINE.fullmatch(line)
            if tc and tc.group(1) == tc.group(2):
                continue
            m = PROPERTY_LINE.fullmatch(line)
            if m and "status" not in m.group(2):
                key, value, suffix = m.groups()
                # Without candidates the brackets repeat the current value.
                if self.cal.suffix.get(key) == suffix or (
                        key in self.cal.bare and suffix[1:-4] == value):
                    continue
            self.fail("not a whole protocol line: %r" % line, BrokenLine)
        if self.bridge.partial():
            self.fail("output ends inside a line: %r" % self.bridge.partial(), BrokenLine)
        # A run that ends before the camera connects has no CONNECTED, READY.
        for once, at_least in (("CONNECTED", 0), ("READY", 0), ("END - elixir_handler_stdin", 1),
                               ("CLOSED", 1)):
            if not at_least <= lines.count(once) <= 1:
                self.fail("%r written %d times" % (once, lines.count(once)), BrokenLine)
        if lines.count("DISCONNECTED") != (1 if self.ended == "disconnect" else 0):
            self.fail("DISCONNECTED written %d times" % lines.count("DISCONNECTED"), BrokenLine)

    def check_answers(self, complete):
        """Replays the commands with the answers seen; returns the answers."""
        lines = self.bridge.lines()
        at = [n for n, line in enumerate(lines) if line in ("ACK", "NACK")]
        answers = [lines[n] for n in at]
        commands = self.answered()
        if len(answers) > len(commands) or (complete and len(answers) != len(commands)):
            self.fail("%d answers for %d answered commands" % (len(answers), len(commands)),
                      WrongAnswerCount)
        self.values = {code: {INITIAL[code]} for code in INITIAL}
        for i, command in enumerate(commands):
            answer = answers[i] if i < len(answers) else None
            allowed = self.allowed(command)
            if answer is not None and answer not in allowed:
                self.fail("answer %d (%r) is %s, expected %s" % (i + 1, command.line, answer,
                                                                 " or ".join(sorted(allowed))),
                          WrongAnswer)
            if command.kind == "write" and answer == "ACK":
                self.check_report_follows(command, lines[at[i - 1] + 1 if i else 0:at[i]])
            if command.kind == "write":
                before = self.values[command.code]
                after = {ANY if v == ANY else command.effect(v) for v in before}
                if answer != "ACK" and command.absolute:
                    # An absolute target reached by steps: after a failure the
                    # bridge's remembered target and the camera part ways.
                    after = {ANY}
                self.values[command.code] = after if answer == "ACK" else before | after
        return answers

    def check_report_follows(self, command, lines_before):
        """The status line a write causes comes after its ACK."""
        if command.shows is None or command.code in self.touched or self.stray_display:
            return
        raw, text = command.shows
        if raw in self.values[command.code] or ANY in self.values[command.code]:
            return  # the property may have shown that value before
        early = "status %s %s %s" % (self.cal.key[command.code], text,
                                     self.cal.suffix[self.cal.key[command.code]])
        if early in lines_before:
            self.fail("%r: its status line %r came before its ACK" % (command.line, early),
                      ReportBeforeAck)

    def allowed(self, command):
        # A run that ended early answers a command still waiting NACK.
        cut = {"NACK"} if self.ended else set()
        if command.kind == "fixed":
            return command.allowed | cut
        if command.kind == "menu":
            return {"ACK", "NACK"} if self.stray_display else {"ACK" if self.menu_ok else "NACK"} | cut
        return self.allowed_write(command) | cut

    def allowed_write(self, command):
        # A property write.
        if command.code in self.touched or self.stray_display:
            return {"ACK", "NACK"}
        if command.always_ack:
            return {"ACK"}
        result = set()
        fail_code = command.fail_code or command.code
        possible = set(self.values[command.code])
        if ANY in possible:
            return {"ACK", "NACK"}
        if self.never:  # the bridge's cache may lag the camera
            possible.add(INITIAL[command.code])
        for v in possible:
            if not command.sends(v):
                result.add("ACK")
            elif fail_code in self.failures:
                result.add("NACK")
            elif self.quick:
                result.add("ACK")
            elif self.never or command.effect(v) == v:
                result.add("NACK")  # unconfirmed: the deadline answers
            else:
                result.add("ACK")
        return result

    def check_values(self, answers):
        if self.stray_display:
            return  # answers could not be told apart; the count was checked
        camera = dict(INITIAL)
        trace = self.bridge.trace()
        for call in trace_calls(trace, "SetDeviceProperty"):
            if call.get("result") != "0x0":
                continue
            code, value = int(call["code"], 16), int(call["value"])
            if code in STEPS:
                base, unit = STEPS[code]
                step = value & 0xFFFF
                step = step - 0x10000 if step >= 0x8000 else step
                camera[base] = clamp(base, self.signed(base, camera[base]) + step * unit)
            elif code in INITIAL and TYPES[code] != "STR" and code not in (0x703, 0x705):
                camera[code] = value
        for call in trace_calls(trace, "SendCommand"):
            if call["id"] == "1":
                camera[REC_CODE] = int(call["param"])
            elif call["id"] == "11" and call["param"] == "1":
                camera[REC_CODE] = 1 - camera[REC_CODE]
        written = {c.code for c in self.commands if c.kind == "write"}
        for code in sorted(written - self.touched):
            if ANY in self.values[code]:
                continue
            want = {mask(code, v) for v in self.values[code]}
            if mask(code, camera[code]) not in want:
                self.fail("camera's 0x%x (%s) is %d after the run; the acknowledged writes "
                          "leave it at %s" % (code, self.cal.key[code], self.signed(code, camera[code]),
                                              " or ".join(str(self.signed(code, v)) for v in sorted(want))),
                          WriteNotMade)

    @staticmethod
    def signed(code, value):
        if TYPES[code].startswith("Int"):
            bits = 8 * WIDTH[TYPES[code]]
            value &= (1 << bits) - 1
            return value - (1 << bits) if value >> (bits - 1) else value
        return value


ModelTest = ProtocolModel.TestCase


def configure():
    examples = int(os.environ.get("VK_SONY_MODEL_EXAMPLES", "30"))
    random_seed = os.environ.get("VK_SONY_MODEL_SEED", "") == "random"
    ModelTest.settings = settings(
        max_examples=examples, stateful_step_count=20, deadline=None,
        derandomize=not random_seed, database=None, print_blob=random_seed,
        suppress_health_check=[HealthCheck.too_slow, HealthCheck.filter_too_much])


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--bridge", required=True, help="the vk-sony executable")
    args, rest = parser.parse_known_args()
    BRIDGE = os.path.abspath(args.bridge)
    configure()
    started = time.monotonic()
    result = unittest.main(argv=[sys.argv[0]] + rest, exit=False, verbosity=2).result
    print("protocol model: %d sequences in %.1f s" % (ModelTest.settings.max_examples,
                                                     time.monotonic() - started))
    sys.exit(0 if result.wasSuccessful() else 1)
